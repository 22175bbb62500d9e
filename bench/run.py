"""Measures Quillet against what else does the same work, and prints a section of Markdown. Started by scripts/bench.

What is compared by processor time runs side by side, bound to one processor, and the median of the rounds' ratios
counts: both then meet the same moments of a machine that others use as well. A program beside itself gave 1.0004 with a
standard error of 0.0005; in turns, the smallest of many rounds wandered by 0.05 from session to session.
"""

import argparse
import json
import os
import pathlib
import platform
import re
import shutil
import signal
import statistics
import subprocess
import time
import types

import notes
import peers
from measure import Failed, compared, progress, run

HOUR_S = 3600
STARTS = 6  # of the tray application


class Bench:
    def __init__(self, options):
        self.options = options
        self.quillet = str(options.build / "bin" / "quillet")
        self.tools = options.build / "bench"
        self.folder = options.work
        self.log = open(options.log, "ab")
        self.rows = []  # (what, ours, theirs, ratio, goal, verdict)
        self.notes = []

    # -- little helpers -----------------------------------------------------------------------------------------------

    def row(self, what, ours, theirs="", ratio=None, goal="", met=None, digits=2):
        verdict = "" if met is None else ("met" if met else "**missed**")
        self.rows.append((what, ours, theirs, "" if ratio is None else f"{ratio:.{digits}f}", goal, verdict))

    def failed(self, what, why):
        self.rows.append((what, "", str(why), "", "", "**not measured**"))

    def tool(self, name, *arguments):
        return run([str(self.tools / name), *map(str, arguments)], self.log)

    def speech(self, name, seconds):
        """Two sides of a meeting of that length."""
        sides = self.folder / f"{name}-system.wav", self.folder / f"{name}-microphone.wav"
        for path, channels, seed, voice in zip(sides, (2, 1), (1, 2), ("other-side.ogg", "own-side.ogg")):
            progress(f"making {path.name}, {seconds} s")
            self.tool("quillet-bench-speech", self.options.conversation / voice, path, seconds, channels, seed)
        return sides

    def record(self, sides, folder):
        """The command for a recording of two files; repeated, it sets the earlier ones aside."""
        return [self.quillet, "record", "--system", f"file:{sides[0]}", "--microphone", f"file:{sides[1]}",
                "--as-fast-as-possible", "--json", "--folder", str(folder)]

    def empty(self, name):
        folder = self.folder / name
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        return folder

    # -- a) processor time --------------------------------------------------------------------------------------------

    def processor_time(self):
        seconds = self.options.minutes * 60
        sides = self.speech("cpu", seconds)
        mixed = self.folder / "cpu-mixed.wav"
        self.tool("quillet-bench-mix", *sides, mixed)
        inputs = [(None, str(side)) for side in sides]
        out = str(self.folder / "peer.m4a")

        ours = self.record(sides, self.empty("cpu"))
        encoder = [str(self.tools / "quillet-bench-encode"), str(mixed)]
        # A goal that is a twentieth away shows less clearly than one that is half as much again.
        found = self.compare("the encoder alone, same options (ours / theirs)", ours, encoder, 3 * self.options.rounds)
        self.row(*found.row, found.ratio, "≤ 1.05", found.ratio <= 1.05, digits=3)
        self.ours_per_hour = found.ours_per_hour
        peaks = [f"{found.ours_mib:.0f}"]
        for kind, present in (("ffmpeg", peers.has_ffmpeg()), ("GStreamer", peers.has_gstreamer())):
            for same in (True, False):
                name = f"{kind}, {'same' if same else 'its default'} encoder options"
                goal = 3.0 if not same else 1.3 if kind == "ffmpeg" else 1.2
                if not present:
                    self.failed(f"CPU s per hour of audio: {name}", "not installed")
                    continue
                command = peers.ffmpeg(inputs, out, same) if kind == "ffmpeg" else \
                    peers.gstreamer(*map(str, sides), out, same)
                found = self.compare(f"{name} (theirs / ours)", ours, command)
                self.row(*found.row, 1 / found.ratio, f"≥ {goal}", 1 / found.ratio >= goal)
                if same:
                    peaks.append(f"{found.theirs_mib:.0f} {kind}")
        self.row("Peak resident memory of the same runs, MiB", peaks[0], ", ".join(peaks[1:]) or "not installed")

    def compare(self, name, ours, theirs, rounds=None):
        """One row's figures by processor time, and what else the rounds have shown."""
        seconds = self.options.minutes * 60
        rounds = rounds or self.options.rounds
        progress(f"{rounds} rounds beside {name}")
        both = compared(ours, theirs, rounds, self.log)
        self.check_recording(both.ours[0].output, seconds)
        per_hour = [statistics.median(usage.cpu_s for usage in usages) * HOUR_S / seconds
                    for usages in (both.ours, both.theirs)]
        return types.SimpleNamespace(
            row=(f"CPU s per hour of audio: {name}", *(f"{figure:.1f}" for figure in per_hour)), ratio=both.ratio(),
            ours_per_hour=per_hour[0], ours_mib=max(usage.peak_mib for usage in both.ours),
            theirs_mib=max(usage.peak_mib for usage in both.theirs))

    def check_recording(self, output, seconds):
        """A recording that left something out would be fast, and worth nothing."""
        made = json.loads(output)
        if made["durationSeconds"] < seconds or made["blocksDropped"] != 0:
            raise Failed(f"the recording is not whole: {output}")
        if min(made["systemPeak"], made["microphonePeak"]) < 0.05:
            raise Failed(f"the recording is silent: {output}")
        return pathlib.Path(made["path"])

    # -- b) quality ---------------------------------------------------------------------------------------------------

    def quality(self):
        seconds = 60 if self.options.quick else 120
        sides = self.speech("quality", seconds)
        mixed = self.folder / "quality-mixed.wav"
        self.tool("quillet-bench-mix", *sides, mixed)
        ours = self.check_recording(run(self.record(sides, self.empty("quality")), self.log).output, seconds)

        files = {"Quillet": ours}
        for name, present, command, same in (
            ("ffmpeg, same encoder options", peers.has_ffmpeg(), peers.ffmpeg_encode, True),
            ("ffmpeg, default encoder options", peers.has_ffmpeg(), peers.ffmpeg_encode, False),
            ("GStreamer, default encoder options", peers.has_gstreamer(), peers.gstreamer_encode, False),
        ):
            out = self.folder / f"quality-{len(files)}.m4a"
            if not present:
                self.notes.append(f"Quality of {name}: not installed.")
                continue
            run(command(str(mixed), str(out), same), self.log)
            files[name] = out

        lines = self.tool("quillet-bench-quality", mixed, *files.values()).output.splitlines()
        results = {name: [float(x) for x in line.split()] for name, line in zip(files, lines)}
        ours_nmr = results["Quillet"][0]
        for name, (nmr, disturbed, snr, lag) in results.items():
            rate = files[name].stat().st_size * 8 / seconds / 1000
            what = f"{nmr:.1f} dB, {disturbed:.2f} % disturbed, SNR {snr:.1f} dB, {rate:.0f} kbit/s"
            if name == "Quillet":
                self.row("Coding noise to mask (lower is better)", what, "", None, "file not shifted: 0",
                         lag == 0)
            else:
                self.row(f"Coding noise to mask: {name}", f"{ours_nmr:.1f} dB", what)

    # -- c) memory, f) finishing --------------------------------------------------------------------------------------

    def memory_and_finishing(self):
        lengths = (60, 600, 1800) if self.options.quick else (60, HOUR_S, 3 * HOUR_S)
        sides = self.speech("long", lengths[-1])
        leftovers = self.empty("leftovers")
        peaks = []
        bytes_per_s = 0.0
        for seconds in lengths:
            command = self.record(sides, self.empty("long")) + ["--duration", str(seconds)]
            progress(f"recording {seconds} s")
            last = seconds == lengths[-1]
            if last:
                # Near the end, but well before it: how much an hour takes differs by a few per cent.
                size = int(bytes_per_s * seconds * 0.96)
                usage = run(command, self.log, lambda pid, size=size: self.copy_unfinished(pid, size, leftovers))
            else:
                usage = run(command, self.log)
            self.finished = self.check_recording(usage.output, seconds)
            bytes_per_s = self.finished.stat().st_size / seconds
            peaks.append(usage.peak_mib)
        names = [f"{s // 60} min" if s < HOUR_S else f"{s // HOUR_S} h" for s in lengths]
        text = ", ".join(f"{peak:.1f} at {name}" for peak, name in zip(peaks, names))
        self.row("Peak resident memory by length, MiB", text, "", None, "< 45, flat", max(peaks) < 45)
        self.finishing(leftovers, lengths[-1])

    def copy_unfinished(self, pid, size, leftovers):
        """Copies the growing recording as a killed process would have left it."""
        deadline = time.monotonic() + 1200
        while time.monotonic() < deadline:
            growing = [entry for entry in (self.folder / "long").rglob("*") if entry.is_file()]
            if any(os.stat(entry).st_size >= size for entry in growing):
                os.kill(pid, signal.SIGSTOP)
                try:
                    for entry in growing:
                        shutil.copy2(entry, leftovers / entry.name)
                finally:
                    os.kill(pid, signal.SIGCONT)
                return
            if not pathlib.Path(f"/proc/{pid}/fd").exists():
                break
            time.sleep(0.02)
        raise Failed("the recording under way was not found")

    def finishing(self, leftovers, seconds):
        ours, theirs = [], []
        repaired_s = 0.0
        target = self.folder / "faststart.m4a"
        for _ in range(3):
            folder = self.empty("recovering")
            for entry in leftovers.iterdir():
                shutil.copy2(entry, folder / entry.name)
                os.utime(folder / entry.name, (0, 0))  # what has just changed is watched for 5 s first
            os.sync()
            usage = run([self.quillet, "recover", "--folder", str(folder)], self.log)
            progress(f"recovered in {usage.wall_s:.3f} s: {usage.output.strip()}")
            repaired_s = self.check_repaired(usage.output, folder, seconds)
            ours.append(usage.wall_s)
            if peers.has_ffmpeg():
                target.unlink(missing_ok=True)
                theirs.append(run(peers.ffmpeg_faststart(str(self.finished), str(target)), self.log).wall_s)
        title = f"Stop to finished file, {repaired_s / HOUR_S:.2f} h, s (own process, warm cache)"
        goal = "< 0.1 s, ≥ 10"
        if not theirs:
            self.row(title, f"{min(ours):.3f}", "not installed", None, goal)
            return
        ratio = min(theirs) / min(ours)
        self.row(f"{title}; ffmpeg +faststart remux, {seconds / HOUR_S:g} h", f"{min(ours):.3f}", f"{min(theirs):.2f}",
                 ratio, goal, min(ours) < 0.1 and ratio >= 10)

    def check_repaired(self, output, folder, seconds):
        """That there was something to finish, and that it is finished: the samples in front, the index at the end, and
        no fragments left to walk. Returns its length in seconds."""
        said = re.search(r"^repaired: .* \(([0-9.]+) s\)$", output, re.MULTILINE)
        made = [entry for entry in folder.iterdir() if entry.suffix == ".m4a"]
        if said is None or len(made) != 1:
            raise Failed(f"nothing was repaired: {output!r}, {[entry.name for entry in made]}")
        boxes = []
        with open(made[0], "rb") as file:
            end = made[0].stat().st_size
            while file.tell() < end:
                begin = file.tell()
                header = file.read(8)
                size = int.from_bytes(header[:4], "big")
                if size == 1:
                    size = int.from_bytes(file.read(8), "big")
                if size < 8:
                    raise Failed(f"recovery left a box without a size behind {boxes[:8]}")
                boxes.append(header[4:8].decode("latin-1"))
                file.seek(begin + size)
        if "moov" not in boxes or "moof" in boxes:
            raise Failed(f"recovery left the boxes {boxes[:8]}")
        length_s = float(said[1])
        if not 0.9 * seconds < length_s <= seconds + 1:
            raise Failed(f"recovery left {length_s} s of {seconds} s")
        if peers.has_ffmpeg():
            probe = ["ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", str(made[0])]
            probed = subprocess.run(probe, stdin=subprocess.DEVNULL, capture_output=True, check=True).stdout
            if abs(float(probed) - length_s) > 1:
                raise Failed(f"recovery says {length_s} s, the file {float(probed)} s")
        return length_s

    # -- d) mixing alone ----------------------------------------------------------------------------------------------

    def mixing(self):
        found = json.loads(self.tool("quillet-bench-mixing", "--benchmark_format=json").output)["benchmarks"]
        per_hour = {entry["name"]: 1 / entry["hours_per_s"] for entry in found}
        mixing, copying = per_hour["mixOneTick"], per_hour["copyOneTick"]
        self.row("CPU s per hour of audio: rings, gains and mixing; memcpy of the same samples", f"{mixing:.3f}",
                 f"{copying:.3f}", mixing / copying)
        if self.ours_per_hour is None:
            self.failed("Mixing, share of the whole, %", "the whole was not measured (step: processor time)")
            return
        share = 100 * mixing / self.ours_per_hour
        self.row("Mixing, share of the whole, %", f"{share:.1f}", "", None, "< 3", share < 3)

    # -- e) live ------------------------------------------------------------------------------------------------------

    def live(self):
        if not self.options.sound_servers.is_dir():
            self.failed("Live recording", "no private sound servers")
            return
        if not peers.has_ffmpeg():
            self.failed("Live recording", "ffmpeg is not installed")
            return
        sides = self.speech("live", self.options.live_seconds + 15)
        for kind, name in (("pulseaudio", "PulseAudio"), ("pipewire", "PipeWire")):
            result = self.folder / f"live-{kind}.json"
            command = [str(self.options.scripts / "sound-server"), kind, str(self.options.sound_servers), "--",
                       "python3", str(pathlib.Path(__file__).with_name("live.py")), self.quillet,
                       str(self.options.live_rounds), str(self.options.live_seconds), *map(str, sides),
                       str(self.empty(f"live-{kind}")), str(result)]
            progress(f"live on {name}")
            try:
                run(command, self.log)
                self.live_rows(name, json.loads(result.read_text()))
            except (Failed, OSError, ValueError) as failure:
                self.failed(f"Live on {name}", failure)

    def live_rows(self, name, result):
        length = f"live {self.options.live_seconds} s on {name}"
        for options, what, key, form, goal in (("same", "CPU s", "cpu_s", "{:.2f}", 0.7),
                                               ("its default", "CPU s", "cpu_s", "{:.2f}", 0.7),
                                               ("same", "Wake-ups per s", "wakeups_per_s", "{:.0f}", 0.7),
                                               ("same", "Peak resident memory, MiB", "peak_mib", "{:.0f}", None)):
            found = result[options]
            ours, theirs, ratio = found["ours"][key], found["theirs"][key], found["ratio"].get(key)
            title = f"{what}, {length}; ffmpeg -f pulse, {options} encoder options (ours / theirs)"
            self.row(title, form.format(ours), form.format(theirs), ratio, f"≤ {goal}" if goal else "",
                     ratio <= goal if goal else None)

    # -- f) the tray application --------------------------------------------------------------------------------------

    def tray(self):
        if not self.options.sound_servers.is_dir():
            self.failed("Tray application", "no private sound servers")
            return
        missing = [name for name in ("Xvfb", "dbus-daemon") if shutil.which(name) is None]
        if missing:
            self.failed("Tray application", f"{' and '.join(missing)} not installed")
            return
        result = self.folder / "tray.json"
        seconds = 10 if self.options.quick else 20
        command = [str(self.options.scripts / "sound-server"), "pulseaudio", str(self.options.sound_servers), "--",
                   "python3", str(pathlib.Path(__file__).with_name("tray.py")), str(self.empty("tray")), str(result),
                   str(self.tools / "quillet-bench-tray"), self.quillet, str(STARTS), str(seconds)]
        progress("the tray application on a desktop of its own")
        run(command, self.log)
        self.tray_rows(json.loads(result.read_text()), seconds)

    def tray_rows(self, found, seconds):
        start = found["start_ms"]
        self.row("Tray: start of the process to its item in the panel, ms (warm cache)", f"{start:.0f}", "", None,
                 "< 300", start < 300)
        for what, key in (("first press", "first_open"), ("later press", "open_again")):
            mapped, painted = found[key]["mapped_ms"], found[key]["painted_ms"]
            self.row(f"Tray: {what} on the item to the popover painted, ms", f"{painted:.0f} (mapped {mapped:.0f})", "",
                     None, "< 200", painted < 200)
        for what, key in (("idle", "idle"), ("idle, popover shown before", "idle_after_popover"),
                          ("recording, popover shut", "recording")):
            resident, share = found[key]["resident_mib"], found[key]["proportional_mib"]
            self.row(f"Tray: resident memory {what}, MiB", f"{resident:.0f} (its share {share:.0f})", "", None, "< 70",
                     resident < 70)
        for what, key in (("idle", "idle"), ("idle, popover shown before", "idle_after_popover")):
            wakeups, cpu = found[key]["wakeups"], found[key]["cpu_ms"]
            self.row(f"Tray: wake-ups of all threads in {seconds} s, {what}", f"{wakeups:.0f}, {cpu:.1f} ms of CPU", "",
                     None, "0", wakeups == 0)
        recording = found["recording"]
        self.row("Tray: wake-ups per s and CPU %, recording, popover shut",
                 f"{recording['wakeups'] / seconds:.0f}, {recording['cpu_ms'] / seconds / 10:.1f} %")

    # -- g) notes -----------------------------------------------------------------------------------------------------

    def notes_made(self):
        seconds = 600 if self.options.quick else HOUR_S
        command = self.record(self.speech("notes", seconds), self.empty("notes"))
        progress(f"recording {seconds} s")
        recording = self.check_recording(run(command, self.log).output, seconds)
        length = f"{seconds // 60} min" if seconds < HOUR_S else f"{seconds // HOUR_S} h"
        what = f"Recording of {length} ({recording.stat().st_size >> 20} MiB) to its note"
        self.note_row(f"{what} in a vault, s; cp of the file (ours / theirs)",
                      *notes.in_vault(self.quillet, recording, self.empty("vault-notes"), self.log))
        if why := notes.Joplin.why_unavailable(self.options.joplin):
            self.failed(f"{what} in Joplin", why)
            return
        version, ours, theirs = notes.in_joplin(self.quillet, recording, self.empty("joplin-notes"),
                                                self.options.joplin, self.log)
        self.note_row(f"{what} in Joplin {version}, s; curl's upload of the file alone (ours / theirs)", ours, theirs)

    def note_row(self, what, ours, theirs):
        is_hour = not self.options.quick
        self.row(what, notes.times(ours), notes.times(theirs) if theirs else "not installed",
                 min(ours) / min(theirs) if theirs else None, "median < 1 s" if is_hour else "",
                 statistics.median(ours) < 1 if is_hour else None)

    # -- all of it ----------------------------------------------------------------------------------------------------

    def run_all(self):
        self.ours_per_hour = None
        steps = {"processor time": self.processor_time, "quality": self.quality,
                 "memory and finishing": self.memory_and_finishing, "mixing": self.mixing, "live": self.live,
                 "tray": self.tray, "notes": self.notes_made}
        for name, step in steps.items():
            if self.options.only and name not in self.options.only:
                continue
            begin = time.monotonic()
            try:
                step()
            except (Failed, OSError, ValueError, KeyError) as failure:
                self.failed(name, failure)
            progress(f"{name}: {time.monotonic() - begin:.0f} s")

    def markdown(self):
        lines = ["## Figures", "", self.machine(), "", "| what | ours | theirs | ratio | goal | |",
                 "|---|---|---|---|---|---|"]
        lines += ["| " + " | ".join(row) + " |" for row in self.rows]
        lines += ["", *self.notes] if self.notes else []
        lines += ["", EXPLANATION.format(**vars(self.options))]
        return "\n".join(lines) + "\n"

    @staticmethod
    def machine():
        model = next((line.split(":", 1)[1].strip() for line in open("/proc/cpuinfo") if line.startswith("model name")),
                     platform.machine())
        versions = []
        if peers.has_ffmpeg():
            versions.append("ffmpeg " + first_line(["ffmpeg", "-version"]).split()[2])
        if peers.has_gstreamer():
            versions.append(first_line(["gst-launch-1.0", "--version"]).replace("gst-launch-1.0 version", "GStreamer"))
        return f"`scripts/bench` on {model}, {os.cpu_count()} cores; {', '.join(versions) or 'no peers installed'}."


EXPLANATION = """\
Processor time is user and system time of the whole process over two {minutes}-minute WAV files of speech: medians of
{rounds} rounds, beside the encoder alone of three times as many, in which both programs ran side by side on one
processor, which makes each dearer than alone, and the shorter again and again until the longer had ended. "Theirs" does
the same work: a gain that adapts per source, mixing, AAC at 256 kbit/s in an MP4 file. Coding noise is compared with
what the encoder was given, by a simple model of masking (bench/Quality.cpp says which); nobody listened. Live, both
record at once from one server, in {live_rounds} rounds; beside the default encoder options in one. Wake-ups are
voluntary context switches of all threads. The tray application runs on an X server without a window manager, beside a
panel that answers at once (bench/TrayMeter.cpp); "its share" of memory counts pages that several processes use in part.
Notes are timed as the whole process of `quillet notes create`, and what arrived is compared byte by byte; Joplin runs
without a screen.\
"""


def first_line(command):
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, check=True)
    return done.stdout.decode(errors="replace").splitlines()[0]


def main():
    parser = argparse.ArgumentParser()
    for name in ("build", "scripts", "conversation", "sound_servers", "joplin", "work", "log"):
        parser.add_argument("--" + name.replace("_", "-"), type=pathlib.Path, required=True)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--only", action="append", help="a step by its name; may be given again")
    options = parser.parse_args()
    options.minutes = 3 if options.quick else 10
    options.rounds, options.live_rounds, options.live_seconds = (2, 1, 10) if options.quick else (4, 3, 60)

    bench = Bench(options)
    bench.run_all()
    print(bench.markdown(), end="")


if __name__ == "__main__":
    main()

"""Records live beside a private sound server, with Quillet and with ffmpeg at once, while both sides of a meeting play.

live.py QUILLET ROUNDS SECONDS SYSTEM.wav MICROPHONE.wav FOLDER RESULT.json; started by run.py through
scripts/sound-server. As with files, both are bound to one processor and the medians count; of memory, the largest.
"""

import json
import pathlib
import statistics
import subprocess
import sys
import time

import peers
from measure import Comparison, Failed, progress, side_by_side


def pactl(what):
    lines = subprocess.run(["pactl", "list", "short", what], stdin=subprocess.DEVNULL, capture_output=True, check=True)
    return lines.stdout.decode().splitlines()


class Playing:
    """Both sides of the meeting, each to where it belongs, for the length of a with block."""

    def __init__(self, system, microphone):
        self.commands = [["paplay", system], ["paplay", "--device=micfeed", microphone]]
        self.players = []

    @staticmethod
    def wait_for(streams):
        deadline = time.monotonic() + 10
        while len(pactl("sink-inputs")) != streams:
            if time.monotonic() > deadline:
                raise Failed(f"there are not {streams} streams being played")
            time.sleep(0.05)

    def __enter__(self):
        self.players = [subprocess.Popen(command, stdin=subprocess.DEVNULL) for command in self.commands]
        try:
            self.wait_for(streams=len(self.commands))
        except BaseException:
            self.stop()
            raise

    def stop(self):
        for player in self.players:
            player.kill()
            player.wait()

    def __exit__(self, *_):
        self.stop()
        self.wait_for(streams=0)


def check_whole(usage, seconds):
    made = json.loads(usage.output)
    if min(made["systemPeak"], made["microphonePeak"]) < 0.05 or made["durationSeconds"] < seconds - 1:
        raise Failed(f"the recording is not whole: {usage.output}")


def wakeups_per_s(usage):
    return usage.wakeups / usage.wall_s


def entry(usages):
    return {
        "cpu_s": statistics.median(usage.cpu_s for usage in usages),
        "wakeups_per_s": statistics.median(map(wakeups_per_s, usages)),
        "peak_mib": max(usage.peak_mib for usage in usages),
    }


def main():
    quillet, rounds, seconds, system, microphone, folder, result = sys.argv[1:]
    log = sys.stderr.fileno()
    ours = [quillet, "record", "--duration", seconds, "--folder", folder, "--json"]
    inputs = [("pulse", "speakers.monitor"), ("pulse", "microphone")]

    def compared_live(same_options, rounds):
        theirs = peers.ffmpeg(inputs, str(pathlib.Path(folder) / "ffmpeg.m4a"), same_options, seconds)
        both = Comparison([], [])
        for number in range(rounds):
            progress(f"round {number + 1} of {rounds}, {'same' if same_options else 'default'} encoder options")
            with Playing(system, microphone):
                usages = side_by_side(ours, theirs, number, log)
            check_whole(usages[0], float(seconds))
            both.ours.append(usages[0])
            both.theirs.append(usages[1])
        return {"ours": entry(both.ours), "theirs": entry(both.theirs),
                "ratio": {"cpu_s": both.ratio(), "wakeups_per_s": both.ratio(wakeups_per_s)}}

    # One round tells enough where the encoder's own settings make the difference.
    pathlib.Path(result).write_text(json.dumps({
        "same": compared_live(True, int(rounds)), "its default": compared_live(False, 1)}))


if __name__ == "__main__":
    main()

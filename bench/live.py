"""Records live beside a private sound server, with Quillet and with ffmpeg in turns, while both sides of a meeting play.

live.py QUILLET ROUNDS SECONDS SYSTEM.wav MICROPHONE.wav FOLDER RESULT.json; started by run.py through
scripts/sound-server. As with files, the smallest figure of each program counts; of memory, the largest.
"""

import json
import pathlib
import subprocess
import sys
import time

import peers
from measure import Failed, progress, run


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
        self.wait_for(streams=len(self.commands))

    def __exit__(self, *_):
        for player in self.players:
            player.kill()
            player.wait()
        self.wait_for(streams=0)


def check_whole(usage, seconds):
    made = json.loads(usage.output)
    if min(made["systemPeak"], made["microphonePeak"]) < 0.05 or made["durationSeconds"] < seconds - 1:
        raise Failed(f"the recording is not whole: {usage.output}")


def entry(usages):
    return {
        "cpu_s": min(usage.cpu_s for usage in usages),
        "wakeups_per_s": min(usage.wakeups / usage.wall_s for usage in usages),
        "peak_mib": max(usage.peak_mib for usage in usages),
    }


def main():
    quillet, rounds, seconds, system, microphone, folder, result = sys.argv[1:]
    log = sys.stderr.fileno()
    commands = {"ours": [quillet, "record", "--duration", seconds, "--folder", folder, "--json"]}
    if peers.has_ffmpeg():
        inputs = [("pulse", "speakers.monitor"), ("pulse", "microphone")]
        out = str(pathlib.Path(folder) / "ffmpeg.m4a")
        commands["ffmpeg"] = peers.ffmpeg(inputs, out, True, seconds)
    usages = {name: [] for name in commands}
    for number in range(int(rounds)):
        for name, command in commands.items():
            progress(f"round {number + 1} of {rounds}: {name}")
            with Playing(system, microphone):
                usages[name].append(run(command, log))
    for usage in usages["ours"]:
        check_whole(usage, float(seconds))
    pathlib.Path(result).write_text(json.dumps({name: entry(used) for name, used in usages.items()}))


if __name__ == "__main__":
    main()

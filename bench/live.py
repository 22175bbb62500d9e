"""Records live beside a private sound server, first with Quillet, then with ffmpeg, while both sides of a meeting play.

live.py QUILLET SECONDS SYSTEM.wav MICROPHONE.wav FOLDER RESULT.json; started by run.py through scripts/sound-server.
"""

import json
import pathlib
import subprocess
import sys
import time

import peers
from measure import Failed, run


def pactl(what):
    lines = subprocess.run(["pactl", "list", "short", what], stdin=subprocess.DEVNULL, capture_output=True, check=True)
    return lines.stdout.decode().splitlines()


class Playing:
    """Both sides of the meeting, each to where it belongs, for the length of a with block."""

    def __init__(self, system, microphone):
        self.commands = [["paplay", system], ["paplay", "--device=micfeed", microphone]]
        self.players = []

    def __enter__(self):
        before = len(pactl("sink-inputs"))
        self.players = [subprocess.Popen(command, stdin=subprocess.DEVNULL) for command in self.commands]
        deadline = time.monotonic() + 10
        while len(pactl("sink-inputs")) < before + 2:
            if time.monotonic() > deadline:
                raise Failed("the players do not play")
            time.sleep(0.05)

    def __exit__(self, *_):
        for player in self.players:
            player.kill()
            player.wait()


def entry(usage):
    return {"cpu_s": usage.cpu_s, "wakeups_per_s": usage.wakeups / usage.wall_s, "peak_mib": usage.peak_mib}


def main():
    quillet, seconds, system, microphone, folder, result = sys.argv[1:]
    log = sys.stderr.fileno()
    found = {}
    with Playing(system, microphone):
        command = [quillet, "record", "--duration", seconds, "--folder", folder, "--json"]
        ours = run(command, log)
        made = json.loads(ours.output)
        if min(made["systemPeak"], made["microphonePeak"]) < 0.05 or made["durationSeconds"] < float(seconds) - 1:
            raise Failed(f"the recording is not whole: {ours.output}")
        found["ours"] = entry(ours)
    if peers.has_ffmpeg():
        with Playing(system, microphone):
            inputs = [("pulse", "speakers.monitor"), ("pulse", "microphone")]
            out = str(pathlib.Path(folder) / "ffmpeg.m4a")
            found["ffmpeg"] = entry(run(peers.ffmpeg(inputs, out, True, seconds), log))
    pathlib.Path(result).write_text(json.dumps(found))


if __name__ == "__main__":
    main()

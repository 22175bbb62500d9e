"""Runs programs and accounts for them by what the kernel charges at their end."""

import os
import signal
import subprocess
import sys
import time
from dataclasses import dataclass


class Failed(Exception):
    """A program did not do what it was run for."""


@dataclass
class Usage:
    cpu_s: float  # user and system time of the process, its threads and the children it waited for
    wall_s: float
    peak_mib: float  # resident; never below this interpreter's own 15 MiB, from which the program was started
    wakeups: int  # voluntary context switches of all its threads
    output: str
    killed: bool


def run(command, log, meanwhile=None, accept_kill=False):
    """Runs the command to its end. Meanwhile, if given, is called with its pid once it has been started."""
    begin = time.monotonic()
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=log)
    try:
        if meanwhile is not None:
            meanwhile(process.pid)
        output = process.stdout.read().decode(errors="replace")
    except BaseException:
        process.kill()
        raise
    finally:
        _, status, used = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    wall_s = time.monotonic() - begin
    killed = process.returncode == -signal.SIGKILL
    if process.returncode != 0 and not (killed and accept_kill):
        raise Failed(f"{command[0]} ended with {process.returncode}; see the log")
    return Usage(used.ru_utime + used.ru_stime, wall_s, used.ru_maxrss / 1024, used.ru_nvcsw, output, killed)


def interleaved(commands, rounds, log):
    """Runs each of the named commands once per round, and returns the usages per name. A command that fails is reported
    and left out of the later rounds."""
    usages = {name: [] for name in commands}
    for number in range(rounds):
        for name, command in commands.items():
            if len(usages[name]) < number:
                continue
            progress(f"round {number + 1} of {rounds}: {name}")
            try:
                usages[name].append(run(command, log))
            except Failed as failure:
                progress(f"{name}: {failure}")
                usages[name] = []
    return usages


def progress(text):
    print(f"  {text}", file=sys.stderr, flush=True)

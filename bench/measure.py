"""Runs programs and accounts for them by what the kernel charges at their end."""

import concurrent.futures
import os
import signal
import statistics
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


class Running:
    """A program that has been started, bound to one processor if that is given."""

    def __init__(self, command, log, cpu=None):
        bind = None if cpu is None else lambda: os.sched_setaffinity(0, {cpu})
        self.name = command[0]
        self.begin = time.monotonic()
        self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=log,
                                        preexec_fn=bind)

    def kill(self):
        """Without looking whether it has ended: a look would take the account of it that finish() asks for."""
        if self.process.returncode is None:
            os.kill(self.process.pid, signal.SIGKILL)

    def finish(self, accept_kill=False):
        """Waits for the end, reading what the program prints."""
        try:
            output = self.process.stdout.read().decode(errors="replace")
        except BaseException:
            self.kill()
            raise
        finally:
            _, status, used = os.wait4(self.process.pid, 0)
            self.process.returncode = os.waitstatus_to_exitcode(status)
        wall_s = time.monotonic() - self.begin
        killed = self.process.returncode == -signal.SIGKILL
        if self.process.returncode != 0 and not (killed and accept_kill):
            raise Failed(f"{self.name} ended with {self.process.returncode}; see the log")
        return Usage(used.ru_utime + used.ru_stime, wall_s, used.ru_maxrss / 1024, used.ru_nvcsw, output, killed)


def run(command, log, meanwhile=None, accept_kill=False):
    """Runs the command to its end. Meanwhile, if given, is called with its pid once it has been started."""
    running = Running(command, log)
    try:
        if meanwhile is not None:
            meanwhile(running.process.pid)
    except BaseException:
        running.kill()
        raise
    finally:
        usage = running.finish(accept_kill=True)
    if usage.killed and not accept_kill:
        raise Failed(f"{command[0]} was killed; see the log")
    return usage


def side_by_side(ours, theirs, number, log):
    """Runs both at once, bound to the same processor, another one for each number, and returns their usages. What other
    work on the machine costs them, they meet in the same moments."""
    cpus = sorted(os.sched_getaffinity(0))
    cpu = cpus[number % len(cpus)]
    both = []
    try:
        for command in (ours, theirs):
            both.append(Running(command, log, cpu))
    except BaseException:
        for running in both:
            running.kill()
            running.finish(accept_kill=True)
        raise
    # Each by a thread of its own: the kernel tells what one has used when it is waited for, whichever ends first.
    with concurrent.futures.ThreadPoolExecutor(len(both)) as waiting:
        ends = [waiting.submit(running.finish) for running in both]
        try:
            return [end.result() for end in ends]
        except BaseException:
            for running in both:
                running.kill()
            raise


@dataclass
class Comparison:
    """What both have used in rounds side by side."""

    ours: list
    theirs: list

    def ratio(self, of=lambda usage: usage.cpu_s):
        """Ours to theirs: the median of the rounds."""
        return statistics.median(of(ours) / of(theirs) for ours, theirs in zip(self.ours, self.theirs))


def compared(ours, theirs, rounds, log):
    pairs = [side_by_side(ours, theirs, number, log) for number in range(rounds)]
    return Comparison(*map(list, zip(*pairs)))


def progress(text):
    print(f"  {text}", file=sys.stderr, flush=True)

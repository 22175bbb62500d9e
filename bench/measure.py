"""Runs programs and accounts for them by what the kernel charges at their end."""

import concurrent.futures
import dataclasses
import os
import signal
import statistics
import subprocess
import sys
import threading
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
    cpu = processor(number)
    return at_once([lambda command=command: Running(command, log, cpu).finish() for command in (ours, theirs)])


def company(ours, theirs, number, log):
    """The same for programs of different length: the shorter is run again and again for as long as the longer takes, so
    that both share the processor all the time. The usage of either is the mean of its runs."""
    cpu = processor(number)
    ended_once = [threading.Event(), threading.Event()]

    def repeated(command, own_end, other_end):
        usages = []
        try:
            while not usages or not other_end.is_set():
                usage = Running(command, log, cpu).finish()
                if usages and other_end.is_set():
                    break  # for a part of this run it was alone
                usages.append(usage)
                own_end.set()
        finally:
            own_end.set()
        return mean(usages)

    return at_once([lambda: repeated(ours, *ended_once), lambda: repeated(theirs, *reversed(ended_once))])


def processor(number):
    cpus = sorted(os.sched_getaffinity(0))
    return cpus[number % len(cpus)]


def at_once(calls):
    with concurrent.futures.ThreadPoolExecutor(len(calls)) as threads:
        return [end.result() for end in [threads.submit(call) for call in calls]]


def mean(usages):
    return dataclasses.replace(
        usages[-1],
        cpu_s=statistics.mean(usage.cpu_s for usage in usages),
        wall_s=statistics.mean(usage.wall_s for usage in usages),
        peak_mib=max(usage.peak_mib for usage in usages),
        wakeups=statistics.mean(usage.wakeups for usage in usages),
    )


@dataclass
class Comparison:
    """What both have used in rounds side by side."""

    ours: list
    theirs: list

    def ratio(self, of=lambda usage: usage.cpu_s):
        """Ours to theirs: the median of the rounds."""
        return statistics.median(of(ours) / of(theirs) for ours, theirs in zip(self.ours, self.theirs))


def compared(ours, theirs, rounds, log):
    pairs = [company(ours, theirs, number, log) for number in range(rounds)]
    return Comparison(*map(list, zip(*pairs)))


def progress(text):
    print(f"  {text}", file=sys.stderr, flush=True)

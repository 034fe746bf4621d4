#!/usr/bin/env python3
"""Measures a lock for which many machines wait at the same time:
    benchmarks/lock_crowd.py TOOL FAULT_FS [--machines N]… [--delay MS] [--hold MS] [--turns N]

Each machine is a process with a separate mount of fault_fs over a common folder in memory. fault_fs
delays and counts each request. In each turn, a machine waits for the lock, holds it for a while and
releases it. For each number of machines, prints the hand-over time (from the release by one machine
until the next machine holds the lock), the waiting times, and the requests that reach the server.

All processes and mounts are in new namespaces, which end with their first process."""

import argparse
import os
import pathlib
import signal
import statistics
import struct
import subprocess
import sys
import time

SPACES = ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
INSIDE = "OX_INSIDE_NAME_SPACES"
WORK = pathlib.Path("/run/crowd")
CONTROL_SIZE = 64
REQUESTS_AT = 16  # FaultControl::requests


class Machine:
    """A machine: a mount of the common folder."""

    def __init__(self, name, options):
        self.folder = WORK / "machines" / name
        self.mount = self.folder / "mount"
        self.mount.mkdir(parents=True)
        self.control = self.folder / "control"
        self.control.write_bytes(bytes(CONTROL_SIZE))
        self.server = subprocess.Popen(
            [options.fault_fs, "--delay", str(options.delay * 1000), "--control", self.control,
             WORK / "data", self.mount])

    def is_ready(self):
        return self.control.read_bytes()[0] == 1

    def requests(self):
        return struct.unpack_from("Q", self.control.read_bytes(), REQUESTS_AT)[0]

    def end(self):
        self.server.terminate()
        self.server.wait()


def turns_of(machine, options, start, log):
    """Runs the turns of one machine. For each turn, logs a line with three times in seconds: when the
    machine began to wait for the lock, when it got the lock, and when it released the lock."""
    script = f"date +%s.%N; sleep {options.hold / 1000}; date +%s.%N"
    time.sleep(max(start - time.time(), 0))
    for _ in range(options.turns):
        began = time.time()
        done = subprocess.run(
            [options.tool, "lock", machine.mount / "f", "--timeout", "600000", "--",
             "sh", "-c", script], stdout=subprocess.PIPE, text=True, check=True)
        os.write(log, f"{began} {' '.join(done.stdout.split())}\n".encode())


def run_crowd(count, options):
    machines = [Machine(f"{count}-{number}", options) for number in range(count)]
    while not all(machine.is_ready() for machine in machines):
        time.sleep(0.1)
    name = WORK / "log"
    log = os.open(name, os.O_WRONLY | os.O_CREAT | os.O_TRUNC | os.O_APPEND)
    start = time.time() + 1 + count / 100
    before = sum(machine.requests() for machine in machines)
    processes = []
    for machine in machines:
        process = os.fork()
        if process == 0:
            turns_of(machine, options, start, log)
            os._exit(0)
        processes.append(process)
    if any(os.waitpid(process, 0)[1] for process in processes):
        raise RuntimeError("the process of a machine failed")
    requests = sum(machine.requests() for machine in machines) - before
    os.close(log)
    for machine in machines:
        machine.end()
    return [tuple(map(float, line.split())) for line in name.read_text().splitlines()], requests


def show(count, turns, requests):
    turns.sort(key=lambda turn: turn[1])
    for one, following in zip(turns, turns[1:]):
        if following[1] < one[2]:
            raise RuntimeError("two machines held the lock at the same time")
    # Excludes the last turn of each machine, since fewer machines wait at the end.
    crowded = turns[:-count] if len(turns) > count else turns
    gaps = [following[1] - one[2] for one, following in zip(crowded, crowded[1:])]
    waits = [held - began for began, held, _ in crowded]
    seconds = turns[-1][2] - turns[0][0]
    print(f"| {count} | {len(turns)} | {1000 * statistics.median(gaps):.0f} "
          f"| {1000 * sorted(gaps)[len(gaps) * 95 // 100]:.0f} | {len(turns) / seconds:.1f} "
          f"| {statistics.mean(waits):.1f} | {max(waits):.1f} "
          f"| {max(waits) / statistics.mean(waits):.1f} | {requests / seconds:.0f} |", flush=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tool")
    parser.add_argument("fault_fs")
    parser.add_argument("--machines", type=int, action="append")
    parser.add_argument("--delay", type=int, default=2, help="delay of each request in ms")
    parser.add_argument("--hold", type=int, default=50, help="how long a machine holds the lock, in ms")
    parser.add_argument("--turns", type=int, default=3, help="how often each machine takes the lock")
    options = parser.parse_args()
    if INSIDE not in os.environ:
        signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
        inside = subprocess.Popen([*SPACES, sys.executable, *sys.argv],
                                  env=dict(os.environ, **{INSIDE: "1"}))
        try:
            return inside.wait()
        finally:
            inside.kill()
    subprocess.run("mount -t tmpfs none /run".split(), check=True)
    (WORK / "data").mkdir(parents=True)
    print(f"{options.delay} ms a request, {options.hold} ms a hold")
    print("| machines | holds | hand-over ms, median | 95 % | holds a second | mean wait s "
          "| longest | longest / mean | requests a second |")
    print("|---" * 9 + "|")
    for count in options.machines or (1, 10, 50, 100, 200):
        show(count, *run_crowd(count, options))
    return 0


if __name__ == "__main__":
    sys.exit(main())

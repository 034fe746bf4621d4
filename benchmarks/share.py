#!/usr/bin/env python3
"""Measures the tool and its alternatives on a share with slow round trips:

    share.py [--quick] [--files N] [--delay MS]... [--only PART]... OXTOOL FAULT_FS

fault_fs mounts a folder in memory and delays each request. The kernel does not cache the folder, so
fault_fs sees and counts each request. The tool and its alternatives run on the same mount, one after
the other. The result is the fastest of three runs. Operations of more than a second run only once.

Prints a table for each delay. The column "by name" counts the requests that contain a name: open,
status, create, remove, rename. "least by name" is the smallest possible number of these requests; for
several files, it is a number per file. "all" counts all requests, also lookups and requests on open
files, such as reads and writes.
"""

import argparse
import collections
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

FILE_SIZE = 20000
FOLDERS = ("/source", "/target")
Sizes = collections.namedtuple("Sizes", "files large_mib listed buffer_files delays")
FULL = Sizes(2000, 256, 10000, 1000, [0.5, 2, 10])
QUICK = Sizes(100, 32, 1000, 100, [2])


class Share:
    """A folder in memory, mounted by fault_fs. Leaving the `with` block unmounts and removes it."""

    def __init__(self, program, delay_ms):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="share_bench_", dir="/dev/shm"))
        self.path, self.backing = self.root / "mount", self.root / "backing"
        self.log = self.root / "log"
        self.path.mkdir()
        self.backing.mkdir()
        self.log.touch()
        self.command = [program, "--threads", "64", "--entries", "100000", "--log", str(self.log),
                        "--delay", str(int(delay_ms * 1000)), str(self.backing), str(self.path)]

    def __enter__(self):
        self.server = subprocess.Popen(self.command)
        end = time.monotonic() + 10
        while not self.path.is_mount():
            if time.monotonic() > end or self.server.poll() is not None:
                self.__exit__()
                sys.exit("share.py: cannot mount with FUSE")
            time.sleep(0.01)
        return self

    def __exit__(self, *_):
        self.server.terminate()
        try:
            self.server.wait(10)
        except subprocess.TimeoutExpired:
            self.server.kill()
            self.server.wait()
            subprocess.run(["umount", "-l", str(self.path)], check=False)
        shutil.rmtree(self.root, ignore_errors=True)

    def clear_log(self):
        os.truncate(self.log, 0)

    def requests(self):
        """Returns the number of requests by name and of all requests since clear_log()."""
        with open(self.log, encoding="utf-8", errors="replace") as lines:
            columns = [line.split("\t", 4) for line in lines]
        count = collections.Counter(line[1] for line in columns)
        # The kernel sends one LOOKUP before each request by name, and two before a RENAME or LINK.
        # Lookups of parent folders do not count. The kernel never looks up the root of the mount, so
        # the requests for the root are counted instead of lookups.
        names = sum(line[1] == "LOOKUP" and line[3] not in FOLDERS for line in columns)
        folders = sum(line[1] in ("OPENDIR", "GETATTR") and line[3] == "/" for line in columns)
        folders += sum(line[1] == "OPENDIR" and line[3] in FOLDERS for line in columns)
        return (names + folders - count["RENAME"] - count["LINK"], sum(count.values()))


def run(command, may_fail=False):
    started = time.monotonic()
    done = subprocess.run(command, shell=isinstance(command, str), stdin=subprocess.DEVNULL,
                          stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=False)
    if done.returncode != 0 and not may_fail:
        sys.exit(f"share.py: {command} failed:\n{done.stderr.decode(errors='replace')}")
    return time.monotonic() - started


class Measurement:
    """The results of the tool and of its alternatives for one operation."""

    def __init__(self, shares, label, least, per_file=1):
        self.shares, self.label, self.least, self.per_file = shares, label, least, per_file
        self.results = {}

    def measure(self, name, command, prepare=lambda: None, may_fail=False):
        best = None
        for _ in range(3):
            prepare()
            for share in self.shares:
                share.clear_log()
            seconds = run(command, may_fail)
            counts = [share.requests() for share in self.shares]
            total = [sum(column) / self.per_file for column in zip(*counts)]
            best = min(best or (seconds, total), (seconds, total))
            if seconds > 1:
                break
        self.results[name] = best
        return self

    def row(self):
        ours, (by_name, requests) = self.results["oxtool"]
        others = [f"{name} {ours / seconds:.2f} ({counts[1]:.4g})"
                  for name, (seconds, counts) in self.results.items() if name != "oxtool"]
        return (f"| {self.label} | {self.least} | {by_name:.4g} | {requests:.4g} | "
                f"{ours * 1000:.0f} ms | {', '.join(others)} |")


class Bench:
    def __init__(self, options, delay):
        self.tool, self.fault_fs, self.delay = options.oxtool, options.fault_fs, delay
        self.sizes = QUICK if options.quick else FULL
        self.count = options.files or self.sizes.files

    def share(self):
        return Share(self.fault_fs, self.delay)

    def locks(self):
        with self.share() as share:
            file, lock = share.path / "farm.ini", share.path / "farm.ini_lock.txt"
            yield (Measurement([share], "lock and unlock", 4)
                   .measure("oxtool", [self.tool, "lock", file, "--", "true"])
                   .measure("flock(1)", ["flock", share.path / "lock", "true"]))
            payload = share.root / "payload"
            payload.write_bytes(os.urandom(FILE_SIZE))
            run([self.tool, "pack", payload, share.backing / "job"])
            yield (Measurement([share], "refresh of a buffer file", 5)
                   .measure("oxtool", [self.tool, "refresh", share.path / "job"])
                   .measure("flock cat", ["flock", share.path / "lock", "cat", share.path / "job"]))
            (share.backing / lock.name).touch()
            yield (Measurement([share], "wait of 10 s for a held lock", 41)
                   .measure("oxtool", [self.tool, "lock", file, "--timeout", "10000", "--", "true"],
                            may_fail=True))

    def make_files(self, folder):
        folder.mkdir()
        for number in range(self.count):
            file = folder / f"frame.{number:05}.exr"
            file.write_bytes(os.urandom(FILE_SIZE))
            os.utime(file, (1700000000 + number, 1700000000 + number))

    def sync(self, to_share):
        """Copies a folder from or to the share: to a new target, up to date, and with 1 % changed files."""
        with self.share() as share:
            local = share.root / "local"
            self.make_files(share.root / "source")
            source_backing = share.root / "source" if to_share else share.backing / "source"
            if not to_share:
                (share.root / "source").rename(source_backing)
            source = source_backing if to_share else share.path / "source"
            target = share.path / "target" if to_share else local
            target_backing = share.backing / "target" if to_share else local
            tools = {"oxtool": [self.tool, "sync", source, target],
                     "rsync -a": ["rsync", "-a", f"{source}/", f"{target}/"],
                     "cp -au": f"cp -au '{source}/.' '{target}/'",
                     "rclone": ["rclone", "copy", "--transfers", "16", "--checkers", "16",
                                source, target]}
            where = "to the share" if to_share else "from the share"
            leasts = (3, 1, "") if to_share else (2, 1, "")

            def empty():
                shutil.rmtree(target_backing, ignore_errors=True)
                target_backing.mkdir(mode=0o777)

            def fill():
                empty()
                run(["cp", "-a", f"{source_backing}/.", target_backing])

            def change():
                fill()
                for number in range(max(self.count // 100, 1)):
                    os.utime(target_backing / f"frame.{number * 100:05}.exr", (1, 1))

            for state, prepare, least in zip(("new", "up to date", "1 % changed"),
                                             (empty, fill, change), leasts):
                measurement = Measurement([share], f"sync {where}, {state}, a file", least,
                                          self.count)
                for name, command in tools.items():
                    if shutil.which(name.split()[0]) or name == "oxtool":
                        measurement.measure(name, command, prepare)
                yield measurement

    def large(self):
        """Copies one large file. The alternative "one side" only reads from or only writes to the share."""
        with self.share() as one, self.share() as two:
            local = one.root / "local"
            for file in (local, one.backing / "large"):
                with open(file, "wb") as out:
                    for _ in range(self.sizes.large_mib):
                        out.write(os.urandom(1 << 20))
            large = f"{self.sizes.large_mib} MiB"
            out = one.root / "out"
            read = f"dd if={one.path}/large of=/dev/null bs=1M"
            write = f"dd if={local} of={two.path}/side bs=1M conv=fsync"
            ways = {"from the share": (one.path / "large", out, read, out),
                    "to the share": (local, two.path / "out", write, two.backing / "out"),
                    "to another share": (one.path / "large", two.path / "out", write,
                                         two.backing / "out"),
                    "on one share": (one.path / "large", one.path / "out", read,
                                     one.backing / "out")}
            for where, (source, target, side, copy) in ways.items():
                def remove():
                    copy.unlink(missing_ok=True)
                yield (Measurement([one, two], f"{large} {where}", 7)
                       .measure("oxtool", [self.tool, "cp", source, target], remove)
                       .measure("one side", side, remove)
                       .measure("cp", ["cp", "-a", source, target], remove)
                       .measure("rsync -aW", ["rsync", "-aW", source, target], remove))
            run([self.tool, "pack", local, one.backing / "job"])
            yield (Measurement([one], f"refresh of {large}", 5)
                   .measure("oxtool", [self.tool, "refresh", one.path / "job"])
                   .measure("one side", f"dd if={one.path}/job of=/dev/null bs=1M"))

    def listing(self):
        with self.share() as share:
            count = self.sizes.listed
            for number in range(count):
                (share.backing / f"frame.{number:05}.exr").touch()
            yield (Measurement([share], f"listing of {count:,} files, a file", 1, count)
                   .measure("oxtool", [self.tool, "ls", share.path])
                   .measure("find", ["find", share.path, "-printf", "%s %T@ %p\\n"])
                   .measure("ls -l", ["ls", "-l", share.path]))

    def verification(self):
        with self.share() as share:
            payload = share.root / "payload"
            payload.write_bytes(os.urandom(FILE_SIZE))
            run([self.tool, "pack", payload, share.root / "job"])
            count = self.sizes.buffer_files
            for number in range(count):
                shutil.copy(share.root / "job", share.backing / f"job{number}.oxdb")
            yield (Measurement([share], f"verify of {count:,} buffer files, a file", 1, count)
                   .measure("oxtool", [self.tool, "verify", share.path])
                   .measure("cksum", f"cksum {share.path}/*.oxdb"))

    def parts(self):
        return {"lock": self.locks, "from": lambda: self.sync(False), "to": lambda: self.sync(True),
                "large": self.large, "list": self.listing, "verify": self.verification}


def main():
    parser = argparse.ArgumentParser(prog="share.py")
    parser.add_argument("--quick", action="store_true", help="use fewer files, and only the delay of 2 ms")
    parser.add_argument("--files", type=int, help="number of files of a synchronisation")
    parser.add_argument("--delay", type=float, action="append", help="delay of each request in milliseconds")
    parser.add_argument("--only", action="append", help="run only this part: lock, from, to, large, list or verify")
    parser.add_argument("oxtool")
    parser.add_argument("fault_fs")
    options = parser.parse_args()
    for delay in options.delay or (QUICK if options.quick else FULL).delays:
        bench = Bench(options, delay)
        print(f"{delay:g} ms a request, {bench.count} files of {FILE_SIZE // 1000} KB:\n")
        print("| operation | least by name | by name | all | oxtool "
              "| oxtool's time / that of … (its requests) |")
        print("|---|---:|---:|---:|---:|---|", flush=True)
        for name, part in bench.parts().items():
            if not options.only or name in options.only:
                for measurement in part():
                    print(measurement.row(), flush=True)
        print()


main()

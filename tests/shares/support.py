"""Common parts of the checks. A check tests one promise of a network share from two machines.

A check returns KEPT if the share keeps the promise, otherwise a short text that describes the
deviation of the share. The decorator `check` lists the expected deviations of the shares. A check
fails if its result differs from the expected one, even if the result is KEPT. So the tables in
docs/lock_files.md and docs/platforms.md stay correct."""

import contextlib
import errno
import json
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import threading
import time

from shares import descendants, wait_until

KEPT = "kept"
CHECKS = []
THREE_HOURS = 3 * 60 * 60
LOCKED = 4  # exit status of the tool when another process holds the lock
tool = None  # path of the tool, set by run.py


class Check:
    def __init__(self, run, promise, deviations):
        self.run, self.promise, self.deviations = run, promise, deviations
        self.name = run.__name__
        self.loses_server = self.name.startswith("loss_")

    def expected(self, share):
        return self.deviations.get(share.name, KEPT)

    def accepts(self, share, found):
        """Returns whether a result is allowed. If "at times X" is expected, X and KEPT are allowed, too.
        If "at times X, or Y" is expected, X, Y and KEPT are allowed, too. If "up to N s late" is expected,
        KEPT and any shorter delay are allowed."""
        expected = self.expected(share)
        if expected.startswith("at times"):
            return found in (KEPT, expected, *expected.removeprefix("at times ").split(", or "))
        late = re.compile(r"up to (\d+) s late")
        if limit := late.fullmatch(expected):
            delay = late.fullmatch(found)
            return found == KEPT or (delay and int(delay[1]) <= int(limit[1]))
        return found == expected


def check(promise, **deviations):
    named = {name.replace("_", "-"): text for name, text in deviations.items()}
    return lambda run: CHECKS.append(Check(run, promise, named)) or run


def error_name(error):
    return errno.errorcode.get(error.errno, str(error.errno))


def oxtool(*words, wait=60, status=0):
    """Runs the tool. The check fails unless the exit status is `status`; None accepts any status."""
    done = subprocess.run([tool, *map(str, words)], capture_output=True, timeout=wait, text=True,
                          errors="surrogateescape", check=False)
    if status is not None and done.returncode != status:
        raise AssertionError(f"oxtool {' '.join(map(str, words))}: status {done.returncode}: "
                             f"{done.stderr.strip()}")
    return done


def report(*words, **options):
    return json.loads(oxtool(*words, "--json", **options).stdout)


def start(*words):
    """Starts the tool. Its output goes to a file: the reader of a pipe would also wait for the children
    of a killed tool."""
    output = tempfile.TemporaryFile("w+", errors="surrogateescape", dir="/run")
    process = subprocess.Popen([tool, *map(str, words)], stdin=subprocess.DEVNULL, stdout=output,
                               stderr=output)
    process.output = output
    return process


def output_of(process):
    process.output.seek(0)
    return process.output.read().strip()


def kill(process):
    for number in descendants(process.pid):
        with contextlib.suppress(ProcessLookupError):
            os.kill(number, signal.SIGKILL)
    process.wait(30)


def require(condition, text):
    if not condition:
        raise AssertionError(text)


def equal(found, expected, what):
    require(found == expected, f"{what} is {found!r} instead of {expected!r}")


def result_of(call, *arguments):
    """Calls a function. Returns KEPT if it succeeds, otherwise the name of the error, such as EBUSY."""
    try:
        call(*arguments)
    except OSError as error:
        return error_name(error)
    return KEPT


def delay_of(change, is_seen, attempts=3):
    """Returns, as a text, the longest delay until the other machine sees a change. KEPT means no delay."""
    latest = 0
    for attempt in range(attempts):
        change(attempt)
        began = time.monotonic()
        if not is_seen(attempt):
            wait_until(lambda: is_seen(attempt), 60, "seeing a change")
            latest = max(latest, time.monotonic() - began)
        if latest > 2:
            break
    return KEPT if latest == 0 else f"up to {next(s for s in (2, 5, 30, 60) if latest <= s)} s late"


def reads(file, content):
    """Returns whether a file has this content. Returns False after an error, such as ESTALE if the name
    of a removed file is still cached."""
    try:
        return file.read_text() == content
    except OSError:
        return False


def big_content(size):
    return b"".join(b"%015d\n" % number for number in range(size // 16))


@contextlib.contextmanager
def holder(file, seconds=30):
    """During a `with` block, runs a process that holds the lock of a file."""
    marker = pathlib.Path(f"/run/shares/held-{threading.get_ident()}-{time.monotonic_ns()}")
    process = start("lock", file, "--", "sh", "-c", f'touch "{marker}"; exec sleep {seconds}')
    try:
        wait_until(lambda: marker.exists() or process.poll() is not None, 30, "the holder")
        require(process.poll() is None, "the lock is not taken")
        yield process
    finally:
        if process.poll() is None:
            process.terminate()
            process.wait(30)


def lock_file(folder, name="f"):
    return folder / f"{name}_lock.txt"


def make_old(file):
    old = time.time() - THREE_HOURS - 60
    os.utime(file, (old, old))


def seen_age(folder):
    return time.time() - lock_file(folder).stat().st_mtime

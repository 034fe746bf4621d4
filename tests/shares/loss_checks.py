"""Checks that kill the server during a command and restart it. After each check the share works."""

import os
import subprocess
import time

from shares import wait_until
from support import (
    KEPT, LOCKED, THREE_HOURS, big_content, check, equal, holder, kill, lock_file, make_old,
    output_of, oxtool, report, require, seen_age, start)


def lose(s, seconds):
    s.lose_server()
    time.sleep(seconds)
    s.start_server()
    wait_until(s.works, 60, "the return of the server")


def end_of(process, seconds=60):
    """Waits for a process. Returns its exit status. If the process hangs, kills it and returns None."""
    try:
        return process.wait(seconds)
    except subprocess.TimeoutExpired:
        kill(process)
        return None


def content_of(file):
    """Reads a file. Repeats a failed read for up to 60 s: just after its restart, a server can refuse a read.
    Returns the content, or None if every read fails."""
    end = time.monotonic() + 60
    while True:
        try:
            return file.read_bytes()
        except OSError:
            if time.monotonic() > end:
                return None
        time.sleep(0.05)


@check("a copy continues after a restart of the server",
       gluster="it fails; the previous file stays",
       gluster_uncached="it fails; the previous file stays",
       moosefs="at times it fails; the previous file stays, or the new file cannot be read",
       smbnetfs="at times it fails; the previous file stays",
       sshfs="it fails; the previous file stays",
       sshfs_uncached="it fails; the previous file stays")
def loss_during_copy(s):
    source, target = s.folder / "loss-source", s.a / "copy"
    source.write_bytes(big_content(12 << 20))
    target.write_text("previous")
    time.sleep(3)  # a server may store the previous file in the background
    process = start("cp", "--pause", 100, source, target)
    time.sleep(0.6)
    require(process.poll() is None, "the copy ends too early: " + output_of(process))
    lose(s, 2)
    status = end_of(process, 240)  # MooseFS repeats a failed write for about 2 minutes
    whole = source.read_bytes()
    found = content_of(target)
    if status is None:
        return "it hangs"
    if status != 0:
        require("cannot copy" in output_of(process), output_of(process))
        equal(found, b"previous", "the target of the failed copy")
    elif found is not None:
        equal(found == whole, True, "whether the target is complete")
    oxtool("cp", source, target)
    equal(target.read_bytes() == whole, True, "whether the next copy is complete")
    left = [name for name in os.listdir(s.a) if name != "copy"]
    equal(left, [], "other files after the next copy")
    if status != 0:
        return "it fails; the previous file stays"
    return KEPT if found else "the new file cannot be read"


@check("a holder can release its lock after a restart of the server",
       gluster="at times the lock file stays, and the tool reports it",
       gluster_uncached="at times the lock file stays, and the tool reports it")
def loss_during_lock(s):
    with holder(s.a / "f", seconds=4) as process:
        lose(s, 1)
        status = end_of(process)
        output = output_of(process)
    if status is None:
        return "it hangs"
    free = not report("lock", "--status", s.b / "f")["held"]
    equal(free, status == 0, f"whether the lock is free ({output})")
    return KEPT if free else "the lock file stays, and the tool reports it"


@check("the lock of a running process stays after a restart of the server",
       **{share: "the other machine removes it"
          for share in ("gluster", "gluster_uncached", "smbnetfs", "sshfs", "sshfs_uncached")})
def loss_of_flock(s):
    with holder(s.a / "f") as process:
        lose(s, 1)
        make_old(lock_file(s.a))
        wait_until(lambda: seen_age(s.b) > THREE_HOURS, 60, "the old time")
        taken = oxtool("lock", s.b / "f", "--timeout", 250, "--", "true", status=None)
        require(process.poll() is None, output_of(process))
    return KEPT if taken.returncode == LOCKED else "the other machine removes it"


@check("a refresh waits until the server has restarted",
       smbnetfs="at times it fails with a message",
       gluster="it fails with a message", gluster_uncached="it fails with a message",
       sshfs="it fails with a message", sshfs_uncached="it fails with a message")
def loss_before_refresh(s):
    source = s.folder / "refresh-source"
    source.write_text("content")
    oxtool("pack", source, s.a / "f")
    wait_until((s.b / "f").exists, 60, "the file")
    s.lose_server()
    process = start("refresh", s.b / "f")
    time.sleep(1)
    s.start_server()
    wait_until(s.works, 60, "the return of the server")
    status = end_of(process)
    oxtool("refresh", s.b / "f")
    if status is None:
        return "it hangs"
    if status == 0:
        return KEPT
    require("oxtool: cannot" in output_of(process), output_of(process))
    return "it fails with a message"

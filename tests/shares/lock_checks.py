"""Checks of locks that two machines take and whose status they query."""

import concurrent.futures
import os
import time

from shares import wait_until
from support import (
    KEPT, LOCKED, THREE_HOURS, check, equal, holder, kill, lock_file, make_old, oxtool, report,
    require, seen_age)


@check("at any time only one process on all machines holds a lock", smbnetfs="at times two hold it",
       gluster="at times holders read old content")
def mutual_exclusion(s):
    """Runs three processes on each machine. A log on a local disk shows whether two processes held
    the lock at the same time. A counter on the share shows whether a holder read an old value."""
    (s.a / "counter").write_text("0")
    wait_until((s.b / "counter").exists, 60, "the counter")
    log = s.folder / "exclusion.log"
    turns = 3
    script = ('echo begin >>"$1"; n=$(cat "$2"); echo $((n + 1)) >"$2"; echo end >>"$1"')

    def work(folder):
        for _ in range(turns):
            oxtool("lock", folder / "counter", "--timeout", 60000, "--",
                   "sh", "-c", script, "sh", log, folder / "counter", wait=90)

    workers = [folder for folder in (s.a, s.b) for _ in range(3)]
    with concurrent.futures.ThreadPoolExecutor(len(workers)) as pool:
        list(pool.map(work, workers))
    lines = log.read_text().split()
    equal(len(lines), 2 * turns * len(workers), "the number of lines")
    if lines != ["begin", "end"] * (len(lines) // 2):
        return "at times two hold it"
    left = [name for name in os.listdir(s.a) if "_lock" in name]
    equal(left, [], "remaining lock files")
    counted = int((s.a / "counter").read_text())
    return KEPT if counted == turns * len(workers) else "holders read old content"


@check("a waiter gets the lock when the holder releases it")
def waiting(s):
    with holder(s.a / "f", seconds=1) as process:
        refused = oxtool("lock", s.b / "f", "--timeout", 250, "--", "true", status=None)
        taken = oxtool("lock", s.b / "f", "--timeout", 60000, "--", "true")
        equal(process.wait(30), 0, "the holder's status")
    equal(taken.returncode, 0, "the waiter's status")
    equal(refused.returncode, LOCKED, "the status of the waiter with a short timeout")
    require("locked by" in refused.stderr, refused.stderr)
    equal([name for name in os.listdir(s.a) if "_lock" in name], [], "remaining lock files")
    return KEPT


@check("lock --status on the other machine shows the holder, and that it is running",
       smbnetfs="looks left behind", sshfs="looks left behind", sshfs_uncached="looks left behind",
       cifs="running, but not who it is")
def status_of_live(s):
    with holder(s.a / "f") as process:
        status = report("lock", "--status", s.b / "f")
        require(status["held"], str(status))
        if status["live"] and not status["who"]:
            return "running, but not who it is"
        require(f"oxtool {process.pid}" in status["who"], str(status))
    return {True: KEPT, None: "cannot tell", False: "looks left behind"}[status["live"]]


@check("lock --status on the other machine shows that the holder was killed")
def status_of_killed(s):
    with holder(s.a / "f") as process:
        kill(process)
        # The client releases the flock of a killed process only after the process has ended.
        end = time.monotonic() + 10
        status = report("lock", "--status", s.b / "f")
        while status["live"] and time.monotonic() < end:
            status = report("lock", "--status", s.b / "f")
        refused = oxtool("lock", s.b / "f", "--timeout", 250, "--", "true", status=LOCKED)
        require("locked by" in refused.stderr, refused.stderr)
    require(status["held"], "the lock file of a killed process does not exist")
    return {False: KEPT, None: "cannot tell", True: "looks alive"}[status["live"]]


@check("the other machine removes the stale lock of a killed process")
def stale_lock(s):
    with holder(s.a / "f") as process:
        kill(process)
        make_old(lock_file(s.a))
        wait_until(lambda: seen_age(s.b) > THREE_HOURS, 60, "the old time")
        taken = oxtool("lock", s.b / "f", "--timeout", 250, "--", "true", status=None)
    return KEPT if taken.returncode == 0 else "it stays"


@check("the other machine never removes the lock of a running process",
       sshfs="the other machine removes it", sshfs_uncached="the other machine removes it")
def old_lock_of_living(s):
    with holder(s.a / "f"):
        make_old(lock_file(s.a))
        wait_until(lambda: seen_age(s.b) > THREE_HOURS, 60, "the old time")
        taken = oxtool("lock", s.b / "f", "--timeout", 250, "--", "true", status=None)
    return KEPT if taken.returncode == LOCKED else "the other machine removes it"


@check("lock --break removes only the lock of a killed process",
       sshfs="every lock is broken", sshfs_uncached="every lock is broken")
def broken_lock(s):
    with holder(s.a / "f") as process:
        refused = oxtool("lock", "--break", s.b / "f", status=None)
        if refused.returncode == 0:
            return "every lock is broken"
        equal(refused.returncode, LOCKED, "the status of the refused --break")
        require(process.poll() is None, "the holder has ended")
    with holder(s.a / "f") as process:
        kill(process)
        # The client releases the flock of a killed process only after the process has ended.
        wait_until(lambda: oxtool("lock", "--break", s.b / "f", status=None).returncode == 0, 10,
                   "breaking the lock of a killed process")
    oxtool("lock", s.b / "f", "--timeout", 0, "--", "true")
    return KEPT

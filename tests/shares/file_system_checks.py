"""Checks of the file system of a share, without the tool."""

import concurrent.futures
import contextlib
import fcntl
import os
import threading

from shares import wait_until
from support import KEPT, check, delay_of, error_name, reads, require, result_of


@check("if two machines create the same file exclusively, one fails", smbnetfs="at times both create it",
       sshfs="at times the other one gets EPERM", sshfs_uncached="at times the other one gets EPERM")
def exclusive_creation(s):
    rounds = 150
    barrier = threading.Barrier(2)
    refused = []

    def run(folder):
        won = []
        for number in range(rounds):
            barrier.wait(30)
            try:
                os.close(os.open(folder / f"x{number}", os.O_CREAT | os.O_EXCL | os.O_RDWR))
                won.append(number)
            except FileExistsError:
                pass
            except PermissionError:
                refused.append(number)
        return won

    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        first, second = pool.map(run, (s.a, s.b))
    require(set(first) | set(second) == set(range(rounds)), "no machine has created a file")
    if set(first) & set(second):
        return "at times both create it"
    return "at times the other one gets EPERM" if refused else KEPT


@check("a flock of one machine also excludes the other machine",
       smbnetfs="only on one machine", sshfs="only on one machine",
       sshfs_uncached="only on one machine")
def flock_across(s):
    (s.a / "f").write_text("x")
    with open(s.a / "f", "r+") as first, open(s.b / "f", "r+") as second:
        fcntl.flock(first, fcntl.LOCK_EX)
        try:
            fcntl.flock(second, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except (BlockingIOError, PermissionError):  # the kernel's SMB client reports EACCES
            return KEPT
        return "only on one machine"


@check("a file that the same machine has open can be deleted", smbnetfs="EBUSY")
def delete_own_open(s):
    with open(s.a / "f", "w"):
        return result_of(os.unlink, s.a / "f")


@check("a file that the other machine has open can be deleted", smbnetfs="EBUSY")
def delete_foreign_open(s):
    with open(s.a / "f", "w"):
        wait_until((s.b / "f").exists, 30, "the file on the other machine")
        return result_of(os.unlink, s.b / "f")


@check("a file that the same machine has open can be replaced by a rename", smbnetfs="EBUSY", cifs="EACCES")
def replace_own_open(s):
    (s.a / "new").write_text("new")
    with open(s.a / "f", "w"):
        return result_of(os.rename, s.a / "new", s.a / "f")


@check("a file that the other machine reads can be replaced by a rename", smbnetfs="EEXIST")
def replace_foreign_open(s):
    for name in ("f", "new"):
        (s.a / name).write_text(name)
    with open(s.b / "f") as reader:
        result = result_of(os.rename, s.a / "new", s.a / "f")
        try:
            return result if reader.read() == "f" else "the reader gets other content"
        except OSError as error:
            return f"{result}, then the reader gets {error_name(error)}"


@check("a file can have hard links", smbnetfs="EPERM")
def hard_links(s):
    (s.a / "f").write_text("x")
    return result_of(os.link, s.a / "f", s.a / "g")


@check("stat on the other machine finds a new file at once", cifs="up to 2 s late")
def new_file_seen(s):
    def create(number):
        (s.b / f"f{number}").exists()
        (s.a / f"f{number}").write_text("x")

    return delay_of(create, lambda number: (s.b / f"f{number}").exists())


@check("stat on the other machine returns size and time of a replaced file at once",
       gluster="up to 2 s late", smbnetfs="up to 2 s late", sshfs="up to 30 s late",
       nfs="up to 30 s late", cifs="up to 2 s late")
def replaced_file_seen(s):
    def replace(number):
        (s.a / "new").write_text("x" * (number + 1))
        with contextlib.suppress(OSError):
            (s.b / "f").stat()
        os.rename(s.a / "new", s.a / "f")

    replace(0)
    wait_until((s.b / "f").exists, 60, "the first file")
    return delay_of(lambda number: replace(number + 1),
                    lambda number: (s.b / "f").stat().st_size == number + 2)


@check("after one machine has closed a file, an open on the other reads the new content",
       gluster="up to 2 s late", smbnetfs="up to 2 s late", sshfs="up to 30 s late")
def content_after_open(s):
    def write(number):
        if number > 0:
            (s.b / "f").read_text()
        (s.a / "f").write_text(f"{number:04}" * (number + 100))

    write(0)
    wait_until((s.b / "f").exists, 60, "the first file")
    return delay_of(lambda number: write(number + 1),
                    lambda number: reads(s.b / "f", f"{number + 1:04}" * (number + 101)))


@check("times have nanoseconds", moosefs="1 s", smbnetfs="1 s", sshfs="1 s", sshfs_uncached="1 s",
       cifs="100 ns")
def time_steps(s):
    (s.a / "f").write_text("x")
    wanted = 1_700_000_001_123_456_789
    os.utime(s.a / "f", ns=(wanted, wanted))
    lost = abs((s.b / "f").stat().st_mtime_ns - wanted)
    for step, text in ((1, KEPT), (100, "100 ns"), (1000, "1 us"), (10**9, "1 s")):
        if lost < step:
            return text
    return "the time is lost"


@check("permission bits are kept", smbnetfs="all files look alike", cifs="all files look alike")
def permission_bits(s):
    (s.a / "f").write_text("x")
    os.chmod(s.a / "f", 0o640)
    return KEPT if (s.b / "f").stat().st_mode & 0o777 == 0o640 else "all files look alike"


@check("names keep their letter case")
def letter_case(s):
    (s.a / "Frame").write_text("upper")
    (s.a / "frame").write_text("lower")
    return KEPT if len(os.listdir(s.b)) == 2 else "one file for both"

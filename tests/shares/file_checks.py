"""Checks of the tool's commands on files that another machine writes or reads."""

import concurrent.futures
import os
import threading
import time

from shares import wait_until
import support
from support import (
    KEPT, LOCKED, big_content, check, delay_of, equal, oxtool, reads, report, require,
    result_of)


NAMES = {
    "blanks": b"a b  c", "quotes": b"it's \"x\"", "accents": "\u00e9\u00fc\u4e2d".encode(),
    "decomposed accents": "e\u0301".encode(), "Latin-1": b"caf\xe9", "line break": b"a\nb",
    "escape": b"a\x1b[31m", "backslash": b"a\\b", "colon": b"a:b", "wildcards": b"a*?<>|b",
    "dot at the end": b"a.", "blank at the end": b"a ", "device name": b"con",
    "hyphen": b"-rf", "255 bytes": b"n" * 255,
}


def run_until(stop, work):
    number = 0
    while not stop.is_set():
        number += 1
        work(number)
    return number


@check("a refresh loads a complete file while the other machine packs it",
       smbnetfs="at times it fails", sshfs="at times it fails")
def refresh_during_packs(s):
    content = s.folder / "refresh-content"
    content.mkdir()

    def pack(number):
        source = content / f"{number}"
        source.write_bytes(b"%d " % number * (20000 + 5000 * (number % 3)))
        oxtool("lock", s.a / "f", "--timeout", 60000, "--", support.tool, "pack", source, s.a / "f")

    def pack_now_and_then(number):
        pack(number + 1)
        time.sleep(0.3)  # without a pause, the refresh seldom finds a free lock

    pack(1)
    wait_until((s.b / "f").exists, 60, "the first file")
    stop = threading.Event()
    torn, end = 0, time.monotonic() + 60
    with concurrent.futures.ThreadPoolExecutor(1) as pool:
        packing = pool.submit(run_until, stop, pack_now_and_then)
        try:
            for refreshed in range(1000):
                packed = len(os.listdir(content))
                if (refreshed >= 6 and packed >= 5) or time.monotonic() > end:
                    break
                done = oxtool("refresh", s.b / "f", "--timeout", 20000, "--out",
                              s.folder / "out", status=None)
                # The cache of a share can return new content with the previous size, or a released lock.
                if done.returncode == LOCKED or any(
                        text in done.stderr for text in ("CRC Error", "End of file")):
                    torn += 1
                    continue
                equal(done.returncode, 0, done.stderr)
                got = (s.folder / "out").read_bytes()
                number = int(got.split(b" ", 1)[0])
                equal(got == (content / f"{number}").read_bytes(), True, "whether the payload is complete")
        finally:
            stop.set()
        require(packing.result(90) > 1, "no pack command has run")
    return "at times it fails" if torn else KEPT


@check("a refresh loads the file that the other machine has just packed",
       gluster="up to 2 s late", smbnetfs="up to 2 s late", sshfs="up to 30 s late")
def refresh_after_pack(s):
    source = s.folder / "source"

    def pack(number):
        source.write_text(f"{number} " * (number + 50))
        oxtool("lock", s.a / "f", "--timeout", 60000, "--", support.tool, "pack", source, s.a / "f")

    def is_new(number):
        refreshed = oxtool("refresh", s.b / "f", "--out", s.folder / "out", status=None)
        return refreshed.returncode == 0 and reads(s.folder / "out", source.read_text())

    pack(-1)
    wait_until(lambda: is_new(-1), 60, "the first file")
    return delay_of(pack, is_new)


@check("both machines read content, time and permission bits of a copy",
       smbnetfs="kept, except over a file that is being read")
def copies(s):
    source = s.folder / "copy-source"
    source.write_bytes(big_content(5_000_000))
    os.chmod(source, 0o640)
    os.utime(source, (1_600_000_000, 1_600_000_000))
    oxtool("cp", source, s.a / "system")
    oxtool("cp", "--pause", 0, source, s.a / "pieces")
    oxtool("cp", s.a / "system", s.a / "again")
    oxtool("cp", s.b / "pieces", s.folder / "copy-back")
    for copy in (s.b / "system", s.b / "pieces", s.b / "again", s.folder / "copy-back"):
        equal(copy.read_bytes() == source.read_bytes(), True, f"the content of {copy.name}")
        equal(int(copy.stat().st_mtime), 1_600_000_000, f"the time of {copy.name}")
    # A copy must replace an existing file that the other machine has open for reading.
    source.write_bytes(b"other")
    with open(s.b / "system", "rb"):
        replaced = oxtool("cp", source, s.a / "system", status=None)
    if replaced.returncode != 0:
        equal((s.a / "system").read_bytes(), big_content(5_000_000), "the previous file")
        oxtool("cp", source, s.a / "system")
        return "kept, except over a file that is being read"
    wait_until(lambda: (s.b / "system").read_bytes() == b"other", 60, "the new copy")
    return KEPT


@check("resume appends the data of a file that grows on the other machine",
       gluster="up to 2 s late", smbnetfs="cannot append", sshfs="up to 30 s late")
def growing_file(s):
    log, local = s.folder / "grow.log", s.folder / "grow-copy.log"
    (s.a / "probe").write_text("x")
    if result_of(open, s.a / "probe", "a") != KEPT:
        wait_until(s.works, 30, "the share after a refusal")
        return "cannot append"
    for number in range(4):
        with open(log, "ab") as file:
            file.write(b"frame %d\n" % number * 1000)
        oxtool("resume", log, s.a / "log")
        equal((s.a / "log").read_bytes(), log.read_bytes(), "the log on the share")
        oxtool("resume", s.b / "log", local)
        got = local.read_bytes()
        require(log.read_bytes().startswith(got), "the followed log does not begin like the source")

    def follows(_):
        oxtool("resume", s.b / "log", local)
        return local.read_bytes() == log.read_bytes()

    return delay_of(lambda _: None, follows, attempts=1)


@check("sync copies the files that the other machine has changed",
       gluster="up to 2 s late", smbnetfs="up to 2 s late", sshfs="up to 30 s late")
def sync_both_ways(s):
    master, local = s.folder / "sync-master", s.folder / "sync-local"
    for folder in (master, local):
        folder.mkdir()
    for number in range(20):
        (master / f"f{number}").write_text(f"version 1 of {number}")
    equal(report("sync", master, s.a / "bin")["counts"]["copied"], 20, "files copied to the share")
    wait_until(lambda: (s.b / "bin").is_dir(), 60, "the folder")
    equal(report("sync", s.b / "bin", local)["counts"]["copied"], 20, "files copied from the share")

    def delay_until_up_to_date(source, target):
        return delay_of(lambda _: None, attempts=1, is_seen=lambda _: report(
            "sync", source, target)["counts"]["upToDate"] == 20)

    delays = [delay_until_up_to_date(master, s.b / "bin"),
              delay_until_up_to_date(s.b / "bin", local)]
    (master / "f3").write_text("version 2 of this file")
    equal(report("sync", master, s.a / "bin")["counts"]["copied"], 1,
          "changed files copied to the share")
    equal((s.a / "bin" / "f3_old").read_text(), "version 1 of 3", "the previous file")

    def follows(_):
        oxtool("sync", "--ends", "f3", s.b / "bin", local)
        return (local / "f3").read_text() == "version 2 of this file"

    delays.append(delay_of(lambda _: None, follows, attempts=1))
    left = [name for name in os.listdir(s.a / "bin") if name.startswith(".oxshared")]
    equal(left, [], "temporary files")
    return next((delay for delay in delays if delay != KEPT), KEPT)


@check("one machine can list and empty a folder that the other has filled", sshfs="up to 30 s late")
def list_and_empty(s):
    folder = s.a / "many"
    (folder / "below").mkdir(parents=True)
    for number in range(60):
        (folder / f"f{number:03}").write_text("x" * number)
    (folder / "below" / "g").write_text("x")
    wait_until((s.b / "many" / "below" / "g").exists, 60, "the last file")
    listed = report("ls", "--sort", "name", "--dirs", s.b / "many")["entries"]
    equal([(entry["name"], entry.get("size")) for entry in listed if not entry["isFolder"]],
          [(f"f{number:03}", number) for number in range(60)], "the listing")
    equal([entry["name"] for entry in listed if entry["isFolder"]], ["below"], "the folders")
    oxtool("empty", "--recursive", s.b / "many")
    equal(report("ls", "--dirs", s.b / "many")["entries"], [], "the listing after the call, on the same machine")
    return delay_of(lambda _: None, lambda _: report("ls", "--dirs", s.a / "many")["entries"] == [],
                    attempts=1)


@check("the other machine reads the result of replace at once",
       gluster="up to 2 s late", smbnetfs="up to 2 s late", sshfs="up to 30 s late", nfs="up to 30 s late")
def replaced_text(s):
    (s.a / "farm.ini").write_text("server=old\nother=1\nserver=old\n#")
    wait_until((s.b / "farm.ini").exists, 60, "the file")
    (s.b / "farm.ini").read_text()
    oxtool("replace", s.a / "farm.ini", "old", "newer")
    wanted = "server=newer\nother=1\nserver=newer\n#"
    equal((s.a / "farm.ini").read_text(), wanted, "the file")
    return delay_of(lambda _: None, lambda _: reads(s.b / "farm.ini", wanted), attempts=1)


@check("files can have names with any characters",
       smbnetfs="others: quotes, Latin-1, line break, escape, backslash, colon, wildcards, "
       "dot at the end, blank at the end, device name",
       cifs="others: backslash, device name")
def odd_names(s):
    """Checks that the tool works with every name that the share accepts."""
    source = s.folder / "source"
    source.write_text("content")
    lost, kept = [], {}
    for kind, name in NAMES.items():
        text = os.fsdecode(name)
        if result_of((s.a / text).write_text, "previous") != KEPT:
            lost.append(kind)
            wait_until(s.works, 30, f"the share after the name with {kind}")
            continue
        kept[kind] = text
        oxtool("cp", source, s.a / text)
        if len(name) < 200:  # the name of the lock file is longer
            oxtool("lock", s.b / text, "--", "true")
    oxtool("crc", *(s.b / text for text in kept.values()))
    listed = {one["name"] for one in report("ls", s.b)["entries"]}
    equal(listed, set(os.listdir(s.a)), "the other machine's listing")
    require(all((s.b / name).read_text() == "content" for name in kept.values()), "other content")
    lost += [kind for kind, name in kept.items() if name not in listed]
    return "others: " + ", ".join(lost) if lost else KEPT

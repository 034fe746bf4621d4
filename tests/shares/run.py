#!/usr/bin/env python3
"""Runs the checks of *_checks.py on the shares of shares.py and prints the result of each check:
    tests/shares/run.py TOOL [--share NAME]… [--check NAME]… [--table]

The servers and mounts are inside new name spaces for mounts, processes and network. When the first
process of the name spaces ends or is killed, the kernel kills all their processes and removes all
their mounts. Runs at the same time do not affect each other."""

import argparse
import concurrent.futures
import ctypes
import os
import pathlib
import signal
import subprocess
import sys
import time
import traceback

import shares
import support
# Each module registers its checks when it is imported. Checks that interrupt a share come last.
import file_system_checks  # noqa: F401
import lock_checks  # noqa: F401
import file_checks  # noqa: F401
import loss_checks  # noqa: F401

LIMIT_SECONDS = 600
INSIDE = "OX_INSIDE_NAME_SPACES"
SPACES = ["unshare", "--mount", "--net", "--pid", "--fork", "--kill-child", "--mount-proc"]


def refusal():
    """Returns why shares cannot be mounted here, or an empty text."""
    if os.geteuid() != 0:
        return "only root may mount shares"
    if not os.access("/dev/fuse", os.R_OK | os.W_OK):
        return "there is no /dev/fuse"
    tried = subprocess.run([*SPACES, "mount", "-t", "tmpfs", "none", "/run"],
                           capture_output=True, text=True, check=False)
    return "name spaces are not allowed: " + tried.stderr.strip() if tried.returncode else ""


def run_in_name_spaces():
    """Runs this program again as the first process of new name spaces. The name spaces end when
    this process ends, even by SIGKILL."""
    def end_with_parent():
        ctypes.CDLL(None).prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG

    inside = subprocess.Popen([*SPACES, sys.executable, *sys.argv], start_new_session=True,
                              env=dict(os.environ, **{INSIDE: "1"}), preexec_fn=end_with_parent)

    def stop(number, _):
        inside.kill()
        inside.wait()
        sys.exit(128 + number)

    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, stop)
    try:
        return inside.wait(LIMIT_SECONDS)
    except subprocess.TimeoutExpired:
        print(f"shares: not finished within {LIMIT_SECONDS} s", file=sys.stderr)
        return 1
    finally:
        inside.kill()
        inside.wait()


def set_up_name_spaces():
    for command in ("mount -t tmpfs -o size=4g,mode=755 none /run",
                    "ip link set lo up", "ip address add 10.99.0.1/32 dev lo"):
        subprocess.run(command.split(), check=True)


class Row:
    """The result of a check on a share. `failure` is empty if the result is the expected one."""

    def __init__(self, check, share):
        self.check, self.share, self.found, self.failure = check, share, "", ""
        began = time.monotonic()
        folder = share.folder_of(check.name)
        try:
            self.found = check.run(folder)
            if not check.accepts(share, self.found):
                self.failure = f"'{self.found}' instead of '{check.expected(share)}'"
        except Exception as error:
            lines = traceback.extract_tb(error.__traceback__)
            line = next((at.lineno for at in reversed(lines) if "_checks" in at.filename), 0)
            self.found = "failed"
            self.failure = f"line {line}: {type(error).__name__}: {error}"
        self.seconds = time.monotonic() - began

    def show(self):
        mark = "FAILED" if self.failure else "ok"
        print(f"{self.share.name:15} {self.check.name:22} {self.seconds:5.1f} s  {mark:6} "
              f"{self.failure or self.found}", flush=True)


def run_share(kind, selected):
    share = kind()
    try:
        share.start([check.name for check in selected])
    except Exception as error:
        traceback.print_exc()
        print(f"{share.name:15} cannot be mounted: {error}", flush=True)
        for log in share.folder.glob("**/*log"):
            print(log.read_text(errors="replace")[-2000:] if log.is_file() else "")
        return None
    rows = []
    for check in selected:
        if check.loses_server and not share.can_lose_server:
            continue
        rows.append(Row(check, share))
        rows[-1].show()
    return rows


def print_table(kinds, selected, rows):
    texts = {(row.check.name, row.share.name): row.found if row.failure
             else row.check.expected(row.share) for row in rows}
    print("| | " + " | ".join(kind.name for kind in kinds) + " |")
    print("|---" * (len(kinds) + 1) + "|")
    for check in selected:
        cells = (texts.get((check.name, kind.name), "") for kind in kinds)
        print(f"| {check.promise} | " + " | ".join(cells) + " |")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tool")
    parser.add_argument("--share", action="append", choices=[kind.name for kind in shares.ALL])
    parser.add_argument("--check", action="append", choices=[one.name for one in support.CHECKS])
    parser.add_argument("--table", action="store_true", help="print the table of the documents")
    options = parser.parse_args()
    if INSIDE not in os.environ:
        if reason := refusal():
            print(f"shares: skipped: {reason}")
            return 0
        return run_in_name_spaces()

    set_up_name_spaces()
    support.tool = str(pathlib.Path(options.tool).resolve())
    kinds = [kind for kind in shares.ALL if not options.share or kind.name in options.share]
    selected = [one for one in support.CHECKS if not options.check or one.name in options.check]
    began = time.monotonic()
    with concurrent.futures.ThreadPoolExecutor(len(kinds)) as pool:
        results = list(pool.map(lambda kind: run_share(kind, selected), kinds))
    rows = [row for result in results if result for row in result]
    if options.table:
        print_table(kinds, selected, rows)
    failed = [row for row in rows if row.failure]
    for row in failed:
        row.show()
    print(f"{len(rows) - len(failed)} checks passed, {len(failed)} failed, on {len(kinds)} shares "
          f"in {time.monotonic() - began:.0f} s")
    return 1 if failed or None in results else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Runs the checks of *_checks.py on the shares of shares.py and prints the result of each check:
    tests/shares/run.py TOOL [--share NAME]… [--check NAME]… [--table]

The servers and mounts are inside new namespaces for mounts, processes and network. When the first
process of the namespaces ends or is killed, the kernel kills all processes in the namespaces and
removes all mounts. Several runs at the same time do not affect each other.

All shares are checked at the same time, and the checks kill servers, so a busy machine can make a
server exceed its own time limits. run.py therefore repeats each failed check on new shares, without
other checks at the same time. A check counts as failed if it fails twice."""

import argparse
import concurrent.futures
import ctypes
import dataclasses
import json
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import traceback

import kernel_shares
import shares
import support
# Each module registers its checks when it is imported. The checks that kill servers come last.
import file_system_checks  # noqa: F401
import lock_checks  # noqa: F401
import file_checks  # noqa: F401
import loss_checks  # noqa: F401

ALL = shares.ALL + kernel_shares.ALL
LIMIT_SECONDS = 600
INSIDE = "OX_INSIDE_NAME_SPACES"
FAILED = "OX_FAILED_CHECKS"  # path of a file that lists the failed checks, one line SHARE:CHECK each
SPACES = ["unshare", "--mount", "--net", "--pid", "--fork", "--kill-child", "--mount-proc"]


def refusal():
    """Returns why shares cannot be mounted here, or an empty text."""
    if os.geteuid() != 0:
        return "only root may mount shares"
    if not os.access("/dev/fuse", os.R_OK | os.W_OK):
        return "there is no /dev/fuse"
    tried = subprocess.run([*SPACES, "mount", "-t", "tmpfs", "none", "/run"],
                           capture_output=True, text=True, check=False)
    return "namespaces are not allowed: " + tried.stderr.strip() if tried.returncode else ""


def run_and_repeat(tool):
    """Runs the checks, then repeats the failed ones once."""
    with tempfile.NamedTemporaryFile("w+") as failed:
        status = run_in_name_spaces(sys.argv, failed.name)
        again = failed.read().split()
    if status == 0 or not again:
        return status
    print(f"Repeating the failed checks: {', '.join(again)}", flush=True)
    words = [word for one in again for word in ("--only", one)]
    return run_in_name_spaces([sys.argv[0], tool, *words], os.devnull)


def run_in_name_spaces(command, failed):
    """Runs this program again as the first process of new namespaces. The namespaces end when the calling
    process ends, even if SIGKILL ends it."""
    def end_with_parent():
        ctypes.CDLL(None).prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG

    inside = subprocess.Popen([*SPACES, sys.executable, *command], start_new_session=True,
                              env=dict(os.environ, **{INSIDE: "1", FAILED: failed}),
                              preexec_fn=end_with_parent)

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


@dataclasses.dataclass
class Row:
    """The result of a check on a share. `failure` is empty if the result equals the expected one."""

    check: str
    share: str
    found: str
    failure: str
    seconds: float

    def show(self):
        mark = "FAILED" if self.failure else "ok"
        print(f"{self.share:16} {self.check:22} {self.seconds:5.1f} s  {mark:6} "
              f"{self.failure or self.found}", flush=True)


def run_check(check, share):
    began = time.monotonic()
    found, failure = "failed", ""
    try:
        found = check.run(share.folder_of(check.name))
        if not check.accepts(share, found):
            failure = f"'{found}' instead of '{check.expected(share)}'"
    except Exception as error:
        lines = traceback.extract_tb(error.__traceback__)
        line = next((at.lineno for at in reversed(lines) if "_checks" in at.filename), 0)
        failure = f"line {line}: {type(error).__name__}: {error}"
    return Row(check.name, share.name, found, failure, time.monotonic() - began)


def run_share(kind, selected, show):
    """Returns the rows of a share. If the share cannot be mounted, a single row contains the reason."""
    share = kind()
    rows = []
    try:
        share.start([check.name for check in selected])
    except Exception as error:
        logs = [log.read_text(errors="replace")[-1000:] for log in share.folder.glob("log")]
        rows.append(Row("mount", share.name, "failed", f"{error!r} {logs}", 0))
        show(rows[-1])
        return rows
    for check in selected:
        if share.can_lose_server or not check.loses_server:
            rows.append(run_check(check, share))
            show(rows[-1])
    return rows


def run_kernel_shares(kinds, options):
    """Returns the rows of the shares that the kernel of a guest mounts."""
    words = [str(pathlib.Path(options.tool).resolve())]
    words += [word for kind in kinds for word in ("--share", kind.name)]
    words += [word for name in options.check or () for word in ("--check", name)]
    words += [word for one in options.only or () for word in ("--only", one)]
    found = kernel_shares.run_guest(words)
    if isinstance(found, str):
        rows = [Row("mount", "guest", "failed", found, 0)]
    else:
        rows = [Row(**row) for row in found]
    for row in rows:
        row.show()
    return rows


def print_table(kinds, selected, rows):
    found = {(row.check, row.share): row for row in rows}

    def cell(check, kind):
        row = found.get((check.name, kind.name))
        return (row.found if row.failure else check.expected(kind)) if row else "-"

    print("| | " + " | ".join(kind.name for kind in kinds) + " |")
    print("|---" * (len(kinds) + 1) + "|")
    for check in selected:
        print(f"| {check.promise} | " + " | ".join(cell(check, kind) for kind in kinds) + " |")


def options_of_program():
    parser = argparse.ArgumentParser()
    parser.add_argument("tool", help="the path of the tool")
    parser.add_argument("--share", action="append", choices=[kind.name for kind in ALL])
    parser.add_argument("--check", action="append", choices=[one.name for one in support.CHECKS])
    parser.add_argument("--only", action="append", metavar="SHARE:CHECK",
                        help="one check of one share")
    parser.add_argument("--table", action="store_true", help="print a table for the pages in docs")
    return parser.parse_args()


def main():
    options = options_of_program()
    place = os.environ.get(INSIDE)
    if not place:
        if reason := refusal():
            print(f"shares: skipped: {reason}")
            return 0
        return run_and_repeat(options.tool)

    began = time.monotonic()
    support.tool = str(pathlib.Path(options.tool).resolve())
    kinds = [kind for kind in ALL if kind.name in options.share] if options.share else shares.ALL
    selected = [one for one in support.CHECKS if not options.check or one.name in options.check]
    only = [tuple(one.split(":")) for one in options.only or ()]
    if only and not options.share:
        kinds = [kind for kind in ALL if any(kind.name == share for share, _ in only)]

    def checks_of(kind):
        return [one for one in support.CHECKS if (kind.name, one.name) in only] or selected

    def show(row):
        if place == "guest":
            print(json.dumps(dataclasses.asdict(row)), flush=True)
        else:
            row.show()

    here = kinds
    tasks = []
    with concurrent.futures.ThreadPoolExecutor(len(ALL)) as pool:
        if place != "guest":
            set_up_name_spaces()
            for_guest = [kind for kind in kinds if kind in kernel_shares.ALL]
            here = [kind for kind in kinds if kind not in for_guest]
            if for_guest:
                tasks.append(pool.submit(run_kernel_shares, for_guest, options))
        tasks += [pool.submit(run_share, kind, checks_of(kind), show) for kind in here]
    if place == "guest":
        return 0
    rows = [row for task in tasks for row in task.result()]
    if options.table:
        print_table(kinds, selected, rows)
    failed = [row for row in rows if row.failure]
    for row in failed:
        row.show()
    pathlib.Path(os.environ[FAILED]).write_text(
        "".join(f"{row.share}:{row.check}\n" for row in failed))
    print(f"{len(rows) - len(failed)} checks passed, {len(failed)} failed, on {len(kinds)} shares "
          f"in {time.monotonic() - began:.0f} s")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())

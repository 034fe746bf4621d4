#!/usr/bin/env python3
"""Runs the clang-tidy checks that .clang-tidy selects on the sources of the library and the tool:
  scripts/tidy.py BUILD_FOLDER [FILE…]      without a file: all sources that the build compiles
A source that passed is checked again only after its preprocessed text or .clang-tidy has changed.
The build must not use precompiled headers, which clang-tidy cannot read.
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "oxshared/tidy"
TIDY = "clang-tidy-19"
GCC_ONLY = " -femit-class-debug-always"  # an option that Clang does not know


def sources(build, wanted):
    """Returns the entries of the compilation database for `wanted`, or for the library and the tool."""
    entries = json.loads((build / "compile_commands.json").read_text())
    by_file = {pathlib.Path(entry["file"]): entry for entry in entries}
    folders = [ROOT / "shared", ROOT / "oxtool"]
    return [entry for file, entry in sorted(by_file.items())
            if (file in wanted if wanted else any(folder in file.parents for folder in folders))]


def key_of(entry, config):
    """Returns a hash of .clang-tidy and of the preprocessed source. Both determine clang-tidy's result."""
    arguments = shlex.split(entry["command"])
    arguments[arguments.index("-o") + 1] = "-"
    arguments[arguments.index("-c")] = "-E"
    arguments.append("-P")
    text = subprocess.run(arguments, cwd=entry["directory"], check=True, capture_output=True,
                          env=os.environ | {"CCACHE_DISABLE": "1"}).stdout
    return hashlib.sha256(config + text).hexdigest()


def check(database, entry, config):
    """Returns the report of clang-tidy on a source, or an empty text if the source passes."""
    passed = CACHE / key_of(entry, config)
    if passed.exists():
        return ""
    run = subprocess.run([TIDY, "--quiet", "-p", database, entry["file"]],
                         capture_output=True, text=True)
    if run.returncode == 0:
        passed.touch()
        return ""
    return run.stdout or run.stderr


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    build = pathlib.Path(sys.argv[1]).resolve()
    wanted = {pathlib.Path(name).resolve() for name in sys.argv[2:]}
    config = (ROOT / ".clang-tidy").read_bytes()
    CACHE.mkdir(parents=True, exist_ok=True)
    entries = sources(build, wanted)
    for entry in entries:
        entry["command"] = entry["command"].replace(GCC_ONLY, "")
    failed = 0
    with tempfile.TemporaryDirectory() as database, \
            concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        pathlib.Path(database, "compile_commands.json").write_text(json.dumps(entries))
        for report in pool.map(lambda entry: check(database, entry, config), entries):
            if report:
                failed += 1
                print(report, flush=True)
    print(f"{len(entries) - failed} of {len(entries)} sources passed")
    return 1 if failed or not entries else 0


if __name__ == "__main__":
    sys.exit(main())

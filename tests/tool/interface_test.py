#!/usr/bin/env python3
"""Tests that help, its JSON, manual pages, completions and docs/oxtool.md name the same commands and options.

    interface_test.py TOOL SHARE DOCUMENT

SHARE is the folder of the generated files, DOCUMENT is docs/oxtool.md. The completions run in real
shells. If a shell or the checker of manual pages is not installed, its tests are skipped.
"""
import json
import os
import pty
import re
import shutil
import subprocess
import sys
import tempfile
import time

tool, share, document = sys.argv[1:]
general = {"--help", "--help-all", "--version"}
failures = []


def expect_equal(what, found, expected):
    if found != expected:
        failures.append(f"{what}: missing {sorted(expected - found)}, superfluous {sorted(found - expected)}")


def printed(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, check=True, **options).stdout


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def long_options(text):
    return set(re.findall(r"(?<![\w-])--[a-z][a-z0-9-]*", text)) - general


def commands_in_help(*path):
    """Returns the commands in a help text, which are the indented lines below the headings of groups."""
    text = printed(tool, "help", *path).split("Options:")[1]
    return re.findall(r"^  ([a-z][a-z0-9-]*)(?:  |$)", text, re.M)


def options_in_help(path):
    return set(re.findall(r"^  (?:-\w,)?(--[a-z][a-z0-9-]*)", printed(tool, "help", *path), re.M)) - general


def options_in_page(path):
    page = read(f"{share}/man/man1/oxtool-{path[0]}.1").replace("\\-", "-")
    if len(path) > 1:
        page = page.split(f".SS {' '.join(path)}\n")[1]
    items = re.findall(r"^\.TP\n(.*)", re.split(r"^\.S[HS] (?!OPTIONS)", page.split(".SH OPTIONS")[-1], flags=re.M)[0], re.M)
    return set(re.findall(r"--[a-z][a-z0-9-]*", " ".join(items))) - general


def check_pages(pages):
    for page in pages:
        for checker in (["mandoc", "-T", "lint", "-W", "warning"], ["groff", "-man", "-Tutf8", "-ww", "-z"]):
            if shutil.which(checker[0]):
                run = subprocess.run(checker + [page], capture_output=True, text=True)
                # The pages contain no date, so that they are equal in every build.
                found = [line for line in (run.stdout + run.stderr).splitlines() if "missing date" not in line]
                if found:
                    failures.append(f"{checker[0]}: " + found[0])


def complete_in_bash(lines):
    script = f"""source {share}/bash-completion/completions/oxtool
    compopt() {{ :; }}
    while IFS= read -r line; do
        read -ra COMP_WORDS <<<"$line"
        [[ $line != *' ' ]] || COMP_WORDS+=('')
        COMP_CWORD=$((${{#COMP_WORDS[@]}} - 1)) COMPREPLY=()
        _oxtool
        echo "${{COMPREPLY[*]}}"
    done"""
    output = printed("bash", "-c", script, input="".join(line + "\n" for line in lines))
    return [set(line.split()) for line in output.split("\n")]


def complete_in_fish(lines):
    calls = "".join(f"complete -C '{line}'; echo END;" for line in lines)
    output = printed("fish", "--no-config", "-c", f"source {share}/fish/vendor_completions.d/oxtool.fish; {calls}")
    return [{line.split("\t")[0] for line in block.splitlines() if line} for block in output.split("END\n")]


def complete_in_zsh(lines):
    """Types the lines in an interactive shell. The Tab key of the shell writes all matches to a file."""
    with tempfile.TemporaryDirectory() as folder:
        setup = f"""fpath=({share}/zsh/site-functions $fpath)
        autoload -U compinit && compinit -u -D
        compadd() {{
            if [[ ${{@[1,(i)(-|--)]}} == *-(O|A|D)\\ * ]]; then builtin compadd "$@"; return; fi
            local -a found
            builtin compadd -A found "$@"
            print -rl -- $found >>{folder}/found
            builtin compadd "$@"
        }}
        capture() {{ _main_complete; print END >>{folder}/found }}
        zle -C capture list-choices capture
        bindkey '^I' capture
        print READY >{folder}/found
        """
        with open(f"{folder}/.zshrc", "w") as file:
            file.write(setup)
        process, terminal = pty.fork()
        if process == 0:
            os.environ.update(ZDOTDIR=folder, TERM="xterm")
            os.execvp("zsh", ["zsh", "-i"])
        os.set_blocking(terminal, False)
        try:
            results = []
            for line in [None] + lines:
                if line is not None:
                    open(f"{folder}/found", "w").close()
                    os.write(terminal, f"\x15{line}\t".encode())
                end = time.monotonic() + 60
                while not os.path.exists(f"{folder}/found") or not re.search("END|READY", read(f"{folder}/found")):
                    if time.monotonic() > end:
                        raise TimeoutError(f"zsh does not complete {line}")
                    time.sleep(0.01)
                    try:
                        os.read(terminal, 65536)  # empties the terminal, so that the shell never waits to write
                    except BlockingIOError:
                        pass
                results.append({word.rstrip("=") for word in read(f"{folder}/found").split()} - {"END"})
            return results[1:]
        finally:
            os.kill(process, 9)
            os.waitpid(process, 0)


commands = [[name] for name in commands_in_help()]
commands += [parent + [name] for parent in list(commands) for name in commands_in_help(*parent)]
options = {tuple(path): options_in_help(path) for path in commands}
leaves = [path for path in commands if not any(other[:-1] == path for other in commands)]

# Help as JSON
described = {each["name"]: each for each in json.loads(printed(tool, "help", "--json"))["commands"]}
expect_equal("JSON of help", set(described), {" ".join(path) for path in commands})
for path in commands:
    command = described[" ".join(path)]
    names = {option["name"] for option in command["options"]}
    # Commands with subcommands have only the option --help.
    expect_equal(f"JSON of {path}", {name for name in names if name.startswith("--")}, options[tuple(path)])
    text = " ".join(printed(tool, "help", *path).split())
    for part in [command["summary"]] + command["examples"] + [option["help"] for option in command["options"]]:
        if " ".join(part.split()) not in text:
            failures.append(f"JSON of {path}: the help does not contain '{part}'")
for path, expected in (("lock", ["lock"]), ("shm", ["shm", "shm create", "shm show", "shm list", "shm lock"])):
    found = json.loads(printed(tool, "--json", "help", path))["commands"]
    if found != [described[name] for name in expected] or len({each["group"] for each in found}) != 1:
        failures.append(f"JSON of help {path}: wrong commands or groups")
timeout = next(option for option in described["lock"]["options"] if option["name"] == "--timeout")
if timeout != {"name": "--timeout", "letter": "t", "valueName": "TIME", "help": "Maximum wait for the lock",
               "unit": None, "default": "10s", "choices": [], "required": False, "repeatable": False}:
    failures.append(f"JSON of lock --timeout: {timeout}")

# Manual pages
pages = {f"oxtool-{path[0]}.1" for path in commands}
expect_equal("pages", set(os.listdir(f"{share}/man/man1")), pages | {"oxtool.1"})
listed = set(re.findall(r"^\.BR oxtool\\-(\S+) \(1\)", read(f"{share}/man/man1/oxtool.1"), re.M))
expect_equal("oxtool.1", {name.replace("\\-", "-") for name in listed}, {path[0] for path in commands})
for path in leaves:
    expect_equal(f"page of {path}", options_in_page(path), options[tuple(path)])
program = options_in_help(())
overview = read(f"{share}/man/man1/oxtool.1").replace("\\-", "-")
expect_equal("options in oxtool.1", set(re.findall(r"\\fB(--[a-z-]+)", overview)) - general, program)
check_pages(f"{share}/man/man1/{page}" for page in pages | {"oxtool.1"})

# docs/oxtool.md
text = read(document)
expect_equal("synopses in docs/oxtool.md; renew them with the target renew_synopses",
             set(re.findall(r"^    oxtool .*$", text.split("\n## Synopses\n")[1], re.M)),
             set(read(f"{share}/doc/oxtool/synopses.txt").splitlines()))
sections = {name: body for heading, body in re.findall(r"^## (.*?)\n(.*?)(?=^## |\Z)", text, re.M | re.S)
            for name in re.split(r", | and ", heading)}
for name in {path[0] for path in commands}:
    own = set().union(*(options[tuple(path)] for path in commands if path[0] == name))
    unknown = long_options(sections.get(name, "")) - set().union(*options.values())
    expect_equal(f"unknown options in the section {name}", unknown, set())
    if name not in sections and name not in ("help", "version"):
        failures.append(f"docs/oxtool.md has no section {name}")
for path in leaves:
    usage = re.search(rf"^    oxtool {' '.join(path)}( .*)?$", text.split("\n## Synopses\n")[1], re.M)
    expect_equal(f"synopsis of {path}", long_options(usage[0] if usage else ""), options[tuple(path)])

# Completions
lines = ["oxtool "] + [f"oxtool {' '.join(path)} --" for path in leaves]
lines += ["oxtool pack --format ", "oxtool --", "oxtool --json --map a=b ls --hum"]
for shell, complete in (("bash", complete_in_bash), ("fish", complete_in_fish), ("zsh", complete_in_zsh)):
    if not shutil.which(shell):
        print(f"skipped: {shell} is not installed")
        continue
    found = complete(lines)
    expect_equal(f"commands in {shell}", found[0], {path[0] for path in commands})
    for path, words in zip(leaves, found[1:]):
        expect_equal(f"options of {path} in {shell}", words - general, options[tuple(path)])
    values, general_options, human = found[len(leaves) + 1:len(leaves) + 4]
    expect_equal(f"values in {shell}", values, {"db", "gz", "ns", "zp"})
    expect_equal(f"general options in {shell}", general_options - general, program)
    expect_equal(f"option behind general options in {shell}", human, {"--human"})

print("\n".join(failures) or f"{len(commands)} commands, {sum(map(len, options.values()))} options")
sys.exit(1 if failures else 0)

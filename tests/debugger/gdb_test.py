"""Tests how gdb shows the values in a core file of debugger_values, with the installed library:
gdb_test.py SOURCE_DIR BUILD_DIR PROGRAM GDB CMAKE LIB_DIR
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

SOURCE, BUILD, PROGRAM, GDB, CMAKE, LIB = sys.argv[1:]

VALUES = {
    "even": r'"Jo\"b\n17" (length 7 of 250)',
    "uneven": '"é" (length 1 of 25)',
    "all": '"" (length 0 of 10)',
    "damaged": '"123456" (length 65535 of 6, damaged)',
    "wide": '"Łódź 😀" (length 7 of 500)',
    "time": "2026-11-14T09:05:07Z (1794647107)",
    "late": "no date (9223372036854775807)",
    "time32": "2000-02-29T12:09:14Z (951826154)",
    "load": "25% of 8 cores",
    "unmeasured": "not measured, 4 cores",
    "half": "50% (128 of 255)",
    "list": '_oxStringList of 2 = {"first" (length 5 of 500), "second" (length 6 of 500)}',
    "emptyList": "_oxStringList of 0",
    "emptyBuffer": "0 bytes of 0, error -107: File does not exists! = {headerValue0 = 0, headerValue1 = 0, "
                   "headerValue2 = 0, sizeUncompressed = 0, dataOffset = 0, crc = 0, isCompressed = 0, data = null}",
    "processes[0]": '_oxProcessList of 1 = {4711 "BASH", parent 0, user "", 0 MiB, 0 s}',
}


# All types in the natvis file, each with a value of the type.
NATVIS = {
    "_oxString8_evenSize<*>": "even", "_oxString<*>": "wide", "_oxTime": "time", "_oxStringList": "list",
    "_oxProcessEntry": "processes[0].entries[0]", "_oxProcessList": "processes[0]", "_OX_DataBuffer": "buffer",
    "_oxBytePerc": "half", "_oxCPUValue": "load",
}
SPACE = "{http://schemas.microsoft.com/vstudio/debugger/natvis/2010}"
# The schema of natvis files requires this order of the elements in a type.
ORDER = ["AlternativeType", "Intrinsic", "DisplayString", "StringView", "Expand"]
KEYWORDS = {"long", "char", "char16_t", "unsigned", "int", "_OX_DataBuffer", "ErrorCode"}


def natvis_types():
    return xml.etree.ElementTree.parse(f"{SOURCE}/debugger/oxshared.natvis").getroot()


def natvis_expressions():
    """Yields the expressions of the natvis file in gdb's form, in which a value's name and a dot precede
    each member name."""
    with_expressions = {SPACE + tag for tag in ("StringView", "Item", "Size", "ValuePointer")}
    for entry in natvis_types():
        variable = "values." + NATVIS[entry.get("Name")]
        intrinsics = {node.get("Name"): node.get("Expression") for node in entry.iter(SPACE + "Intrinsic")}
        found = [node.get("Condition") for node in entry.iter() if node.get("Condition")]
        found += [node.text for node in entry.iter() if node.tag in with_expressions]
        for node in entry.iter(SPACE + "DisplayString"):
            found += re.findall(r"{([^}]+)}", node.text)
        for text in found:
            text = re.sub(r",[^,()]*$", "", text).replace("$T1", "250")
            while "()" in text:
                text = re.sub(r"(\w+)\(\)", lambda match: f"({intrinsics[match[1]]})", text)
            text = text.replace("ErrorCode", "_OX_DataBuffer::ErrorCode")
            words = re.split(r"\b([A-Za-z_]\w*)", text)  # identifiers are at odd indices
            words[1::2] = [word if word in KEYWORDS else f"{variable}.{word}" for word in words[1::2]]
            yield "".join(words)


class Debugger(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        prefix, cls.core = folder.name + "/installed", folder.name + "/core"
        subprocess.run([CMAKE, "--install", BUILD, "--prefix", prefix], stdout=subprocess.DEVNULL, check=True)
        scripts, libraries = prefix + "/share/gdb/auto-load", os.path.join(prefix, LIB)
        # docs/debugger.md recommends the first two settings for a library outside of the system folders.
        cls.settings = (f"add-auto-load-safe-path {scripts}", f"add-auto-load-scripts-directory {scripts}",
                        f"set environment LD_LIBRARY_PATH {libraries}", f"set solib-search-path {libraries}")
        cls.program_output, errors = cls.gdb("run", "generate-core-file " + cls.core)
        if not os.path.exists(cls.core):
            raise unittest.SkipTest("gdb cannot run a program here: " + errors)
        cls.errors = re.findall(r"^-\d+: .*$", cls.program_output, re.MULTILINE)
        cls.natvis = list(natvis_expressions())
        codes = [error.split(":")[0] for error in cls.errors]
        commands = ["frame function main"] + [f"output values.{name}" for name in VALUES] + ["output values.buffer"]
        commands += [f"python print(DataBufferPrinter.error_text({code}), end='')" for code in codes]
        commands += ["output " + expression for expression in cls.natvis]
        separated = (part for command in commands for part in (command, "echo \\n==\\n"))
        output, cls.messages = cls.gdb(*separated, files=[cls.core])
        shown = iter(output.split("\n==\n")[1:])
        cls.values, cls.buffer = {name: next(shown) for name in VALUES}, next(shown)
        cls.error_texts = [next(shown) for _ in cls.errors]
        cls.natvis_values = [next(shown) for _ in cls.natvis]

    @classmethod
    def gdb(cls, *commands, files=()):
        """Runs gdb and returns its output and its messages."""
        options = [part for setting in cls.settings for part in ("-iex", setting)]
        options += [part for command in commands for part in ("-ex", command)]
        environment = {**os.environ, "LC_ALL": "C.UTF-8", "DEBUGINFOD_URLS": ""}
        command = [GDB, "-nx", "-batch", *options, PROGRAM, *files]
        result = subprocess.run(command, capture_output=True, text=True, timeout=100, env=environment, check=False)
        return result.stdout, result.stderr

    def test_values_of_a_core_are_shown(self):
        self.assertEqual(self.values, VALUES, self.messages)

    def test_a_buffer_shows_the_first_bytes(self):
        self.assertRegex(
            self.buffer,
            r"^22 bytes of 22, error none = \{headerValue0 = 17, .*, data = 0x[0-9a-f]+ "
            r"66 72 61 6d 65 20 30 30 30 31 0a 66 72 61 6d 65  frame 0001.frame \.\.\.\}$",
            self.messages,
        )

    def test_error_texts_are_those_of_the_library(self):
        self.assertEqual(len(self.errors), 16)
        self.assertEqual(self.error_texts, self.errors, self.messages)

    def test_elements_of_the_natvis_file_have_the_order_of_its_schema(self):
        for entry in natvis_types():
            places = [ORDER.index(node.tag.removeprefix(SPACE)) for node in entry]
            self.assertEqual(places, sorted(places), entry.get("Name"))

    def test_expressions_of_the_natvis_file_are_valid(self):
        failed = [expression for expression, value in zip(self.natvis, self.natvis_values) if not value]
        self.assertEqual(failed, [], self.messages)
        digits = " ".join(value for name, value in zip(self.natvis, self.natvis_values) if "values.time" in name)
        self.assertIn("2026 1 1 1 4 0 9 0 5 0 7 1794647107", digits)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])

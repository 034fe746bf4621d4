"""Tests examples/python/oxshared.py against the library in both directions.

The tests of buffer files and lock files exchange files with oxtool, and also read the golden files.
The tests of strings and times call exported functions of the library.
"""

import ctypes
import json
import os
import pathlib
import signal
import subprocess
import tempfile
import time
import unittest

import oxshared
from oxshared import TIME, TIME32, FixedString, LockFile

os.environ["TZ"] = "CET-1CEST,M3.5.0,M10.5.0/3"
time.tzset()

GOLDEN = pathlib.Path(os.environ["OX_GOLDEN"])
LIBRARY = ctypes.CDLL(os.environ["OX_LIBRARY"]) if "OX_LIBRARY" in os.environ else None
needs_library = unittest.skipUnless(LIBRARY, "needs the shared library without sanitizers")


def tool(*arguments, **options):
    command = [os.environ["OX_TOOL"], *map(str, arguments)]
    return subprocess.run(command, capture_output=True, timeout=60, check=False, **options)


def tool_json(*arguments):
    return json.loads(tool(*arguments, "--json").stdout)


def call(symbol, *arguments):
    """Calls an exported function of the library. Passes a bytearray as the address of its bytes."""
    passed = [(ctypes.c_char * len(a)).from_buffer(a) if isinstance(a, bytearray) else a for a in arguments]
    return getattr(LIBRARY, symbol)(*passed)


def string(kind, capacity, text=None):
    """Returns the layout of a fixed string, and memory filled with 0xAB into which `text` is written."""
    layout = FixedString(kind, capacity)
    memory = bytearray(b"\xab" * layout.size)
    if text is not None:
        layout.write(memory, 0, text)
    return layout, memory


class Records(unittest.TestCase):
    KINDS = {"_oxString8_evenSize": "even", "_oxString8_UnevenSize": "uneven", "_oxString8_AllSize": "all",
             "_oxString": "wide"}

    def test_sizes_and_offsets_are_those_of_the_library(self):
        compared = 0
        for record in tool_json("layout")["records"]:
            name, _, capacity = record["name"].rstrip(">").partition("<")
            offsets = {field["name"]: field["offset"] for field in record["fields"]}
            if name in self.KINDS:
                layout = FixedString(self.KINDS[name], int(capacity))
                self.assertEqual(record["size"], layout.size)
                self.assertEqual(offsets, {"value": layout.value, "length": layout.length})
                compared += 1
            elif name in ("_oxTime", "_oxTime32"):
                self.assertEqual(record["size"], (TIME if name == "_oxTime" else TIME32).size)
                compared += 1
        self.assertGreater(compared, 30)

    def test_every_kind_keeps_spare_bytes_and_texts_that_fit(self):
        for kind, capacity, spare in (("even", 6, [7]), ("uneven", 7, []), ("all", 10, [13]), ("all", 7, []),
                                      ("wide", 5, [14, 15])):
            layout, memory = string(kind, capacity, "J\u00f6b")
            self.assertEqual([i for i, byte in enumerate(memory) if byte == 0xAB], spare)
            self.assertEqual(layout.read(memory, 0), "J\u00f6b")
            memory[layout.length : layout.length + 2] = b"\xff\xff"
            self.assertEqual(len(layout.read(memory, 0)), capacity)
            with self.assertRaises(ValueError):
                layout.write(memory, 0, "x" * (capacity + 1))

    @needs_library
    def test_the_library_reads_and_writes_strings(self):
        for symbol, kind, capacity, name in (
            ("_Z13oxGetFileNameRK19_oxString8_evenSizeILi250EE", "even", 250, "J\u00f6b17.exr"),
            ("_Z13oxGetFileNameRK9_oxStringILi250EE", "wide", 250, "\u0141\u00f3d\u017a \U0001f600.exr"),
        ):
            _, path = string(kind, capacity, "/mnt/share/" + name)
            layout, result = string(kind, 100)
            call(symbol, result, path)
            self.assertEqual(layout.read(result, 0), name)

    @needs_library
    def test_the_library_reads_and_writes_strings_of_uneven_size(self):
        ENTRY = 80  # size of an entry in bytes; it begins with the strings `name` and `user`
        entries, layout = bytearray(100_000), FixedString("uneven", 25)
        own_name = os.path.basename(os.path.realpath("/proc/self/exe")).upper()[:25]
        call("_ZN14_oxProcessListC1Ev", entries)
        call("_ZN14_oxProcessList16collectProcessesERK21_oxString8_UnevenSizeILi25EE", entries,
             string("uneven", 25, own_name.lower())[1])
        count = int.from_bytes(entries[:4], "little")
        names = {layout.read(entries, 8 + ENTRY * i) for i in range(1, count)}
        call("_ZN14_oxProcessListD1Ev", entries)
        self.assertIn(own_name, names)
        self.assertTrue(all(name.startswith(own_name) for name in names))

    @needs_library
    def test_the_library_reads_and_writes_times(self):
        for seconds in (0, 1, 1795249507, -86400 * 365, 2**33):
            text, result = string("even", 250)
            call("_ZNK7_oxTime11asOX8StringEv", result, bytearray(TIME.pack(seconds)))
            self.assertEqual(text.read(result, 0), time.strftime("%m.%d. %H:%M.%S", time.localtime(seconds)))
            ticks, written = (seconds + 11644473600) * 10**7, bytearray(8)
            low, high = ctypes.c_ulong(ticks % 2**32), ctypes.c_ulong(ticks >> 32)
            call("_ZN7_oxTime13from_FILETIMEEmm", written, low, high)
            self.assertEqual(TIME.unpack(written)[0], seconds)
        short = bytearray(4)
        call("_ZN9_oxTime3214setCurrentTimeEl", short, ctypes.c_long(0))
        self.assertLess(abs(TIME32.unpack(short)[0] - time.time()), 60)


class Folder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)


class BufferFiles(Folder):
    SAVE = {
        "db": lambda path, data: oxshared.save_buffer(path, data, (1, -2, 3)),
        "zp": lambda path, data: oxshared.save_compressed(path, data, (1, -2, 3)),
        "ns": oxshared.save_compressed_stream,
        "gz": oxshared.save_gzip,
    }
    LOAD = {
        "db": lambda path: oxshared.load_buffer(path)[1],
        "zp": lambda path: oxshared.load_compressed(path)[1],
        "ns": lambda path: oxshared.payload(*oxshared.load_buffer(path)),
        "gz": oxshared.load_gzip,
    }

    def test_golden_files_and_files_of_the_library_are_read(self):
        for raw in GOLDEN.glob("*.raw"):
            data = raw.read_bytes()
            for kind, load in self.LOAD.items():
                golden = raw.with_suffix("." + ("ox" + kind if kind != "gz" else kind))
                packed = self.path(raw.stem + kind)
                self.assertEqual(tool("pack", raw, packed, "--format", kind).returncode, 0)
                self.assertEqual(load(golden), data, golden)
                self.assertEqual(load(packed), data, packed)

    def test_headers_are_those_of_the_library(self):
        words = ("headerValue0", "size", "sizeUncompressed", "dataOffset", "crc", "headerValue1",
                 "headerValue2", "isCompressed")
        data, raw, file = b"frame 0001\n" * 500, self.path("raw"), self.path("file")
        pathlib.Path(raw).write_bytes(data)
        for kind in ("db", "zp", "ns"):
            load = oxshared.load_compressed if kind == "zp" else oxshared.load_buffer
            for save in (lambda: self.SAVE[kind](file, data),
                         lambda: tool("pack", raw, file, "--format", kind, "--header", 1, -2, 3)):
                save()
                shown = tool_json("inspect", file)
                shown["header"]["crc"] = int(shown["header"]["crc"], 16)
                self.assertEqual((shown["format"], shown["intact"]), (kind, True))
                self.assertEqual([shown["header"][word] for word in words], list(load(file)[0]))

    def test_the_library_reads_files_of_python(self):
        for data in (b"x", bytes(range(256)) * 300):
            for kind, save in self.SAVE.items():
                save(self.path(kind), data)
                result = tool("unpack", self.path(kind), "--format", kind)
                self.assertEqual((result.returncode, result.stdout), (0, data), kind)

    @needs_library
    def test_damaged_files_give_the_codes_of_the_library(self):
        data = b"frame 0001\n" * 20
        good = {}
        for kind in ("db", "zp"):
            self.SAVE[kind](self.path(kind), data)
            good[kind] = pathlib.Path(self.path(kind)).read_bytes()
        db, zp = good["db"], good["zp"]
        damaged = {
            "db": [b"", db[:36], db[:-1], db + b"x", b"oxDC" + db[4:], db[:40] + b"\xff" + db[41:], db, None],
            "zp": [zp[:-9], zp[:40] + b"\xff\xff\xff" + zp[43:], zp[:-1], zp + zp, zp + b"rest",
                   b"oxZP" + bytes(40), b"plain", zp[:-4] + b"\0\0\0\0", zp],
        }
        symbols = {"db": "_ZN14_OX_DataBuffer12loadFromFileERK19_oxString8_evenSizeILi500EEb",
                   "zp": "_ZN14_OX_DataBuffer22loadFromFileCompressedERK19_oxString8_evenSizeILi500EEb"}
        for kind, contents in damaged.items():
            file = self.path("damaged")
            for number, content in enumerate(contents):
                if content is None:
                    os.unlink(file)
                else:
                    pathlib.Path(file).write_bytes(content)
                buffer = bytearray(56)
                call(symbols[kind], buffer, string("even", 500, file)[1], ctypes.c_bool(True))
                size, code = (int.from_bytes(buffer[at : at + 4], "little", signed=True) for at in (4, 48))
                expected = (code, size if code == 0 else None)
                call("_ZN14_OX_DataBufferD1Ev", buffer)
                try:
                    result = (0, len(self.LOAD[kind](file)))
                except oxshared.BufferError as error:
                    result = (error.code, None)
                self.assertEqual(result, expected, f"{kind} {number}")


class LockFiles(Folder):
    def hold(self, path):
        """Starts an oxtool that holds the lock until its standard input ends."""
        command = [os.environ["OX_TOOL"], "lock", path, "--", "sh", "-c", "echo ready; read line"]
        holder = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(holder.wait)
        self.addCleanup(holder.kill)
        self.addCleanup(holder.stdout.close)
        self.addCleanup(holder.stdin.close)
        self.assertEqual(holder.stdout.readline(), b"ready\n")
        return holder

    def test_python_and_the_library_exclude_each_other(self):
        for name in ("farm.ini", "J\u00f6b.ini", "\u0141\u00f3d\u017a.ini", "\u00c3\u00b6.ini"):
            path, lock = self.path(name), LockFile(self.path(name))
            with lock.held("python\non farm01"):
                state = tool_json("lock", "--status", path)
                self.assertEqual((state["held"], state["live"]), (True, True))
                self.assertEqual(state["who"], "python\non farm01")
                self.assertEqual(tool("lock", path, "--timeout", 0, "--", "true").returncode, 4)
            self.assertFalse(tool_json("lock", "--status", path)["held"])
            holder = self.hold(path)
            state = lock.status()
            self.assertEqual((state.exists, state.live), (True, True))
            self.assertIn(f"oxtool {holder.pid}", state.who)
            self.assertFalse(lock.lock("python"))
            holder.communicate(b"\n")
            self.assertEqual(lock.status(), (False, False, "", 0))
        self.assertEqual(os.listdir(self.folder), [])

    def test_only_a_stale_lock_of_a_dead_process_is_removed(self):
        path, lock = self.path("farm.ini"), LockFile(self.path("farm.ini"))
        long_ago = time.time() - 10860
        holder = self.hold(path)
        os.utime(lock.name, (long_ago, long_ago))
        self.assertFalse(lock.lock("python"))
        holder.send_signal(signal.SIGKILL)
        holder.wait()
        self.assertIs(lock.status().live, False)
        self.assertTrue(lock.lock("python"))
        os.utime(lock.name, (long_ago, long_ago))
        self.assertEqual(tool("lock", path, "--timeout", 0, "--", "true").returncode, 4)
        lock.unlock()
        pathlib.Path(lock.name).touch()
        os.utime(lock.name, (long_ago, long_ago))
        self.assertEqual(tool("lock", path, "--timeout", 0, "--", "true").returncode, 0)

    def test_the_content_is_that_of_the_library(self):
        path, lock = self.path("farm.ini"), LockFile(self.path("farm.ini"))
        contents = []
        self.hold(path)
        contents.append(pathlib.Path(lock.name).read_bytes())
        os.unlink(lock.name)
        with lock.held(lock.status().who or "python"):
            contents.append(pathlib.Path(lock.name).read_bytes())
        for content in contents:
            self.assertRegex(content, b"^\n File locked by: [^\n]+\n Time locked: "
                             + time.strftime("%m.%d").encode() + b" \\d\\d:\\d\\d.\\d\\d\n"
                             b"Info: This lock file should only exist a few seconds for config files.\n\n$")

    def test_a_name_that_cannot_be_locked_is_refused(self):
        for path in ("", self.path("x" * 250), self.path("a\0b")):
            with self.assertRaises(ValueError):
                LockFile(path)
        with self.assertRaises(FileNotFoundError):
            LockFile(self.path("none/farm.ini")).lock("python")


if __name__ == "__main__":
    unittest.main()

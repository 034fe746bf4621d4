"""gdb pretty-printers, which show the library's types as texts, times, lists and buffers.

gdb loads this file automatically with an installed shared library; docs/debugger.md describes the
other cases. The printers only read memory, so they also work with a core file. In a damaged record,
they limit lengths and counts to the memory of the record.
"""

import datetime

import gdb
import gdb.printing


def shown(text):
    """Returns a text in quotes. Escapes unprintable characters, and truncates at gdb's `print elements`."""
    limit = gdb.parameter("print elements") or len(text)
    escaped = "".join(
        "\\" + c if c in '"\\' else c if c.isprintable() else c.encode("unicode_escape").decode()
        for c in text[:limit]
    )
    return f'"{escaped}"' + ("..." if len(text) > limit else "")


def bytes_at(address, count):
    """Reads bytes from the program's memory. Returns None if they are not readable."""
    try:
        return bytes(gdb.selected_inferior().read_memory(address, count)) if count > 0 else b""
    except gdb.MemoryError:
        return None


def string_parts(value):
    """Returns text, length and capacity of a fixed string."""
    units = value["value"]
    capacity = units.type.range()[1]
    length = int(value["length"])
    width = units.type.target().sizeof
    content = bytes_at(int(units.address), min(length, capacity) * width)
    if content is None:
        return None, length, capacity
    if width == 2:
        return content.decode("utf-16-le", "backslashreplace"), length, capacity
    try:  # File names in 8-bit strings may be UTF-8.
        return content.decode("utf-8"), length, capacity
    except UnicodeDecodeError:
        return content.decode("latin-1"), length, capacity


def string_text(value):
    """Returns the quoted text of a fixed string, without its length."""
    text = string_parts(value)[0]
    return "<unreadable>" if text is None else shown(text)


class Printer:
    """Base class of the printers. A derived class returns the shown text from `summary`."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return self.summary(self.value)


class StringPrinter(Printer):
    @staticmethod
    def summary(value):
        _, length, capacity = string_parts(value)
        note = ", damaged" if length > capacity else ""
        return f"{string_text(value)} (length {length} of {capacity}{note})"


def iso_date(seconds):
    """Returns a time in UTC, or None outside the years 1 to 9999."""
    try:
        date = datetime.datetime(1970, 1, 1) + datetime.timedelta(seconds=seconds)
    except OverflowError:
        return None
    return date.strftime(f"{date.year:04}-%m-%dT%H:%M:%SZ")


class TimePrinter(Printer):
    @staticmethod
    def summary(value):
        seconds = int(value["value"])
        return f"{iso_date(seconds) or 'no date'} ({seconds})"


class BytePercPrinter(Printer):
    @staticmethod
    def summary(value):
        return f"{round(int(value['value']) / 2.55)}% ({int(value['value'])} of 255)"


class CPUValuePrinter(Printer):
    @staticmethod
    def summary(value):
        load, cores = float(value["value"]), float(value["coreCount"])
        if not load >= 0:
            return f"not measured, {cores:g} cores"
        return f"{load * 100:g}% of {cores:g} cores"


class ProcessEntryPrinter(Printer):
    @staticmethod
    def summary(value):
        return (
            f"{int(value['pid'])} {string_text(value['name'])}, parent {int(value['parentPid'])}, "
            f"user {string_text(value['user'])}, {int(value['memMB'])} MiB, {int(value['cpuTime']) / 1e7:g} s"
        )


class ListPrinter(Printer):
    """Base class of the printers of containers. gdb also shows the entries as an array."""

    def children(self):
        entries, count = self.entries(self.value)
        for i in range(count):
            yield f"[{i}]", (entries + i).dereference()

    @staticmethod
    def display_hint():
        return "array"


class StringListPrinter(ListPrinter):
    @staticmethod
    def entries(value):
        items = value["items_"]
        return items, max(0, int(value["count_"])) if int(items) else 0

    @staticmethod
    def summary(value):
        return f"_oxStringList of {int(value['count_'])}"


class ProcessListPrinter(ListPrinter):
    @staticmethod
    def entries(value):
        entries = value["entries"]
        first = entries[0].address
        return first, min(max(0, int(value["count"])), entries.type.range()[1] + 1)

    @staticmethod
    def summary(value):
        error = string_text(value["errorText"])
        return f"_oxProcessList of {int(value['count'])}" + (f", error {error}" if error != '""' else "")


class DataBufferPrinter(Printer):
    PREVIEW = 16
    WORDS = (
        "headerValue0", "headerValue1", "headerValue2", "sizeUncompressed", "dataOffset", "crc", "isCompressed",
    )
    # The texts of _OX_DataBuffer::errorString, except those that need the system's last error.
    ERRORS = {
        0: "none",
        -2: "Compression Error, stream error",
        -3: "Compression Error, data CRC error",
        -4: "Compression Error, memory",
        -5: "Compression Error, buffer",
        -6: "Compression Error, version mismatch",
        -1: "Compression Error, stream error",
        -100: "Unable to allocate memory",
        -101: "System error",
        -102: "Wrong File Header",
        -103: "CRC Error, data corrupt!",
        -104: "Unable to read data from file!",
        -105: "Unable to write data into file!",
        -106: "Decompression error, wrong result size",
        -107: "File does not exists!",
        -1000: "File error: End of file reached!",
    }

    @classmethod
    def summary(cls, value):
        size, allocated = int(value["size"]), int(value["sizeAllocated"])
        return f"{size} bytes of {allocated}, error {cls.error_text(int(value['error']))}"

    @classmethod
    def error_text(cls, code):
        if code < -1000:
            return f"{code}: File error {-1000 - code}"
        return "none" if code == 0 else f"{code}: {cls.ERRORS.get(code, f'unknown error {code}')}"

    def children(self):
        for word in self.WORDS:
            yield word, self.value[word]
        yield "data", self.preview()

    def preview(self):
        address, size = int(self.value["data"]), int(self.value["size"])
        if address == 0:
            return "null"
        start = bytes_at(address, min(size, int(self.value["sizeAllocated"]), self.PREVIEW))
        if start is None:
            return f"{address:#x} <unreadable>"
        text = "".join(chr(byte) if 32 <= byte < 127 else "." for byte in start)
        return f"{address:#x} {start.hex(' ')}  {text}" + (" ..." if size > len(start) else "")


def build_printers():
    """Returns the printers of all types."""
    printers = gdb.printing.RegexpCollectionPrettyPrinter("oxShared")
    for name, pattern, printer in (
        ("string", r"^_oxString8_(evenSize|UnevenSize|AllSize)<\d+>$", StringPrinter),
        ("wide string", r"^_oxString<\d+>$", StringPrinter),
        ("time", r"^_oxTime(32)?$", TimePrinter),
        ("load", r"^_oxCPUValue$", CPUValuePrinter),
        ("byte load", r"^_oxBytePerc$", BytePercPrinter),
        ("string list", r"^_oxStringList$", StringListPrinter),
        ("process", r"^_oxProcessEntry$", ProcessEntryPrinter),
        ("process list", r"^_oxProcessList$", ProcessListPrinter),
        ("data buffer", r"^_OX_DataBuffer$", DataBufferPrinter),
    ):
        printers.add_printer(name, pattern, printer)
    return printers


# By default, gdb does not read values as large as a process list.
if (gdb.parameter("max-value-size") or 1 << 20) < 1 << 20:
    gdb.execute("set max-value-size 1048576")
gdb.printing.register_pretty_printer(gdb.current_objfile(), build_printers(), replace=True)

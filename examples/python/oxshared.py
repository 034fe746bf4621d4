"""Reads and writes oxShared's strings, times, buffer files and lock files in standard Python.

    name = FixedString("even", 250)
    record = bytearray(name.size + TIME.size)
    name.write(record, 0, "job17")
    TIME.pack_into(record, name.size, int(time.time()))

    with LockFile("farm.ini").held("python on farm01", 5000):
        header, data = load_buffer("job17.oxdb")

The pages docs/record_layouts.md, docs/file_formats.md and docs/lock_files.md describe all of these formats. Lock
files need Linux. The steps for shares that refuse to remove an open file are not implemented.
"""

import contextlib
import errno
import fcntl
import os
import stat
import struct
import time
import zlib
from collections import namedtuple

TIME = struct.Struct("<q")  # _oxTime
TIME32 = struct.Struct("<I")  # _oxTime32


class FixedString:
    """Layout of a fixed string. `kind` is "even", "uneven", "all" or "wide"; `capacity` is in characters."""

    def __init__(self, kind, capacity):
        self.capacity = capacity
        self.encoding = "utf-16-le" if kind == "wide" else "latin-1"
        self.unit = 2 if kind == "wide" else 1
        characters = (capacity + 1) * self.unit
        self.value, self.length = (2, 0) if kind == "all" else (0, characters + (kind == "even"))
        self.size = characters + {"even": 3, "uneven": 2, "all": 2 + (characters + 2) % 2, "wide": 4}[kind]

    def read(self, memory, offset):
        """Returns the text. A length above the capacity counts as the capacity."""
        length = min(struct.unpack_from("<H", memory, offset + self.length)[0], self.capacity)
        start = offset + self.value
        return bytes(memory[start : start + length * self.unit]).decode(self.encoding, "surrogatepass")

    def write(self, memory, offset, text):
        """Writes the text, zeros after the text, and the length. The spare bytes stay unchanged."""
        encoded = text.encode(self.encoding, "surrogatepass" if self.unit == 2 else "strict")
        if len(encoded) > self.capacity * self.unit:
            raise ValueError(f"text is longer than {self.capacity} characters: {text!r}")
        start, characters = offset + self.value, (self.capacity + 1) * self.unit
        memory[start : start + characters] = encoded.ljust(characters, b"\0")
        struct.pack_into("<H", memory, offset + self.length, len(encoded) // self.unit)


OUT_OF_MEMORY, NOT_OPENED, WRONG_MAGIC, CORRUPT, WRONG_LENGTH, MISSING = -100, -101, -102, -103, -106, -107
MAX_DATA = 768 << 20

Header = namedtuple("Header", "value0 size size_uncompressed data_offset crc value1 value2 is_compressed")
HEADER = struct.Struct("<4iI3i")


class BufferError(Exception):
    """Raised if a buffer file cannot be loaded. `code` is the library's error code."""

    def __init__(self, code, reason):
        super().__init__(f"{reason} ({code})")
        self.code = code


def _write_plain(path, data, values, size_uncompressed, is_compressed):
    header = Header(values[0], len(data), size_uncompressed, 0, zlib.crc32(data), *values[1:], is_compressed)
    with open(path, "wb") as file:
        file.write(b"oxDB" + HEADER.pack(*header) + data)


def save_buffer(path, data, values=(0, 0, 0)):
    """Writes a plain buffer file. `values` are the three header words of the application."""
    _write_plain(path, data, values, 0, 0)


def save_compressed_stream(path, data):
    """Writes a compress-and-save file."""
    _write_plain(path, zlib.compress(data), (0, 0, 0), len(data), 1)


def save_gzip(path, data):
    """Writes a bare gzip file."""
    compressor = zlib.compressobj(wbits=31)
    with open(path, "wb") as file:
        file.write(compressor.compress(data) + compressor.flush())


def save_compressed(path, data, values=(0, 0, 0)):
    """Writes a compressed buffer file."""
    header = Header(values[0], len(data), len(data), 0, zlib.crc32(data), *values[1:], 0)
    save_gzip(path, b"oxZP" + HEADER.pack(*header) + data)


def _gunzip(path, limit):
    """Returns the content of all gzip members. Returns the file itself if it is not gzip."""
    with open(path, "rb") as file:
        stream = file.read()
    if not stream.startswith(b"\x1f\x8b") and len(stream) <= limit:
        return stream
    content = b""
    while stream.startswith(b"\x1f\x8b"):
        member = zlib.decompressobj(wbits=31)
        try:
            content += member.decompress(stream, limit + 1 - len(content))
        except zlib.error as error:
            raise BufferError(-3, str(error)) from error
        if len(content) > limit:
            raise BufferError(OUT_OF_MEMORY, "more than 768 MiB of data")
        if not member.eof:
            raise BufferError(-5, "the stream is truncated")
        stream = member.unused_data
    return content


def load_gzip(path):
    """Returns the content of a bare gzip file."""
    return _gunzip(path, MAX_DATA)


def load_compressed(path):
    """Returns the header and the data of a compressed buffer file."""
    content = _gunzip(path, MAX_DATA + 36)
    if content[:4] != b"oxZP":
        raise BufferError(WRONG_MAGIC, "no compressed buffer file")
    if len(content) < 36:
        raise BufferError(0, "the header is incomplete")
    data = content[36:]
    header = Header(*HEADER.unpack_from(content, 4))
    return header._replace(size=len(data), size_uncompressed=len(data)), data


def load_buffer(path):
    """Returns the header and the data of a plain buffer file. Does not decompress the data."""
    try:
        status = os.stat(path)
    except OSError as error:
        raise BufferError(MISSING, "no such file") from error
    if stat.S_ISDIR(status.st_mode):
        raise BufferError(MISSING, "is a folder")
    if status.st_size <= 36:
        raise BufferError(CORRUPT, "nothing follows the header")
    if status.st_size - 36 > MAX_DATA:
        raise BufferError(OUT_OF_MEMORY, "more than 768 MiB of data")
    try:
        with open(path, "rb") as file:
            content = file.read(status.st_size)
    except OSError as error:
        raise BufferError(NOT_OPENED, str(error)) from error
    if content[:4] != b"oxDB":
        raise BufferError(WRONG_MAGIC, "no buffer file")
    header, data = Header(*HEADER.unpack_from(content, 4)), content[36:]
    if zlib.crc32(data) != header.crc:
        raise BufferError(CORRUPT, "the CRC is wrong")
    return header._replace(size=len(data)), data


def payload(header, data):
    """Returns the data of a loaded buffer, and decompresses it if necessary."""
    if not header.is_compressed:
        return data
    if not 0 <= header.data_offset <= len(data) or not 0 <= header.size_uncompressed <= MAX_DATA:
        raise BufferError(WRONG_LENGTH, "impossible header")
    stream = zlib.decompressobj()
    try:
        result = stream.decompress(data[header.data_offset :], header.size_uncompressed + 1)
    except zlib.error as error:
        raise BufferError(-3, str(error)) from error
    if len(result) != header.size_uncompressed or not stream.eof:
        raise BufferError(WRONG_LENGTH, "the data does not have the length in the header")
    return result


LockStatus = namedtuple("LockStatus", "exists live who since")  # `live` is None if unknown


class LockFile:
    """The lock of a file. One call of unlock() releases it after any number of calls of lock()."""

    STALE_SECONDS = 10800

    def __init__(self, path):
        self.name = path + "_lock.txt"
        self._descriptor = None
        try:
            record = self.name.encode("latin-1")
        except UnicodeEncodeError:
            record = os.fsencode(self.name)
        if not path or len(record) > 250 or b"\0" in record:
            raise ValueError(f"file cannot be locked because of its name: {path!r}")

    def lock(self, who, timeout_ms=0):
        """Waits until the lock is free and takes it. Returns False after the timeout."""
        fresh = None  # created lock file whose `flock` another process has
        for _ in range(max(1, timeout_ms // 250)):
            fresh = self._create(who, fresh)
            if self._descriptor is not None:
                return True
            time.sleep(0.25)
        if fresh is None:
            self._remove_stale()
        fresh = self._create(who, fresh)
        if fresh is not None:
            self._remove(fresh)
        return self._descriptor is not None

    def unlock(self):
        """Releases the lock, if this object holds it and nobody has deleted or replaced its file."""
        descriptor, self._descriptor = self._descriptor, None
        if descriptor is not None:
            self._remove(descriptor)

    @contextlib.contextmanager
    def held(self, who, timeout_ms=0):
        """Holds the lock during a `with` block."""
        if not self.lock(who, timeout_ms):
            raise TimeoutError(f"cannot lock '{self.name}' within {timeout_ms} ms")
        try:
            yield self
        finally:
            self.unlock()

    def status(self):
        """Returns the state of the lock without disturbing its holder."""
        try:
            descriptor = os.open(self.name, os.O_RDONLY | os.O_NONBLOCK | os.O_NOFOLLOW)
        except FileNotFoundError:
            os.stat(os.path.dirname(self.name) or ".")  # raises if the folder is missing
            return LockStatus(False, False, "", 0)
        try:
            live = {True: None, False: True, None: None}[self._flock(descriptor, fcntl.LOCK_SH)]
            if live is None and self._flock(descriptor, fcntl.LOCK_EX):
                live = False
            text = os.read(descriptor, 65536).decode("latin-1")
            before, _, who = text.rpartition("\n Time locked: ")[0].partition("\n File locked by: ")
            return LockStatus(True, live, "" if before else who, int(os.fstat(descriptor).st_mtime))
        finally:
            os.close(descriptor)

    def _create(self, who, fresh):
        """Creates the lock file, or uses the already created file `fresh`. Then takes the file's `flock`.

        Success sets `_descriptor`. If another process has the `flock`, returns the created file, otherwise None."""
        try:
            if fresh is None:
                fresh = os.open(self.name, os.O_RDWR | os.O_CREAT | os.O_EXCL, 0o666)
                os.fchmod(fresh, 0o666)
        except OSError as error:
            if error.errno in (errno.EEXIST, errno.EBUSY, errno.ETXTBSY):
                return None
            raise
        # On a share without `flock`, _flock() returns None, and the creation alone takes the lock.
        if self._flock(fresh, fcntl.LOCK_EX) is False and not self._flock(fresh, fcntl.LOCK_SH):
            return fresh
        if not self._is_named(fresh):
            os.close(fresh)
            return None
        text = (
            f"\n File locked by: {who}\n Time locked: {time.strftime('%m.%d %H:%M.%S')}\n"
            "Info: This lock file should only exist a few seconds for config files.\n\n"
        )
        with contextlib.suppress(OSError):  # on a full disk the file stays empty
            os.write(fresh, text.encode("latin-1", "replace"))
        self._descriptor = fresh
        return None

    def _remove(self, descriptor):
        """Deletes or renames the open lock file, unless the name refers to another file. Closes the descriptor."""
        try:
            if self._is_named(descriptor):
                try:
                    os.unlink(self.name)
                except OSError:
                    os.replace(self.name, self.name + ".none")
        finally:
            os.close(descriptor)

    def _remove_stale(self):
        """Removes the lock file if it is older than three hours and no process holds it."""
        with contextlib.suppress(OSError):
            descriptor = os.open(self.name, os.O_RDWR | os.O_NONBLOCK | os.O_NOFOLLOW)
            try:
                if self._flock(descriptor, fcntl.LOCK_EX) and self._is_named(descriptor):
                    if time.time() - os.fstat(descriptor).st_mtime > self.STALE_SECONDS:
                        os.unlink(self.name)
            finally:
                os.close(descriptor)

    def _is_named(self, descriptor):
        """Returns whether the name still refers to the open file."""
        held = os.fstat(descriptor)
        try:
            other = os.open(self.name, os.O_RDONLY | os.O_NONBLOCK | os.O_NOFOLLOW)
        except FileNotFoundError:
            return False
        except OSError:
            return held.st_nlink > 0 and os.path.samestat(held, os.lstat(self.name))
        try:
            return held.st_nlink > 0 and os.path.samestat(held, os.fstat(other))
        finally:
            os.close(other)

    @staticmethod
    def _flock(descriptor, operation):
        """Tries three times within 7 ms to take a `flock`. If the share does not support `flock`, returns None."""
        for pause in (0.002, 0.004, 0):
            try:
                fcntl.flock(descriptor, operation | fcntl.LOCK_NB)
                return True
            except BlockingIOError:
                time.sleep(pause)
            except OSError:
                return None
        return False

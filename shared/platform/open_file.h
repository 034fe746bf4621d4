#pragma once

#include "shared/platform/file_names.h"
#include "shared/platform/result.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <utility>

#include <zlib.h>

namespace ox::platform
{

/// An open file. Every operation goes through its descriptor or handle and never through its name,
/// so that all of them mean the same file. A failure sets the system's last error.
class OpenFile
{
  public:
    OpenFile() = default;
    explicit OpenFile(std::intptr_t handle) : handle_(handle) {}
    ~OpenFile();
    OpenFile(OpenFile && other) noexcept : handle_(other.release()) {}
    OpenFile & operator=(OpenFile && other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }

    bool isOpen() const { return handle_ != none; }
    std::intptr_t handle() const { return handle_; }
    /// Hands the open file over to the caller.
    std::intptr_t release() { return std::exchange(handle_, none); }

    /// Reads up to `size` bytes. Returns their number, 0 at the end of the file, -1 on failure.
    std::int64_t read(char * data, std::size_t size);
    /// Writes `size` bytes. Returns how many were written: fewer on failure.
    std::size_t write(char const * data, std::size_t size);
    /// Moves the position of the next read to a byte of the file.
    bool seek(std::int64_t position);
    /// Size in bytes, -1 on failure.
    std::int64_t size() const;
    /// Sets every time that a file has to a number of seconds since 1970-01-01 UTC.
    bool setTimes(std::int64_t seconds);
    /// Waits until the system has stored the content. True as well where it knows no such wait.
    bool flush();
    /// Closes the file. False when the system reports only now that something was not written.
    bool close();

  private:
    static constexpr std::intptr_t none = -1;

    std::intptr_t handle_ = none;
};

/// Whether other processes may have a file open for writing while it is read, on a system that can
/// refuse that.
enum class Writers { Refused, Allowed };

/// Opens a file, a device or an unnamed pipe (/dev/stdin) for reading. Never waits for another
/// process. Refuses a folder and a named pipe.
OpenFile openForReading(NativeName const & name, Writers writers);

enum class Taken { Fails, IsReplaced };

/// Creates a file for writing. What the name means already makes it fail or, a file or link, is
/// removed.
OpenFile createFile(NativeName const & name, Taken taken);

enum class Content { Kept, Emptied };

/// Opens a file in place for writing at its end, and creates it when it is missing. Refuses what is
/// no regular file, and as root a link that another user made.
OpenFile openInPlace(NativeName const & name, Content content);

enum class StreamMode { Read, Write, Append, WriteText, AppendText, ReadShared, WriteShared };

/// Opens a file; the text modes write "\n" as the system ends its lines, the others write bytes.
/// Write truncates or creates, Append creates. The shared modes and those of logs (Append and the
/// text modes) let others write the file meanwhile, where Read and Write refuse that on a system
/// that can. Null on failure, with the system's last error set. The stream is not inherited by
/// child processes.
///
/// Opening never waits for another process: a named pipe fails, as do a folder and a socket. A
/// device can be opened, and so can the pipe behind /dev/stdin; only disks are not written.
std::FILE * openStream(NativeName const & name, StreamMode mode);

/// Leaves the last error as it is, since a stream is also closed after a read or write failed.
struct CloseStream {
    void operator()(std::FILE * stream) const
    {
        KeptError const kept;
        std::fclose(stream);
    }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

/// Opens a file whose every read and write goes straight to the system, so that a full disk shows
/// at the write that it cuts short. Null on failure, with the system's last error set.
inline Stream openUnbuffered(NativeName const & name, StreamMode mode)
{
    Stream stream(openStream(name, mode));
    if (stream)
        std::setvbuf(stream.get(), nullptr, _IONBF, 0);
    return stream;
}

/// Closes a stream. False when the system reports only now that something could not be written.
inline bool closeStream(Stream & stream)
{
    return std::fclose(stream.release()) == 0;
}

/// Opens a gzip file for reading or writing (mode "rb" or "wb" of zlib, its default level), as
/// openStream opens a file. Null on failure, with the system's last error set.
gzFile openGzip(NativeName const & name, StreamMode mode);

} // namespace ox::platform

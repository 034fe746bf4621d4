#pragma once

#include "shared/platform/native_name.h"

#include <cstddef>
#include <cstdint>
#include <utility>

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

} // namespace ox::platform

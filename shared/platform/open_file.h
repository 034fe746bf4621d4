#pragma once

#include "shared/platform/file_names.h"
#include "shared/platform/result.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

struct gzFile_s;

namespace ox::platform
{

/// An open file. Every operation goes through its descriptor or handle and never through its name,
/// so that all of them mean the same file. Child processes do not inherit it.
class OpenFile
{
  public:
    OpenFile() = default;
    explicit OpenFile(std::intptr_t handle) : handle_(handle) {}
    /// Closes the file and leaves the thread's last error unchanged.
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

    /// Reads `size` bytes, fewer only at the end of the file. Returns their number.
    Result<std::size_t> read(char * data, std::size_t size);
    /// Writes `size` bytes. `written`, if given, is how many of them were written, also on failure.
    Result<> write(char const * data, std::size_t size, std::size_t * written = nullptr);
    /// Moves the position of the next read to a byte of the file.
    Result<> seek(std::int64_t position);
    /// Size in bytes.
    Result<std::int64_t> size() const;
    /// Sets every time that a file has to a number of seconds since 1970-01-01 UTC.
    Result<> setTimes(std::int64_t seconds);
    /// Waits until the system has stored the content. Succeeds where it knows no such wait.
    Result<> flush();
    /// Closes the file. Fails when the system reports only now that something was not written.
    Result<> close();

  private:
    static constexpr std::intptr_t none = -1;

    std::intptr_t handle_ = none;
};

// The calls below never wait for another process: a named pipe fails (NotAFile), as do a folder and
// a socket.

/// Whether other processes may write a file while it is open here, on a system that can refuse
/// that. Where they may not while it is written here, they may not read it either.
enum class Writers { Refused, Allowed };

/// Opens a file, a device or the unnamed pipe behind /dev/stdin for reading.
Result<OpenFile> openForReading(NativeName const & name, Writers writers);

enum class Content { Kept, Emptied };

/// Opens a file for writing, at its end or emptied, and creates it when it is missing. Links are
/// followed. Also opens a device that is no disk, and the unnamed pipe behind /dev/stdout.
Result<OpenFile> openForWriting(NativeName const & name, Content content, Writers writers);

/// As openForWriting with Writers::Allowed, for regular files only. As root, refuses a link that
/// another user made.
Result<OpenFile> openInPlace(NativeName const & name, Content content);

enum class Taken { Fails, IsReplaced };

/// Creates a file for writing. What has the name already makes it fail or, a file or link, is
/// removed.
Result<OpenFile> createFile(NativeName const & name, Taken taken);

/// Lines that end with "\n", as the text files of the system end them.
std::string textForFile(std::string_view lines);

/// Opens a gzip file of zlib, at its default level, in place of an open file.
Result<gzFile_s *> openGzip(OpenFile file, char const * mode);

} // namespace ox::platform

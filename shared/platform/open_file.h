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

/// Status of a file or folder.
struct FileStatus {
    bool isFolder;         ///< true for a folder, false for anything else
    std::int64_t size;     ///< in bytes
    std::int64_t modified; ///< last write, seconds since 1970-01-01 UTC
};

/// An open file. Every operation uses its descriptor or handle and never its name, so that all
/// operations affect the same file. Child processes do not inherit open files of this class.
class OpenFile
{
  public:
    /// Creates an object without an open file.
    OpenFile() = default;
    /// Takes ownership of an open descriptor or handle; -1 means no file.
    explicit OpenFile(std::intptr_t handle) : handle_(handle) {}
    /// Closes the file and leaves the thread's last error unchanged.
    ~OpenFile();
    /// Takes the open file of another object.
    OpenFile(OpenFile && other) noexcept : handle_(other.release()) {}
    /// Swaps the open files of both objects.
    OpenFile & operator=(OpenFile && other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }

    /// Returns whether a file is open.
    bool isOpen() const { return handle_ != none; }
    /// Returns the descriptor (Linux) or handle (Windows).
    std::intptr_t handle() const { return handle_; }
    /// Returns the descriptor or handle; the caller must close it.
    std::intptr_t release() { return std::exchange(handle_, none); }

    /// Reads `size` bytes, fewer only at the end of the file. Returns the number of bytes read.
    Result<std::size_t> read(char * data, std::size_t size);
    /// Writes `size` bytes. `written`, if given, receives the number of written bytes, even after a
    /// failure.
    Result<> write(char const * data, std::size_t size, std::size_t * written = nullptr);
    /// Sets the position of the next read, in bytes from the start.
    Result<> seek(std::int64_t position);
    /// Returns the size in bytes.
    Result<std::int64_t> size() const;
    /// Sets all times of the file, in seconds since 1970-01-01 UTC.
    Result<> setTimes(std::int64_t seconds);
    /// Flushes the content to disk (fsync). On Linux, also succeeds on a file system that does not
    /// support fsync.
    Result<> flush();
    /// Closes the file.
    /// Fails: also when the system reports only now that written data has not been stored.
    Result<> close();

  private:
    static constexpr std::intptr_t none = -1;

    std::intptr_t handle_ = none;
};

// The functions below never wait for another process: for a named pipe, a folder or a socket they
// fail with NotAFile.

/// Whether other processes may open the file for writing while this process has it open. Linux
/// always allows this. On Windows, openForWriting with Refused opens the file exclusively: no other
/// call can open it, not even for reading.
enum class Writers { Refused, Allowed };

/// Opens a file, a device or the unnamed pipe of /dev/stdin for reading. `status`, if given,
/// receives the status of the opened file, without an additional round trip.
Result<OpenFile> openForReading(NativeName const & name, Writers writers,
                                FileStatus * status = nullptr);

/// Whether an opened file keeps its content or is emptied.
enum class Content { Kept, Emptied };

/// Opens a file for writing: appends to its content, or empties it first. Creates a file that does
/// not exist. Links are followed. If the caller is root, the call fails for a link of another user.
/// Also opens the unnamed pipe of /dev/stdout, and devices other than disks.
Result<OpenFile> openForWriting(NativeName const & name, Content content, Writers writers);

/// Opens a file like openForWriting with Writers::Allowed, but only a regular file.
Result<OpenFile> openInPlace(NativeName const & name, Content content);

/// How the creation of a file treats an existing name.
enum class IfExists { Fail, Replace };

/// Creates a file for writing. If the name exists, the call fails with IfExists::Fail. With
/// IfExists::Replace the call first deletes the file or link of that name.
Result<OpenFile> createFile(NativeName const & name, IfExists ifExists);

/// Converts the line ends "\n" to those of the system's text files.
std::string textForFile(std::string_view lines);

/// Opens a gzip stream of zlib on an open file, at the default compression level. The stream takes
/// ownership of the file. `mode` is the mode of gzdopen, such as "rb" or "wb".
Result<gzFile_s *> openGzip(OpenFile file, char const * mode);

} // namespace ox::platform

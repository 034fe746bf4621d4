#include "shared/platform/files.h"

#include "shared/platform/descriptor_linux.h"

#include <algorithm>
#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

bool writeAll(int to, char const * data, std::size_t size)
{
    while (size > 0) {
        ssize_t const written = ::write(to, data, size);
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0) {
            data += written;
            size -= static_cast<std::size_t>(written);
        }
    }
    return true;
}

/// Copies from the position of one descriptor to that of another up to the end of the file.
bool copyByReading(int from, int to)
{
    std::vector<char> piece(std::size_t{1} << 20);
    for (;;) {
        ssize_t const count = ::read(from, piece.data(), piece.size());
        if (count == 0)
            return true;
        if (count < 0 && errno != EINTR)
            return false;
        if (count > 0 && !writeAll(to, piece.data(), static_cast<std::size_t>(count)))
            return false;
    }
}

bool copyContent(int from, int to)
{
    std::size_t const atOnce = std::size_t{1} << 30;
    ssize_t copied = 1;
    while (copied > 0)
        copied = ::copy_file_range(from, nullptr, to, nullptr, atOnce, 0);
    // Some file systems cannot copy by themselves, others say that there is nothing to copy: the
    // reading goes on from where the copying stopped, and finds the true end.
    return copyByReading(from, to);
}

/// Moves a file with its permission bits and times to a name on another file system.
bool moveByCopying(NativeName const & from, NativeName const & to)
{
    Descriptor const source(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status;
    if (!source.isOpen() || ::fstat(source.get(), &status) != 0)
        return false;
    Descriptor target(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!target.isOpen())
        return false;
    timespec const times[] = {status.st_atim, status.st_mtim};
    if (copyContent(source.get(), target.get()) && ::fchmod(target.get(), status.st_mode) == 0 &&
        ::futimens(target.get(), times) == 0 && target.close() && ::unlink(from.c_str()) == 0)
        return true;
    int const error = errno;
    ::unlink(to.c_str());
    errno = error;
    return false;
}

/// Renames without replacing, also on file systems that cannot do it in one step.
bool renameToNewName(NativeName const & from, NativeName const & to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    struct stat status;
    if (::lstat(to.c_str(), &status) == 0) {
        errno = EEXIST;
        return false;
    }
    return ::rename(from.c_str(), to.c_str()) == 0;
}

} // namespace

std::optional<FileStatus> fileStatus(NativeName const & name)
{
    struct stat status;
    if (::stat(name.c_str(), &status) != 0)
        return std::nullopt;
    return FileStatus{S_ISDIR(status.st_mode), status.st_size, status.st_mtim.tv_sec};
}

std::FILE * openStream(NativeName const & name, StreamMode mode)
{
    static constexpr char const * modes[] = {"rbe", "wbe", "abe", "we", "ae"};
    return std::fopen(name.c_str(), modes[static_cast<int>(mode)]);
}

bool deleteFile(NativeName const & name)
{
    return ::unlink(name.c_str()) == 0 || (errno == ENOENT && !name.empty());
}

bool moveFile(NativeName const & from, NativeName const & to)
{
    if (renameToNewName(from, to))
        return true;
    return errno == EXDEV && moveByCopying(from, to);
}

bool createFolder(NativeName const & name)
{
    return ::mkdir(name.c_str(), 0777) == 0;
}

bool setFileTimes(NativeName const & name, std::int64_t seconds)
{
    timespec const time = {seconds, 0};
    timespec const accessAndModification[] = {time, time};
    return ::utimensat(AT_FDCWD, name.c_str(), accessAndModification, 0) == 0;
}

bool const hasExecutableBits = true;

bool makeExecutable(NativeName const & name)
{
    struct stat status;
    return ::stat(name.c_str(), &status) == 0 &&
           ::chmod(name.c_str(), (status.st_mode & 07777) | 0111) == 0;
}

std::optional<std::uint64_t> freeBytes(NativeName const & path)
{
    if (!path.starts_with(ownSeparator))
        return std::nullopt;
    NativeName existing = path;
    struct statvfs status;
    while (::statvfs(existing.c_str(), &status) != 0) {
        if ((errno != ENOENT && errno != ENOTDIR) || existing.size() <= 1)
            return std::nullopt;
        existing.resize(std::max<std::size_t>(existing.rfind(ownSeparator), 1));
    }
    return std::uint64_t{status.f_bavail} * status.f_frsize;
}

} // namespace ox::platform

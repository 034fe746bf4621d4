#include "shared/platform/files.h"

#include "shared/platform/copy_file.h"
#include "shared/platform/linux/descriptor.h"
#include "shared/platform/linux/stream.h"
#include "shared/platform/rename_file.h"

#include <algorithm>
#include <cerrno>
#include <string>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

/// Moves a file with its permission bits and times to a name on another file system.
bool moveByCopying(NativeName const & from, NativeName const & to)
{
    if (!copyFile(from, to, true))
        return false;
    if (::unlink(from.c_str()) == 0)
        return true;
    int const error = errno;
    ::unlink(to.c_str());
    errno = error;
    return false;
}

bool isOneFile(struct stat const & one, struct stat const & other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool isOneFolder(NativeName const & one, NativeName const & other)
{
    struct stat first;
    struct stat second;
    return ::stat(one.c_str(), &first) == 0 && ::stat(other.c_str(), &second) == 0 &&
           isOneFile(first, second);
}

struct SplitName {
    explicit SplitName(NativeName const & name)
        : end(name.rfind(ownSeparator) + 1), folder(end > 0 ? name.substr(0, end) : "."),
          file(name.substr(end))
    {
    }

    std::size_t end;
    NativeName folder;
    NativeName file;
};

/// Whether two names of one file are two spellings of one entry in a folder.
bool isOneEntry(NativeName const & one, NativeName const & other)
{
    SplitName const first(one);
    SplitName const second(other);
    return first.file == second.file && isOneFolder(first.folder, second.folder);
}

/// Renames a file to another of its own names. A rename from one to the other does nothing, which
/// is why a third name stands between.
bool renameToOwnName(NativeName const & from, NativeName const & to, bool hasHardLinks)
{
    if (isOneEntry(from, to))
        return true;
    NativeName const between = from + "~ox" + std::to_string(::getpid());
    if (renameToNewName(from.c_str(), between.c_str()) != Renaming::Done)
        return false;
    struct stat target;
    bool const isHardLink = hasHardLinks && ::lstat(to.c_str(), &target) == 0;
    if (isHardLink ? ::unlink(between.c_str()) == 0 : ::rename(between.c_str(), to.c_str()) == 0)
        return true;
    int const error = errno;
    renameToNewName(between.c_str(), from.c_str());
    errno = error;
    return false;
}

struct ModeTraits {
    int flags;
    char const * letters;
};

ModeTraits const & traitsOf(StreamMode mode)
{
    static constexpr int writing = O_WRONLY | O_CREAT | O_TRUNC;
    static constexpr int appending = O_WRONLY | O_CREAT | O_APPEND;
    static constexpr ModeTraits traits[] = {{O_RDONLY, "rb"}, {writing, "wb"},  {appending, "ab"},
                                            {writing, "w"},   {appending, "a"}, {O_RDONLY, "rb"},
                                            {writing, "wb"}};
    return traits[static_cast<int>(mode)];
}

/// Whether a pipe was made without a name, as the one behind /dev/stdin.
bool isNameless(int pipe)
{
    struct statfs status;
    return ::fstatfs(pipe, &status) == 0 && status.f_type == PIPEFS_MAGIC;
}

/// The error of reading or writing what is open; 0 for what a stream can be made of.
int streamError(int file, bool isRead)
{
    struct stat status;
    if (::fstat(file, &status) != 0)
        return errno;
    switch (status.st_mode & S_IFMT) {
    case S_IFDIR:
        return EISDIR;
    case S_IFIFO:
        // The error of a named pipe that is opened for writing while nobody reads it.
        return isNameless(file) ? 0 : ENXIO;
    case S_IFBLK:
        return isRead ? 0 : ENXIO;
    default:
        return 0;
    }
}

} // namespace

int openDescriptor(NativeName const & name, StreamMode mode)
{
    int const flags = traitsOf(mode).flags | O_CLOEXEC | O_NOCTTY;
    constexpr mode_t everybody = 0666;
    int descriptor = ::open(name.c_str(), flags | O_NONBLOCK, everybody);
    // A file server has lent the file to a client and asks for it back, for which it needs a
    // moment.
    if (descriptor < 0 && errno == EWOULDBLOCK)
        descriptor = ::open(name.c_str(), flags, everybody);
    Descriptor file(descriptor);
    if (!file.isOpen())
        return -1;
    int const error = streamError(file.get(), traitsOf(mode).flags == O_RDONLY);
    if (error == 0 && ::fcntl(file.get(), F_SETFL, flags) == 0)
        return file.release();
    errno = error ? error : errno;
    return -1;
}

std::optional<FileStatus> fileStatus(NativeName const & name)
{
    struct stat status;
    if (::stat(name.c_str(), &status) != 0)
        return std::nullopt;
    return FileStatus{S_ISDIR(status.st_mode), status.st_size, status.st_mtim.tv_sec};
}

NameKind kindOf(NativeName const & name)
{
    auto const status = fileStatus(name);
    if (!status)
        return NameKind::None;
    return status->isFolder ? NameKind::Folder : NameKind::File;
}

std::FILE * openStream(NativeName const & name, StreamMode mode)
{
    Descriptor file(openDescriptor(name, mode));
    std::FILE * const stream =
        file.isOpen() ? ::fdopen(file.get(), traitsOf(mode).letters) : nullptr;
    if (stream)
        file.release();
    return stream;
}

bool deleteFile(NativeName const & name)
{
    return ::unlink(name.c_str()) == 0 || (errno == ENOENT && !name.empty());
}

bool moveFile(NativeName const & from, NativeName const & to)
{
    if (renameToNewName(from.c_str(), to.c_str()) == Renaming::Done)
        return true;
    return errno == EXDEV && moveByCopying(from, to);
}

bool moveOver(NativeName const & from, NativeName const & to)
{
    struct stat source;
    struct stat target;
    if (::lstat(from.c_str(), &source) != 0 || ::lstat(to.c_str(), &target) != 0)
        return false;
    if (isOneFile(source, target))
        return renameToOwnName(from, to, source.st_nlink > 1);
    struct stat linked;
    if (S_ISLNK(source.st_mode) && ::stat(from.c_str(), &linked) == 0 &&
        isOneFile(linked, target)) {
        errno = EEXIST;
        return false;
    }
    if (::rename(from.c_str(), to.c_str()) == 0)
        return true;
    return errno == EXDEV && deleteFile(to) && moveByCopying(from, to);
}

bool createFolder(NativeName const & name)
{
    return ::mkdir(name.c_str(), 0777) == 0;
}

bool deleteFolder(NativeName const & name)
{
    return ::rmdir(name.c_str()) == 0;
}

bool setFileTimes(NativeName const & name, std::optional<std::int64_t> seconds)
{
    timespec const time = seconds ? timespec{*seconds, 0} : timespec{0, UTIME_NOW};
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

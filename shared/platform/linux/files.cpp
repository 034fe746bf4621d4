#include "shared/platform/files.h"

#include "shared/platform/linux/descriptor.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
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

} // namespace

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

Renaming renameToNewName(NativeChar const * from, NativeChar const * to)
{
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return Renaming::Done;
    // Not every file system can do it in one step.
    if (errno == EINVAL || errno == ENOSYS) {
        struct stat status;
        if (::lstat(to, &status) == 0)
            errno = EEXIST;
        else if (::rename(from, to) == 0)
            return Renaming::Done;
    }
    if (errno == EEXIST)
        return Renaming::NameIsTaken;
    return errno == ENOENT ? Renaming::NoSuchFile : Renaming::Failed;
}

} // namespace ox::platform

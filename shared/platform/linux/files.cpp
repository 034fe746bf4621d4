#include "shared/platform/files.h"

#include "shared/platform/linux/place.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

/// Moves a file with its permission bits and times to a name on another file system.
Result<> moveByCopying(NativeName const & from, NativeName const & to)
{
    if (Result<> const copied = copyFile(from, to, true); !copied)
        return copied;
    Result<> const unlinked = resultOf(::unlink(from.c_str()) == 0);
    if (!unlinked)
        ::unlink(to.c_str());
    return unlinked;
}

bool isSameFile(struct stat const & one, struct stat const & other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool isSameFolder(NativeName const & one, NativeName const & other)
{
    struct stat first;
    struct stat second;
    return ::stat(one.c_str(), &first) == 0 && ::stat(other.c_str(), &second) == 0 &&
           isSameFile(first, second);
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

/// Returns whether two names refer to the same folder entry.
bool isSameEntry(NativeName const & one, NativeName const & other)
{
    SplitName const first(one);
    SplitName const second(other);
    return first.file == second.file && isSameFolder(first.folder, second.folder);
}

/// Renames a file to a name that already refers to it: a hard link or another spelling. rename()
/// does nothing between two names of one file, so the file gets a third name first.
Result<> renameToOwnName(NativeName const & from, NativeName const & to, bool hasHardLinks)
{
    if (isSameEntry(from, to))
        return {};
    NativeName const between = from + "~ox" + std::to_string(::getpid());
    if (Result<> const renamed = renameToNewName(from.c_str(), between.c_str()); !renamed)
        return renamed;
    struct stat target;
    bool const isHardLink = hasHardLinks && ::lstat(to.c_str(), &target) == 0;
    Result<> const result = resultOf(isHardLink ? ::unlink(between.c_str()) == 0
                                                : ::rename(between.c_str(), to.c_str()) == 0);
    if (!result)
        static_cast<void>(renameToNewName(between.c_str(), from.c_str()));
    return result;
}

} // namespace

Result<FileStatus> fileStatus(NativeName const & name)
{
    struct stat status;
    if (::stat(name.c_str(), &status) != 0)
        return lastError();
    return FileStatus{S_ISDIR(status.st_mode), status.st_size, status.st_mtim.tv_sec};
}

NameKind kindOf(NativeName const & name)
{
    auto const status = fileStatus(name);
    if (!status)
        return NameKind::None;
    return status->isFolder ? NameKind::Folder : NameKind::File;
}

Result<> deleteFile(NativeName const & name)
{
    return resultOf(::unlink(name.c_str()) == 0 || (errno == ENOENT && !name.empty()));
}

Result<> moveFile(NativeName const & from, NativeName const & to)
{
    Result<> const renamed = renameToNewName(from.c_str(), to.c_str());
    return renamed || renamed.error().code != EXDEV ? renamed : moveByCopying(from, to);
}

Result<> moveOver(NativeName const & from, NativeName const & to)
{
    struct stat source;
    struct stat target;
    if (::lstat(from.c_str(), &source) != 0 || ::lstat(to.c_str(), &target) != 0)
        return lastError();
    if (isSameFile(source, target))
        return renameToOwnName(from, to, source.st_nlink > 1);
    struct stat linked;
    if (S_ISLNK(source.st_mode) && ::stat(from.c_str(), &linked) == 0 && isSameFile(linked, target))
        return Error{EEXIST};
    if (::rename(from.c_str(), to.c_str()) == 0)
        return {};
    if (errno != EXDEV)
        return lastError();
    Result<> const deleted = deleteFile(to);
    return deleted ? moveByCopying(from, to) : deleted;
}

Result<> createFolder(NativeName const & name)
{
    return resultOf(::mkdir(name.c_str(), 0777) == 0);
}

Result<> flushFolder(NativeName const & name)
{
    OpenFile folder(::open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder.isOpen() ? folder.flush() : lastError();
}

Result<> deleteFolder(NativeName const & name)
{
    return resultOf(::rmdir(name.c_str()) == 0);
}

Result<> setFileTimes(NativeName const & name, std::optional<std::int64_t> seconds)
{
    timespec const time = seconds ? timespec{*seconds, 0} : timespec{0, UTIME_NOW};
    timespec const accessAndModification[] = {time, time};
    auto const set = [&](NativeName const & path) {
        return resultOf(::utimensat(AT_FDCWD, path.c_str(), accessAndModification, 0) == 0);
    };
    if (::geteuid() != 0)
        return set(name);
    Result<OpenFile> const file = openToChange(name);
    return file ? set(pathOf(*file)) : file.error();
}

Result<std::uint64_t> freeBytes(NativeName const & path)
{
    if (!path.starts_with(ownSeparator))
        return Error{EINVAL};
    NativeName existing = path;
    struct statvfs status;
    while (::statvfs(existing.c_str(), &status) != 0) {
        if ((errno != ENOENT && errno != ENOTDIR) || existing.size() <= 1)
            return lastError();
        existing.resize(std::max<std::size_t>(existing.rfind(ownSeparator), 1));
    }
    return std::uint64_t{status.f_bavail} * status.f_frsize;
}

Result<> renameToNewName(NativeChar const * from, NativeChar const * to)
{
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return {};
    if (errno != EINVAL && errno != ENOSYS)
        return lastError();
    // The file system does not support RENAME_NOREPLACE, so the name is checked before the rename.
    struct stat status;
    if (::lstat(to, &status) == 0)
        return Error{EEXIST};
    return resultOf(::rename(from, to) == 0);
}

} // namespace ox::platform

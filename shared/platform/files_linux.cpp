#include "shared/platform/files.h"

#include "shared/platform/copy_file.h"
#include "shared/platform/rename_file.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
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

std::FILE * openStream(NativeName const & name, StreamMode mode)
{
    static constexpr char const * modes[] = {"rbe", "wbe", "abe", "we", "ae", "rbe", "wbe"};
    return std::fopen(name.c_str(), modes[static_cast<int>(mode)]);
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

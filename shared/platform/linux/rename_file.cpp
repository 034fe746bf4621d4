#include "shared/platform/rename_file.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>

namespace ox::platform
{

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

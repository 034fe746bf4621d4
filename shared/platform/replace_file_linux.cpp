#include "shared/platform/replace_file.h"

#include "shared/platform/descriptor_linux.h"

#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

bool flushToDisk(NativeName const & name)
{
    Descriptor const file(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
    return file.isOpen() && ::fsync(file.get()) == 0;
}

NativeName folderOf(NativeName const & name)
{
    std::size_t const separator = name.rfind(ownSeparator);
    return separator == NativeName::npos ? "." : name.substr(0, separator + 1);
}

} // namespace

bool replaceFile(NativeName const & from, NativeName const & to)
{
    if (!flushToDisk(from) || std::rename(from.c_str(), to.c_str()) != 0)
        return false;
    // The new file is in place whatever comes of this: not every share lets a folder be flushed.
    flushToDisk(folderOf(to));
    return true;
}

bool copyPermissions(NativeName const & from, NativeName const & to)
{
    struct stat status;
    if (::stat(from.c_str(), &status) != 0)
        return false;
    bool const hasGroup = ::chown(to.c_str(), status.st_uid, status.st_gid) == 0 ||
                          ::chown(to.c_str(), static_cast<uid_t>(-1), status.st_gid) == 0;
    return ::chmod(to.c_str(), status.st_mode & (hasGroup ? 0777 : 0707)) == 0;
}

} // namespace ox::platform

#include "shared/platform/files.h"

#include "shared/platform/linux/copy_content.h"
#include "shared/platform/linux/place.h"

#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

bool fail(int error)
{
    errno = error;
    return false;
}

} // namespace

bool copyFile(NativeName const & from, NativeName const & to, bool failIfExists,
              std::optional<std::int64_t> modified)
{
    OpenFile source = openForReading(from, Writers::Allowed);
    struct stat status;
    Place place;
    if (!source.isOpen() || ::fstat(static_cast<int>(source.handle()), &status) != 0 ||
        !place.open(to))
        return false;
    OpenFile target = createAt(place, failIfExists ? Taken::Fails : Taken::IsReplaced, 0600);
    if (!target.isOpen())
        return false;
    if (copyContent(source, status, target)) {
        copyAttributes(target, status, true);
        [[maybe_unused]] bool const hasTimes = !modified || target.setTimes(*modified);
        if (target.close())
            return true;
    }
    int const error = errno;
    ::unlinkat(place.folder(), place.name.c_str(), 0);
    return fail(error);
}

bool mayReplace(NativeName const & target, NativeName const & source)
{
    struct stat first;
    struct stat second;
    if (::stat(target.c_str(), &first) != 0)
        return true;
    if (!S_ISREG(first.st_mode))
        return fail(S_ISDIR(first.st_mode) ? EISDIR : ENOTSUP);
    bool const isSame = ::stat(source.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
                        first.st_ino == second.st_ino;
    return !isSame || fail(EEXIST);
}

} // namespace ox::platform

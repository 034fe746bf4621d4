#include "shared/platform/files.h"
#include "shared/platform/linux/copy_content.h"
#include "shared/platform/linux/place.h"

#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

namespace ox::platform
{

Result<> copyFile(NativeName const & from, NativeName const & to, bool failIfExists,
                  std::optional<std::int64_t> modified)
{
    struct stat status;
    Result<OpenFile> source = openToCopy(from, status);
    Place place;
    if (!source)
        return source.error();
    if (Result<> const opened = place.open(to); !opened)
        return opened;
    Result<OpenFile> target =
        createAt(place, failIfExists ? IfExists::Fail : IfExists::Replace, 0600);
    if (!target)
        return target.error();
    Result<> result = copyContent(*source, status, *target);
    if (result) {
        copyAttributes(*target, status, true);
        if (modified)
            static_cast<void>(target->setTimes(*modified));
        result = target->close();
    }
    if (!result)
        ::unlinkat(place.folder(), place.name.c_str(), 0);
    return result;
}

Result<> mayReplace(NativeName const & target, NativeName const & source)
{
    struct stat first;
    struct stat second;
    if (::stat(target.c_str(), &first) != 0)
        return {};
    if (!S_ISREG(first.st_mode))
        return Error{S_ISDIR(first.st_mode) ? EISDIR : ENOTSUP};
    bool const isSame = ::stat(source.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
                        first.st_ino == second.st_ino;
    return isSame ? Result<>(Error{EEXIST}) : Result<>();
}

} // namespace ox::platform

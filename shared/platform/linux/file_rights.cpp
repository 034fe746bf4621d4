#include "shared/platform/files.h"

#include "shared/platform/linux/descriptor.h"
#include "shared/platform/linux/place.h"

#include <memory>
#include <string>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace ox::platform
{
namespace
{

NativeName withoutSeparatorsAtEnd(NativeName name)
{
    while (name.size() > 1 && name.ends_with(ownSeparator))
        name.pop_back();
    return name;
}

/// Opens what a name means for a change of its rights.
int openToChange(NativeName const & name)
{
    constexpr int flags = O_PATH | O_CLOEXEC;
    Place place;
    if (!place.open(name)) // a name such as "." or "/" is no link
        return errno == EISDIR ? ::open(name.c_str(), flags) : -1;
    if (!place.followLinks())
        return -1;
    return ::openat(place.folder(), place.name.c_str(), flags | O_NOFOLLOW);
}

bool addAllBits(int descriptor)
{
    struct stat status;
    if (::fstat(descriptor, &status) != 0)
        return false;
    ::mode_t const mode = status.st_mode & 07777;
    // Changed only where needed: only the owner may.
    return (mode & 0777) == 0777 ||
           ::chmod(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), mode | 0777) == 0;
}

struct CloseFolder {
    void operator()(DIR * folder) const { ::closedir(folder); }
};

bool isEmpty(int folder)
{
    Descriptor again(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::unique_ptr<DIR, CloseFolder> const opened(again.isOpen() ? ::fdopendir(again.get())
                                                                  : nullptr);
    if (!opened)
        return false;
    again.release();
    int entries = 0;
    while (::readdir(opened.get()))
        ++entries;
    return entries <= 2; // "." and ".."
}

} // namespace

bool allowEverybodyToExecute(NativeName const & file)
{
    Descriptor const opened(openToChange(file));
    return opened.isOpen() && addAllBits(opened.get());
}

bool allowEverybodyToFill(NativeName const & folder, bool)
{
    return allowEverybodyToExecute(
        withoutSeparatorsAtEnd(folder)); // the same bits let it be entered
}

bool createFolderForEverybody(NativeName const & folder)
{
    Place place;
    if (!place.open(withoutSeparatorsAtEnd(folder)) ||
        ::mkdirat(place.folder(), place.name.c_str(), 0777) != 0)
        return false;
    Descriptor const made(::openat(place.folder(), place.name.c_str(),
                                   O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    // Another user who may write in the parent can put another folder there meanwhile.
    struct stat status;
    if (!made.isOpen() || ::fstat(made.get(), &status) != 0)
        return false;
    if (!isEmpty(made.get())) {
        errno = EEXIST;
        return false;
    }
    return (status.st_mode & 0777) == 0777 ||
           ::fchmod(made.get(), (status.st_mode & 07777) | 0777) == 0;
}

} // namespace ox::platform

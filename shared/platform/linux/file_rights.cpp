#include "shared/platform/files.h"

#include "shared/platform/linux/descriptor.h"
#include "shared/platform/linux/place.h"

#include <cerrno>
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

/// Opens the target of a name, through links, to change its rights.
Result<OpenFile> openToChange(NativeName const & name)
{
    constexpr int flags = O_PATH | O_CLOEXEC;
    Place place;
    Result<> found = place.open(name);
    bool const isNoLink = !found && found.error().code == EISDIR; // a name such as "." or "/"
    if (found)
        found = place.followLinks();
    if (!found && !isNoLink)
        return found.error();
    OpenFile file(isNoLink ? ::open(name.c_str(), flags)
                           : ::openat(place.folder(), place.name.c_str(), flags | O_NOFOLLOW));
    if (!file.isOpen())
        return lastError();
    return file;
}

Result<> addAllBits(OpenFile const & file)
{
    struct stat status;
    if (::fstat(static_cast<int>(file.handle()), &status) != 0)
        return lastError();
    ::mode_t const mode = status.st_mode & 07777;
    std::string const path = "/proc/self/fd/" + std::to_string(file.handle());
    // The mode is changed only if necessary, since only the owner may change it.
    return resultOf((mode & 0777) == 0777 || ::chmod(path.c_str(), mode | 0777) == 0);
}

struct CloseFolder {
    void operator()(DIR * folder) const { ::closedir(folder); }
};

bool isEmpty(int folder)
{
    Descriptor duplicate(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::unique_ptr<DIR, CloseFolder> const opened(duplicate.isOpen() ? ::fdopendir(duplicate.get())
                                                                      : nullptr);
    if (!opened)
        return false;
    duplicate.release();
    int entries = 0;
    while (::readdir(opened.get()))
        ++entries;
    return entries <= 2; // "." and ".."
}

} // namespace

Result<> allowEverybodyToExecute(NativeName const & file)
{
    Result<OpenFile> const opened = openToChange(file);
    return opened ? addAllBits(*opened) : opened.error();
}

Result<> allowEverybodyToFill(NativeName const & folder, bool)
{
    return allowEverybodyToExecute(
        withoutSeparatorsAtEnd(folder)); // the execute bits allow entering a folder
}

Result<> createFolderForEverybody(NativeName const & folder)
{
    Place place;
    if (Result<> const opened = place.open(withoutSeparatorsAtEnd(folder)); !opened)
        return opened;
    if (::mkdirat(place.folder(), place.name.c_str(), 0777) != 0)
        return lastError();
    Descriptor const made(::openat(place.folder(), place.name.c_str(),
                                   O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    // Another user with write access to the parent can replace the folder in the meantime.
    struct stat status;
    if (!made.isOpen() || ::fstat(made.get(), &status) != 0)
        return lastError();
    if (!isEmpty(made.get()))
        return Error{EEXIST};
    return resultOf((status.st_mode & 0777) == 0777 ||
                    ::fchmod(made.get(), (status.st_mode & 07777) | 0777) == 0);
}

} // namespace ox::platform

#include "shared/platform/files.h"
#include "shared/platform/linux/descriptor.h"
#include "shared/platform/linux/place.h"

#include <cerrno>
#include <memory>

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

/// Adds permission bits to a file. Links are followed.
Result<> addBits(NativeName const & name, ::mode_t bits)
{
    Result<OpenFile> const file = openToChange(name);
    struct stat status;
    if (!file)
        return file.error();
    if (::fstat(static_cast<int>(file->handle()), &status) != 0)
        return lastError();
    ::mode_t const mode = status.st_mode & 07777;
    // chmod() is called only if a bit is missing, since only the owner may call it.
    return resultOf((mode & bits) == bits || ::chmod(pathOf(*file).c_str(), mode | bits) == 0);
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

bool const hasExecutableBits = true;

Result<> makeExecutable(NativeName const & name)
{
    return addBits(name, 0111);
}

Result<> allowEverybodyToExecute(NativeName const & file)
{
    return addBits(file, 0777);
}

Result<> allowEverybodyToFill(NativeName const & folder, bool)
{
    // The execute bits allow entering a folder.
    return addBits(withoutSeparatorsAtEnd(folder), 0777);
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
    // Another user with write access to the parent can replace the folder between mkdirat() and
    // openat(), so a folder with content is refused.
    struct stat status;
    if (!made.isOpen() || ::fstat(made.get(), &status) != 0)
        return lastError();
    if (!isEmpty(made.get()))
        return Error{EEXIST};
    return resultOf((status.st_mode & 0777) == 0777 ||
                    ::fchmod(made.get(), (status.st_mode & 07777) | 0777) == 0);
}

} // namespace ox::platform

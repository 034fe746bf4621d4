#include "shared/platform/linux/place.h"

#include "shared/platform/linux/descriptor.h"

#include <climits>
#include <string>
#include <utility>

#include <linux/magic.h>
#include <sys/vfs.h>

namespace ox::platform
{
namespace
{

constexpr int maxLinks = 40;
constexpr int maxTries = 100;

/// Opens the folder that contains the file of a path. `path` is absolute or relative to the open
/// folder `at`.
OpenFile openFolderOf(int at, NativeName const & path)
{
    std::size_t const separator = path.rfind(ownSeparator);
    NativeName const folder = separator == path.npos ? "." : path.substr(0, separator + 1);
    int const flags = O_DIRECTORY | O_CLOEXEC;
    int const readable = ::openat(at, folder.c_str(), O_RDONLY | flags);
    // O_PATH opens a folder even if the process may not read it. Its files are still accessible.
    bool const isUnreadable = readable < 0 && errno == EACCES;
    return OpenFile(isUnreadable ? ::openat(at, folder.c_str(), O_PATH | flags) : readable);
}

NativeName nameIn(NativeName const & path)
{
    return path.substr(path.rfind(ownSeparator) + 1);
}

bool isOfAnotherUser(struct stat const & link)
{
    return ::geteuid() == 0 && link.st_uid != 0;
}

} // namespace

Result<> Place::open(NativeName const & path)
{
    return moveTo(AT_FDCWD, path);
}

Result<> Place::moveTo(int at, NativeName const & path)
{
    OpenFile opened = openFolderOf(at, path);
    NativeName const last = nameIn(path);
    if (!opened.isOpen())
        return lastError();
    if (last.empty() || last == "." || last == "..")
        return Error{path.empty() ? ENOENT : EISDIR};
    openFolder = std::move(opened);
    name = last;
    return {};
}

bool Place::isInProc() const
{
    struct statfs fileSystem;
    return ::fstatfs(folder(), &fileSystem) == 0 && fileSystem.f_type == PROC_SUPER_MAGIC;
}

Result<> Place::followLinks(Until until)
{
    for (int i = 0; i < maxLinks; ++i) {
        Descriptor const link(::openat(folder(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        struct stat status;
        if (!link.isOpen())
            return resultOf(errno == ENOENT);
        if (::fstat(link.get(), &status) != 0)
            return lastError();
        if (!S_ISLNK(status.st_mode))
            return {};
        if (isOfAnotherUser(status))
            return Error{EACCES};
        if (until == Until::LinkOfProc && isInProc())
            return {};
        char text[PATH_MAX];
        ssize_t const length = ::readlinkat(link.get(), "", text, sizeof text);
        if (length <= 0 || length == sizeof text)
            return Error{length < 0 ? errno : ENAMETOOLONG};
        NativeName const path(text, static_cast<std::size_t>(length));
        if (Result<> const moved = moveTo(folder(), path); !moved)
            return moved;
    }
    return Error{ELOOP};
}

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
    struct stat status;
    if (!file.isOpen() || ::fstat(static_cast<int>(file.handle()), &status) != 0)
        return lastError();
    if (S_ISLNK(status.st_mode)) // another process has just created the link
        return Error{ELOOP};
    return file;
}

NativeName pathOf(OpenFile const & file)
{
    return "/proc/self/fd/" + std::to_string(file.handle());
}

Result<OpenFile> createAt(Place const & place, IfExists ifExists, mode_t mode)
{
    int const flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    // Other processes may create the file again after unlinkat(), so several tries are necessary.
    for (int i = 0; i < maxTries; ++i) {
        int const file = ::openat(place.folder(), place.name.c_str(), flags, mode);
        if (file >= 0)
            return OpenFile(file);
        if (errno != EEXIST || ifExists == IfExists::Fail)
            return lastError();
        struct stat status;
        if (!place.status(status, place.name))
            continue;
        if (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode))
            return Error{S_ISDIR(status.st_mode) ? EISDIR : ENOTSUP};
        if (::unlinkat(place.folder(), place.name.c_str(), 0) != 0 && errno != ENOENT)
            return lastError();
    }
    return Error{EEXIST};
}

} // namespace ox::platform

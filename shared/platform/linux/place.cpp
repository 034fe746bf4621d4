#include "shared/platform/linux/place.h"

#include "shared/platform/linux/descriptor.h"

#include <climits>
#include <utility>

namespace ox::platform
{
namespace
{

constexpr int mostLinks = 40;
constexpr int mostTries = 100;

/// Opens the folder part of a path, which begins at an open folder or is absolute.
OpenFile openFolderOf(int at, NativeName const & path)
{
    std::size_t const separator = path.rfind(ownSeparator);
    NativeName const folder = separator == path.npos ? "." : path.substr(0, separator + 1);
    int const flags = O_DIRECTORY | O_CLOEXEC;
    int const readable = ::openat(at, folder.c_str(), O_RDONLY | flags);
    // A folder that cannot be listed can hold files all the same.
    bool const isUnlisted = readable < 0 && errno == EACCES;
    return OpenFile(isUnlisted ? ::openat(at, folder.c_str(), O_PATH | flags) : readable);
}

NativeName nameIn(NativeName const & path)
{
    return path.substr(path.rfind(ownSeparator) + 1);
}

bool isOfAnotherUser(struct stat const & link)
{
    return ::geteuid() == 0 && link.st_uid != 0;
}

bool fail(int error)
{
    errno = error;
    return false;
}

} // namespace

bool Place::open(NativeName const & path)
{
    OpenFile opened = openFolderOf(AT_FDCWD, path);
    NativeName const last = nameIn(path);
    if (!opened.isOpen())
        return false;
    if (last.empty() || last == "." || last == "..")
        return fail(path.empty() ? ENOENT : EISDIR);
    openFolder = std::move(opened);
    name = last;
    return true;
}

bool Place::followLinks()
{
    for (int i = 0; i < mostLinks; ++i) {
        Descriptor const link(::openat(folder(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        struct stat status;
        if (!link.isOpen())
            return errno == ENOENT;
        if (::fstat(link.get(), &status) != 0)
            return false;
        if (!S_ISLNK(status.st_mode))
            return true;
        if (isOfAnotherUser(status))
            return fail(EACCES);
        char text[PATH_MAX];
        ssize_t const length = ::readlinkat(link.get(), "", text, sizeof text);
        if (length <= 0 || length == sizeof text)
            return fail(length < 0 ? errno : ENAMETOOLONG);
        NativeName const path(text, static_cast<std::size_t>(length));
        OpenFile next = openFolderOf(folder(), path);
        NativeName const last = nameIn(path);
        if (!next.isOpen())
            return false;
        if (last.empty() || last == "." || last == "..")
            return fail(EISDIR);
        openFolder = std::move(next);
        name = last;
    }
    return fail(ELOOP);
}

OpenFile createAt(Place const & place, Taken taken, mode_t mode)
{
    int const flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    // Again as long as other processes take the name.
    for (int i = 0; i < mostTries; ++i) {
        int const file = ::openat(place.folder(), place.name.c_str(), flags, mode);
        if (file >= 0 || errno != EEXIST || taken == Taken::Fails)
            return OpenFile(file);
        struct stat status;
        if (!place.status(status, place.name))
            continue;
        if (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
            errno = S_ISDIR(status.st_mode) ? EISDIR : ENOTSUP;
            return {};
        }
        if (::unlinkat(place.folder(), place.name.c_str(), 0) != 0 && errno != ENOENT)
            return {};
    }
    return {};
}

} // namespace ox::platform

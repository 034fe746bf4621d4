#pragma once

#include "shared/platform/open_file.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace ox::platform
{

/// A name in an open folder, which stays the same folder when its path is renamed or relinked.
struct Place {
    OpenFile openFolder;
    NativeName name;

    int folder() const { return static_cast<int>(openFolder.handle()); }

    /// Opens the folder of a path. False with errno set, also when the path names no file ("a/").
    bool open(NativeName const & path);

    /// Goes on to where the name leads while it is a link. A missing file is no failure. As root,
    /// refuses a link that another user made.
    bool followLinks();

    /// The status of a name in the folder. False with errno set. Links are not followed.
    bool status(struct stat & status, NativeName const & ofName) const
    {
        return ::fstatat(folder(), ofName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    }
};

/// Creates a file for writing; `taken` is what a file or link under the name makes of it.
OpenFile createAt(Place const & place, Taken taken, mode_t mode);

} // namespace ox::platform

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

    /// Opens the folder of a path. Fails also when the path names no file ("a/").
    Result<> open(NativeName const & path);

    /// Goes on to where the name leads while it is a link. A missing file is no failure. As root,
    /// refuses a link that another user made.
    Result<> followLinks();

    /// The status of a name in the folder. False with errno set. Links are not followed.
    bool status(struct stat & status, NativeName const & ofName) const
    {
        return ::fstatat(folder(), ofName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    }

  private:
    /// Opens the folder of a path that begins at an open folder or is absolute.
    Result<> moveTo(int at, NativeName const & path);
};

/// Creates a file for writing; `taken` is what a file or link under the name makes of it.
Result<OpenFile> createAt(Place const & place, Taken taken, mode_t mode);

} // namespace ox::platform

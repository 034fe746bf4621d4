#pragma once

#include "shared/platform/open_file.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace ox::platform
{

/// A file name in an open folder. The folder stays the same even if its path is renamed or
/// relinked.
struct Place {
    OpenFile openFolder; ///< the folder
    NativeName name;     ///< the name in the folder

    int folder() const { return static_cast<int>(openFolder.handle()); }

    /// Opens the folder that contains the file of a path.
    /// Fails: also when the path has no file name ("a/").
    Result<> open(NativeName const & path);

    /// How far followLinks goes. A link of /proc leads to an open file instead of a name.
    enum class Until { File, LinkOfProc };

    /// Follows the name while it is a link. Succeeds if the target does not exist.
    /// Fails: for root, also for a link of another user.
    Result<> followLinks(Until until = Until::File);

    /// Returns whether the folder is in /proc.
    bool isInProc() const;

    /// Gets the status of a name in the folder, without following links. Returns false with errno
    /// set after a failure.
    bool status(struct stat & status, NativeName const & ofName) const
    {
        return ::fstatat(folder(), ofName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    }

  private:
    /// Opens the folder that contains a file. `path` is absolute or relative to the open folder
    /// `at`.
    Result<> moveTo(int at, NativeName const & path);
};

/// Opens a file to change its attributes, and neither reads nor writes it. Links are followed.
Result<OpenFile> openToChange(NativeName const & name);

/// Returns a path of an open file that no other user can redirect.
NativeName pathOf(OpenFile const & file);

/// Creates a file for writing. `ifExists` states whether an existing file or link makes the call
/// fail or is replaced.
Result<OpenFile> createAt(Place const & place, IfExists ifExists, mode_t mode);

} // namespace ox::platform

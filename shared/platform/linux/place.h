#pragma once

#include "shared/platform/open_file.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace ox::platform
{

/// A file name in an open folder. Refers to the same folder even if the folder is renamed or a link
/// in its path changes.
struct Place {
    OpenFile openFolder; ///< the folder
    NativeName name;     ///< the name in the folder

    int folder() const { return static_cast<int>(openFolder.handle()); }

    /// Opens the folder that contains the file `path`.
    /// Fails: also when the path has no file name ("a/").
    Result<> open(NativeName const & path);

    /// Where followLinks stops: at the file, or already at a link in /proc. A link in /proc leads
    /// to an open file, which may have no name.
    enum class Until { File, LinkOfProc };

    /// Follows links until the name does not refer to a link. Also succeeds if the target does not
    /// exist.
    /// Fails: with EACCES for a link of another user, if the caller is root.
    Result<> followLinks(Until until = Until::File);

    /// Returns whether the folder is in /proc.
    bool isInProc() const;

    /// Gets the status of a name in the folder, without following links. After a failure, returns
    /// false and leaves the error in errno.
    bool status(struct stat & status, NativeName const & ofName) const
    {
        return ::fstatat(folder(), ofName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    }

  private:
    /// Opens the folder that contains a file. `path` is absolute or relative to the open folder
    /// `at`.
    Result<> moveTo(int at, NativeName const & path);
};

/// Opens a file only to change its attributes, not to read or write it. Links are followed.
Result<OpenFile> openToChange(NativeName const & name);

/// Returns a path in /proc that refers to an open file. No other user can redirect it.
NativeName pathOf(OpenFile const & file);

/// Creates a file for writing. If the name exists, `ifExists` selects whether the call fails or
/// replaces the file or link.
Result<OpenFile> createAt(Place const & place, IfExists ifExists, mode_t mode);

} // namespace ox::platform

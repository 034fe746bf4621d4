#pragma once

#include "shared/platform/native_name.h"

namespace ox::platform
{

/// Rights for every user of the system, beside what is allowed already. Links are followed, but as
/// root not those of another user. False on failure, with the system's last error set.

/// Adds the rights to read, write, execute and delete a file.
bool allowEverybodyToExecute(NativeName const & file);

/// Adds the rights to read and enter a folder, to put something into it and to delete that. With
/// `inherit`, what is put into it later gets the same rights; Linux has no such inheritance and
/// ignores `inherit`.
bool allowEverybodyToFill(NativeName const & folder, bool inherit);

/// Creates a folder whose parent exists, with these rights. Fails when the name is taken.
bool createFolderForEverybody(NativeName const & folder);

} // namespace ox::platform

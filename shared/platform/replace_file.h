#pragma once

#include "shared/platform/native_name.h"

namespace ox::platform
{

/// Puts `from` in the place of `to`, which is in the same folder and need not exist: a reader sees
/// the old file or the whole new one, also after a power failure. False on failure, with the
/// system's last error set and both files as they were.
bool replaceFile(NativeName const & from, NativeName const & to);

/// Gives one file the permissions of another and, where the system lets the process do that, its
/// owner and group; nobody gains rights by it. False on failure, with the system's last error set.
bool copyPermissions(NativeName const & from, NativeName const & to);

} // namespace ox::platform

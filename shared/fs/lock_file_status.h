#pragma once

#include "shared/fs/file_locker.h"
#include "shared/platform/file_names.h"

namespace ox::fs
{

/// Returns the state of a lock file, also of one whose name exceeds the record of _oxFileLocker.
_oxFileLockStatus statusOfLockFile(platform::NativeName const & lockFile);

} // namespace ox::fs

#pragma once

#include "shared/fs/file_locker.h"
#include "shared/platform/file_names.h"

namespace ox::fs
{

/// Returns the state of a lock file. The name may be longer than the 250 bytes that _oxFileLocker
/// supports.
_oxFileLockStatus statusOfLockFile(platform::NativeName const & lockFile);

} // namespace ox::fs

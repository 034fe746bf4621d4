#pragma once

#include "shared/platform/native_name.h"

namespace ox::platform
{

/// Copies a file with its permission bits and times, as far as the target's file system keeps them,
/// in the fastest way that the system has: on a share by the server itself. An existing target is
/// replaced; with failIfExists it makes the call fail, without a moment for another process to come
/// in between. False on failure, with the system's last error set: a target that could be opened is
/// removed then, so that no half file is left.
bool copyFile(NativeName const & from, NativeName const & to, bool failIfExists);

/// Whether two names stand for different files. False, with the last error that copyFile has for
/// it, when writing to one would destroy the other, as it is the same file under another name or
/// behind a link.
bool areDifferentFiles(NativeName const & one, NativeName const & other);

} // namespace ox::platform

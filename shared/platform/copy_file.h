#pragma once

#include "shared/platform/native_name.h"

#include <cstdint>
#include <optional>

namespace ox::platform
{

/// Copies a file with its permission bits and times, as far as the target's file system keeps them,
/// in the fastest way that the system has: on a share by the server itself. With `modified` the
/// copy's times are that number of seconds since 1970-01-01 UTC.
///
/// A file or link under the target's name is replaced and never followed; with failIfExists it
/// makes the call fail, without a moment for another process to come in between. Refuses what
/// openForReading refuses. False on failure, with the system's last error set and no target left.
bool copyFile(NativeName const & from, NativeName const & to, bool failIfExists,
              std::optional<std::int64_t> modified = std::nullopt);

/// Whether a copy of one file may take the place of another. False, with the system's last error
/// set, when both names mean the same file, also through a link, and when the target is a pipe or a
/// device.
bool mayReplace(NativeName const & target, NativeName const & source);

} // namespace ox::platform

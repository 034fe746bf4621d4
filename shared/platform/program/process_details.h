#pragma once

#include "shared/platform/result.h"

#include <cstdint>
#include <optional>
#include <string>

namespace ox::platform
{

/// Facts about a process that the list of processes does not contain.
struct ProcessDetails {
    /// Distinguishes the process from others with the same id. The unit is the system's.
    std::uint64_t start = 0;
    std::int64_t startTime = 0;      ///< in seconds since 1970-01-01 UTC
    std::u16string commandLine = {}; ///< cut at 4096 bytes; empty if it is not readable
};

/// Returns the details of a process. Empty if the process does not run or is not readable.
std::optional<ProcessDetails> processDetails(std::uint32_t id);

/// How a process is ended.
enum class Ending {
    Requested, ///< it can release its resources; Windows has no such request and ends it at once
    Immediate  ///< the system ends it
};

/// Ends the process with an id if it is still the one with this `start`.
/// Fails: as NotFound when that process no longer runs; as AccessDenied without the right, and on
/// Linux for the ids 0 and 1.
Result<> endProcess(std::uint32_t id, std::uint64_t start, Ending ending);

} // namespace ox::platform

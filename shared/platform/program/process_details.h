#pragma once

#include "shared/platform/result.h"

#include <cstdint>
#include <optional>
#include <string>

namespace ox::platform
{

/// Facts about a process that the list of processes does not contain.
struct ProcessDetails {
    /// Start time in the system's own unit and origin. Distinguishes the process from earlier and
    /// later processes with the same id.
    std::uint64_t start = 0;
    std::int64_t startTime = 0;      ///< in seconds since 1970-01-01 UTC
    std::u16string commandLine = {}; ///< cut at 4096 bytes; empty if it is not readable
};

/// Returns the details of a process. Empty if the process does not run or is not readable.
std::optional<ProcessDetails> processDetails(std::uint32_t id);

/// How a process is ended.
enum class Ending {
    Requested, ///< SIGTERM, so that the process can release its resources; Immediate on Windows
    Immediate  ///< SIGKILL or TerminateProcess
};

/// Ends the process `id` if its ProcessDetails::start is `start`, so that a later process with the
/// same id is not ended.
/// Fails: as NotFound when the process does not run. Fails as AccessDenied when the user lacks the
/// right, and on Linux for the ids 0 and 1.
Result<> endProcess(std::uint32_t id, std::uint64_t start, Ending ending);

} // namespace ox::platform

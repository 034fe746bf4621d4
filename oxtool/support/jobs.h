#pragma once

#include "oxtool/command_line/command.h"

#include <cstddef>
#include <functional>

namespace ox::tool
{

/// Returns the option --jobs. If the user does not give it, `jobs` stays 0.
Option jobsOption(int & jobs);

/// Returns the number of threads for `jobs`, the value of --jobs. If `jobs` is 0 (no option),
/// returns 8, which hides most of a share's latency, or 1 with `hasPauses`, since the purpose of
/// pauses is to limit the load on the share.
int threadCount(int jobs, bool hasPauses = false);

/// Calls `work` for the items 0 to `count` - 1 on up to `jobs` threads. Calls `finish` for each
/// item on the calling thread, in ascending order, after the item's `work`. If `finish` returns
/// false, no further item is started; running calls of `work` are completed, without `finish`. With
/// one job, or if no thread can be created, everything runs on the calling thread.
///
/// An exception of an item's `work` is rethrown; `finish` is not called for this item.
void runJobs(int jobs, std::size_t count, std::function<void(std::size_t)> const & work,
             std::function<bool(std::size_t)> const & finish);

} // namespace ox::tool

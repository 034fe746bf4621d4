#pragma once

#include "oxtool/command_line/command.h"

#include <cstddef>
#include <functional>

namespace ox::tool
{

/// Returns the option --jobs. Without it `jobs` stays 0.
Option jobsOption(int & jobs);

/// Returns the number of threads for --jobs. Without the option it is 8, which hides most of the
/// round trips to a share, and 1 with `hasPauses`, since pauses limit the load on the share.
int threadCount(int jobs, bool hasPauses = false);

/// Works on items 0 to `count` - 1 on up to `jobs` threads at once, and calls `finish` for each of
/// them in their order on the calling thread, after its `work`. `finish` returns false to end
/// early; started work is then completed without `finish`. With one job, or if no thread can be
/// created, everything runs on the calling thread.
///
/// An exception of `work` is thrown in place of its item's `finish`.
void runJobs(int jobs, std::size_t count, std::function<void(std::size_t)> const & work,
             std::function<bool(std::size_t)> const & finish);

} // namespace ox::tool

#pragma once

#include "shared/text/fixed_string8.h"

#include <functional>

namespace ox::fs
{

/// Implements the public syncCopy. `sleep` waits the given milliseconds before a retry.
bool syncCopy(_oxString8_evenSize<500> const & source, _oxString8_evenSize<500> const & target,
              bool retryExe, _oxString8_evenSize<500> * errors, _oxString8_evenSize<500> * info,
              int pause, bool verbose, std::function<void(int)> const & sleep);

} // namespace ox::fs

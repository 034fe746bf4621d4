#pragma once

#include "shared/platform/windows/handle.h"

namespace ox::platform
{

/// The same as for a name, for a file that is open with READ_CONTROL and WRITE_DAC.
Result<> allowEverybodyToExecute(HANDLE file);

} // namespace ox::platform

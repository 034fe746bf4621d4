#pragma once

#include "shared/platform/windows/handle.h"

namespace ox::platform
{

/// Grants all users the rights to read, write, execute and delete a file that is open with
/// READ_CONTROL and WRITE_DAC.
Result<> allowEverybodyToExecute(HANDLE file);

} // namespace ox::platform

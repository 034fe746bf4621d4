#pragma once

#include "shared/platform/native_name.h"

namespace ox::platform
{

/// Rights for every user of the system, beside what is allowed already. Links are followed. False
/// on failure, with the system's last error set.

/// To read, write, execute and delete a file.
bool allowEverybodyToExecute(NativeName const & file);

/// To read and enter a folder, and to put something into it and delete that. With `inherit`, what
/// is put into it later gets the same rights; on Linux there are no such, and `inherit` says
/// nothing.
bool allowEverybodyToFill(NativeName const & folder, bool inherit);

} // namespace ox::platform

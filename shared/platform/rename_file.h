#pragma once

#include "shared/platform/native_name.h"

namespace ox::platform
{

using NativeChar = NativeName::value_type;

enum class Renaming { Done, NameIsTaken, NoSuchFile, Failed };

/// Gives a file, by its absolute path, another name in its folder or on its drive, which may be a
/// long one. Allocates nothing and takes no lock of the process. After a failure the system's last
/// error is set.
Renaming renameToNewName(NativeChar const * from, NativeChar const * to);

} // namespace ox::platform

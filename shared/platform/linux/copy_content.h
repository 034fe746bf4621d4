#pragma once

#include "shared/platform/open_file.h"

#include <sys/stat.h>

namespace ox::platform
{

/// Copies the content of one open file, whose status is given, to another that is empty. Holes stay
/// holes where the source's file system reports them.
Result<> copyContent(OpenFile & from, struct stat const & source, OpenFile & to);

/// Gives a file the times of another and, with `mode`, its permission bits, as far as the file
/// system keeps them.
void copyAttributes(OpenFile & file, struct stat const & source, bool mode);

} // namespace ox::platform

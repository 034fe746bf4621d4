#pragma once

#include "shared/platform/open_file.h"

#include <sys/stat.h>

namespace ox::platform
{

/// Opens a file like openForReading and returns its status, without an additional round trip.
Result<OpenFile> openToCopy(NativeName const & name, struct stat & status);

/// Copies the content of an open file to another, empty file. `source` is the status of `from`.
/// Holes are kept if the source's file system reports them.
Result<> copyContent(OpenFile & from, struct stat const & source, OpenFile & to);

/// Sets the times of `file` to those of `source`. If `mode` is true, also sets the permission bits.
/// What the file system does not store is ignored.
void copyAttributes(OpenFile & file, struct stat const & source, bool mode);

} // namespace ox::platform

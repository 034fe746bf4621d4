#pragma once

#include "shared/platform/files.h"

#include <zlib.h>

namespace ox::platform
{

/// Opens a gzip file for reading or writing (mode "rb" or "wb" of zlib, its default level), as
/// openStream opens a file. Null on failure, with the system's last error set.
gzFile openGzip(NativeName const & name, StreamMode mode);

} // namespace ox::platform

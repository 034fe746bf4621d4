#pragma once

#include "shared/platform/files.h"

#include <zlib.h>

namespace ox::platform
{

/// Opens a gzip file for reading or writing (mode "rb" or "wb" of zlib, its default level). Null on
/// failure, with the system's last error set. The file is not inherited by child processes, and
/// opening a named pipe does not wait for its other end.
gzFile openGzip(NativeName const & name, StreamMode mode);

} // namespace ox::platform

#pragma once

#include "shared/platform/files.h"

namespace ox::platform
{

/// Opens a file for a stream of the run-time library: its descriptor, -1 on failure.
int openDescriptor(NativeName const & name, StreamMode mode);

} // namespace ox::platform

#pragma once

#include "shared/platform/files.h"
#include "shared/platform/windows/handle.h"

namespace ox::platform
{

/// Opens a file for a stream of the run-time library: its descriptor, -1 on failure.
int openDescriptor(NativeName const & name, StreamMode mode, DWORD sharing);

/// The run-time library's letters for a mode.
char const * modeLetters(StreamMode mode);

} // namespace ox::platform

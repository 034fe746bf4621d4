#pragma once

#include "shared/platform/open_file.h"
#include "shared/platform/windows/handle.h"

namespace ox::platform
{

inline HANDLE toHandle(OpenFile const & file)
{
    return reinterpret_cast<HANDLE>(file.handle());
}

inline OpenFile toOpenFile(HANDLE handle)
{
    return OpenFile(reinterpret_cast<std::intptr_t>(handle));
}

} // namespace ox::platform

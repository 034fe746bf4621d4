#pragma once

#include <string>
#include <string_view>

namespace ox::platform
{

/// A file name in the form the operating system takes: UTF-8 bytes on Linux, UTF-16 on Windows.
#ifdef _WIN32
using NativeName = std::wstring;
#else
using NativeName = std::string;
#endif

/// The native form of a name in UTF-16 (a QString or a wide fixed string). A lone surrogate, which
/// no UTF-8 can carry, becomes its three-byte form, so that two different names never become one.
NativeName nativeName(std::u16string_view name);

/// The native form of a name in an 8-bit record. On Linux the bytes are kept when they are valid
/// UTF-8 and are taken as Latin-1 otherwise; on Windows they are Latin-1.
NativeName nativeName(std::string_view name);

} // namespace ox::platform

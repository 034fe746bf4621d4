#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ox::platform
{

/// A file name in the form the operating system takes: UTF-8 bytes on Linux, UTF-16 on Windows.
/// The empty name names no file, and every call refuses it.
#ifdef _WIN32
using NativeName = std::wstring;
#else
using NativeName = std::string;
#endif

/// The separator between the parts of a path on the running system.
#ifdef _WIN32
inline constexpr char ownSeparator = '\\';
#else
inline constexpr char ownSeparator = '/';
#endif

/// The native form of a name in UTF-16 (a QString or a wide fixed string). A lone surrogate, which
/// no UTF-8 can carry, becomes its three-byte form, so that two different names never become one.
/// A name with a 0 unit, which the system would cut there, becomes the empty name.
NativeName nativeName(std::u16string_view name);

/// The native form of a name in an 8-bit record. On Linux the bytes are kept when they are valid
/// UTF-8 and are taken as Latin-1 otherwise; on Windows they are Latin-1. A name with a 0 byte
/// becomes the empty name.
NativeName nativeName(std::string_view name);

/// The bytes under which an 8-bit record keeps a name in UTF-16, so that nativeName gives the same
/// file for both: Latin-1, or UTF-8 where the system takes that and Latin-1 would name another
/// file. Empty when neither names the file.
std::optional<std::string> recordName(std::u16string_view name);

} // namespace ox::platform

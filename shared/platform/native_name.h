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

/// The native form of a name in UTF-16 (a QString or a wide fixed string). On Linux the lone
/// surrogates U+DC80 to U+DCFF stand for bytes that are no UTF-8 (see nameText); any other lone
/// surrogate, which no UTF-8 can carry, becomes its three-byte form.
/// A name with a 0 unit, which the system would cut there, becomes the empty name.
NativeName nativeName(std::u16string_view name);

/// The native form of a name in an 8-bit record: that of its recordText.
NativeName nativeName(std::string_view name);

/// The UTF-16 of a name in an 8-bit record. On Linux its bytes are UTF-8 when they are valid as
/// that and Latin-1 otherwise; on Windows they are Latin-1.
std::u16string recordText(std::string_view name);

/// The UTF-16 of a name that the system gave; nativeName makes the same name of it. On Linux a byte
/// that is no UTF-8 becomes the lone surrogate U+DC00 + byte.
std::u16string nameText(std::basic_string_view<NativeName::value_type> name);

/// The bytes under which an 8-bit record keeps a name in UTF-16, so that nativeName gives the same
/// file for both: Latin-1, or UTF-8 where the system takes that and Latin-1 would name another
/// file. Empty when neither names the file.
std::optional<std::string> recordName(std::u16string_view name);

} // namespace ox::platform

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

/// The UTF-8 of a UTF-16 text. A lone surrogate, which no UTF-8 can carry, gets its three-byte
/// form, so that it comes back.
std::string toUtf8(std::u16string_view text);

/// The UTF-16 of UTF-8 bytes, never more units than there are bytes. A byte that is no UTF-8
/// becomes U+FFFD. A byte order mark is a character like any other.
std::u16string fromUtf8(std::string_view bytes);

/// A file name of a system that knows bytes only. A byte that is no UTF-8 becomes the lone
/// surrogate U+DC00 + byte (U+DC80 to U+DCFF), as do those of a surrogate's three-byte form, so
/// that every name comes back as it was.
std::string toFileName(std::u16string_view name);
std::u16string fromFileName(std::string_view bytes);

/// What a system that knows bytes only means by them: UTF-8 when they are that, else Latin-1.
std::u16string systemText(std::string_view bytes);

/// Turns 8-bit text in the system's code page (the ANSI one on Windows, Latin-1 on Linux) into
/// UTF-16 units. Writes at most room units, without a terminator, and returns their number.
int widenSystemText(std::string_view text, unsigned short * units, int room);

} // namespace ox::platform

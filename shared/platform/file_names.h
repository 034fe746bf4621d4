#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ox::platform
{

/// A file name in the form that system calls take: bytes on Linux (usually UTF-8), UTF-16 on
/// Windows. The empty name refers to no file, and every system call refuses it.
#ifdef _WIN32
using NativeName = std::wstring;
#else
using NativeName = std::string;
#endif

/// The separator between the parts of a path on this system.
#ifdef _WIN32
inline constexpr char ownSeparator = '\\';
#else
inline constexpr char ownSeparator = '/';
#endif

/// Converts a UTF-16 name (a QString or a wide fixed string) to the native form. On Linux, reverses
/// nameText: a lone surrogate from U+DC80 to U+DCFF becomes the byte 0x80 to 0xFF. Any other lone
/// surrogate becomes its three-byte UTF-8 form. A name that contains a 0 unit becomes the empty
/// name, since system calls would truncate the name at the 0.
NativeName nativeName(std::u16string_view name);

/// Converts a name from an 8-bit record to the native form. An 8-bit record is a file or buffer
/// that stores text as bytes; recordText defines their encoding.
NativeName nativeName(std::string_view name);

/// Converts a name from an 8-bit record to UTF-16. On Linux a name that is valid UTF-8 is decoded
/// from UTF-8, any other name from Latin-1. On Windows every name is decoded from Latin-1.
std::u16string recordText(std::string_view name);

/// Converts a native name to UTF-16. nativeName converts the result back to the same name. On Linux
/// a byte that is not UTF-8 becomes the lone surrogate U+DC00 + byte.
std::u16string nameText(std::basic_string_view<NativeName::value_type> name);

/// Converts a UTF-16 name to the bytes of an 8-bit record, from which nativeName restores the same
/// file name. The bytes are Latin-1. Exception on Linux: they are UTF-8 if the name has characters
/// that Latin-1 lacks, or if recordText would decode the Latin-1 bytes to another name. If neither
/// encoding restores the name, the result is empty.
std::optional<std::string> recordName(std::u16string_view name);

/// Converts UTF-16 to UTF-8. A lone surrogate is not representable in UTF-8 and becomes its
/// three-byte form.
std::string toUtf8(std::u16string_view text);

/// Converts UTF-8 to UTF-16. The result has at most as many units as `bytes` has bytes. A byte that
/// is not UTF-8 becomes U+FFFD. A byte order mark is kept.
std::u16string fromUtf8(std::string_view bytes);

/// Converts a UTF-16 file name to bytes, for a system whose names are bytes. Reverses fromFileName:
/// a lone surrogate from U+DC80 to U+DCFF becomes the byte 0x80 to 0xFF.
std::string toFileName(std::u16string_view name);
/// Converts a file name of bytes to UTF-16, so that every name round-trips through toFileName. Each
/// byte that is not part of valid UTF-8 becomes the lone surrogate U+DC00 + byte. The three-byte
/// form of a surrogate is not valid UTF-8.
std::u16string fromFileName(std::string_view bytes);

/// Converts bytes to UTF-16, for a system whose texts are bytes: from UTF-8 if they are valid
/// UTF-8, otherwise from Latin-1.
std::u16string systemText(std::string_view bytes);

/// Converts `text` from the system's code page (ANSI on Windows, Latin-1 on Linux) to UTF-16.
/// Writes at most `capacity` units to `units`, without a terminator, and returns their number.
int widenSystemText(std::string_view text, unsigned short * units, int capacity);

} // namespace ox::platform

#pragma once

#include <string>
#include <string_view>

namespace ox::platform
{

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

} // namespace ox::platform

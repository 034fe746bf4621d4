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

/// What a system that knows bytes only means by them: UTF-8 when they are that, else Latin-1.
std::u16string systemText(std::string_view bytes);

} // namespace ox::platform

#pragma once

#include <string>
#include <string_view>

namespace ox::platform
{

/// Converts UTF-16 in wchar_t, which Windows uses, to char16_t, which the library uses.
inline std::u16string toUtf16(std::wstring_view text)
{
    return {text.begin(), text.end()};
}

/// Converts UTF-16 in char16_t to wchar_t.
inline std::wstring toWide(std::u16string_view text)
{
    return {text.begin(), text.end()};
}

} // namespace ox::platform

#pragma once

#include <string>
#include <string_view>

namespace ox::platform
{

/// Windows gives and takes UTF-16 in wchar_t; the library keeps it in char16_t.
inline std::u16string toUtf16(std::wstring_view text)
{
    return {text.begin(), text.end()};
}

inline std::wstring toWide(std::u16string_view text)
{
    return {text.begin(), text.end()};
}

} // namespace ox::platform

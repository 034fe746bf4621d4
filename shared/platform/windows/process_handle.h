#pragma once

#include "shared/platform/windows/handle.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace ox::platform
{

/// Converts a text to Latin-1 in `buffer`, with '?' for characters that Latin-1 lacks. Truncates
/// the text at the size of `buffer`.
template <std::size_t size>
std::string_view narrowed(wchar_t const * text, std::array<char, size> & buffer)
{
    std::size_t n = 0;
    for (; text[n] != 0 && n < size; ++n)
        buffer[n] = static_cast<char>(text[n] < 256 ? text[n] : L'?');
    return {buffer.data(), n};
}

/// Opens a process. Returns INVALID_HANDLE_VALUE on failure, as Handle requires; OpenProcess itself
/// returns null.
inline HANDLE openProcess(DWORD access, std::uint32_t id)
{
    HANDLE const process = ::OpenProcess(access, FALSE, id);
    return process ? process : INVALID_HANDLE_VALUE;
}

} // namespace ox::platform

#pragma once

#include "shared/platform/windows/handle.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace ox::platform
{

/// Latin-1, with '?' for other characters.
template <std::size_t size>
std::string_view narrowed(wchar_t const * text, std::array<char, size> & room)
{
    std::size_t n = 0;
    for (; text[n] != 0 && n < size; ++n)
        room[n] = static_cast<char>(text[n] < 256 ? text[n] : L'?');
    return {room.data(), n};
}

/// The system gives a null handle for a process that it does not open.
inline HANDLE openProcess(DWORD access, std::uint32_t id)
{
    HANDLE const process = ::OpenProcess(access, FALSE, id);
    return process ? process : INVALID_HANDLE_VALUE;
}

} // namespace ox::platform

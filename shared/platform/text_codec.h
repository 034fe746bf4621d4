#pragma once

#include <string_view>

namespace ox::platform
{

/// Turns 8-bit text in the system's code page (the ANSI one on Windows, Latin-1 on Linux) into
/// UTF-16 units. Writes at most room units, without a terminator, and returns their number.
int widenSystemText(std::string_view text, unsigned short * units, int room);

} // namespace ox::platform

#pragma once

#include <chrono>
#include <cstdio>
#include <optional>

namespace ox::platform
{

struct TerminalSize {
    int columns = 80;
    int rows = 24;
};

/// The size of the terminal behind the stream; 80 by 24 when the system does not tell.
TerminalSize terminalSize(std::FILE * stream);

/// Takes the terminal of the standard input and output to draw on: puts aside what it shows, hides
/// the cursor, and gives out keys as they are pressed without showing them. False, with nothing
/// changed, when one of the two streams is no terminal.
bool takeTerminal();

/// Gives the terminal back, which then is and shows what it did before it was taken.
void giveTerminalBack();

/// The byte that waitForKey gives when no more keys can come.
inline constexpr char endOfKeys = '\x04';

/// The next byte of the keys pressed on a terminal that was taken; empty when there was none until
/// `end`. A key without a letter gives several bytes, or none.
std::optional<char> waitForKey(std::chrono::steady_clock::time_point end);

} // namespace ox::platform

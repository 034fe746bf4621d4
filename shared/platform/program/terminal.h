#pragma once

#include <chrono>
#include <cstdio>
#include <optional>

namespace ox::platform
{

/// Size of a terminal in characters.
struct TerminalSize {
    int columns = 80; ///< width
    int rows = 24;    ///< height
};

/// Returns the size of the terminal of a stream; 80 by 24 if it is not known.
TerminalSize terminalSize(std::FILE * stream);

/// Returns whether a stream is a terminal that supports the colour escape sequences of ECMA-48.
bool hasColours(std::FILE * stream);

/// Prepares the terminal of standard input and output for drawing: saves its content, hides the
/// cursor, and delivers keys immediately and without echo. Returns false and changes nothing if one
/// of the streams is not a terminal.
bool takeTerminal();

/// Restores the settings and the content that the terminal had before takeTerminal().
void restoreTerminal();

/// Byte that waitForKey() returns at the end of the input.
inline constexpr char endOfKeys = '\x04';

/// Bytes that waitForKey() returns for keys that are not characters.
inline constexpr char upKey = '\x10';
inline constexpr char downKey = '\x0E';
inline constexpr char pageUpKey = '\x02';
inline constexpr char pageDownKey = '\x06';

/// Waits for the next byte of keyboard input and returns it; empty if no byte arrives before `end`.
/// Call it after takeTerminal(). A key that is neither a character nor one of upKey to pageDownKey
/// produces one or more bytes on Linux and none on Windows.
std::optional<char> waitForKey(std::chrono::steady_clock::time_point end);

} // namespace ox::platform

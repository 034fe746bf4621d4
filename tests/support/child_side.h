#pragma once

#include <cstdio>

namespace ox::tests
{

/// Prints a line and waits until the test closes standard input. Programs that a test starts as a
/// Child call this function.
inline void printAndWait(char const * line)
{
    std::puts(line);
    std::fflush(stdout);
    std::getchar();
}

} // namespace ox::tests

#pragma once

#include <cstdio>

namespace ox::tests
{

/// Prints a line and waits until the test closes standard input. The programs that a test starts
/// with the class Child call this function.
inline void printAndWait(char const * line)
{
    std::puts(line);
    std::fflush(stdout);
    std::getchar();
}

} // namespace ox::tests

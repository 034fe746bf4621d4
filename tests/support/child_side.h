#pragma once

#include <cstdio>

namespace ox::tests
{

/// Prints a line and waits until the test closes standard input. For the programs that a test
/// starts by the class Child.
inline void printAndWait(char const * line)
{
    std::puts(line);
    std::fflush(stdout);
    std::getchar();
}

} // namespace ox::tests

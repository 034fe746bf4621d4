#pragma once

#include <cstdio>

namespace ox::tests
{

/// In a child: prints a line and waits until the test closes the standard input.
inline void printAndWait(char const * line)
{
    std::puts(line);
    std::fflush(stdout);
    std::getchar();
}

} // namespace ox::tests

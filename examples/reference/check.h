#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the program with an error if a condition of an example is false, also in release builds.
#define CHECK(statement)                                                                           \
    ((statement)                                                                                   \
         ? void()                                                                                  \
         : (std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #statement), std::exit(1)))

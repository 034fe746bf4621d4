#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the program if a statement of an example does not hold, in every build.
#define CHECK(statement)                                                                           \
    ((statement)                                                                                   \
         ? void()                                                                                  \
         : (std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #statement), std::exit(1)))

#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string8.h"

// Deterministic generator of pseudo-random numbers (Park and Miller's minimal standard). The state
// is a seed of 32 bits, which the caller keeps. Equal seeds give equal numbers on every machine.
// The numbers are predictable: do not use them for secrets.

/// Advances `seed` by one step and returns it scaled to the range from 0 to 1. The result can be 1,
/// since a number just below 1 is rounded to 1.
OX_EXPORT float oxRand(unsigned int & seed);

/// Derives a seed from `len` bytes; `data` may be null when `len` is 0.
/// Compatibility: the first byte has no influence on the result, since stored seeds were derived
/// this way.
OX_EXPORT unsigned int oxRandCalc(unsigned char const * data, unsigned int const & len);

/// Returns 10 random characters. `mode` 0 gives bytes of any value, including 0. `mode` 1 gives
/// letters, digits and "_!/()=". `mode` 2 gives digits. Any other mode gives ten zero bytes.
OX_EXPORT _oxString8_evenSize<10> oxRandString(unsigned int seed, int mode);

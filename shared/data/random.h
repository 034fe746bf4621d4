#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string8.h"

// A small deterministic generator of pseudo-random numbers (Park and Miller's minimal standard).
// Its whole state is a seed that the caller keeps; equal seeds give equal numbers on every machine.
// It is of no use where somebody must not guess the next number.

/// Advances a seed by one step and returns it scaled to 0..1. Both ends are possible: a number
/// just below 1 is rounded to 1.
OX_EXPORT float oxRand(unsigned int & seed);

/// Derives a seed from `len` bytes; `data` may be null when there are none. The first byte has no
/// influence on the result.
OX_EXPORT unsigned int oxRandCalc(unsigned char const * data, unsigned int const & len);

/// A string of length 10 drawn from the generator. `mode` chooses its characters: 0 any byte, zero
/// included; 1 letters, digits and "_!/()="; 2 digits. Any other mode gives ten zero bytes.
OX_EXPORT _oxString8_evenSize<10> oxRandString(unsigned int seed, int mode);

#include "shared/data/random.h"

#include <cstdint>
#include <string_view>

namespace
{

constexpr std::string_view mixedCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZ1234567890_!/()=abcdefghijklmnopqrstuvwxyz";
constexpr std::string_view digits = "1234567890";

} // namespace

float oxRand(unsigned int & seed)
{
    // Schrage's method computes 16807 * seed modulo 2^31 - 1 in 32 bits.
    // Compatibility: the modulus is also added to a next value of 0, not only to a negative value.
    // In the farm's applications the value after the seed 0 is therefore 0x7FFFFFFF.
    unsigned int next = 16807u * (seed % 127773u) - 2836u * (seed / 127773u);
    if (static_cast<std::int32_t>(next) <= 0)
        next += 0x7FFFFFFFu;
    seed = next;
    return static_cast<float>(next * 0x1p-31);
}

unsigned int oxRandCalc(unsigned char const * data, unsigned int const & len)
{
    // Compatibility: the first byte has the weight 0. The farm's stored seeds depend on it.
    unsigned int seed = 0;
    for (unsigned int i = 0; i < len; ++i)
        seed += data[i] * i;
    oxRand(seed);
    oxRand(seed);
    return seed;
}

_oxString8_evenSize<10> oxRandString(unsigned int seed, int mode)
{
    _oxString8_evenSize<10> text;
    for (int i = 0; i < 10; ++i) {
        oxRand(seed);
        if (mode == 0)
            text += static_cast<char>(seed);
        else if (mode == 1)
            text += mixedCharacters[seed % mixedCharacters.size()];
        else if (mode == 2)
            text += digits[seed % digits.size()];
    }
    text.setLength(10);
    return text;
}

#pragma once

#include <algorithm>
#include <cstdint>

/// Conversions between bytes and MiB (2^20 bytes).
namespace ox::text
{

inline constexpr std::int64_t mebibyte = 1 << 20; ///< in bytes

/// Converts `count` MiB to bytes.
constexpr std::int64_t bytesOfMebibytes(std::int64_t count)
{
    return count * mebibyte;
}

/// Converts `bytes` to MiB, rounded down.
constexpr std::uint64_t wholeMebibytes(std::uint64_t bytes)
{
    return bytes / mebibyte;
}

/// Converts `bytes` to MiB, rounded down. A result above `most` MiB becomes `most`.
constexpr int wholeMebibytes(std::uint64_t bytes, int most)
{
    return static_cast<int>(std::min(wholeMebibytes(bytes), static_cast<std::uint64_t>(most)));
}

} // namespace ox::text

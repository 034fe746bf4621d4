#pragma once

#include <algorithm>
#include <cstdint>

namespace ox::text
{

inline constexpr std::int64_t mebibyte = 1024 * 1024; ///< in bytes

constexpr std::int64_t bytesOfMebibytes(std::int64_t count)
{
    return count * mebibyte;
}

/// The MiB that are wholly filled.
constexpr std::uint64_t wholeMebibytes(std::uint64_t bytes)
{
    return bytes / mebibyte;
}

/// The same, but at most `most`.
constexpr int wholeMebibytes(std::uint64_t bytes, int most)
{
    return static_cast<int>(std::min(wholeMebibytes(bytes), static_cast<std::uint64_t>(most)));
}

} // namespace ox::text

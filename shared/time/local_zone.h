#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>

namespace ox::time
{

/// Table of the local time zone's offsets, read in advance. From the table, a crashed process
/// computes local times without the C library, since locks and heap may be unusable after a crash.
class LocalZone
{
  public:
    /// Reads the changes of the zone's offset from one year before `now` to five years after `now`
    /// (in seconds since 1970 UTC). Before and after this period the nearest known offset applies.
    void read(std::int64_t now);

    /// Returns the local date and time of day of `time` (in seconds since 1970 UTC). The other
    /// fields are 0. Takes no locks and allocates no memory.
    std::tm fields(std::int64_t time) const;

  private:
    struct Change {
        std::int64_t time;   ///< first second with this offset, in seconds since 1970 UTC
        std::int64_t offset; ///< local time minus UTC in seconds
    };

    /// The changes of the offset, in ascending order of time. The offset of the first change also
    /// applies to earlier times.
    std::array<Change, 32> changes_{};
    std::size_t count_ = 1;
};

} // namespace ox::time

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>

namespace ox::time
{

/// The time zone, read beforehand: local times of a process in which the system cannot be asked any
/// more, for its locks and its heap may be gone.
class LocalZone
{
  public:
    /// Reads the changes of the zone's offset from a year before a time to five years after it.
    /// Beyond these the nearest known offset holds.
    void read(std::int64_t now);

    /// The local date and time of day of a time; the other fields are 0. Takes no locks and
    /// allocates nothing.
    std::tm fields(std::int64_t time) const;

  private:
    struct Change {
        std::int64_t time;
        std::int64_t offset; ///< local time minus UTC in seconds, from then on
    };

    std::array<Change, 32> changes_{}; ///< in order; the first has no beginning
    std::size_t count_ = 1;
};

} // namespace ox::time

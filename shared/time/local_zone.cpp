#include "shared/time/local_zone.h"

#include "shared/platform/clock.h"

#include <chrono>

namespace ox::time
{
namespace
{

constexpr std::int64_t day = 86400;

std::int64_t offsetAt(std::int64_t time)
{
    auto const local = platform::localFields(time);
    return local ? platform::timeOfUtcFields(*local) - time : 0;
}

/// Returns the first time after `before` whose offset differs from the offset at `before`. The
/// offset must change once between `before` and `after`.
std::int64_t changeBetween(std::int64_t before, std::int64_t after)
{
    std::int64_t const offset = offsetAt(before);
    while (after - before > 1) {
        std::int64_t const middle = before + (after - before) / 2;
        (offsetAt(middle) == offset ? before : after) = middle;
    }
    return after;
}

} // namespace

void LocalZone::read(std::int64_t now)
{
    std::int64_t time = now - 365 * day;
    changes_[0] = {time, offsetAt(time)};
    count_ = 1;
    // Steps of a week find every change, since no zone changes twice within a week.
    for (std::int64_t const end = now + 5 * 365 * day; time < end && count_ < changes_.size();) {
        std::int64_t const next = time + 7 * day;
        if (std::int64_t const offset = offsetAt(next); offset != changes_[count_ - 1].offset)
            changes_[count_++] = {changeBetween(time, next), offset};
        time = next;
    }
}

std::tm LocalZone::fields(std::int64_t time) const
{
    using namespace std::chrono;
    std::size_t change = count_ - 1;
    while (change > 0 && time < changes_[change].time)
        --change;
    sys_seconds const local{seconds(time + changes_[change].offset)};
    sys_days const midnight = floor<days>(local);
    year_month_day const date(midnight);
    hh_mm_ss const clock(local - midnight);
    std::tm fields{};
    fields.tm_year = static_cast<int>(date.year()) - 1900;
    fields.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
    fields.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
    fields.tm_hour = static_cast<int>(clock.hours().count());
    fields.tm_min = static_cast<int>(clock.minutes().count());
    fields.tm_sec = static_cast<int>(clock.seconds().count());
    return fields;
}

} // namespace ox::time

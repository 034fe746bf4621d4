#include "shared/platform/clock.h"

namespace ox::platform
{

std::int64_t currentTime()
{
    return std::time(nullptr);
}

std::optional<std::tm> localFields(std::int64_t time)
{
    auto const systemTime = static_cast<std::time_t>(time);
    std::tm fields;
    if (systemTime != time || !::localtime_r(&systemTime, &fields))
        return std::nullopt;
    return fields;
}

std::int64_t timeOfLocalFields(std::tm & fields)
{
    return std::mktime(&fields);
}

std::int64_t timeOfUtcFields(std::tm fields)
{
    return ::timegm(&fields);
}

std::uint32_t tickCount()
{
    timespec now;
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(now.tv_sec) * 1000 +
                                      static_cast<std::uint64_t>(now.tv_nsec) / 1000000);
}

Result<> setLocalClock(LocalClock const & clock)
{
    std::tm fields{};
    fields.tm_year = clock.year - 1900;
    fields.tm_mon = clock.month - 1;
    fields.tm_mday = clock.day;
    fields.tm_hour = clock.hour;
    fields.tm_min = clock.minute;
    fields.tm_sec = clock.second;
    fields.tm_isdst = clock.isDaylightSaving;
    std::timespec const time{std::mktime(&fields), clock.milliseconds * 1'000'000L};
    return resultOf(::clock_settime(CLOCK_REALTIME, &time) == 0, "clock_settime");
}

} // namespace ox::platform

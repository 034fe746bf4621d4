#include "shared/platform/clock.h"

#include <windows.h>

namespace ox::platform
{

std::int64_t currentTime()
{
    return ::_time64(nullptr);
}

std::optional<std::tm> localFields(std::int64_t time)
{
    std::tm fields;
    if (::_localtime64_s(&fields, &time) != 0)
        return std::nullopt;
    return fields;
}

std::int64_t timeOfLocalFields(std::tm & fields)
{
    return ::_mktime64(&fields);
}

std::int64_t timeOfUtcFields(std::tm fields)
{
    return ::_mkgmtime64(&fields);
}

std::uint32_t tickCount()
{
    return ::GetTickCount();
}

Result<> setLocalClock(LocalClock const & clock)
{
    SYSTEMTIME const time{clock.year, clock.month,  clock.weekDay, clock.day,
                          clock.hour, clock.minute, clock.second,  clock.milliseconds};
    return resultOf(::SetLocalTime(&time) != FALSE, "SetLocalTime");
}

} // namespace ox::platform

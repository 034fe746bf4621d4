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

} // namespace ox::platform

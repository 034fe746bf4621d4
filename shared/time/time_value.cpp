#include "shared/time/time_value.h"

#include "shared/platform/clock.h"

#include <QDate>
#include <QDateTime>
#include <QHash>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>

int _oxTime::oxTime_Start_OffSet = -1;

namespace
{

constexpr __int64 secondsPerDay = 86400;

__int64 wrappingSum(__int64 a, __int64 b)
{
    return static_cast<__int64>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

__int64 wrappingDifference(__int64 a, __int64 b)
{
    return static_cast<__int64>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}

/// Accesses the exported offset atomically, since several threads may measure it at once.
std::atomic_ref<int> offset()
{
    return std::atomic_ref(_oxTime::oxTime_Start_OffSet);
}

/// Returns the local calendar fields of `time`, or -1 in all fields if the year is out of range.
std::tm calendarFields(__int64 time)
{
    auto const fields = ox::platform::localFields(time);
    // The callers compute tm_year + 1900 and tm_year - 100, which must not overflow.
    if (fields && fields->tm_year <= std::numeric_limits<int>::max() - 1900 &&
        fields->tm_year >= std::numeric_limits<int>::min() + 100)
        return *fields;
    std::tm invalid{};
    invalid.tm_sec = invalid.tm_min = invalid.tm_hour = -1;
    invalid.tm_mday = invalid.tm_mon = invalid.tm_year = -1;
    invalid.tm_wday = invalid.tm_yday = invalid.tm_isdst = -1;
    return invalid;
}

std::tm fieldsOf(int second, int minute, int hour, int day, int month, int year)
{
    std::tm fields{};
    fields.tm_sec = second;
    fields.tm_min = minute;
    fields.tm_hour = hour;
    fields.tm_mday = day;
    fields.tm_mon = month - 1;
    fields.tm_year = year - 1900;
    return fields;
}

/// Converts local calendar fields to a time with two conversions. The first conversion assumes
/// standard time and sets `tm_isdst`, which the second conversion uses. For an hour that occurs
/// twice in autumn, both conversions give its second occurrence. For an hour skipped in spring, the
/// second conversion is one hour too early, so the result of the first conversion is returned.
__int64 timeOfLocal(std::tm const & fields)
{
    std::tm standard = fields;
    __int64 const standardTime = ox::platform::timeOfLocalFields(standard);
    std::tm final = fields;
    final.tm_isdst = standard.tm_isdst;
    __int64 const time = ox::platform::timeOfLocalFields(final);
    using ox::platform::timeOfUtcFields;
    bool const keepsFields = timeOfUtcFields(final) == timeOfUtcFields(fields);
    return keepsFields ? time : standardTime;
}

__int64 timeOfDateTime(int second, int minute, int hour, int day, int month, int year)
{
    if (year == 1900) {
        std::tm const today = calendarFields(ox::platform::currentTime());
        year = today.tm_year + 1900;
        if (day == 1 && month == 1) {
            day = today.tm_mday;
            month = today.tm_mon + 1;
        }
    } else if (year > 1900 && year < 1990) {
        year += 100;
    }
    return timeOfLocal(fieldsOf(second, minute, hour, day, month, year));
}

void clampDate(int & day, int & month, int & year)
{
    month = std::clamp(month, 1, 12);
    day = std::clamp(day, 1, 31);
    if (year < 0)
        year = 2014;
    else if (year < 100)
        year += 2000;
    else
        year = std::min(year, 3000);
}

__int64 timeOrNow(_oxTime const * now)
{
    return now ? now->value : ox::platform::currentTime();
}

} // namespace

_oxTime::_oxTime(__int64 t, bool isUTC) : value(t)
{
    if (offset() == 99)
        testIfOfsetIsRight(true);
    if (!isUTC)
        value = wrappingDifference(t, offset());
}

void _oxTime::setCurrentTime(__int64 add)
{
    value = wrappingSum(ox::platform::currentTime(), add);
}

void _oxTime::from_FILETIME(unsigned long low, unsigned long high)
{
    using ox::platform::ticksPerSecond;
    constexpr __int64 ticksUntil1970 = ox::platform::secondsFrom1601To1970 * ticksPerSecond;
    std::uint64_t const ticks = std::uint64_t{high & 0xFFFFFFFFu} << 32 | (low & 0xFFFFFFFFu);
    value = wrappingDifference(static_cast<__int64>(ticks), ticksUntil1970) / ticksPerSecond;
}

_oxTime _oxTime::convertStatFileTime(__int64 const & t)
{
    int const startOffset = getTime_Start_OffSet();
    auto const fields = ox::platform::localFields(t);
    return _oxTime(fields ? ox::platform::timeOfUtcFields(*fields) - startOffset : t, true);
}

void _oxTime::fromDate(int day, int month, int year)
{
    clampDate(day, month, year);
    value = timeOfLocal(fieldsOf(0, 0, 0, day, month, year));
}

void _oxTime::fromDateTime(int second, int minute, int hour, int day, int month, int year)
{
    clampDate(day, month, year);
    value = timeOfDateTime(second, minute, hour, day, month, year);
}

_oxTime & _oxTime::operator=(QDate const & date)
{
    value =
        date.isValid() ? timeOfLocal(fieldsOf(0, 0, 0, date.day(), date.month(), date.year())) : -1;
    return *this;
}

_oxTime & _oxTime::operator=(QDateTime const & dateTime)
{
    QDate const date = dateTime.date();
    QTime const time = dateTime.time();
    value = date.isValid() && time.isValid()
                ? timeOfDateTime(time.second(), time.minute(), time.hour(), date.day(),
                                 date.month(), date.year())
                : -1;
    return *this;
}

void _oxTime::to_tm_Offset(std::tm & fields, __int64 const & add) const
{
    fields = calendarFields(wrappingSum(value, add));
}

_oxTime::operator std::tm() const
{
    return calendarFields(value);
}

_oxTime::operator QDate() const
{
    std::tm const fields = *this;
    return {fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday};
}

int _oxTime::year() const
{
    return calendarFields(value).tm_year + 1900;
}

int _oxTime::month() const
{
    return calendarFields(value).tm_mon + 1;
}

int _oxTime::weekDay() const
{
    int const fromSunday = calendarFields(value).tm_wday;
    return fromSunday == 0 ? 6 : fromSunday - 1;
}

int _oxTime::dayOfMonth(__int64 days) const
{
    std::uint64_t const seconds = static_cast<std::uint64_t>(days) * secondsPerDay;
    return calendarFields(wrappingSum(value, static_cast<__int64>(seconds))).tm_mday;
}

int _oxTime::getDayHour() const
{
    return static_cast<int>(wrappingSum(value, getTime_Start_OffSet()) / 3600 % 24);
}

int _oxTime::getDayMinutes() const
{
    return static_cast<int>(wrappingSum(value, getTime_Start_OffSet()) / 60 % 1440);
}

int _oxTime::getDaySeconds(__int64 add) const
{
    return static_cast<int>(wrappingSum(wrappingSum(value, getTime_Start_OffSet()), add) %
                            secondsPerDay);
}

int _oxTime::getTotalDays(__int64 add) const
{
    return static_cast<int>(wrappingSum(wrappingSum(value, getTime_Start_OffSet()), add) /
                            secondsPerDay);
}

__int64 _oxTime::toLocalTime() const
{
    return static_cast<std::int32_t>(wrappingSum(value, getTime_Start_OffSet()));
}

void _oxTime::convertFromLocalTime()
{
    value = wrappingDifference(value, getTime_Start_OffSet());
}

int _oxTime::waitTimeDifference(__int64 const & wait, _oxTime const * now) const
{
    return static_cast<int>(wrappingDifference(wrappingSum(value, wait), timeOrNow(now)));
}

bool _oxTime::waitTimeIsOver(__int64 const & wait, bool const & restart, _oxTime const * now)
{
    __int64 const current = timeOrNow(now);
    __int64 const deadline = wrappingSum(value, wait);
    // A deadline that overflows is never reached.
    bool const never = wait > 0 && deadline < value;
    if (never || current <= deadline)
        return false;
    if (restart)
        value = current;
    return true;
}

int _oxTime::getTime_Start_OffSet()
{
    if (offset() == -1)
        testIfOfsetIsRight(true);
    return offset();
}

int _oxTime::testIfOfsetIsRight(bool apply)
{
    constexpr int limit = 43230; // half a day and half a minute
    int const assumed = offset();
    __int64 const now = ox::platform::currentTime();
    std::tm const fields = calendarFields(wrappingDifference(now, assumed));
    int error = (fields.tm_hour * 60 + fields.tm_min) * 60 + fields.tm_sec -
                static_cast<int>(now % secondsPerDay);
    if (error < -limit)
        error += secondsPerDay;
    else if (error > limit)
        error -= secondsPerDay;
    if (!apply)
        return error;
    // `assumed` is the value to which `error` applies. `offset() += error` would add the error
    // twice if two threads measure at once.
    offset() = assumed + error;
    return testIfOfsetIsRight(false);
}

void _oxTime32::setCurrentTime(__int64 add)
{
    _oxTime now;
    now.setCurrentTime(add);
    value = static_cast<unsigned int>(now.value);
}

ox::time::QtHash qHash(_oxTime const & time, ox::time::QtHash seed)
{
    return ::qHash(static_cast<quint64>(time.value), seed);
}

ox::time::QtHash qHash(_oxTime32 const & time, ox::time::QtHash seed)
{
    return ::qHash(time.value, seed);
}

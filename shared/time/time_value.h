#pragma once

#include "shared/export.h"
#include "shared/platform/types.h"
#include "shared/text/fixed_string8.h"
#include "shared/text/printing.h"

#include <QString>

#include <compare>
#include <concepts>
#include <cstddef>
#include <ctime>
#include <string_view>
#include <type_traits>

class QDate;
class QDateTime;

namespace ox::time
{

/// Result type of qHash: std::size_t in Qt 6, unsigned int in Qt 5.
using QtHash =
    std::conditional_t<(QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)), std::size_t, unsigned int>;

} // namespace ox::time

/// A point in time: seconds since 1970-01-01 00:00:00 UTC.
///
/// Compatibility: there are two kinds of local time, as in the farm's records:
/// - Calendar fields and texts follow the rules of the time zone for each date.
/// - Functions that use the measured offset add `oxTime_Start_OffSet`, which is faster. The
///   offset is measured once and does not follow later changes of daylight saving time.
///
/// Every value is allowed. Sums beyond 64 bits wrap around. If the C library does not support the
/// year of a time, all calendar fields of the time are -1.
class OX_EXPORT _oxTime
{
  public:
    /// Seconds since 1970-01-01 00:00:00 UTC.
    __int64 value = 0;

    /// The measured offset: local time minus UTC in seconds; -1 before the first measurement.
    /// Threads: measured without a lock; concurrent measurements store the same value.
    static int oxTime_Start_OffSet;

    /// 1970-01-01 00:00:00 UTC.
    _oxTime() = default;
    /// Creates the current time, or 1970-01-01 00:00:00 UTC if `now` is false. Accepts only a bool,
    /// since a number without a second argument would silently become the current time.
    explicit _oxTime(std::same_as<bool> auto now)
    {
        if (now)
            setCurrentTime(0);
    }
    /// Creates a time from `t`, in seconds since 1970. If `isUTC` is false, `t` is a local time,
    /// which is converted to UTC with the measured offset (`oxTime_Start_OffSet`).
    /// Compatibility: before the first measurement the offset is -1. This constructor does not
    /// measure the offset then, but uses the -1: a local time gives `t` + 1, as in the farm's
    /// records. It measures the offset only if the offset is 99.
    _oxTime(__int64 t, bool isUTC);

    /// Returns the current time.
    static _oxTime currentTime() { return _oxTime(true); }
    /// Sets this time to the current time plus `add` seconds.
    void setCurrentTime(__int64 add);
    /// Sets the time from a Windows FILETIME: 100-ns ticks since 1601-01-01 UTC, in two 32-bit
    /// halves. Higher bits of `low` and `high` are ignored. Fractions of a second are dropped:
    /// 1.9 seconds since 1970 become 1, and -1.9 seconds become -1.
    void from_FILETIME(unsigned long low, unsigned long high);
    /// Returns the file time `t` (seconds since 1970 UTC), plus the time zone's offset at `t`,
    /// minus the measured offset (`oxTime_Start_OffSet`). File times before and after a change of
    /// daylight saving time are then comparable.
    static _oxTime convertStatFileTime(__int64 const & t);

    /// Sets local midnight of a date. If daylight saving time skips midnight on that day, sets the
    /// end of the skipped hour. Month and day are clamped to 1 to 12 and 1 to 31. A year below 0
    /// becomes 2014, the years 0 to 99 become 2000 to 2099, and a year above 3000 becomes 3000.
    void fromDate(int day, int month, int year);
    /// Sets a local date and time of day. The date is clamped as by fromDate. After that, the year
    /// 1900 becomes the current year, 1 January 1900 becomes today, and the years 1901 to 1989
    /// become 2001 to 2089. In an hour that occurs twice, sets the second occurrence. A time in a
    /// skipped hour is moved one hour later.
    void fromDateTime(int second, int minute, int hour, int day, int month, int year);
    /// Sets local midnight of `date`, as fromDate does, but does not clamp the date. An invalid
    /// date sets the seconds to -1.
    _oxTime & operator=(QDate const & date);
    /// Sets the local date and time of day of `dateTime`, as fromDateTime does, but does not clamp
    /// the date. Ignores the time zone of `dateTime`: convert a value of another time zone with
    /// `QDateTime::toLocalTime()` first. An invalid date or time of day sets the seconds to -1.
    _oxTime & operator=(QDateTime const & dateTime);

    /// Compares the seconds.
    auto operator<=>(_oxTime const &) const = default;

    /// Sets `fields` to the local calendar fields.
    void to_tm(std::tm & fields) const { to_tm_Offset(fields, 0); }
    /// Sets `fields` to the local calendar fields of this time plus `add` seconds.
    void to_tm_Offset(std::tm & fields, __int64 const & add) const;
    /// Converts to the local calendar fields.
    operator std::tm() const;
    /// Converts to the local date. The date is invalid if the C library does not support the year.
    operator QDate() const;

    /// The local year, such as 2026.
    int year() const;
    /// The local month, 1 to 12.
    int month() const;
    /// The local day of the week, Monday 0 to Sunday 6.
    int weekDay() const;
    /// The local day of the month of this time plus `days` days, 1 to 31.
    int dayOfMonth(__int64 days) const;

    /// Hour of the local day, computed with the measured offset (`oxTime_Start_OffSet`): 0 to 23,
    /// or 0 to -23 before 1970.
    int getDayHour() const;
    /// Minute of the local day, computed with the measured offset (`oxTime_Start_OffSet`): 0 to
    /// 1439, or 0 to -1439 before 1970.
    int getDayMinutes() const;
    /// Second of the local day of this time plus `add` seconds, computed with the measured offset
    /// (`oxTime_Start_OffSet`): 0 to 86399, or 0 to -86399 before 1970.
    int getDaySeconds(__int64 add) const;
    /// Number of local days from 1970-01-01 to this time plus `add` seconds, computed with the
    /// measured offset (`oxTime_Start_OffSet`). It is rounded toward 0 and negative before 1970.
    int getTotalDays(__int64 add) const;
    /// Returns the local time in seconds, truncated to signed 32 bits. The local time is computed
    /// with the measured offset (`oxTime_Start_OffSet`).
    /// Compatibility: the farm's records contain local times in 32 bits.
    __int64 toLocalTime() const;
    /// Converts this time from local time to UTC with the measured offset (`oxTime_Start_OffSet`).
    void convertFromLocalTime();

    /// Returns the seconds from `now` to the end of a wait that began at this time and lasts `wait`
    /// seconds. The result is negative after the end, and is truncated to 32 bits. A null `now` is
    /// the current time.
    int waitTimeDifference(__int64 const & wait, _oxTime const * now) const;
    /// Returns whether a wait that began at this time and lasts `wait` seconds has ended before
    /// `now`. If it has ended and `restart` is true, sets this time to `now`, which begins the next
    /// wait. A null `now` is the current time.
    bool waitTimeIsOver(__int64 const & wait, bool const & restart, _oxTime const * now);

    /// Returns `oxTime_Start_OffSet`. If this offset is -1, measures it first.
    static int getTime_Start_OffSet();
    /// Returns the present error of `oxTime_Start_OffSet` in seconds. If `apply` is true, first
    /// corrects the offset, then returns the remaining error. In a time zone more than half a day
    /// from UTC, the corrected offset is wrong by one day.
    static int testIfOfsetIsRight(bool apply);

    // Texts in local time. The examples show Saturday 2026-11-14 09:05:07. Numbers have at least
    // two digits. A year of two digits is the year minus 2000, which is negative before 2000. If
    // the C library does not support the year, the name of a month or weekday is a number.

    /// Local month, day and time: "11.14 09:05.07".
    /// Compatibility: the month comes first, as in the farm's logs.
    QString asString() const;
    /// Local month, day and time of this time plus `add` seconds: "11.14 09:05.07".
    QString asStringOffset(__int64 const & add) const;
    /// Local time of day, computed with the measured offset (`oxTime_Start_OffSet`): "09:05.07".
    QString asStringHourMinSec() const;
    /// Local hour and minute: "09:05".
    QString asStringHourMin() const;
    /// Local day, hour and minute: "14. 09:05".
    QString asStringDateHourMin() const;
    /// Local day and month: "14. Nov".
    QString asStringDate() const;
    /// Name of the local month: "Nov".
    QString asStringMonth() const;
    /// Local day and weekday: "14. Sat".
    QString asStringweekDay() const;
    /// Local weekday, day and month: "Sat 14. Nov".
    QString asStringWeekDateMonth() const;
    /// Local weekday, day, hour and minute: "Sat 14.  09:05".
    /// Compatibility: the hour follows two blanks, as in the farm's logs.
    QString asStringWeekHourMin() const;
    /// Local month and year of two digits: "11.26".
    QString asStringMonthYear() const;
    /// Local date with a year of two digits: "14.11.26".
    QString asStringYear() const;
    /// Local date with the full year: "14.11.2026".
    QString asStringYear2() const;
    /// Local year of two digits: "26".
    QString asStringYearOnly() const;
    /// Local year of four digits: "2026".
    QString asStringYearOnly2() const;
    /// Local date for file names: "261114".
    QString asStringFileNameDate() const;
    /// Local date and hour for file names: "261114_09".
    QString asStringFileNameHour() const;
    /// Local date, hour and minute for file names: "261114_0905".
    QString asStringFileNameYearMinute() const;
    /// Local date, hour and tens of minutes for file names: "261114_090".
    QString asStringFileNameYear10Minute() const;
    /// Local month, day and time for file names: "1114_090507".
    QString asStringFileName() const;
    /// Local month, day, hour, minute and tens of seconds for file names: "1114_09050".
    QString asStringFileName_TruncSec() const;
    /// Local month, day and time: "11.14. 09:05.07".
    _oxString8_evenSize<250> asOX8String() const;
    /// Local day, month and year, and a blank: "14.Nov.2026 ".
    _oxString8_evenSize<250> asOX8StringDateMonthYear() const;
    /// Local day and month, and a blank: "14.Nov. ".
    _oxString8_evenSize<250> asOX8StringDateMonth() const;

    /// Returns `time` as ISO 8601 in UTC, for logs and messages: 2026-11-14T08:05:07Z. Outside the
    /// years 0 to 9999, returns "@" and the seconds since 1970.
    friend OX_EXPORT QString oxPrintedText(_oxTime const & time);
};

/// A point in time in unsigned 32 bits, for records: seconds since 1970-01-01 00:00:00 UTC.
struct OX_EXPORT _oxTime32 {
    /// Seconds since 1970-01-01 00:00:00 UTC.
    unsigned int value = 0;

    /// Converts to 64 bits.
    operator _oxTime() const { return _oxTime(value, true); }
    /// Compares the seconds.
    auto operator<=>(_oxTime32 const &) const = default;

    /// Sets this time to the current time plus `add` seconds, truncated to 32 bits.
    void setCurrentTime(__int64 add);
    /// Sets `fields` to the local calendar fields.
    void to_tm(std::tm & fields) const { _oxTime(*this).to_tm(fields); }
    /// Sets `fields` to the local calendar fields of this time plus `add` seconds.
    void to_tm_Offset(std::tm & fields, __int64 const & add) const
    {
        _oxTime(*this).to_tm_Offset(fields, add);
    }
    /// Converts to the local calendar fields.
    operator std::tm() const { return _oxTime(*this); }

    /// Local month, day and time: "11.14 09:05.07".
    QString asString() const { return _oxTime(*this).asString(); }
    /// Local month, day and time of this time plus `add` seconds: "11.14 09:05.07".
    QString asStringOffset(__int64 const & add) const { return _oxTime(*this).asStringOffset(add); }
    /// Local month, day and time: "11.14. 09:05.07".
    _oxString8_evenSize<250> asOX8String() const { return _oxTime(*this).asOX8String(); }

    /// Returns `time` as ISO 8601 in UTC, for logs and messages.
    friend QString oxPrintedText(_oxTime32 const & time) { return oxPrintedText(_oxTime(time)); }
};

/// Hash of the seconds, for Qt's containers.
OX_EXPORT ox::time::QtHash qHash(_oxTime const & time, ox::time::QtHash seed = 0);
/// Hash of the seconds of a 32-bit time, for Qt's containers.
OX_EXPORT ox::time::QtHash qHash(_oxTime32 const & time, ox::time::QtHash seed = 0);

/// Hash of the seconds, for the unordered containers of the standard library.
template <>
struct std::hash<_oxTime> {
    std::size_t operator()(_oxTime const & time) const { return std::hash<__int64>()(time.value); }
};
/// Hash of the seconds of a 32-bit time, for the unordered containers of the standard library.
template <>
struct std::hash<_oxTime32> {
    std::size_t operator()(_oxTime32 const & time) const
    {
        return std::hash<unsigned int>()(time.value);
    }
};

static_assert(sizeof(_oxTime) == 8 && std::is_standard_layout_v<_oxTime> &&
              std::is_trivially_copyable_v<_oxTime>);
static_assert(sizeof(_oxTime32) == 4 && std::is_standard_layout_v<_oxTime32> &&
              std::is_trivially_copyable_v<_oxTime32>);

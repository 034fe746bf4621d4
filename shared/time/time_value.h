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

/// What qHash returns.
using QtHash =
    std::conditional_t<(QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)), std::size_t, unsigned int>;

} // namespace ox::time

/// A point in time: seconds since 1970-01-01 00:00:00 UTC.
///
/// Local time comes in two ways, deliberately. Calendar fields and texts follow the time zone's
/// rules for the date in question. The cheap day arithmetic adds `oxTime_Start_OffSet`, which is
/// measured once and stays when daylight saving changes later.
///
/// No value is harmful: sums beyond 64 bits wrap around, and a time whose year the calendar cannot
/// express has all its calendar fields at -1.
class OX_EXPORT _oxTime
{
  public:
    __int64 value = 0;

    /// Local time minus UTC in seconds; -1 while it has not been measured. Measured without a lock:
    /// threads that do it at once arrive at the same value.
    static int oxTime_Start_OffSet;

    _oxTime() = default;
    /// The current time, or 0 when `now` is false. Takes nothing but a bool, since a number given
    /// alone would silently be the current time.
    explicit _oxTime(std::same_as<bool> auto now)
    {
        if (now)
            setCurrentTime(0);
    }
    /// A number of seconds of any integer type. When it is local time the offset is subtracted. The
    /// offset is measured first only when it is 99, deliberately: before the first measurement
    /// local times come out one second late, as the farm's records have them.
    _oxTime(__int64 t, bool isUTC);

    static _oxTime currentTime() { return _oxTime(true); }
    /// The current time plus `add` seconds.
    void setCurrentTime(__int64 add);
    /// From 100-nanosecond ticks since 1601-01-01 UTC in two 32-bit halves; higher bits of the
    /// arguments are ignored. Fractions of a second are cut towards 1970.
    void from_FILETIME(unsigned long low, unsigned long high);
    /// A file's time as it would be if daylight saving at its date were that of the measured
    /// offset, which makes file times comparable across a change of daylight saving.
    static _oxTime convertStatFileTime(__int64 const & t);

    /// Local midnight of a date, or the hour behind it on a day that begins with a skipped hour.
    /// Month and day are moved into 1 to 12 and 1 to 31; a year below 0 is 2014, one below 100
    /// counts from 2000, one above 3000 is 3000.
    void fromDate(int day, int month, int year);
    /// A local time, its date moved into range as by fromDate. The year 1900 is the current one,
    /// and 1.1.1900 is today. The years 1901 to 1989 count from 2000. Of an hour that the clocks
    /// show twice the second one is taken; a time in a skipped hour is one hour later.
    void fromDateTime(int second, int minute, int hour, int day, int month, int year);
    /// As fromDate, but the year is taken as it is. An invalid date gives -1.
    _oxTime & operator=(QDate const & date);
    /// As fromDateTime from the date and the time of day as they stand, without moving them into
    /// range. They count as local time, whatever time zone the value has: convert another one with
    /// `toLocalTime()` first. An invalid date gives -1.
    _oxTime & operator=(QDateTime const & dateTime);

    auto operator<=>(_oxTime const &) const = default;

    /// The local calendar fields.
    void to_tm(std::tm & fields) const { to_tm_Offset(fields, 0); }
    /// The local calendar fields `add` seconds later.
    void to_tm_Offset(std::tm & fields, __int64 const & add) const;
    operator std::tm() const;
    /// The local date; an invalid one when the calendar cannot express it.
    operator QDate() const;

    int year() const;
    /// 1 to 12.
    int month() const;
    /// Monday 0 to Sunday 6.
    int weekDay() const;
    /// Day of the month, 1 to 31, this many days later.
    int dayOfMonth(__int64 days) const;

    /// Hour, minute and second of the day and the number of days since 1970, by the measured
    /// offset; the last two `add` seconds later. Times before 1970 count backwards from 0.
    int getDayHour() const;
    int getDayMinutes() const;
    int getDaySeconds(__int64 add) const;
    int getTotalDays(__int64 add) const;
    /// The value plus the offset, cut to 32 bits with sign, deliberately: the farm's records hold
    /// local times in 32 bits.
    __int64 toLocalTime() const;
    /// Makes UTC of a value in local time.
    void convertFromLocalTime();

    /// Seconds from `now`, or from the current time, until `wait` seconds after this time; cut to
    /// 32 bits.
    int waitTimeDifference(__int64 const & wait, _oxTime const * now) const;
    /// Whether `now`, or the current time, is later than `wait` seconds after this time. If so and
    /// with `restart` this time becomes `now`, so that the next wait begins.
    bool waitTimeIsOver(__int64 const & wait, bool const & restart, _oxTime const * now);

    /// The offset, measured if it has not been.
    static int getTime_Start_OffSet();
    /// How many seconds the offset is wrong by. With `apply` the offset is corrected, and the
    /// result is what is then still wrong. A zone more than half a day off UTC counts as the day
    /// before.
    static int testIfOfsetIsRight(bool apply);

    // Texts in local time. The comments show 2026-11-14 09:05:07, a Saturday. Numbers have at least
    // two digits; the year of two digits is the year less 2000, negative before. A month or weekday
    // that the calendar cannot express stands as its number.

    QString asString() const; ///< 11.14 09:05.07, month first, deliberately
    QString asStringOffset(__int64 const & add) const; ///< as asString, `add` seconds later
    QString asStringHourMinSec() const;                ///< 09:05.07, by the measured offset
    QString asStringHourMin() const;                   ///< 09:05
    QString asStringDateHourMin() const;               ///< 14. 09:05
    QString asStringDate() const;                      ///< 14. Nov
    QString asStringMonth() const;                     ///< Nov
    QString asStringweekDay() const;                   ///< 14. Sat
    QString asStringWeekDateMonth() const;             ///< Sat 14. Nov
    QString asStringWeekHourMin() const;               ///< Sat 14.  09:05, two blanks, deliberately
    QString asStringMonthYear() const;                 ///< 11.26
    QString asStringYear() const;                      ///< 14.11.26
    QString asStringYear2() const;                     ///< 14.11.2026
    QString asStringYearOnly() const;                  ///< 26
    QString asStringYearOnly2() const;                 ///< 2026
    QString asStringFileNameDate() const;              ///< 261114
    QString asStringFileNameHour() const;              ///< 261114_09
    QString asStringFileNameYearMinute() const;        ///< 261114_0905
    QString asStringFileNameYear10Minute() const;      ///< 261114_090, tens of minutes
    QString asStringFileName() const;                  ///< 1114_090507
    QString asStringFileName_TruncSec() const;         ///< 1114_09050, tens of seconds
    _oxString8_evenSize<250> asOX8String() const;      ///< 11.14. 09:05.07
    _oxString8_evenSize<250> asOX8StringDateMonthYear() const; ///< 14.Nov.2026 and a blank
    _oxString8_evenSize<250> asOX8StringDateMonth() const;     ///< 14.Nov. and a blank

    /// Prints ISO 8601 in UTC: 2026-11-14T08:05:07Z. A time outside the years 0 to 9999 is "@" and
    /// its seconds.
    friend OX_EXPORT QString oxPrintedText(_oxTime const & time);
};

/// The same in 32 bits without sign, for records that hold no more.
struct OX_EXPORT _oxTime32 {
    unsigned int value = 0;

    operator _oxTime() const { return _oxTime(value, true); }
    auto operator<=>(_oxTime32 const &) const = default;

    /// The current time plus `add` seconds, cut to 32 bits.
    void setCurrentTime(__int64 add);
    void to_tm(std::tm & fields) const { _oxTime(*this).to_tm(fields); }
    void to_tm_Offset(std::tm & fields, __int64 const & add) const
    {
        _oxTime(*this).to_tm_Offset(fields, add);
    }
    operator std::tm() const { return _oxTime(*this); }

    QString asString() const { return _oxTime(*this).asString(); }
    QString asStringOffset(__int64 const & add) const { return _oxTime(*this).asStringOffset(add); }
    _oxString8_evenSize<250> asOX8String() const { return _oxTime(*this).asOX8String(); }

    friend QString oxPrintedText(_oxTime32 const & time) { return oxPrintedText(_oxTime(time)); }
};

/// Hash of the seconds, for Qt's containers.
OX_EXPORT ox::time::QtHash qHash(_oxTime const & time, ox::time::QtHash seed = 0);
OX_EXPORT ox::time::QtHash qHash(_oxTime32 const & time, ox::time::QtHash seed = 0);

template <>
struct std::hash<_oxTime> {
    std::size_t operator()(_oxTime const & time) const { return std::hash<__int64>()(time.value); }
};
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

#include "shared/time/file_name_text.h"
#include "shared/time/time_value.h"

#include <chrono>
#include <cstdio>

namespace
{

QString number(__int64 n, int width)
{
    return QStringLiteral("%1").arg(n, width, 10, QLatin1Char('0'));
}

QString twoDigits(__int64 n)
{
    return number(n, 2);
}

struct Name {
    char text[12];
};

/// Returns entry `n` of `names`, or `n` in decimal if `n` is out of range.
template <std::size_t count>
Name nameOf(int n, char const (&names)[count][4])
{
    Name name{};
    if (n >= 0 && n < static_cast<int>(count))
        std::snprintf(name.text, sizeof name.text, "%s", names[n]);
    else
        std::snprintf(name.text, sizeof name.text, "%d", n);
    return name;
}

Name monthName(std::tm const & fields)
{
    static constexpr char names[][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    return nameOf(fields.tm_mon, names);
}

Name weekdayName(std::tm const & fields)
{
    static constexpr char names[][4] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    return nameOf(fields.tm_wday, names);
}

/// Texts of calendar fields.
struct Texts {
    std::tm fields;

    explicit Texts(std::tm const & calendar) : fields(calendar) {}
    QString shortYear() const { return twoDigits(fields.tm_year - 100); }
    QString fullYear() const { return number(fields.tm_year + 1900, 4); }
    QString month() const { return twoDigits(fields.tm_mon + 1); }
    QString monthName() const { return QString::fromLatin1(::monthName(fields).text); }
    QString weekday() const { return QString::fromLatin1(::weekdayName(fields).text); }
    QString day() const { return twoDigits(fields.tm_mday); }
    QString hour() const { return twoDigits(fields.tm_hour); }
    QString minute() const { return twoDigits(fields.tm_min); }
    QString second() const { return twoDigits(fields.tm_sec); }
};

template <typename... Values>
_oxString8_evenSize<250> print(char const * format, Values... values)
{
    char text[251];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

} // namespace

ox::time::FileNameText ox::time::fileNameText(std::tm const & fields)
{
    FileNameText text;
    text.addNr(fields.tm_mon + 1, 2).addNr(fields.tm_mday, 2).add("_");
    return text.addNr(fields.tm_hour, 2).addNr(fields.tm_min, 2).addNr(fields.tm_sec, 2);
}

ox::time::FileNameText ox::time::fileNameTextYearMinute(std::tm const & fields)
{
    FileNameText text;
    text.addNr(fields.tm_year - 100, 2).addNr(fields.tm_mon + 1, 2).addNr(fields.tm_mday, 2);
    return text.add("_").addNr(fields.tm_hour, 2).addNr(fields.tm_min, 2);
}

QString oxPrintedText(_oxTime const & time)
{
    using namespace std::chrono;
    constexpr sys_seconds first = sys_days(year(0) / January / 1);
    constexpr sys_seconds end = sys_days(year(10000) / January / 1);
    sys_seconds const moment{seconds(time.value)};
    if (moment < first || moment >= end)
        return u'@' + QString::number(time.value);
    sys_days const midnight = floor<days>(moment);
    year_month_day const date(midnight);
    hh_mm_ss const clock(moment - midnight);
    return QStringLiteral("%1-%2-%3T%4:%5:%6Z")
        .arg(number(static_cast<int>(date.year()), 4),
             twoDigits(static_cast<unsigned>(date.month())),
             twoDigits(static_cast<unsigned>(date.day())), twoDigits(clock.hours().count()),
             twoDigits(clock.minutes().count()), twoDigits(clock.seconds().count()));
}

QString _oxTime::asString() const
{
    return asStringOffset(0);
}

QString _oxTime::asStringOffset(__int64 const & add) const
{
    std::tm fields;
    to_tm_Offset(fields, add);
    Texts const t(fields);
    return QStringLiteral("%1.%2 %3:%4.%5")
        .arg(t.month(), t.day(), t.hour(), t.minute(), t.second());
}

QString _oxTime::asStringHourMinSec() const
{
    return QStringLiteral("%1:%2.%3")
        .arg(twoDigits(getDayHour()), twoDigits(getDayMinutes() % 60),
             twoDigits(getDaySeconds(0) % 60));
}

QString _oxTime::asStringHourMin() const
{
    Texts const t(*this);
    return QStringLiteral("%1:%2").arg(t.hour(), t.minute());
}

QString _oxTime::asStringDateHourMin() const
{
    Texts const t(*this);
    return QStringLiteral("%1. %2:%3").arg(t.day(), t.hour(), t.minute());
}

QString _oxTime::asStringDate() const
{
    Texts const t(*this);
    return QStringLiteral("%1. %2").arg(t.day(), t.monthName());
}

QString _oxTime::asStringMonth() const
{
    return Texts(*this).monthName();
}

QString _oxTime::asStringweekDay() const
{
    Texts const t(*this);
    return QStringLiteral("%1. %2").arg(t.day(), t.weekday());
}

QString _oxTime::asStringWeekDateMonth() const
{
    Texts const t(*this);
    return QStringLiteral("%1 %2. %3").arg(t.weekday(), t.day(), t.monthName());
}

QString _oxTime::asStringWeekHourMin() const
{
    Texts const t(*this);
    return QStringLiteral("%1 %2.  %3:%4").arg(t.weekday(), t.day(), t.hour(), t.minute());
}

QString _oxTime::asStringMonthYear() const
{
    Texts const t(*this);
    return QStringLiteral("%1.%2").arg(t.month(), t.shortYear());
}

QString _oxTime::asStringYear() const
{
    Texts const t(*this);
    return QStringLiteral("%1.%2.%3").arg(t.day(), t.month(), t.shortYear());
}

QString _oxTime::asStringYear2() const
{
    Texts const t(*this);
    return QStringLiteral("%1.%2.%3").arg(t.day(), t.month(), t.fullYear());
}

QString _oxTime::asStringYearOnly() const
{
    return Texts(*this).shortYear();
}

QString _oxTime::asStringYearOnly2() const
{
    return Texts(*this).fullYear();
}

QString _oxTime::asStringFileNameDate() const
{
    Texts const t(*this);
    return QStringLiteral("%1%2%3").arg(t.shortYear(), t.month(), t.day());
}

QString _oxTime::asStringFileNameHour() const
{
    Texts const t(*this);
    return QStringLiteral("%1%2%3_%4").arg(t.shortYear(), t.month(), t.day(), t.hour());
}

QString _oxTime::asStringFileNameYearMinute() const
{
    return ox::time::fileNameTextYearMinute(*this);
}

QString _oxTime::asStringFileNameYear10Minute() const
{
    Texts const t(*this);
    return QStringLiteral("%1%2%3_%4%5")
        .arg(t.shortYear(), t.month(), t.day(), t.hour(), number(t.fields.tm_min / 10, 0));
}

QString _oxTime::asStringFileName() const
{
    return ox::time::fileNameText(*this);
}

QString _oxTime::asStringFileName_TruncSec() const
{
    Texts const t(*this);
    return QStringLiteral("%1%2_%3%4%5")
        .arg(t.month(), t.day(), t.hour(), t.minute(), number(t.fields.tm_sec / 10, 1));
}

_oxString8_evenSize<250> _oxTime::asOX8String() const
{
    std::tm const t = *this;
    return print("%02d.%02d. %02d:%02d.%02d", t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min,
                 t.tm_sec);
}

_oxString8_evenSize<250> _oxTime::asOX8StringDateMonthYear() const
{
    std::tm const t = *this;
    return print("%02d.%s.%02d ", t.tm_mday, monthName(t).text, t.tm_year + 1900);
}

_oxString8_evenSize<250> _oxTime::asOX8StringDateMonth() const
{
    std::tm const t = *this;
    return print("%02d.%s. ", t.tm_mday, monthName(t).text);
}

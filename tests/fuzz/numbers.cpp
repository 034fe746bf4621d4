#include "shared/text/format.h"
#include "shared/time/time_value.h"
#include "tests/fuzz/fuzz_input.h"

#include <QByteArray>
#include <QDateTime>

#include <chrono>
#include <climits>
#include <cmath>
#include <cstdarg>

// Fuzzes numbers, durations and times, and compares them with 64-bit arithmetic, printf and the
// calendar of the standard library. The local time zone is UTC here.

namespace
{

using namespace ox::fuzz;
using Wide = long long;

QString printed(char const * format, ...)
{
    char text[200];
    std::va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return QString::fromLatin1(text);
}

/// Splits off groups of three digits from the right, while the number before the groups is above
/// 1000. So 1000000 becomes "1000.000", not "1.000.000", as documented at oxPointTsd.
std::string grouped(unsigned long long number, char separator)
{
    std::string const digits = std::to_string(number);
    if (number <= 1000)
        return digits;
    return grouped(number / 1000, separator) + separator + digits.substr(digits.size() - 3);
}

void checkNumbers(Input & in)
{
    auto const n = in.number<Wide>() >> in.below(64);
    auto const bits = static_cast<unsigned long long>(n);
    unsigned long long const size = n < 0 ? 0 - bits : bits;
    QString const sign = n < 0 ? QStringLiteral("-") : QStringLiteral(" ");
    OX_HOLDS(oxPointTsd(n, true) == sign + latin1(grouped(size, '.')));
    OX_HOLDS(oxSpaceTsd(n, false) == sign.trimmed() + latin1(grouped(size, ' ')));
    OX_HOLDS(QString(int2Str(int(n))) == QString::number(int(n)));

    int const digits = in.position();
    OX_HOLDS(numberToStr(bits, digits) ==
             QString::number(bits, 36).toUpper().right(std::clamp(digits, 0, 64)));
    OX_HOLDS(numberToStr(bits, 64).toULongLong(nullptr, 36) == bits);
}

void checkFraction(Input & in)
{
    auto const f = in.number<float>();
    int const decimals = in.position();
    QString const text = float2Str(f, decimals, '.');
    double const limited = std::isnan(f) ? 0 : std::clamp<double>(f, INT_MIN, INT_MAX);
    OX_HOLDS(text.startsWith(QString::number(int(limited)) + u'.'));
    OX_HOLDS(text.size() <= 25);
}

void checkDurations(Input & in)
{
    Wide const s = in.number<Wide>() >> in.below(64);
    int const n = int(s);
    OX_HOLDS(oxSec2ms(s) == printed("%02lld.%02lld", s / 60, s % 60));
    OX_HOLDS(oxSec2hm(n) == printed("%02d:%02d", n / 3600, n / 60 % 60));
    OX_HOLDS(oxSec2dhm(s) == printed("%lldd %02lld:%02lld", s / 86400, s / 3600, s / 60 % 60));
    OX_HOLDS(oxSec2dhms(s) ==
             (s > 129600 ? printed("%lldd %lldh", s / 86400, s / 3600 % 24)
                         : printed("%02lld:%02lld.%02lld", s / 3600, s / 60 % 60, s % 60)));
    int const minutes = n / 60 % 60;
    int const seconds = std::abs(n % 60);
    QString const full = printed("%02d:%02d.%02d", n / 3600, std::abs(minutes), seconds);
    QString const brief = n < -60 || n > 60 ? printed("%2d.%02d", minutes, seconds)
                                            : printed("%c0.%02d", n < 0 ? '-' : ' ', seconds);
    OX_HOLDS(oxSec2hms(n, false) == full);
    OX_HOLDS(oxSec2hms(n, true) == (n < -3600 || n > 3600 ? full : brief));
    QString const thousandths = printed(".%03d", n % 1000);
    OX_HOLDS(oxMill2s(n, false) ==
             (n > 1000 ? QString::number(n / 1000) + thousandths : thousandths));
    OX_HOLDS(oxMill2s(n, true) == QString::number(n / 1000) + thousandths);
}

using Bits = unsigned long long;

Wide sum(Wide a, Wide b)
{
    return Wide(Bits(a) + Bits(b));
}

Wide difference(Wide a, Wide b)
{
    return Wide(Bits(a) - Bits(b));
}

/// Compares the date and time fields with the calendar of the standard library. The year must be in
/// the range of this calendar.
void checkCalendar(_oxTime const & time)
{
    using namespace std::chrono;
    sys_seconds const moment{seconds(time.value)};
    sys_days const midnight = floor<days>(moment);
    year_month_day const date(midnight);
    hh_mm_ss const clock(moment - midnight);
    std::tm const fields = time;
    auto const year = int(date.year());
    auto const month = int(unsigned(date.month()));
    auto const day = int(unsigned(date.day()));
    OX_HOLDS(time.year() == year && time.month() == month && time.dayOfMonth(0) == day);
    OX_HOLDS(time.weekDay() == int(weekday(midnight).iso_encoding()) - 1);
    OX_HOLDS(fields.tm_hour == clock.hours().count() && fields.tm_min == clock.minutes().count());
    OX_HOLDS(fields.tm_sec == clock.seconds().count());
    OX_HOLDS(time.asStringYear2() == printed("%02d.%02d.%04d", day, month, year));
    OX_HOLDS(time.asString() == printed("%02d.%02d %02d:%02d.%02d", month, day, fields.tm_hour,
                                        fields.tm_min, fields.tm_sec));
    OX_HOLDS(time.asStringFileName() == printed("%02d%02d_%02d%02d%02d", month, day, fields.tm_hour,
                                                fields.tm_min, fields.tm_sec));
    _oxTime same;
    if (year >= 1990 && year <= 3000) {
        same.fromDateTime(fields.tm_sec, fields.tm_min, fields.tm_hour, day, month, year);
        OX_HOLDS(same == time);
        same = QDate(time);
        OX_HOLDS(same.value == sys_seconds(midnight).time_since_epoch().count());
    }
}

void checkTime(Input & in)
{
    _oxTime time(in.number<Wide>() >> in.below(64), true);
    Wide const add = in.number<Wide>() >> in.below(64);
    Wide const value = time.value;
    for (QString const & text :
         {oxPrintedText(time), time.asStringYear(), time.asStringWeekDateMonth(),
          time.asStringFileNameYear10Minute(), QString(time.asOX8StringDateMonthYear()),
          time.asStringOffset(add), time.asStringHourMinSec(), time.asStringFileName_TruncSec()})
        OX_HOLDS(!text.isEmpty() && text.size() < 60);
    constexpr Wide year = 31'556'952;
    bool const hasFields = time.month() > 0; // the range of years depends on the system
    OX_HOLDS(hasFields || value < 0 || value > 1000 * year);
    if (hasFields && value > -1900 * year && value < 8000 * year)
        checkCalendar(time);

    OX_HOLDS(time.getDayHour() == value / 3600 % 24);
    OX_HOLDS(time.getDaySeconds(add) == sum(value, add) % 86400);
    OX_HOLDS(time.getTotalDays(add) == int(sum(value, add) / 86400));
    OX_HOLDS(time.toLocalTime() == static_cast<std::int32_t>(value));
    _oxTime const now(in.number<Wide>() >> in.below(64), true);
    OX_HOLDS(time.waitTimeDifference(add, &now) == int(difference(sum(value, add), now.value)));
    bool const isEndless = add > 0 && sum(value, add) < value;
    bool const isOver = !isEndless && now.value > sum(value, add);
    OX_HOLDS(time.waitTimeIsOver(add, true, &now) == isOver);
    OX_HOLDS(time.value == (isOver ? now.value : value));

    auto const ticks = in.number<std::uint64_t>();
    time.from_FILETIME(static_cast<unsigned long>(ticks & 0xFFFFFFFF),
                       static_cast<unsigned long>(ticks >> 32));
    OX_HOLDS(time.value == sum(static_cast<Wide>(ticks), -116'444'736'000'000'000) / 10'000'000);
    OX_HOLDS(_oxTime::convertStatFileTime(value).value == value);
    OX_HOLDS(_oxTime(value, false).value == value);
    int fields[6];
    for (int & field : fields)
        field = in.position();
    time.fromDateTime(fields[0], fields[1], fields[2], fields[3], fields[4], fields[5]);
    time.fromDate(fields[3], fields[4], fields[5]);
    OX_HOLDS(time.value % 86400 == 0 || time.value == -1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size)
{
    static bool const isUtc = qputenv("TZ", "UTC0") && (tzset(), true);
    OX_HOLDS(isUtc);
    _oxTime::oxTime_Start_OffSet = 0;
    Input in(data, size);
    for (int i = 0; i < 4 && !in.isAtEnd(); ++i) {
        checkNumbers(in);
        checkFraction(in);
        checkDurations(in);
        checkTime(in);
    }
    return 0;
}

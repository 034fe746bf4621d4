#include "tests/time/time_zone.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{

TEST(TimeText, FollowsThePatternOfEachFunction)
{
    TimeZone const zone(kolkata);
    _oxTime t;
    t.fromDateTime(7, 5, 9, 14, 11, 2026);
    std::pair<QString (_oxTime::*)() const, char const *> const texts[] = {
        {&_oxTime::asString, "11.14 09:05.07"},
        {&_oxTime::asStringHourMinSec, "09:05.07"},
        {&_oxTime::asStringHourMin, "09:05"},
        {&_oxTime::asStringDateHourMin, "14. 09:05"},
        {&_oxTime::asStringDate, "14. Nov"},
        {&_oxTime::asStringMonth, "Nov"},
        {&_oxTime::asStringweekDay, "14. Sat"},
        {&_oxTime::asStringWeekDateMonth, "Sat 14. Nov"},
        {&_oxTime::asStringWeekHourMin, "Sat 14.  09:05"},
        {&_oxTime::asStringMonthYear, "11.26"},
        {&_oxTime::asStringYear, "14.11.26"},
        {&_oxTime::asStringYear2, "14.11.2026"},
        {&_oxTime::asStringYearOnly, "26"},
        {&_oxTime::asStringYearOnly2, "2026"},
        {&_oxTime::asStringFileNameDate, "261114"},
        {&_oxTime::asStringFileNameHour, "261114_09"},
        {&_oxTime::asStringFileNameYearMinute, "261114_0905"},
        {&_oxTime::asStringFileNameYear10Minute, "261114_090"},
        {&_oxTime::asStringFileName, "1114_090507"},
        {&_oxTime::asStringFileName_TruncSec, "1114_09050"},
    };
    for (auto const & [text, expected] : texts)
        EXPECT_EQ((t.*text)(), QLatin1String(expected));
    EXPECT_EQ(t.asStringOffset(60 * 60 * 24), QLatin1String("11.15 09:05.07"));
    EXPECT_EQ(t.asOX8String().view(), "11.14. 09:05.07");
    EXPECT_EQ(t.asOX8StringDateMonthYear().view(), "14.Nov.2026 ");
    EXPECT_EQ(t.asOX8StringDateMonth().view(), "14.Nov. ");

    _oxTime32 const narrow{static_cast<unsigned>(t.value)};
    EXPECT_EQ(narrow.asString(), t.asString());
    EXPECT_EQ(narrow.asStringOffset(-7), QLatin1String("11.14 09:05.00"));
    EXPECT_EQ(narrow.asOX8String().view(), t.asOX8String().view());
}

TEST(TimeText, ShowsYearsBefore2000AsNegative)
{
    TimeZone const zone(berlin);
    _oxTime t;
    t.fromDate(14, 11, 1999);
    EXPECT_EQ(t.asStringYearOnly(), QLatin1String("-1"));
    EXPECT_EQ(t.asStringYear(), QLatin1String("14.11.-1"));
    EXPECT_EQ(t.asStringYear2(), QLatin1String("14.11.1999"));
}

TEST(TimeText, ShowsTheNumberOfAnInvalidMonth)
{
    _oxTime const t(std::numeric_limits<__int64>::max(), true);
    EXPECT_EQ(t.asStringDate(), QLatin1String("-1. -1"));
    EXPECT_EQ(t.asStringMonth(), QLatin1String("-1"));
    EXPECT_EQ(t.asOX8StringDateMonth().view(), "-1.-1. ");
}

TEST(TimeText, DiffersInSummerIfItUsesTheOffset)
{
    SKIP_WITHOUT_DAYLIGHT_SAVING();
    TimeZone const zone(berlin);
    _oxTime::oxTime_Start_OffSet = 3600;
    _oxTime const t(1784116800, true);
    EXPECT_EQ(t.asStringHourMin(), QLatin1String("14:00"));
    EXPECT_EQ(t.asStringHourMinSec(), QLatin1String("13:00.00"));
}

} // namespace

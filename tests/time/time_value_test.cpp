#include "tests/time/time_zone.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QDebug>
#include <QSet>

#include <limits>
#include <sstream>
#include <unordered_set>

namespace
{

constexpr __int64 lowest = std::numeric_limits<__int64>::min();
constexpr __int64 highest = std::numeric_limits<__int64>::max();
constexpr __int64 winter = 1768478400; // 2026-01-15 12:00 UTC, a Thursday
constexpr __int64 summer = 1784116800; // 2026-07-15 12:00 UTC

_oxTime utc(__int64 t)
{
    return _oxTime(t, true);
}

TEST(TimeValue, IsConstructedFromNumbersAndTheClock)
{
    TimeZone const zone(berlin);
    EXPECT_EQ(_oxTime().value, 0);
    EXPECT_EQ(_oxTime(false).value, 0);
    EXPECT_LT(utc(5), utc(6));
    EXPECT_NEAR(static_cast<double>(_oxTime(true).value), static_cast<double>(std::time(nullptr)),
                2);
    _oxTime later;
    later.setCurrentTime(3600);
    EXPECT_NEAR(static_cast<double>(later.value - _oxTime::currentTime().value), 3600, 2);
    EXPECT_EQ(_oxTime(0xFFFFFFFFu, true).value, 4294967295);
    EXPECT_EQ(_oxTime(-5L, true).value, -5);

    _oxTime32 narrow;
    narrow.setCurrentTime(std::int64_t{1} << 32);
    EXPECT_NEAR(narrow.value, static_cast<double>(std::time(nullptr)), 2);
    EXPECT_EQ(_oxTime(_oxTime32{0xFFFFFFFFu}).value, 4294967295);
}

TEST(TimeValue, MeasuresTheOffsetOnFirstUse)
{
    TimeZone const zone(kolkata);
    EXPECT_EQ(_oxTime(1000, false).value, 1001) << "the unmeasured offset -1 adds a second";
    EXPECT_EQ(_oxTime::oxTime_Start_OffSet, -1);
    EXPECT_EQ(_oxTime::getTime_Start_OffSet(), 19800);
    EXPECT_EQ(_oxTime(100000, false).value, 100000 - 19800);
    _oxTime::oxTime_Start_OffSet = 99;
    EXPECT_EQ(_oxTime(100000, false).value, 100000 - 19800);
    _oxTime::oxTime_Start_OffSet = 19800 - 3600;
    EXPECT_EQ(_oxTime::testIfOfsetIsRight(false), 3600);
    EXPECT_EQ(_oxTime::testIfOfsetIsRight(true), 0);
    EXPECT_EQ(_oxTime::oxTime_Start_OffSet, 19800);
}

TEST(TimeValue, MeasuresZonesAllAroundTheGlobe)
{
    std::pair<char const *, int> const zones[] = {
        {"UTC0", 0}, {"EAS-11", 39600}, {"EAS-13", 46800 - 86400}, {"WES3:30", -12600}};
    for (auto const & [rule, offset] : zones) {
        TimeZone const zone(rule);
        EXPECT_EQ(_oxTime::getTime_Start_OffSet(), offset) << rule;
    }
}

TEST(TimeValue, FollowsTheZonesRulesForTheDate)
{
    SKIP_WITHOUT_DAYLIGHT_SAVING();
    struct {
        char const * zone;
        int winterHour, summerHour;
    } const cases[] = {{berlin, 13, 14}, {newYork, 7, 8}, {kolkata, 17, 17}};
    for (auto const & c : cases) {
        TimeZone const zone(c.zone);
        std::tm fields;
        utc(winter).to_tm(fields);
        EXPECT_EQ(fields.tm_hour, c.winterHour);
        EXPECT_EQ(std::tm(utc(summer)).tm_hour, c.summerHour);
        EXPECT_EQ(std::tm(_oxTime32{static_cast<unsigned>(summer)}).tm_hour, c.summerHour);

        // The local fields must round-trip through fromDateTime().
        for (__int64 t : {winter, summer}) {
            std::tm const f = utc(t);
            _oxTime back;
            back.fromDateTime(f.tm_sec, f.tm_min, f.tm_hour, f.tm_mday, f.tm_mon + 1,
                              f.tm_year + 1900);
            EXPECT_EQ(back.value, t) << c.zone;
            _oxTime midnight;
            midnight.fromDate(f.tm_mday, f.tm_mon + 1, f.tm_year + 1900);
            EXPECT_EQ(std::tm(midnight).tm_hour, 0) << c.zone;
            EXPECT_EQ(midnight.value, t - f.tm_hour * 3600 - f.tm_min * 60) << c.zone;
        }
    }
}

TEST(TimeValue, ConvertsTheHoursAroundDaylightSaving)
{
    SKIP_WITHOUT_DAYLIGHT_SAVING();
    TimeZone const zone(berlin);
    struct {
        int minute, hour, day, month;
        __int64 expected;
    } const cases[] = {
        {0, 3, 29, 3, 1774746000},   // the first minute of summer time
        {30, 1, 25, 10, 1792884600}, // still summer time
        {30, 2, 25, 10, 1792891800}, // an hour that occurs twice; means the second occurrence
    };
    for (auto const & c : cases) {
        _oxTime t;
        t.fromDateTime(0, c.minute, c.hour, c.day, c.month, 2026);
        EXPECT_EQ(t.value, c.expected)
            << c.hour << ':' << c.minute << ' ' << c.day << '.' << c.month;
    }
}

TEST(TimeValue, KeepsTheDateIfItsFirstHourIsSkipped)
{
    SKIP_WITHOUT_DAYLIGHT_SAVING();
    struct {
        char const * zone;
        QDate day;                                                         ///< begins at 01:00
    } const cases[] = {{"EET-2EEST,M3.5.0/0,M10.5.0/0", {2026, 3, 29}},    // Beirut
                       {"CST5CDT,M3.2.0/0,M11.1.0/1", {2026, 3, 8}},       // Havana
                       {"<-04>4<-03>,M9.1.6/24,M4.1.6/24", {2026, 9, 6}}}; // Santiago
    for (auto const & c : cases) {
        TimeZone const zone(c.zone);
        _oxTime date, qtDate, minutes, before, after;
        date.fromDate(c.day.day(), c.day.month(), c.day.year());
        qtDate = c.day;
        minutes = QDateTime(c.day, QTime(0, 30));
        before = c.day.addDays(-1);
        after = c.day.addDays(1);
        EXPECT_EQ(QDate(date), c.day) << c.zone;
        EXPECT_EQ(date.asStringHourMin(), QLatin1String("01:00"));
        EXPECT_EQ(qtDate, date);
        EXPECT_EQ(minutes.value, date.value + 30 * 60);
        EXPECT_EQ(date.value - before.value, 24 * 3600);
        EXPECT_EQ(after.value - date.value, 23 * 3600);
    }
    TimeZone const zone(berlin);
    _oxTime skipped;
    skipped.fromDateTime(0, 30, 2, 29, 3, 2026);
    EXPECT_EQ(skipped.asString(), QLatin1String("03.29 03:30.00"));
    skipped.fromDateTime(0, 30, 26, 28, 3, 2026);
    EXPECT_EQ(skipped.asString(), QLatin1String("03.29 03:30.00"));
}

TEST(TimeValue, ClampsDates)
{
    TimeZone const zone(berlin);
    auto const dateOf = [](int day, int month, int year) {
        _oxTime t;
        t.fromDate(day, month, year);
        return QDate(t);
    };
    EXPECT_EQ(dateOf(0, 13, 99), QDate(2099, 12, 1));
    EXPECT_EQ(dateOf(5, 5, -3), QDate(2014, 5, 5));
    EXPECT_EQ(dateOf(99, -7, 9999), QDate(3000, 1, 31));
    EXPECT_EQ(dateOf(31, 2, 2026), QDate(2026, 3, 3));

    auto const timeOf = [](int day, int month, int year) {
        _oxTime t;
        t.fromDateTime(0, 30, 12, day, month, year);
        EXPECT_EQ(t.getDayMinutes() % 60, 30);
        return t;
    };
    QDate const today = _oxTime(true);
    EXPECT_EQ(QDate(timeOf(1, 1, 1900)), today);
    EXPECT_EQ(timeOf(1, 1, 1900).asStringHourMin(), QLatin1String("12:30"));
    EXPECT_EQ(QDate(timeOf(2, 1, 1900)), QDate(today.year(), 1, 2));
    EXPECT_EQ(timeOf(1, 2, 1950).year(), 2050);
    EXPECT_EQ(timeOf(1, 2, 1990).year(), 1990);
}

TEST(TimeValue, KeepsQtDatesUnchanged)
{
    SKIP_WITHOUT_DAYLIGHT_SAVING();
    TimeZone const zone(newYork);
    _oxTime t;
    t = QDate(2026, 7, 15);
    EXPECT_EQ(t.value, summer - 8 * 3600);
    t = QDate(99, 12, 31);
    EXPECT_EQ(QDate(t), QDate(99, 12, 31));
    t = QDateTime(QDate(1950, 7, 15), QTime(8, 0));
    EXPECT_EQ(t.year(), 2050);
    t = QDate();
    EXPECT_EQ(t.value, -1);
    t = QDateTime();
    EXPECT_EQ(t.value, -1);
}

TEST(TimeValue, ConvertsStatTimesByTheMeasuredOffset)
{
    TimeZone const zone(berlin);
    _oxTime t;
    t.from_FILETIME(0xFFFFFFFF, 0xFFFFFFFF);
    EXPECT_EQ(t.value, -11644473600) << "ticks are a signed number";
    // The offset (seconds) that a process measures if it starts in winter.
    _oxTime::oxTime_Start_OffSet = 3600;
    EXPECT_EQ(_oxTime::convertStatFileTime(winter).value, winter);
    SKIP_WITHOUT_DAYLIGHT_SAVING();
    EXPECT_EQ(_oxTime::convertStatFileTime(summer).value, summer + 3600);
}

TEST(TimeValue, ReturnsCalendarFields)
{
    TimeZone const zone(berlin);
    EXPECT_EQ(utc(winter + 4 * 86400).weekDay(), 0) << "Monday";
    EXPECT_EQ(utc(winter).dayOfMonth(-15), 31);

    _oxTime::oxTime_Start_OffSet = 7200;
    EXPECT_EQ(utc(winter).getDayHour(), 14) << "uses the measured offset and not that of the date";
    EXPECT_EQ(utc(winter).getDaySeconds(86400 + 5), 14 * 3600 + 5);
    EXPECT_EQ(utc(winter).getTotalDays(10 * 3600), 20469);
    EXPECT_EQ(utc(winter).toLocalTime(), winter + 7200);
    EXPECT_EQ(utc(0x7FFFFFFF).toLocalTime(),
              std::int64_t{0x7FFFFFFF} + 7200 - (std::int64_t{1} << 32));
    _oxTime local = utc(winter);
    local.convertFromLocalTime();
    EXPECT_EQ(local.value, winter - 7200);
}

TEST(TimeValue, WaitsForDeadlines)
{
    _oxTime start = utc(1000);
    _oxTime const now = utc(1011);
    EXPECT_EQ(start.waitTimeDifference((std::int64_t{1} << 32) + 30, &now), 19)
        << "the result has 32 bits";
    EXPECT_FALSE(start.waitTimeIsOver(11, true, &now)) << "the deadline has not passed yet";
    EXPECT_TRUE(start.waitTimeIsOver(10, false, &now));
    EXPECT_EQ(start.value, 1000);
    EXPECT_TRUE(start.waitTimeIsOver(10, true, nullptr));
    EXPECT_NEAR(start.waitTimeDifference(50, nullptr), 50, 2);
    EXPECT_FALSE(start.waitTimeIsOver(highest, true, nullptr));
}

TEST(TimeValue, PrintsIsoTimesAndHashesEverySecond)
{
    std::pair<__int64, char const *> const cases[] = {
        {winter + 7, "2026-01-15T12:00:07Z"},   {-1, "1969-12-31T23:59:59Z"},
        {-62167219200, "0000-01-01T00:00:00Z"}, {-62167219201, "@-62167219201"},
        {253402300799, "9999-12-31T23:59:59Z"}, {253402300800, "@253402300800"},
        {lowest, "@-9223372036854775808"},      {highest, "@9223372036854775807"},
    };
    TimeZone const zone(kolkata);
    for (auto const & [seconds, expected] : cases) {
        std::ostringstream stream;
        stream << utc(seconds);
        EXPECT_EQ(stream.str(), expected);
        QString debug;
        QDebug(&debug).nospace() << utc(seconds);
        EXPECT_EQ(debug, QLatin1String(expected));
    }
    QString debug;
    QDebug(&debug) << _oxTime32{static_cast<unsigned>(summer)};
    EXPECT_EQ(debug.trimmed(), QLatin1String("2026-07-15T12:00:00Z"));
    std::ostringstream stream;
    stream << _oxTime32{static_cast<unsigned>(summer)};
    EXPECT_EQ(stream.str(), "2026-07-15T12:00:00Z");

    EXPECT_NE(qHash(utc(summer)), qHash(utc(summer + 1)));
    EXPECT_EQ((QSet<_oxTime>{utc(1), utc(2), utc(1)}.size()), 2);
    EXPECT_EQ((QSet<_oxTime32>{{1}, {2}, {1}}.size()), 2);
    EXPECT_EQ((std::unordered_set<_oxTime>{utc(1), utc(2), utc(1)}.size()), 2u);
    EXPECT_EQ((std::unordered_set<_oxTime32>{{1}, {2}, {1}}.size()), 2u);
}

} // namespace

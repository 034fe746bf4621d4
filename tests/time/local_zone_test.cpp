#include "shared/time/local_zone.h"
#include "tests/time/time_zone.h"

class LocalZone : public testing::TestWithParam<char const *>
{
};

TEST_P(LocalZone, ReturnsTheCalendarFieldsOfTheSystem)
{
    TimeZone const systemZone(GetParam());
    std::int64_t const now = 1'794'000'000;
    ox::time::LocalZone zone;
    zone.read(now);
    // A day is not a multiple of the step (7919 s), so the times cover all hours. They also cover
    // times shortly before and after each change to or from daylight saving time.
    for (std::int64_t time = now - 360 * 86400; time < now + 4 * 365 * 86400; time += 7919) {
        std::tm expected;
        _oxTime(time, true).to_tm(expected);
        std::tm const fields = zone.fields(time);
        ASSERT_TRUE(fields.tm_year == expected.tm_year && fields.tm_mon == expected.tm_mon &&
                    fields.tm_mday == expected.tm_mday && fields.tm_hour == expected.tm_hour &&
                    fields.tm_min == expected.tm_min && fields.tm_sec == expected.tm_sec)
            << time;
    }
}

INSTANTIATE_TEST_SUITE_P(Zones, LocalZone, testing::Values("UTC0", berlin, newYork, kolkata));

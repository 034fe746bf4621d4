#pragma once

#include "shared/time/time_value.h"
#include "tests/support/this_build.h"

#include <gtest/gtest.h>

#include <QByteArray>

#include <ctime>

/// Sets the time zone of the process during the object's lifetime, and resets the measured offset.
/// The zone is given as a rule, since a minimal machine does not know the names of zones.
class TimeZone
{
  public:
    explicit TimeZone(char const * rule) : saved_(qgetenv("TZ")) { set(rule); }
    ~TimeZone() { set(saved_); }
    TimeZone(TimeZone const &) = delete;
    TimeZone & operator=(TimeZone const &) = delete;

  private:
    static void set(QByteArray const & rule)
    {
        rule.isEmpty() ? qunsetenv("TZ") : qputenv("TZ", rule);
        tzset();
        _oxTime::oxTime_Start_OffSet = -1;
    }

    QByteArray saved_;
};

/// Skips a test if the C run-time library ignores the dates of daylight saving time in TZ, as that
/// of Windows does.
#define SKIP_WITHOUT_DAYLIGHT_SAVING()                                                             \
    if (ox::tests::isWindows)                                                                      \
    GTEST_SKIP() << "daylight saving cannot be set for one process on this system"

inline constexpr char berlin[] = "CET-1CEST,M3.5.0,M10.5.0/3";
inline constexpr char newYork[] = "EST5EDT,M3.2.0,M11.1.0";
inline constexpr char kolkata[] = "IST-5:30";

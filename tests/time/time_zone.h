#pragma once

#include "shared/time/time_value.h"
#include "tests/support/this_build.h"

#include <gtest/gtest.h>

#include <QByteArray>

#include <ctime>

/// Sets the time zone of the process during the object's lifetime, and resets the measured offset.
/// `rule` is a POSIX rule such as "CET-1CEST,…", since a minimal system has no database of zone
/// names.
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

/// Skips a test on Windows, where the C run-time library ignores the dates of daylight saving time
/// in the environment variable TZ.
#define SKIP_WITHOUT_DAYLIGHT_SAVING()                                                             \
    if (ox::tests::isWindows)                                                                      \
    GTEST_SKIP() << "this system cannot set daylight saving time for a single process"

inline constexpr char berlin[] = "CET-1CEST,M3.5.0,M10.5.0/3";
inline constexpr char newYork[] = "EST5EDT,M3.2.0,M11.1.0";
inline constexpr char kolkata[] = "IST-5:30";

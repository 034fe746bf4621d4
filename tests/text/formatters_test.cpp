#include "shared/formatters.h"

#include <gtest/gtest.h>

#include <QString>

#include <string_view>
#include <type_traits>

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fmt/ostream.h>
#include <fmt/ranges.h>

// The formatters must not be ambiguous if an application includes fmt's headers for ranges and
// dates.
TEST(Formatters, PrintTextsAsTheStreamsDo)
{
    _oxString8_evenSize<250> const job = "job17";
    _oxString8_UnevenSize<25> const host = "farm01";
    _oxString<500> const city = QStringLiteral("Łódź");
    _oxStringList names;
    names.append("first", false, false);
    EXPECT_EQ(fmt::format("[{:>8}] [{:.4}] [{:*^8}] {}", job, host, city, names),
              R"([   job17] [farm] [**Łódź**] ("first"))");
    EXPECT_EQ(fmt::format("{} {:<23}{} {:>8} {}", _oxTime(1794647107, true), _oxTime32{0},
                          _oxCPUValue(0.25F, 8), ox_AppType::Client, _oxOS(9)),
              "2026-11-14T09:05:07Z 1970-01-01T00:00:00Z   25% of 8 cores   Client 9");
}

// A temporary string does not convert to a view, since the view would outlive the string.
static_assert(std::is_convertible_v<_oxString8_evenSize<250> const &, std::string_view>);
static_assert(std::is_convertible_v<_oxString<500> &, std::u16string_view>);
static_assert(!std::is_convertible_v<_oxString8_evenSize<250>, std::string_view>);
static_assert(!std::is_convertible_v<_oxString<500> const, std::u16string_view>);

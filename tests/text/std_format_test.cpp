#include "shared/formatters.h"

#include <cstdio>
#include <format>
#include <string>

// Prints each formatted type with std::format. std_format_test.cmake builds this program with
// Clang's standard library, so it uses neither GoogleTest nor the test support.
int main()
{
    _oxString8_evenSize<250> const job = "job17";
    _oxString8_UnevenSize<25> const host = "farm01";
    _oxString<500> const city = QStringLiteral("Łódź");
    _oxStringList names;
    names.append("first", false, false);
    std::string const text = std::format("[{:>8}] [{:.4}] [{:*^8}] {} {} {:<23}{} {:>8} {}", job,
                                         host, city, names, _oxTime(1794647107, true), _oxTime32{0},
                                         _oxCPUValue(0.25F, 8), ox_AppType::Client, _oxOS(9));
    std::puts(text.c_str());
}

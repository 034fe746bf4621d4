#include "shared/platform/linux/machine.h"

#include "shared/platform/linux/kernel_file.h"
#include "shared/platform/utf8.h"

#include <map>
#include <utility>

#include <sys/utsname.h>

namespace ox::platform
{
namespace
{

/// A value as a shell would read it.
std::string unquoted(std::string_view value)
{
    value = trimmed(value);
    bool const isQuoted = value.size() > 1 && value.front() == value.back() &&
                          (value.front() == '"' || value.front() == '\'');
    if (isQuoted)
        value = value.substr(1, value.size() - 2);
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\\' && i + 1 < value.size())
            ++i;
        text += value[i];
    }
    return text;
}

/// The clock at which the processor is sold or, failing that, its highest one; what it runs at just
/// now would be another one each time. 0 when the kernel does not control the clock.
unsigned nominalMegahertz()
{
    for (char const * path : {"/sys/devices/system/cpu/cpu0/cpufreq/base_frequency",
                              "/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq"})
        if (auto const kilohertz = numberOf<unsigned>(wholeFile(path)))
            return *kilohertz / 1000;
    return 0;
}

} // namespace

std::u16string systemNameOf(std::string_view osRelease)
{
    std::string name, version;
    while (!osRelease.empty()) {
        std::string_view line = takeUntil(osRelease, '\n');
        std::string_view const key = trimmed(takeUntil(line, '='));
        if (key == "NAME")
            name = unquoted(line);
        else if (key == "VERSION_ID")
            version = unquoted(line);
    }
    return systemText(name.empty() || version.empty() ? name : name + ' ' + version);
}

Processors processorsOf(std::string_view cpuInfo)
{
    Processors found;
    std::map<std::pair<int, int>, int> threads;
    int package = 0;
    while (!cpuInfo.empty()) {
        std::string_view line = takeUntil(cpuInfo, '\n');
        std::string_view const key = trimmed(takeUntil(line, ':'));
        if (key == "physical id")
            package = numberOf<int>(line).value_or(0);
        else if (key == "core id")
            ++threads[{package, numberOf<int>(line).value_or(0)}];
        else if (key == "vendor_id")
            found.vendor = trimmed(line);
        else if (key == "cpu MHz" && found.megahertz == 0)
            found.megahertz = numberOf<unsigned>(line).value_or(0);
    }
    for (auto const & [core, count] : threads)
        found.coreThreads.push_back(count);
    return found;
}

std::optional<SystemVersion> systemVersion()
{
    SystemVersion version;
    for (char const * path : {"/etc/os-release", "/usr/lib/os-release"})
        if (version.name.empty())
            version.name = systemNameOf(wholeFile(path));
    utsname kernel;
    if (version.name.empty() && ::uname(&kernel) == 0)
        version.name = systemText(kernel.sysname + std::string(" ") + kernel.release);
    return version.name.empty() ? std::nullopt : std::optional(version);
}

Processors processors()
{
    Processors found = processorsOf(wholeFile("/proc/cpuinfo"));
    found.count = static_cast<int>(std::max(0L, ::sysconf(_SC_NPROCESSORS_ONLN)));
    if (unsigned const nominal = nominalMegahertz(); nominal > 0)
        found.megahertz = nominal;
    return found;
}

std::optional<bool> answersWordSize()
{
    utsname kernel;
    return ::uname(&kernel) == 0 &&
           std::string_view(kernel.machine).find("64") != std::string::npos;
}

std::optional<bool> hasAccountControlSwitch()
{
    return std::nullopt;
}

void enablePerformanceCounters() {}

} // namespace ox::platform

#include "shared/system/sys_info_rules.h"

#include "shared/system/smart_table.h"
#include "shared/text/mebibytes.h"
#include "shared/text/utf16_view.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

namespace ox::system
{
namespace
{

struct NameRule {
    unsigned major = 0;
    unsigned minor = 0;
    enum { Always, Workstation, HomeServer } when = Always;
    char const * name = "";
    int code = 0;
    unsigned version = 0;
};

// The first matching rule applies. Newer systems have the codes of the last rule.
// Compatibility: version 6.2 has the same version code as 6.1 (70), as in the farm's records.
constexpr NameRule nameRules[] = {
    {5, 0, NameRule::Always, "W2k", 1, 40},
    {5, 1, NameRule::Always, "XP", 2, 50},
    {5, 2, NameRule::Workstation, "xp", 2, 50},
    {5, 2, NameRule::HomeServer, "HomeServer", 2, 50},
    {5, 2, NameRule::Always, "Server2003R1/2", 2, 50},
    {6, 0, NameRule::Workstation, "Vista", 3, 60},
    {6, 0, NameRule::Always, "Server2008", 3, 60},
    {6, 1, NameRule::Workstation, "Win7", 4, 70},
    {6, 1, NameRule::Always, "Server2008R2", 4, 70},
    {6, 2, NameRule::Always, "Win8", 5, 70},
};

bool applies(NameRule const & rule, platform::SystemVersion const & version)
{
    constexpr unsigned homeServerSuite = 0x8000;
    return rule.major == version.major && rule.minor == version.minor &&
           (rule.when == NameRule::Always ||
            (rule.when == NameRule::Workstation && version.isWorkstation) ||
            (rule.when == NameRule::HomeServer && (version.suites & homeServerSuite) != 0));
}

QString shortVendor(std::string const & vendor)
{
    if (vendor == "GenuineIntel")
        return QStringLiteral("Intel");
    if (vendor == "AuthenticAMD")
        return QStringLiteral("AMD");
    return QString::fromLatin1(vendor.data(), static_cast<int>(vendor.size()));
}

/// Limit for sizes in MiB: one less than the largest int, so that totalMegabytes can add 1.
constexpr int mebibyteLimit = std::numeric_limits<int>::max() - 1;

QString busText(platform::DiskBus bus)
{
    switch (bus) {
    case platform::DiskBus::Ata:
        return QStringLiteral("HDD: BusType Ata/Sata");
    case platform::DiskBus::Sas:
        return QStringLiteral("Sas (Scsi format) not supported");
    case platform::DiskBus::Scsi:
        return QStringLiteral("Scsi not supported");
    case platform::DiskBus::Raid:
        return QStringLiteral("Raid not supported");
    case platform::DiskBus::Other:
        break;
    }
    return QStringLiteral("Only ata is supported");
}

void addSmartTable(std::vector<unsigned char> const & table, DiskHealth & health)
{
    auto const attributes = parseSmartTable(table);
    if (!attributes) {
        health.lines += QStringLiteral("Cannot read");
        return;
    }
    for (SmartAttribute const & attribute : *attributes)
        health.lines += lineOf(attribute);
    if (auto const temperature = temperatureOf(*attributes))
        health.temperature = temperature;
}

} // namespace

SystemName systemNameOf(platform::SystemVersion const & version)
{
    if (!version.name.empty())
        return {text::toQString(version.name), 0, 0};
    NameRule const & newest = std::end(nameRules)[-1];
    auto const rule = std::ranges::find_if(
        nameRules, [&version](NameRule const & candidate) { return applies(candidate, version); });
    bool const isNewer =
        std::pair(version.major, version.minor) > std::pair(newest.major, newest.minor);
    bool const isKnown = rule != std::end(nameRules);
    NameRule const codes = isKnown ? *rule : isNewer ? newest : NameRule{};
    QString const name = isKnown ? QString::fromLatin1(rule->name)
                                 : QStringLiteral("%1.%2").arg(version.major).arg(version.minor);
    return {name + QStringLiteral("_sp%1").arg(version.servicePack),
            static_cast<unsigned short>(codes.version + std::min(version.servicePack, 9u)),
            codes.code};
}

CpuDescription cpuDescriptionOf(platform::Processors const & processors, int coreCount)
{
    auto const & threads = processors.coreThreads;
    bool const hyperThreading =
        threads.size() <
        static_cast<std::size_t>(std::accumulate(threads.begin(), threads.end(), 0));
    double const oneCore = processors.megahertz / 1000.0;
    auto const all = static_cast<float>(1.0 * coreCount * processors.megahertz / 1000.0);
    // Two logical processors of one core have the performance of 1.3 cores.
    float const effective = hyperThreading ? static_cast<float>(all * 1.3 * 0.5) : all;
    QString const text = QStringLiteral("%1%4x%2 %3 %5Ghz")
                             .arg(QString::number(coreCount), QString::number(oneCore, 'f', 1),
                                  shortVendor(processors.vendor),
                                  hyperThreading ? QStringLiteral("(HT)") : QString(),
                                  QString::number(static_cast<double>(effective), 'f', 1));
    return {hyperThreading, all, effective, text};
}

int totalMegabytes(platform::Result<platform::PhysicalMemory> const & memory)
{
    return memory ? text::wholeMebibytes(memory->total, mebibyteLimit) + 1 : 32000;
}

int freeMegabytes(platform::Result<platform::PhysicalMemory> const & memory, int total)
{
    return memory ? text::wholeMebibytes(memory->available, mebibyteLimit) : total / 4;
}

std::int64_t difference(std::int64_t later, std::int64_t earlier)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(later) -
                                     static_cast<std::uint64_t>(earlier));
}

std::optional<float> busyShare(platform::IdleSample const & before,
                               platform::IdleSample const & after)
{
    if (after.time == before.time)
        return std::nullopt;
    double const busy = 1.0 - static_cast<double>(difference(after.idle, before.idle)) /
                                  static_cast<double>(difference(after.time, before.time));
    return static_cast<float>(std::clamp(busy, 0.0, 1.0));
}

_oxTime lastInputTime(std::optional<platform::InputTicks> const & ticks, _oxTime const & now)
{
    if (!ticks || ticks->now == 0 || ticks->lastInput == 0 || ticks->lastInput >= ticks->now)
        return _oxTime();
    auto const seconds = static_cast<std::int64_t>((ticks->now - ticks->lastInput) / 1000);
    return _oxTime(now.value - seconds, true);
}

std::optional<platform::LocalClock> localClockAt(_oxTime const & time)
{
    std::tm const fields = time;
    int const year = fields.tm_year + 1900;
    bool const isExpressible = fields.tm_mon >= 0;
    if (!isExpressible || year < 1601 || year > 30827)
        return std::nullopt;
    auto const field = [](int value) { return static_cast<std::uint16_t>(value); };
    return platform::LocalClock{field(year),           field(fields.tm_mon + 1),
                                field(fields.tm_wday), field(fields.tm_mday),
                                field(fields.tm_hour), field(fields.tm_min),
                                field(fields.tm_sec),  0,
                                fields.tm_isdst > 0};
}

DiskHealth diskHealthOf(platform::Result<platform::Disk> const & disk, bool withHealth)
{
    // The lines are appended one by one, since the construction of a QStringList from several lines
    // crashes when memory is lacking.
    DiskHealth health;
    if (!disk || !disk->bus) {
        health.lines +=
            disk ? QStringLiteral("Cannot read") : QStringLiteral("Cannot access PhysicalDrive0");
        return health;
    }
    health.name = text::toQString(disk->model);
    health.temperature = disk->temperature;
    health.lines += busText(*disk->bus);
    if (withHealth && disk->bus == platform::DiskBus::Ata)
        addSmartTable(disk->smartTable, health);
    if (health.temperature)
        health.lines += QStringLiteral("temp: %1").arg(*health.temperature);
    return health;
}

} // namespace ox::system

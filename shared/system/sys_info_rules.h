#pragma once

#include "shared/platform/clock.h"
#include "shared/platform/machine.h"
#include "shared/platform/user.h"
#include "shared/time/time_value.h"

#include <QString>
#include <QStringList>

#include <optional>

/// How the farm reads what a system tells of its machine. Plain functions, the same on every
/// system.
namespace ox::system
{

struct SystemName {
    QString text;
    unsigned short version; ///< the farm's compact code
    int code;
};

SystemName systemNameOf(platform::SystemVersion const & version);

struct CpuDescription {
    bool hyperThreading;
    float gigahertz; ///< of all cores together
    float effectiveGigahertz;
    QString text;
};

/// The processors of a machine with this many logical ones.
CpuDescription cpuDescriptionOf(platform::Processors const & processors, int coreCount);

int totalMegabytes(platform::Result<platform::PhysicalMemory> const & memory);
int freeMegabytes(platform::Result<platform::PhysicalMemory> const & memory, int total);

/// How far a counter has moved. Counters may have any value, so that they may have wrapped around.
std::int64_t difference(std::int64_t later, std::int64_t earlier);

/// The share of a time in which the processors were busy, 0 to 1. Empty when no time has passed.
std::optional<float> busyShare(platform::IdleSample const & before,
                               platform::IdleSample const & after);

/// The time of the last input; an empty one when the system does not tell or its clock cannot be
/// right.
_oxTime lastInputTime(std::optional<platform::InputTicks> const & ticks, _oxTime const & now);

/// What the machine's clock shows at a time. Empty for a time outside of the years 1601 to 30827,
/// which the clock has no fields for.
std::optional<platform::LocalClock> localClockAt(_oxTime const & time);

struct DiskHealth {
    QString name; ///< empty when unknown
    std::optional<int> temperature;
    QStringList lines; ///< for people who look for a fault
};

DiskHealth diskHealthOf(platform::Result<platform::Disk> const & disk, bool withHealth);

/// The user of the desktop: `ownerOf(index)` of the last of `count` processes that `isShell(index)`
/// says runs a desktop, or of the one before where an owner may not be looked up, and so on. Empty
/// when no desktop runs.
template <typename IsShell, typename OwnerOf>
QString desktopUser(int count, IsShell isShell, OwnerOf ownerOf)
{
    bool isFound = false;
    QString user;
    for (int i = count - 1; i >= 0; --i) {
        if (!isShell(i))
            continue;
        isFound = true;
        user = ownerOf(i);
        if (user != QLatin1String("noDebugPriv"))
            break;
    }
    return isFound && user.isEmpty() ? QStringLiteral("????") : user;
}

} // namespace ox::system

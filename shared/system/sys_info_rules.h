#pragma once

#include "shared/platform/clock.h"
#include "shared/platform/machine.h"
#include "shared/platform/user.h"
#include "shared/time/time_value.h"

#include <QString>
#include <QStringList>

#include <optional>

/// Derives the farm's values from what the system reports, by the same rules on Windows and Linux.
namespace ox::system
{

/// Name and codes of a system in the farm's records.
struct SystemName {
    QString text;
    unsigned short version; ///< _oxSysInfo::osVersionNumber
    int code;               ///< _oxSysInfo::osCode
};

/// Returns name and codes of a system version.
SystemName systemNameOf(platform::SystemVersion const & version);

/// Description of the processors in the farm's records.
struct CpuDescription {
    bool hyperThreading;
    float gigahertz;          ///< _oxSysInfo::cpuGHzTotal
    float effectiveGigahertz; ///< _oxSysInfo::cpuGHzEffective
    QString text;
};

/// Returns the description of the processors of a machine with coreCount logical processors.
CpuDescription cpuDescriptionOf(platform::Processors const & processors, int coreCount);

/// Returns the physical memory in whole MiB plus 1; 32000 after a failure.
int totalMegabytes(platform::Result<platform::PhysicalMemory> const & memory);
/// Returns the available memory in MiB; a quarter of `total` after a failure.
int freeMegabytes(platform::Result<platform::PhysicalMemory> const & memory, int total);

/// Returns the difference of two readings of a counter, even if the counter has wrapped around.
std::int64_t difference(std::int64_t later, std::int64_t earlier);

/// Returns the load between two samples, 0 to 1. Empty when no time has passed.
std::optional<float> busyShare(platform::IdleSample const & before,
                               platform::IdleSample const & after);

/// Returns the time of the last input; time 0 if it is not known or not plausible.
_oxTime lastInputTime(std::optional<platform::InputTicks> const & ticks, _oxTime const & now);

/// Returns the local clock at a time. Empty outside the years 1601 to 30827, which the clock cannot
/// represent.
std::optional<platform::LocalClock> localClockAt(_oxTime const & time);

/// Health of a disk.
struct DiskHealth {
    QString name;                   ///< model; empty if not known
    std::optional<int> temperature; ///< in °C
    QStringList lines;              ///< report for diagnosis
};

/// Returns the health of a disk. With `withHealth` the SMART table of an ATA disk is read, too:
/// `lines` contains the table, and `temperature` is taken from the table if the table contains it.
/// If the disk could not be read, `lines` states this.
DiskHealth diskHealthOf(platform::Result<platform::Disk> const & disk, bool withHealth);

/// Returns the user of the desktop: `ownerOf(index)` of the last of `count` processes for which
/// `isShell(index)` is true. Skips an owner "noDebugPriv" if an earlier shell has another owner.
/// Returns "????" if the owner has no name, and the empty text if there is no shell.
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

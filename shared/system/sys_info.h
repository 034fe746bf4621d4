#pragma once

#include "shared/export.h"
#include "shared/platform/types.h"
#include "shared/system/cpu_value.h"
#include "shared/system/process_list.h"
#include "shared/time/time_value.h"

#include <QString>

#include <memory>
#include <optional>

namespace ox::platform
{
struct IdleSample;
}

/// What an application knows of its machine. Made once, then refreshed:
///
///     auto const info = std::make_unique<_oxSysInfo>();
///     info->update(false);
///     info->cpuUsage.strSystemPerc(); // how busy the machine was since the last update
///
/// What the system does not tell leaves its field as it was; nothing throws. Not safe for use by
/// several threads at once.
class OX_EXPORT _oxSysInfo
{
  public:
    /// Whether each reading of the disk's health is told on standard output, in lines of " %s\n".
    bool verbose = false;
    /// "Win7_sp1"; the system's own name and version on Linux ("Debian GNU/Linux 12").
    QString osString;
    /// Compact code: 40 Windows 2000, 50 XP, 60 Vista, 70 Windows 7 and all newer ones, with the
    /// service pack added, at most 9. The base is 0 for any other Windows; 0 on Linux.
    unsigned short osVersionNumber = 0;
    int totalMemoryMB = 512;
    /// Logical processors.
    int coreCount = 1;
    /// "8(HT)x3.4 Intel 17.7Ghz": processors, hyper-threading, clock of one, maker, clock of all.
    QString cpuString;
    /// The clock of all cores together; 0 when it is not known.
    float cpuGHzTotal = 0;
    /// The same, with hyper-threads counting as parts of a core.
    float cpuGHzEffective = 0;
    bool hyperThreading = false;
    /// 1 Windows 2000, 2 XP and Server 2003, 3 Vista and Server 2008, 4 Windows 7 and Server 2008
    /// R2, 5 Windows 8 and all newer ones; 0 for any other system.
    int osCode = 0;
    int freeMemoryMB = 256;
    /// How busy the whole machine was between the last two updates.
    _oxCPUValue cpuUsage{0, 1};
    /// When `guiUser` last gave another user.
    _oxTime guiUserChanged;
    /// The processes as `guiUser` saw them last.
    _oxProcessList processList;
    /// What `guiUser` last gave.
    QString guiUserLast = QStringLiteral("init");
    /// The model of the first physical disk.
    QString diskName = QStringLiteral("none");

  private:
    __int64 lastIdleCounter_ = 0;
    __int64 lastPerfTime_ = 0;

  public:
    static constexpr int perfBufferSize = 308000;
    std::unique_ptr<char[]> perfBuffer;

    /// Fills everything once. On Windows the counters for processors and processes are turned on
    /// where they are off, as far as the caller may.
    _oxSysInfo();

    /// Refreshes `cpuUsage` and `freeMemoryMB`, and with `withDisk` the disk's health.
    void update(bool const & withDisk);

    /// Reads the fields of the processors.
    void getCpuInfo();

    /// Takes a sample as `update` does, and gives its raw values as a text. With `init` the usage
    /// counts from here.
    QString getCpuUsageDebug(bool init);

    /// The user of the desktop: the owner of the last process that runs one. "noDebugPriv" when the
    /// owner may not be looked up, "????" when he has no name, empty when there is no desktop. On
    /// Linux the desktop of a system account, such as that of the login screen, does not count.
    QString guiUser();

    /// Whether the policy for user-account control can be opened and does not have its switch. What
    /// the switch says is not read, deliberately: the farm's records hold this answer. False on
    /// Linux.
    bool isUACenabled();
    /// Whether the system has 64 bits: on Windows whether it answers the question for a 32-bit
    /// program on a 64-bit system at all, whatever the answer, deliberately.
    bool isX64();

    /// The kernel's memory pools in MiB, -1 when the system does not tell.
    int getKernelMemory();
    /// The files that the system keeps in memory, in MiB; 0 when it does not tell.
    int getSystemCacheSize();
    /// All that the system says about the memory, for people.
    QString getFullMemoryInfo();

    /// The temperature of the disk in °C, when its health could be read.
    std::optional<int> diskTemperature() const { return diskTemperature_; }

    /// When somebody last used keyboard or mouse (on Linux, typed into a terminal); an empty time
    /// when the system does not tell.
    static _oxTime getLastUserInput();
    /// Sets the machine's clock. False when the caller may not, or the clock cannot show the time.
    static bool setSystemTime(_oxTime t);

  private:
    _oxCPUValue getCpuUsage(bool init);
    void keepSample(ox::platform::IdleSample const & sample);
    void readDisk(bool withHealth);

    std::optional<int> diskTemperature_;
};

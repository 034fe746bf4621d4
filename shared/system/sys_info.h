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

/// Information about the machine: system, processors, memory, load, desktop user and disk. Create
/// it once and refresh it:
///
///     auto const info = std::make_unique<_oxSysInfo>();
///     info->update(false);
///     info->cpuUsage.strSystemPerc(); // load since the last update
///
/// Fails: a value that is not available leaves its field unchanged; only a lack of memory throws
/// (std::bad_alloc).
/// Threads: one thread at a time.
class OX_EXPORT _oxSysInfo
{
  public:
    /// If true, each reading of the disk's health prints a report to standard output, in lines of
    /// the form " %s\n".
    bool verbose = false;
    /// Name and version of the system: "Win7_sp1", "Debian GNU/Linux 12".
    QString osString;
    /// Version code of the system: 40 for Windows 2000, 50 for XP, 60 for Vista, 70 for Windows 7
    /// and newer, 0 for any other version of Windows. The number of the service pack (at most 9)
    /// is added to the code. On Linux the code is 0.
    unsigned short osVersionNumber = 0;
    /// Physical memory in MiB.
    int totalMemoryMB = 512;
    /// Number of logical processors.
    int coreCount = 1;
    /// Description of the processors, "8(HT)x3.4 Intel 17.7Ghz": number, hyper-threading, clock of
    /// one processor in GHz, vendor, effective clock of all processors.
    QString cpuString;
    /// Sum of the clocks of all logical processors in GHz; 0 if not known.
    float cpuGHzTotal = 0;
    /// The value of cpuGHzTotal, except that two hyper-threads of a core count as 1.3 cores.
    float cpuGHzEffective = 0;
    /// Whether the processors use hyper-threading.
    bool hyperThreading = false;
    /// Code of the system: 1 for Windows 2000, 2 for XP and Server 2003, 3 for Vista and Server
    /// 2008, 4 for Windows 7 and Server 2008 R2, 5 for Windows 8 and newer, 0 for any other system.
    int osCode = 0;
    /// Free physical memory in MiB at the last update.
    int freeMemoryMB = 256;
    /// Load of the machine between the last two updates.
    _oxCPUValue cpuUsage{0, 1};
    /// Time at which the result of `guiUser` last changed.
    _oxTime guiUserChanged;
    /// Processes at the last call of `guiUser`.
    _oxProcessList processList;
    /// Last result of `guiUser`; "init" before the first call.
    QString guiUserLast = QStringLiteral("init");
    /// Model of the first physical disk.
    QString diskName = QStringLiteral("none");

  private:
    __int64 lastIdleCounter_ = 0;
    __int64 lastPerfTime_ = 0;

  public:
    /// Size of perfBuffer in bytes.
    static constexpr int perfBufferSize = 308000;
    /// Buffer for raw performance data.
    std::unique_ptr<char[]> perfBuffer;

    /// Sets all fields. On Windows also turns on the performance counters of processors and
    /// processes, if the user has the right to do this.
    _oxSysInfo();

    /// Updates `cpuUsage` and `freeMemoryMB`. With `withDisk` also updates the disk's health.
    void update(bool const & withDisk);

    /// Sets the fields that describe the processors.
    void getCpuInfo();

    /// Takes a sample of the load as `update` does, and returns its raw values as text. The next
    /// load is measured from this sample. Without `init` the text is "DeltaPerfTime100nSec is 0" if
    /// no time has passed since the last sample.
    QString getCpuUsageDebug(bool init);

    /// Returns the user of the desktop: the owner of the last desktop shell in the process list.
    /// Returns "noDebugPriv" if the owner cannot be read, "????" if the owner has no name, and the
    /// empty text if there is no desktop. On Linux the desktop of a system account, such as a login
    /// screen, does not count.
    QString guiUser();

    /// Returns whether the policy of user-account control is readable and has no value "EnableLUA".
    /// False on Linux.
    /// Compatibility: the content of the value is not read, since the farm's records contain the
    /// result of this test.
    bool isUACenabled();
    /// Returns whether the system has 64 bits.
    /// Compatibility: on Windows it returns whether the system can report the word size
    /// (IsWow64Process succeeds), and not what the system reports, as in the farm's records.
    bool isX64();

    /// Returns the size of the kernel's memory pools in MiB, or -1 if it is not known.
    int getKernelMemory();
    /// Returns the size of the system's file cache in MiB, or 0 if it is not known.
    int getSystemCacheSize();
    /// Returns a readable report of all memory values that the system provides.
    QString getFullMemoryInfo();

    /// Returns the disk's temperature in °C from the last reading of the disk's health, if known.
    std::optional<int> diskTemperature() const { return diskTemperature_; }

    /// Returns the time of the last input with keyboard or mouse (on Linux, into a terminal); time
    /// 0 if it is not known.
    static _oxTime getLastUserInput();
    /// Sets the machine's clock. Returns false if the user may not do this or the clock cannot
    /// represent the time.
    static bool setSystemTime(_oxTime t);

  private:
    _oxCPUValue getCpuUsage(bool init);
    void keepSample(ox::platform::IdleSample const & sample);
    void readDisk(bool withHealth);

    std::optional<int> diskTemperature_;
};

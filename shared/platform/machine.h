#pragma once

#include "shared/platform/result.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ox::platform
{

/// Version of the running system.
struct SystemVersion {
    std::u16string name;        ///< name with version; empty on Windows
    unsigned major = 0;         ///< major version of Windows
    unsigned minor = 0;         ///< minor version of Windows
    unsigned servicePack = 0;   ///< service pack of Windows
    bool isWorkstation = false; ///< not a server
    unsigned suites = 0;        ///< suite mask of Windows
};

/// Returns the version of the running system; empty if it is not known.
std::optional<SystemVersion> systemVersion();

/// Processors of the machine. 0 and empty mean "not known".
struct Processors {
    int count = 0;                ///< logical processors
    std::vector<int> coreThreads; ///< number of logical processors of each core
    unsigned megahertz = 0;       ///< nominal clock of one processor
    std::string vendor;           ///< such as "GenuineIntel"
};

/// Returns the processors of the machine.
Processors processors();

/// On Windows, returns whether the call of IsWow64Process succeeds, and not its result; empty if
/// the system lacks this function. On Linux, returns whether the kernel has 64 bits.
std::optional<bool> answersWordSize();

/// Returns whether the system policy in the registry contains the switch of User Account Control
/// (EnableLUA); the switch may be off. Empty when the policy cannot be opened, and on Linux.
std::optional<bool> hasAccountControlSwitch();

/// Enables the disabled performance counters of processors and processes, if the user has the right
/// to do so. No effect on Linux, where the kernel always counts.
void enablePerformanceCounters();

/// Physical memory of the machine in bytes.
struct PhysicalMemory {
    std::uint64_t total;     ///< installed memory
    std::uint64_t available; ///< available to programs without swapping
};

/// Returns the physical memory of the machine.
Result<PhysicalMemory> physicalMemory();

/// Memory that the kernel uses, in bytes.
struct KernelMemory {
    std::uint64_t pagedPool;    ///< reclaimable memory
    std::uint64_t nonPagedPool; ///< memory that is not reclaimable
    std::uint64_t cache;        ///< file cache
};

/// Returns the memory that the kernel uses. `buffer` receives the raw counters.
/// Fails: with the source of the counters in Error::step.
Result<KernelMemory> kernelMemory(std::span<char> buffer);

/// Returns the system's own report on the memory; empty on Windows.
std::optional<std::u16string> memoryReport();

/// Average idle time of the machine's processors up to one moment. Both members are in units of
/// 100 ns since an arbitrary origin.
struct IdleSample {
    std::int64_t idle; ///< idle time since the origin
    std::int64_t time; ///< moment of the reading
};

/// Returns the idle time of the processors. `buffer` receives the raw counters.
/// Fails: with the source of the counters in Error::step.
Result<IdleSample> idleSample(std::span<char> buffer);

/// Bus of a disk.
enum class DiskBus { Ata, Sas, Scsi, Raid, Other };

/// Description of a disk.
struct Disk {
    std::u16string model;                  ///< empty if not known
    std::optional<DiskBus> bus;            ///< empty if the query failed
    std::vector<unsigned char> smartTable; ///< raw table; empty if not available
    std::optional<int> temperature;        ///< in °C, if the system measures it
};

/// Returns the description of the first physical disk. If `withHealth` is true, the description
/// includes the temperature and, for an ATA disk, the SMART table.
/// Fails: when the machine has no disk or the disk cannot be opened.
Result<Disk> firstDisk(bool withHealth);

} // namespace ox::platform

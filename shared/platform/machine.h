#pragma once

#include "shared/platform/result.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ox::platform
{

/// What the running system says of its version.
struct SystemVersion {
    std::u16string name; ///< the system's own name with its version; empty where numbers make it
    unsigned major = 0;
    unsigned minor = 0;
    unsigned servicePack = 0;
    bool isWorkstation = false;
    unsigned suites = 0; ///< suite mask
};

/// Empty when the system does not tell.
std::optional<SystemVersion> systemVersion();

/// What the system says of its processors; 0 and empty stand for what it does not tell.
struct Processors {
    int count = 0;                ///< logical ones
    std::vector<int> coreThreads; ///< for each core, its logical processors
    unsigned megahertz = 0;       ///< the clock of one, at its nominal speed where that is known
    std::string vendor;           ///< as the processor gives it: "GenuineIntel"
};

Processors processors();

/// Whether the system answers a program that asks if it is a 32-bit one on a 64-bit system,
/// whatever the answer is. Empty when there is no such question; on Linux whether the kernel has 64
/// bits.
std::optional<bool> answersWordSize();

/// Whether the system's policy has a switch for user-account control, whatever it is set to. Empty
/// when the policy cannot be opened, and on a system without one.
std::optional<bool> hasAccountControlSwitch();

/// Turns the counters for processors and processes on where somebody has turned them off, as far as
/// the caller may. Nothing on a system that always counts.
void enablePerformanceCounters();

/// The machine's memory, in bytes.
struct PhysicalMemory {
    std::uint64_t total;
    std::uint64_t available; ///< what programs can get without swapping
};

Result<PhysicalMemory> physicalMemory();

/// What the kernel keeps in memory for itself, in bytes.
struct KernelMemory {
    std::uint64_t pagedPool;    ///< what it could give up
    std::uint64_t nonPagedPool; ///< what it cannot
    std::uint64_t cache;        ///< contents of files
};

/// Reads the raw counters into the buffer. The step of an error is the source of the counters.
Result<KernelMemory> kernelMemory(std::span<char> buffer);

/// All that the system says about the memory, as a text for people. Empty where it has none such.
std::optional<std::u16string> memoryReport();

/// How long the machine's processors have been idle, averaged over them, and the moment of that
/// reading; both in 100 ns, from any beginning.
struct IdleSample {
    std::int64_t idle;
    std::int64_t time;
};

/// Reads the raw counters into the buffer. The step of an error is the source of the counters.
Result<IdleSample> idleSample(std::span<char> buffer);

enum class DiskBus { Ata, Sas, Scsi, Raid, Other };

/// What the first physical disk tells of itself.
struct Disk {
    std::u16string model;                  ///< empty when it does not say
    std::optional<DiskBus> bus;            ///< empty when it could be opened, but not asked
    std::vector<unsigned char> smartTable; ///< as the disk gave it, empty when it did not
    std::optional<int> temperature;        ///< in °C, where the system itself watches it
};

/// Fails when there is no such disk or it cannot be opened. The SMART table of an ATA disk and the
/// temperature are read only with `withHealth`.
Result<Disk> firstDisk(bool withHealth);

} // namespace ox::platform

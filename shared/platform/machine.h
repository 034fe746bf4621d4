#pragma once

#include <cstdint>
#include <optional>
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

} // namespace ox::platform

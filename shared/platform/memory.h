#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace ox::platform
{

/// The machine's memory, in bytes.
struct PhysicalMemory {
    std::uint64_t total;
    std::uint64_t available; ///< what programs can get without swapping
};

/// Empty when the system does not tell.
std::optional<PhysicalMemory> physicalMemory();

/// What the kernel keeps in memory for itself, in bytes.
struct KernelMemory {
    std::uint64_t pagedPool;    ///< what it could give up
    std::uint64_t nonPagedPool; ///< what it cannot
    std::uint64_t cache;        ///< contents of files
};

/// Empty when the system does not tell. The raw counters are read into the buffer.
std::optional<KernelMemory> kernelMemory(std::span<char> buffer);

/// All that the system says about the memory, as a text for people. Empty where it has none such.
std::optional<std::u16string> memoryReport();

} // namespace ox::platform

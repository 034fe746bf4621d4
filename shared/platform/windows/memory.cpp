#include "shared/platform/memory.h"

#include "shared/platform/windows/performance_query.h"

#include <windows.h>

namespace ox::platform
{

std::optional<PhysicalMemory> physicalMemory()
{
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    if (!::GlobalMemoryStatusEx(&status))
        return std::nullopt;
    return PhysicalMemory{status.ullTotalPhys, status.ullAvailPhys};
}

std::optional<KernelMemory> kernelMemory(std::span<char> buffer)
{
    auto const block = queryPerformanceData(Title::Memory, buffer);
    auto const memory = block ? PerformanceObject::find(*block, Title::Memory) : std::nullopt;
    auto const counters = memory ? memory->onlyInstance() : std::nullopt;
    if (!counters)
        return std::nullopt;
    auto const bytes = [&](Title title) { return memory->value(*counters, title).value_or(0); };
    return KernelMemory{bytes(Title::PoolPaged), bytes(Title::PoolNonPaged),
                        bytes(Title::CacheBytes)};
}

std::optional<std::u16string> memoryReport()
{
    return std::nullopt;
}

} // namespace ox::platform

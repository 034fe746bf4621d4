#include "shared/platform/linux/memory.h"

#include "shared/platform/linux/kernel_file.h"
#include "shared/platform/utf8.h"

#include <array>

namespace ox::platform
{
namespace
{

constexpr char memoryInfoFile[] = "/proc/meminfo";

} // namespace

std::optional<std::uint64_t> memoryField(std::string_view memoryInfo, std::string_view name)
{
    while (!memoryInfo.empty()) {
        std::string_view line = takeUntil(memoryInfo, '\n');
        if (takeUntil(line, ':') != name)
            continue;
        auto const kibibytes = numberOf<std::uint64_t>(line);
        return kibibytes ? std::optional(*kibibytes * 1024) : std::nullopt;
    }
    return std::nullopt;
}

std::optional<PhysicalMemory> physicalMemory()
{
    std::array<char, 4096> room;
    std::string_view const text = readStart(memoryInfoFile, room);
    auto const total = memoryField(text, "MemTotal");
    auto const available = memoryField(text, "MemAvailable");
    return total && available ? std::optional(PhysicalMemory{*total, *available}) : std::nullopt;
}

std::optional<KernelMemory> kernelMemory(std::span<char> buffer)
{
    std::string_view const text = readStart(memoryInfoFile, buffer);
    auto const reclaimable = memoryField(text, "SReclaimable");
    auto const unreclaimable = memoryField(text, "SUnreclaim");
    auto const stacks = memoryField(text, "KernelStack");
    auto const tables = memoryField(text, "PageTables");
    auto const cache = memoryField(text, "Cached");
    if (!reclaimable || !unreclaimable || !stacks || !tables || !cache)
        return std::nullopt;
    return KernelMemory{*reclaimable, *unreclaimable + *stacks + *tables, *cache};
}

std::optional<std::u16string> memoryReport()
{
    std::string const text = wholeFile(memoryInfoFile);
    return text.empty() ? std::nullopt : std::optional(systemText(text));
}

} // namespace ox::platform

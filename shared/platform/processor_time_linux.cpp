#include "shared/platform/processor_time_linux.h"

#include "shared/platform/kernel_file_linux.h"

namespace ox::platform
{

std::optional<IdleSample> idleSampleOf(std::string_view stat, long ticksPerSecond)
{
    std::string_view total = takeUntil(stat, '\n');
    if (takeUntil(total, ' ') != "cpu" || ticksPerSecond <= 0)
        return std::nullopt;
    std::int64_t processors = 0;
    while (takeUntil(stat, '\n').starts_with("cpu"))
        ++processors;

    // User, nice, system, idle, waiting for a disk (idle as well), interrupts, soft interrupts,
    // stolen. What follows is part of these.
    total = trimmed(total);
    std::int64_t idle = 0;
    std::int64_t sum = 0;
    for (int state = 0; state < 8; ++state) {
        auto const ticks = numberOf<std::int64_t>(takeUntil(total, ' '));
        if (!ticks)
            return std::nullopt;
        sum += *ticks;
        if (state == 3 || state == 4)
            idle += *ticks;
    }
    if (processors == 0)
        return std::nullopt;
    std::int64_t const unit = 10'000'000 / ticksPerSecond;
    return IdleSample{idle * unit / processors, sum * unit / processors};
}

std::optional<IdleSample> idleSample(std::span<char> buffer)
{
    return idleSampleOf(readStart("/proc/stat", buffer), ::sysconf(_SC_CLK_TCK));
}

} // namespace ox::platform

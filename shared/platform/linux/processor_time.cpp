#include "shared/platform/linux/processor_time.h"

#include "shared/platform/linux/kernel_file.h"

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
    std::int64_t const unit = 10'000'000 / ticksPerSecond;
    std::int64_t idle = 0;
    std::int64_t sum = 0;
    for (int state = 0; state < 8; ++state) {
        auto const ticks = numberOf<std::int64_t>(takeUntil(total, ' '));
        std::int64_t time = 0;
        if (!ticks || __builtin_mul_overflow(*ticks, unit, &time) ||
            __builtin_add_overflow(sum, time, &sum))
            return std::nullopt;
        if (state == 3 || state == 4)
            idle += time;
    }
    if (processors == 0)
        return std::nullopt;
    return IdleSample{idle / processors, sum / processors};
}

std::optional<IdleSample> idleSample(std::span<char> buffer)
{
    return idleSampleOf(readStart("/proc/stat", buffer), ::sysconf(_SC_CLK_TCK));
}

} // namespace ox::platform

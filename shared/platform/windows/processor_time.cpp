#include "shared/platform/processor_time.h"

#include "shared/platform/windows/performance_query.h"

namespace ox::platform
{

std::optional<IdleSample> idleSample(std::span<char> buffer)
{
    auto const block = queryPerformanceData(Title::Processor, buffer);
    if (!block)
        return std::nullopt;
    auto const time = performanceTime(*block);
    auto const processors = PerformanceObject::find(*block, Title::Processor);
    auto const all = processors ? processors->instanceNamed(u"_Total") : std::nullopt;
    // The counter of the processors' time counts the time in which they had nothing to do.
    auto const idle = all ? processors->value(*all, Title::ProcessorTime) : std::nullopt;
    if (!time || !idle)
        return std::nullopt;
    return IdleSample{static_cast<std::int64_t>(*idle), *time};
}

} // namespace ox::platform

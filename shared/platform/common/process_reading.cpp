#include "shared/platform/processes.h"

#include <algorithm>
#include <tuple>

namespace ox::platform
{

void ProcessReading::begin(std::int64_t time)
{
    beginTime_ = time;
    endTime_ = 0;
    hasEnded_ = false;
    count_ = 0;
}

void ProcessReading::add(std::uint32_t id, ProcessCounters const & counters)
{
    if (count_ == capacity)
        return;
    samples_[count_] = {id, static_cast<std::uint32_t>(count_), counters};
    ++count_;
}

void ProcessReading::end(std::int64_t time)
{
    std::ranges::sort(std::span(samples_).first(count_), {},
                      [](Sample const & sample) { return std::tuple(sample.id, sample.order); });
    endTime_ = time;
    hasEnded_ = true;
}

void ProcessReading::takeFrom(ProcessReading & other)
{
    beginTime_ = other.beginTime_;
    endTime_ = other.endTime_;
    hasEnded_ = other.hasEnded_;
    count_ = other.count_;
    std::ranges::copy(std::span(other.samples_).first(count_), samples_.begin());
    other.begin(0);
}

std::optional<ProcessCounters> ProcessReading::of(std::uint32_t id) const
{
    auto const samples = std::span(samples_).first(hasEnded_ ? count_ : 0);
    auto const found = std::ranges::lower_bound(samples, id, {}, &Sample::id);
    return found != samples.end() && found->id == id ? std::optional(found->counters)
                                                     : std::nullopt;
}

} // namespace ox::platform

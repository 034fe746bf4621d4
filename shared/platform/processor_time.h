#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace ox::platform
{

/// How long the machine's processors have been idle, averaged over them, and the moment of that
/// reading; both in 100 ns, from any beginning.
struct IdleSample {
    std::int64_t idle;
    std::int64_t time;
};

/// Empty when the system does not tell. The raw counters are read into the buffer.
std::optional<IdleSample> idleSample(std::span<char> buffer);

} // namespace ox::platform

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

namespace ox::platform
{

/// The titles by which performance data names objects and counters.
enum class Title : std::uint32_t {
    Memory = 4,
    ProcessorTime = 6,
    PoolPaged = 56,
    PoolNonPaged = 58,
    WorkingSet = 180,
    Process = 230,
    Processor = 238,
    ProcessId = 784,
    CacheBytes = 818
};

/// One object of a block of raw performance data: processes, processors, memory.
///
/// The block comes from counter providers of anybody's making. Every offset and length in it is
/// checked against what surrounds it, and what does not fit is not there. The bytes stay the
/// caller's.
class PerformanceObject
{
  public:
    using Bytes = std::span<char const>;

    /// The object of this title; empty when the block has none or is damaged before it.
    static std::optional<PerformanceObject> find(Bytes block, Title title);

    /// Shows the counters of each instance, in the order of the block.
    void forEachInstance(std::function<void(Bytes)> const & visit) const;
    /// The counters of the first instance of a name; empty when there is none.
    std::optional<Bytes> instanceNamed(std::u16string_view name) const;
    /// The counters of an object that has no instances, such as the memory.
    std::optional<Bytes> onlyInstance() const;

    /// A counter of 4 or 8 bytes; empty when the object has none of that title.
    std::optional<std::uint64_t> value(Bytes instance, Title counter) const;

  private:
    explicit PerformanceObject(Bytes object) : object_(object) {}

    template <typename Accept>
    std::optional<Bytes> findInstance(Accept const & accept) const;
    /// Everything behind the definitions of the counters.
    Bytes instances() const;

    Bytes object_;
};

/// When the block was made: 100-nanosecond ticks since 1601-01-01 UTC. Empty when it is none.
std::optional<std::int64_t> performanceTime(std::span<char const> block);

} // namespace ox::platform

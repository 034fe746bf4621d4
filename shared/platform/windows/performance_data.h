#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

namespace ox::platform
{

/// Title indexes: the numbers that Windows gives to objects and counters in performance data.
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

/// One object of a block of raw performance data: processes, processors or memory.
///
/// Third-party counter providers can write parts of the block, so every offset and length in it is
/// checked. A structure that exceeds the enclosing structure is treated as missing. The class does
/// not own the bytes.
class PerformanceObject
{
  public:
    using Bytes = std::span<char const>;

    /// Returns the object with this title. Empty if the block does not contain the object, or if
    /// the block before the object is damaged.
    static std::optional<PerformanceObject> find(Bytes block, Title title);

    /// Calls `visit` for each instance with the bytes of its counters, in the order of the block.
    void forEachInstance(std::function<void(Bytes)> const & visit) const;
    /// Returns the counters of the first instance with this name; empty if there is none.
    std::optional<Bytes> instanceNamed(std::u16string_view name) const;
    /// Returns the counters of an object without instances, such as the memory; empty if the object
    /// has instances.
    std::optional<Bytes> onlyInstance() const;

    /// Returns the value of a counter of 4 or 8 bytes. `instance` contains the counters of the
    /// instance. Empty if the object does not contain the counter or the counter has another size.
    std::optional<std::uint64_t> value(Bytes instance, Title counter) const;

  private:
    explicit PerformanceObject(Bytes object) : object_(object) {}

    template <typename Accept>
    std::optional<Bytes> findInstance(Accept const & accept) const;
    /// Returns the part of the object after the counter definitions, which contains its instances.
    Bytes instances() const;

    Bytes object_;
};

/// Returns the time of a block in 100-ns ticks since 1601-01-01 UTC. Empty if the bytes are not a
/// block.
std::optional<std::int64_t> performanceTime(std::span<char const> block);

} // namespace ox::platform

#include "shared/platform/windows/performance_data.h"

#include <cstddef>
#include <cstring>

namespace ox::platform
{
namespace
{

using Bytes = PerformanceObject::Bytes;
using Word = std::uint32_t;

// Offsets and sizes, in bytes, of the system's structures PERF_DATA_BLOCK, PERF_OBJECT_TYPE,
// PERF_COUNTER_DEFINITION and PERF_INSTANCE_DEFINITION. They are equal in 32-bit and 64-bit
// programs.
namespace block
{
constexpr std::size_t totalLength = 20, headerLength = 24, objectCount = 28, time100ns = 72;
constexpr std::size_t size = 88;
} // namespace block
namespace object
{
constexpr std::size_t totalLength = 0, definitionLength = 4, headerLength = 8, title = 12;
constexpr std::size_t counterCount = 32, instanceCount = 40;
constexpr std::size_t size = 64;
constexpr Word noInstances = 0xFFFFFFFF;
} // namespace object
namespace counter
{
constexpr std::size_t length = 0, title = 4, valueSize = 32, valueOffset = 36;
constexpr std::size_t size = 40;
} // namespace counter
namespace instance
{
constexpr std::size_t length = 0, nameOffset = 16, nameLength = 20;
constexpr std::size_t size = 24;
} // namespace instance

/// Returns `length` bytes at an offset. Empty if the range exceeds `bytes`.
std::optional<Bytes> part(Bytes bytes, std::size_t offset, std::size_t length)
{
    if (offset > bytes.size() || length > bytes.size() - offset)
        return std::nullopt;
    return bytes.subspan(offset, length);
}

template <typename Number>
std::optional<Number> read(Bytes bytes, std::size_t offset)
{
    auto const found = part(bytes, offset, sizeof(Number));
    if (!found)
        return std::nullopt;
    Number number;
    std::memcpy(&number, found->data(), sizeof number);
    return number;
}

/// Returns the structure at the beginning of the bytes. The structure contains its own length at
/// `lengthOffset`. Empty if the length is below `minimum` or exceeds the bytes.
std::optional<Bytes> structure(Bytes bytes, std::size_t lengthOffset, std::size_t minimum)
{
    auto const length = read<Word>(bytes, lengthOffset);
    if (!length || *length < minimum)
        return std::nullopt;
    return part(bytes, 0, *length);
}

std::optional<Bytes> wholeBlock(Bytes bytes)
{
    constexpr std::u16string_view signature = u"PERF";
    if (bytes.size() < block::size || std::memcmp(bytes.data(), signature.data(), 8) != 0)
        return std::nullopt;
    return structure(bytes, block::totalLength, block::size);
}

/// Returns the first of `count` consecutive structures that `accept` accepts. Empty if `accept`
/// accepts none, or if a structure before the accepted one is not valid.
template <typename Accept>
std::optional<Bytes> findStructure(Bytes bytes, Word count, std::size_t lengthOffset,
                                   std::size_t minimum, Accept const & accept)
{
    for (Word i = 0; i < count; ++i) {
        auto const found = structure(bytes, lengthOffset, minimum);
        if (!found || accept(*found))
            return found;
        bytes = bytes.subspan(found->size());
    }
    return std::nullopt;
}

auto hasTitle(std::size_t offset, Title title)
{
    return [offset, title](Bytes bytes) {
        return read<Word>(bytes, offset) == static_cast<Word>(title);
    };
}

bool hasName(Bytes definition, std::u16string_view name)
{
    auto const offset = read<Word>(definition, instance::nameOffset);
    auto const length = read<Word>(definition, instance::nameLength);
    // The length includes the terminator. The lengths are compared, since a longer name may begin
    // with `name`.
    std::size_t const size = name.size() * sizeof(char16_t);
    if (!length || *length != size + sizeof(char16_t))
        return false;
    auto const text = part(definition, *offset, *length);
    return text && std::memcmp(text->data(), name.data(), size) == 0;
}

} // namespace

std::optional<PerformanceObject> PerformanceObject::find(Bytes bytes, Title title)
{
    auto const whole = wholeBlock(bytes);
    if (!whole)
        return std::nullopt;
    auto const header = structure(*whole, block::headerLength, block::size);
    if (!header)
        return std::nullopt;
    auto const found =
        findStructure(whole->subspan(header->size()), *read<Word>(*whole, block::objectCount),
                      object::totalLength, object::size, hasTitle(object::title, title));
    return found ? std::optional(PerformanceObject(*found)) : std::nullopt;
}

Bytes PerformanceObject::instances() const
{
    auto const definitions = structure(object_, object::definitionLength, object::size);
    return definitions ? object_.subspan(definitions->size()) : Bytes();
}

/// Returns the counters of the first instance that `accept` accepts; empty if it accepts none. An
/// instance consists of its definition and its block of counters.
template <typename Accept>
std::optional<Bytes> PerformanceObject::findInstance(Accept const & accept) const
{
    Word const count = *read<Word>(object_, object::instanceCount);
    if (count == object::noInstances)
        return std::nullopt;
    Bytes rest = instances();
    for (Word i = 0; i < count; ++i) {
        auto const definition = structure(rest, instance::length, instance::size);
        if (!definition)
            return std::nullopt;
        rest = rest.subspan(definition->size());
        auto const counters = structure(rest, 0, sizeof(Word));
        if (!counters || accept(*definition, *counters))
            return counters;
        rest = rest.subspan(counters->size());
    }
    return std::nullopt;
}

void PerformanceObject::forEachInstance(std::function<void(Bytes)> const & visit) const
{
    findInstance([&visit](Bytes, Bytes counters) {
        visit(counters);
        return false;
    });
}

std::optional<Bytes> PerformanceObject::instanceNamed(std::u16string_view name) const
{
    return findInstance([name](Bytes definition, Bytes) { return hasName(definition, name); });
}

std::optional<Bytes> PerformanceObject::onlyInstance() const
{
    if (*read<Word>(object_, object::instanceCount) != object::noInstances)
        return std::nullopt;
    return structure(instances(), 0, sizeof(Word));
}

std::optional<std::uint64_t> PerformanceObject::value(Bytes instance, Title wanted) const
{
    auto const definitions = structure(object_, object::definitionLength, object::size);
    if (!definitions)
        return std::nullopt;
    auto const header = structure(*definitions, object::headerLength, object::size);
    if (!header)
        return std::nullopt;
    auto const found = findStructure(definitions->subspan(header->size()),
                                     *read<Word>(object_, object::counterCount), counter::length,
                                     counter::size, hasTitle(counter::title, wanted));
    if (!found)
        return std::nullopt;
    Word const offset = *read<Word>(*found, counter::valueOffset);
    switch (*read<Word>(*found, counter::valueSize)) {
    case 4:
        return read<std::uint32_t>(instance, offset);
    case 8:
        return read<std::uint64_t>(instance, offset);
    default:
        return std::nullopt;
    }
}

std::optional<std::int64_t> performanceTime(Bytes bytes)
{
    auto const whole = wholeBlock(bytes);
    return whole ? read<std::int64_t>(*whole, block::time100ns) : std::nullopt;
}

} // namespace ox::platform

#include "shared/platform/windows/performance_data.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

using ox::platform::PerformanceObject;
using ox::platform::performanceTime;
using ox::platform::Title;

/// Writes the structures of performance data in the layout that Windows uses.
class Writer
{
  public:
    template <typename Number>
    void put(std::size_t offset, Number value)
    {
        if (bytes.size() < offset + sizeof value)
            bytes.resize(offset + sizeof value);
        std::memcpy(&bytes[offset], &value, sizeof value);
    }
    void word(std::size_t offset, std::size_t value)
    {
        put(offset, static_cast<std::uint32_t>(value));
    }
    /// Begins a structure whose first word is its length. Returns the offset of the structure.
    std::size_t begin(std::size_t size)
    {
        std::size_t const start = bytes.size();
        bytes.resize(start + size);
        word(start, size);
        return start;
    }

    std::vector<char> bytes;
};

struct Counter {
    std::uint32_t title;
    std::uint32_t size;
};
struct Instance {
    std::u16string name;
    std::vector<std::uint64_t> values;
};

void addObject(Writer & out, std::uint32_t title, std::vector<Counter> const & counters,
               std::vector<Instance> const & instances, bool hasInstances = true)
{
    std::size_t const object = out.begin(64);
    out.word(object + 8, 64);
    out.word(object + 12, title);
    out.word(object + 32, counters.size());
    out.word(object + 40, hasInstances ? instances.size() : 0xFFFFFFFF);
    std::size_t end = 8;
    for (Counter const & counter : counters) {
        std::size_t const start = out.begin(40);
        out.word(start + 4, counter.title);
        out.word(start + 32, counter.size);
        out.word(start + 36, end);
        end += 8;
    }
    out.word(object + 4, out.bytes.size() - object);
    for (Instance const & instance : instances) {
        if (hasInstances) {
            std::size_t const nameSize = (instance.name.size() + 1) * 2;
            std::size_t const start = out.begin(24 + nameSize + nameSize % 8);
            out.word(start + 16, 24);
            out.word(start + 20, nameSize);
            std::memcpy(&out.bytes[start + 24], instance.name.data(), nameSize);
        }
        std::size_t const block = out.begin(end);
        for (std::size_t i = 0; i < instance.values.size(); ++i)
            out.put(block + 8 + 8 * i, instance.values[i]);
    }
    out.word(object, out.bytes.size() - object);
}

/// Returns performance data with three objects: processors (one processor and the total), processes
/// (five instances), and the memory.
std::vector<char> sampleBlock()
{
    Writer out;
    out.begin(88);
    std::memcpy(out.bytes.data(), u"PERF", 8);
    out.word(24, 88);
    out.word(28, 3);
    out.put<std::int64_t>(72, 132000000000000000);
    addObject(out, 238, {{6, 8}}, {{u"0", {111}}, {u"_Total", {333}}});
    addObject(out, 230, {{6, 8}, {180, 4}, {784, 4}},
              {{u"client", {0x123456789ABC, 0xFFFFFFFF, 4242}},
               {u"Idle", {77, 4096, 0}},
               {u"client", {5, 1, 4243}},
               {u"_Total", {88, 4097, 0}},
               {u"server", {6, 7, 4244}}});
    addObject(out, 4, {{818, 8}, {56, 4}, {58, 3}}, {{u"", {1000, 2000, 3000}}}, false);
    out.word(20, out.bytes.size());
    return out.bytes;
}

/// Returns all values of the data as one text, with "-" for each missing value.
std::string readValues(std::vector<char> const & bytes)
{
    std::string text;
    auto const add = [&text](auto const & value) {
        text += (value ? std::to_string(*value) : "-") + ' ';
    };
    add(performanceTime(bytes));
    auto const addCounters = [&](Title title, auto find, std::initializer_list<int> counters) {
        auto const object = PerformanceObject::find(bytes, title);
        auto const instance = object ? find(*object) : std::nullopt;
        for (int const counter : counters)
            add(instance ? object->value(*instance, Title(counter)) : std::nullopt);
    };
    addCounters(Title::Processor, [](auto const & o) { return o.instanceNamed(u"_Total"); }, {6});
    auto const withId = [](unsigned id) {
        return [id](PerformanceObject const & object) {
            std::optional<PerformanceObject::Bytes> found;
            object.forEachInstance([&](PerformanceObject::Bytes instance) {
                if (!found && object.value(instance, Title::ProcessId) == id)
                    found = instance;
            });
            return found;
        };
    };
    for (unsigned const id : {4242u, 0u, 4243u, 4244u})
        addCounters(Title::Process, withId(id), {6, 180});
    addCounters(Title::Memory, [](auto const & o) { return o.onlyInstance(); }, {818, 56, 58, 6});
    return text;
}

TEST(PerformanceData, FindsProcessesByIdProcessorsByNameAndTheMemory)
{
    // The parser reads only counters of 4 and 8 bytes. So the counter of 3 bytes is shown as "-".
    EXPECT_EQ(readValues(sampleBlock()), "132000000000000000 333 20015998343868 4294967295 77 4096 "
                                         "5 1 6 7 1000 2000 - - ");
    std::vector<char> const block = sampleBlock();
    auto const processes = PerformanceObject::find(block, Title::Process);
    ASSERT_TRUE(processes);
    EXPECT_FALSE(processes->onlyInstance());
    EXPECT_FALSE(processes->instanceNamed(u"Idl"));
    EXPECT_FALSE(PerformanceObject::find(block, Title::WorkingSet));
}

} // namespace

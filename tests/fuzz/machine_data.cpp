#include "shared/fs/lock_file_text.h"
#include "shared/platform/windows/performance_data.h"
#include "shared/platform/windows/storage_descriptor.h"
#include "shared/system/smart_table.h"
#include "shared/system/sys_info_rules.h"
#include "tests/fuzz/fuzz_input.h"

#include <numeric>

// Fuzzes the parsers of disk data (SMART tables), performance data, and lock files of other
// processes.

namespace
{

using namespace ox::fuzz;
using namespace ox::platform;
using namespace ox::fs;
using namespace ox::system;

std::vector<unsigned char> bytesOf(std::string_view text)
{
    return {text.begin(), text.end()};
}

void readDisk(Input & in)
{
    bool const isSummed = in.flag();
    std::vector<unsigned char> table = bytesOf(in.bytes(512));
    table.resize(512 - (in.below(16) == 0));
    unsigned const sum = std::accumulate(table.begin(), table.end(), 0u);
    if (isSummed)
        table.back() = static_cast<unsigned char>(table.back() - sum);
    auto const attributes = parseSmartTable(table);
    bool const isTable = table.size() == 512 && (isSummed || sum % 256 == 0);
    OX_HOLDS(attributes.has_value() == isTable);
    DiskHealth const health = diskHealthOf(
        Disk{u"disk", DiskBus::Ata, table, in.flag() ? std::optional(in.position()) : std::nullopt},
        true);
    OX_HOLDS(health.lines.size() >= (isTable ? 1 + int(attributes->size()) : 2));
    for (SmartAttribute const & attribute : attributes.value_or(std::vector<SmartAttribute>()))
        OX_HOLDS(health.lines.contains(lineOf(attribute)) && attribute.id > 0);

    std::vector<unsigned char> const answer = bytesOf(in.rest());
    auto const disk = parseStorageDescriptor(answer);
    OX_HOLDS(disk.has_value() == (answer.size() >= 36));
    OX_HOLDS(!disk || disk->model.size() <= answer.size() - 36);
}

void setWord(std::string & bytes, std::size_t offset, std::size_t value)
{
    auto const word = static_cast<std::uint32_t>(value);
    if (bytes.size() >= offset + sizeof word)
        std::memcpy(&bytes[offset], &word, sizeof word);
}

/// Returns whether the span `part` lies within `bytes`.
bool isIn(std::string const & bytes, PerformanceObject::Bytes part)
{
    return part.empty() || (part.data() >= bytes.data() &&
                            part.data() + part.size() <= bytes.data() + bytes.size());
}

void readPerformanceData(Input & in)
{
    bool const isRepaired = in.flag();
    std::string bytes(in.rest());
    if (isRepaired && bytes.size() >= 88) {
        std::memcpy(bytes.data(), u"PERF", 8);
        setWord(bytes, 20, bytes.size());
        setWord(bytes, 24, 88);
        setWord(bytes, 88, bytes.size() - 88);
    }
    OX_HOLDS(performanceTime(bytes).has_value() || !isRepaired || bytes.size() < 88);
    constexpr Title titles[] = {Title::Memory,     Title::ProcessorTime, Title::PoolPaged,
                                Title::WorkingSet, Title::Process,       Title::Processor,
                                Title::ProcessId,  Title::CacheBytes,    Title::PoolNonPaged};
    for (Title const title : titles) {
        auto const object = PerformanceObject::find(bytes, title);
        if (!object)
            continue;
        std::size_t count = 0;
        object->forEachInstance([&](PerformanceObject::Bytes counters) {
            OX_HOLDS(isIn(bytes, counters));
            if (++count > 10)
                return;
            for (Title const counter : titles)
                object->value(counters, counter);
        });
        OX_HOLDS(count <= bytes.size() / 28);
        OX_HOLDS(isIn(bytes, object->instanceNamed(u"_Total").value_or(std::span<char const>())));
        auto const only = object->onlyInstance();
        OX_HOLDS(!only || (count == 0 && isIn(bytes, *only)));
    }
}

void readLockFile(Input & in)
{
    _oxTime const since(in.number<std::int64_t>() >> in.below(64), true);
    std::string_view const bytes = in.rest();
    QString const who = latin1(bytes);
    OX_HOLDS(holderIn(lockFileText(who, since)) == who);
    OX_HOLDS(bytes.starts_with(holderLabel) || holderIn(bytes).isEmpty());
    OX_HOLDS(holderIn(bytes).size() <= who.size());
    OX_HOLDS(who.startsWith(holderIn(std::string(holderLabel) + std::string(bytes))));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size)
{
    Input in(data, size);
    constexpr void (*readers[])(Input &) = {readDisk, readPerformanceData, readLockFile};
    readers[in.below(3)](in);
    return 0;
}

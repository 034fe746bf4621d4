#pragma once

#include "shared/system/process_list.h"
#include "shared/text/mebibytes.h"

#include <algorithm>
#include <cstdint>
#include <span>

namespace ox::system
{

/// What a reader of 32 bits sees of a working set that is larger.
constexpr std::uint64_t cutWorkingSet = 4294967295;

/// The `memMB` of an entry: rounded to the nearest MiB, but at least 1 for a process that has
/// memory at all.
inline int shownMemory(std::uint64_t workingSet)
{
    if (workingSet == cutWorkingSet)
        return 4096;
    if (workingSet < text::mebibyte)
        return workingSet > 0 ? 1 : 0;
    return static_cast<int>(text::wholeMebibytes(workingSet + text::mebibyte / 2) & 0x0FFFFFFF);
}

/// Shares out what is left of the used memory, in MiB, among the entries that look cut off.
inline void shareOutMemory(std::span<_oxProcessEntry> entries, std::int64_t usedMB)
{
    auto const isCut = [](_oxProcessEntry const & entry) { return entry.memMB > 4000; };
    for (_oxProcessEntry const & entry : entries)
        usedMB -= entry.memMB;
    auto const cut = std::ranges::count_if(entries, isCut);
    if (cut == 0 || usedMB < 1)
        return;
    int const share = static_cast<int>(usedMB / cut);
    for (_oxProcessEntry & entry : entries) {
        if (isCut(entry))
            entry.memMB += share;
    }
}

} // namespace ox::system

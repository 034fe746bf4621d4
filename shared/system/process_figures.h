#pragma once

#include "shared/system/process_list.h"
#include "shared/text/mebibytes.h"

#include <algorithm>
#include <cstdint>
#include <span>

namespace ox::system
{

/// Largest working set in bytes that a 32-bit process can read: 2^32 - 1. A 32-bit process reads
/// this value for every larger working set, too.
constexpr std::uint64_t cutWorkingSet = 4294967295;

/// Returns the `memMB` of an entry for a working set in bytes: rounded to the nearest MiB, at least
/// 1 for a working set above 0, 4096 for `cutWorkingSet`.
inline int shownMemory(std::uint64_t workingSet)
{
    if (workingSet == cutWorkingSet)
        return 4096;
    if (workingSet < text::mebibyte)
        return workingSet > 0 ? 1 : 0;
    return static_cast<int>(text::wholeMebibytes(workingSet + text::mebibyte / 2) & 0x0FFFFFFF);
}

/// Distributes the used memory that no entry accounts for (`usedMB` minus the memory of all
/// entries, in MiB) in equal shares to the entries above 4000 MiB. Their working set is probably
/// larger than a 32-bit process can read.
inline void distributeMemory(std::span<_oxProcessEntry> entries, std::int64_t usedMB)
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

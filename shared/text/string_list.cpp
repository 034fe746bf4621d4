#include "shared/text/string_list.h"

#include <algorithm>
#include <bit>
#include <compare>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <numeric>
#include <span>

namespace
{

using Entry = _oxStringList::Entry;

/// Returns the capacity of a list with `count` entries. The list has no member for the capacity, so
/// the capacity depends only on the count. It grows by an eighth to a quarter at a time, so that
/// appending rarely reallocates a long list.
constexpr std::uint64_t capacityFor(std::uint64_t count)
{
    std::uint64_t const step = std::max<std::uint64_t>(std::bit_floor(count) / 4, 1);
    return (count + step - 1) & ~(step - 1);
}

/// Returns the bytes to allocate for `count` entries, or 0 if a list cannot have so many entries.
std::size_t bytesFor(std::uint64_t count)
{
    constexpr auto limit = static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max());
    std::uint64_t const bytes = capacityFor(count) * sizeof(Entry);
    bool const fits = count <= std::numeric_limits<std::int32_t>::max() && bytes <= limit;
    return fits ? static_cast<std::size_t>(bytes) : 0;
}

/// Sort key of an entry: the four units of its text that begin at a certain position. Two keys are
/// compared only if they have the same position and the two texts are equal before this position.
/// In a descending sort, `units` and `taken` are complemented bit by bit.
struct SortKey {
    std::uint64_t units; ///< the four units in upper case; the first unit is in the highest bits
    std::uint32_t taken; ///< how many of the four units the text has; the others are 0
    std::uint32_t index; ///< position before the sort, so that equal entries keep their order

    auto operator<=>(SortKey const &) const = default;

    static constexpr int width = 4;

    void take(Entry const & entry, int position, bool descending)
    {
        int const n = std::clamp(entry.size() - position, 0, width);
        units = 0;
        for (int i = 0; i < width; ++i)
            units = units << 16 | (i < n ? ox::text::toUpper(entry.value[position + i]) : 0U);
        taken = static_cast<std::uint32_t>(n);
        if (descending) {
            units = ~units;
            taken = ~taken;
        }
    }
    bool hasEqualUnits(SortKey const & other) const
    {
        return units == other.units && taken == other.taken;
    }
};

/// Sorts the keys of entries whose texts are equal in all units before `position`. Sorts by four
/// units, then each group of equal keys by the next four units. Most texts differ within a few
/// units, so the sort reads most entries only once, which saves cache misses.
void sortKeys(std::span<SortKey> keys, Entry const * entries, int position, bool descending)
{
    for (SortKey & key : keys)
        key.take(entries[key.index], position, descending);
    if (!std::is_sorted(keys.begin(), keys.end()))
        std::sort(keys.begin(), keys.end());

    int const next = position + SortKey::width;
    for (auto run = keys.begin(); run != keys.end();) {
        auto const end = std::find_if_not(run, keys.end(), [&first = *run](SortKey const & key) {
            return key.hasEqualUnits(first);
        });
        if (end - run > 1 && entries[run->index].size() >= next)
            sortKeys({run, end}, entries, next, descending);
        run = end;
    }
}

/// Moves the entries into the order of the keys. An assignment of entries copies only the length
/// and the units, so the `reserved` members are not moved.
void permute(std::span<SortKey> keys, Entry * entries)
{
    for (std::uint32_t start = 0; start < keys.size(); ++start) {
        if (keys[start].index == start)
            continue;
        Entry const first = entries[start];
        std::uint32_t to = start;
        std::uint32_t from;
        while ((from = std::exchange(keys[to].index, to)) != start) {
            entries[to] = entries[from];
            to = from;
        }
        entries[to] = first;
    }
}

/// Sorts the entries without keys. If no memory for a buffer is available, std::stable_sort also
/// works, but moves entries more often.
void sortInPlace(std::span<Entry> entries, bool descending)
{
    std::stable_sort(entries.begin(), entries.end(),
                     [descending](Entry const & a, Entry const & b) {
                         return descending ? a.compare(b) > 0 : a.compare(b) < 0;
                     });
}

} // namespace

void _oxStringList::copyFrom(_oxStringList const & other)
{
    if (this == &other)
        return;
    clear();
    if (other.isEmpty())
        return;
    items_ =
        static_cast<Entry *>(std::calloc(1, bytesFor(static_cast<std::uint64_t>(other.count_))));
    if (!items_)
        return;
    count_ = other.count_;
    // NOLINTNEXTLINE(bugprone-undefined-memory-manipulation): copies records byte for byte
    std::memcpy(static_cast<void *>(items_), other.items_,
                static_cast<std::size_t>(count_) * sizeof(Entry));
}

void _oxStringList::clear()
{
    std::free(items_);
    items_ = nullptr;
    count_ = 0;
}

char const * _oxStringList::atAsChar(int const & i) const
{
    at(i).toChar(scratch_, 500);
    return scratch_;
}

int _oxStringList::find(Entry const & s, bool const & caseSensitive) const
{
    auto const found = std::find_if(begin(), end(), [&s, caseSensitive](Entry const & entry) {
        return caseSensitive ? entry == s : entry.isEqual(s);
    });
    return found == end() ? -1 : static_cast<int>(found - begin());
}

void _oxStringList::append(Entry const & s, bool const & unique, bool const & caseSensitive)
{
    if (unique && find(s, caseSensitive) >= 0)
        return;
    auto const count = static_cast<std::uint64_t>(count_);
    if (count < capacityFor(count)) {
        new (items_ + count_++) Entry(s);
        return;
    }
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): realloc may move the entry `s`
    Entry const kept = s;
    if (grow())
        new (items_ + count_++) Entry(kept);
}

void _oxStringList::sort(bool const & descending)
{
    if (count_ < 2)
        return;
    auto const count = static_cast<std::size_t>(count_);
    std::unique_ptr<SortKey[]> const memory(new (std::nothrow) SortKey[count]);
    if (!memory) {
        sortInPlace({items_, count}, descending);
        return;
    }
    std::span<SortKey> const keys(memory.get(), count);
    for (std::uint32_t i = 0; i < count; ++i)
        keys[i].index = i;
    sortKeys(keys, items_, 0, descending);
    permute(keys, items_);
}

QString oxPrintedText(_oxStringList const & list)
{
    QString text;
    for (Entry const & entry : list) {
        text += QLatin1String(text.isEmpty() ? "\"" : ", \"");
        text += QString(entry) + u'"';
    }
    return u'(' + text + u')';
}

Entry const & _oxStringList::emptyEntry()
{
    static Entry const empty;
    return empty;
}

/// Reallocates the entries with space for one more. If this fails, empties the list and returns
/// false.
bool _oxStringList::grow()
{
    std::size_t const bytes = bytesFor(static_cast<std::uint64_t>(count_) + 1);
    void * const grown = bytes != 0 ? std::realloc(static_cast<void *>(items_), bytes) : nullptr;
    if (!grown) {
        clear();
        return false;
    }
    items_ = static_cast<Entry *>(grown);
    return true;
}

#include "shared/text/string_list.h"

#include "tests/fuzz/fuzz_input.h"

#include <vector>

// Fuzzes the string list and compares it with a vector of entries, including the bytes after the
// end of each text.

namespace
{

using namespace ox::fuzz;
using Entry = _oxStringList::Entry;
using Entries = std::vector<Entry>;

std::u16string uppered(Entry const & entry)
{
    std::u16string text(entry.view());
    for (char16_t & c : text)
        c = c >= u'a' && c <= u'z' ? char16_t(c - 32) : c;
    return text;
}

int find(Entries const & entries, Entry const & wanted, bool isCaseSensitive)
{
    auto const found = std::find_if(entries.begin(), entries.end(), [&](Entry const & entry) {
        return isCaseSensitive ? entry.view() == wanted.view() : uppered(entry) == uppered(wanted);
    });
    return found == entries.end() ? -1 : int(found - entries.begin());
}

Entry readEntry(Input & in)
{
    // sort() compares keys of four units. Texts with a longer common prefix need further keys.
    QString const prefix(in.number() % 16, u'a');
    Entry entry(prefix + utf16Of(in.line()));
    entry.value[400] = in.number(); // distinguishes entries with equal texts
    if (in.below(32) == 0)
        entry.length = in.number<std::uint16_t>(); // as in a damaged file
    return entry;
}

void operate(Input & in, _oxStringList & list, Entries & entries)
{
    int const operation = in.below(8);
    bool const flag = in.flag();
    int const at = in.position();
    if (operation == 0) {
        list.sort(flag);
        std::stable_sort(entries.begin(), entries.end(), [flag](Entry const & a, Entry const & b) {
            return flag ? uppered(b) < uppered(a) : uppered(a) < uppered(b);
        });
    } else if (operation == 1) {
        _oxStringList copy(list);
        copy.append(copy.at(at), false, false);
        _oxStringList const moved = std::move(copy);
        OX_HOLDS(moved.count() == list.count() + 1 && copy.isEmpty());
        list = _oxStringList(list);
    } else if (operation == 2 && at == 0) {
        list.clear();
        entries.clear();
    } else if (operation == 3 && !entries.empty()) {
        Entry const & entry = entries[std::size_t(at >= 0 && at < list.count() ? at : 0)];
        OX_HOLDS(list.at(at).view() == entry.view());
        OX_HOLDS(std::strlen(list.atAsChar(at)) <= unsigned(std::min(entry.size(), 499)));
    } else if (entries.size() < 100) {
        bool const isUnique = (at & 1) != 0;
        Entry const entry = readEntry(in);
        OX_HOLDS(list.find(entry, flag) == find(entries, entry, flag));
        if (!isUnique || find(entries, entry, flag) < 0)
            entries.push_back(entry);
        list.append(entry, isUnique, flag);
        // `reserved` belongs to the position in the list and does not move with the text.
        const_cast<Entry &>(list[list.count() - 1]).reserved = std::uint16_t(list.count());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size)
{
    Input in(data, size);
    _oxStringList list;
    Entries entries;
    for (int i = 0; i < mostOperations && !in.isAtEnd(); ++i)
        operate(in, list, entries);
    OX_HOLDS(list.count() == int(entries.size()));
    for (int i = 0; i < list.count(); ++i) {
        Entry const & entry = entries[std::size_t(i)];
        OX_HOLDS(std::memcmp(list[i].value, entry.value, sizeof entry.value) == 0);
        OX_HOLDS(list[i].length == entry.length && list[i].reserved == i + 1);
    }
    return 0;
}

#include "shared/text/string_list.h"

#include <QDebug>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using Entry = _oxStringList::Entry;

_oxStringList listOf(std::vector<Entry> const & entries)
{
    _oxStringList list;
    for (Entry const & entry : entries)
        list.append(entry, false, false);
    return list;
}

std::string joined(_oxStringList const & list)
{
    std::string result;
    for (Entry const & entry : list)
        result += QString(entry).toStdString() + ' ';
    return result;
}

/// Sets the reserved word of an entry. The list returns its entries as read-only.
void setReserved(_oxStringList const & list, int i, std::uint16_t mark)
{
    const_cast<Entry &>(list[i]).reserved = mark;
}

TEST(StringList, AppendsAndFinds)
{
    _oxStringList list;
    EXPECT_EQ(list.find("a", false), -1);
    list.append("a", true, false);
    list.append("A", true, false);
    EXPECT_EQ(joined(list), "a ");
    list.append("A", true, true);
    list.append("a", false, true);
    EXPECT_EQ(joined(list), "a A a ");
    EXPECT_EQ(list.find("A", true), 1);
    EXPECT_EQ(list.find("A", false), 0);
    EXPECT_EQ(list.find("", false), -1);

    Entry marked("b");
    marked.value[300] = 0x1234;
    marked.reserved = 7;
    list.append(marked, false, false);
    EXPECT_EQ(list[3].value[300], 0x1234) << "the units behind the text are copied";
    EXPECT_EQ(list[3].reserved, 0) << "the reserved word is not copied";

    list.clear();
    EXPECT_TRUE(list.isEmpty() && list.count() == 0 && list.begin() == list.end());
    list.append("again", false, false);
    EXPECT_EQ(joined(list), "again ");
}

TEST(StringList, GrowsFromItsOwnEntries)
{
    _oxStringList list;
    list.append("first", false, false);
    for (int i = 1; i < 3000; ++i) {
        list.append(list.at(i / 2), false, false);
        list.append(QString::number(i), false, false);
    }
    ASSERT_EQ(list.size(), 5999);
    EXPECT_EQ(list[1], "first");
    EXPECT_EQ(list[5998], "2999");
    EXPECT_EQ(list[5997], list[2999 / 2]);
}

TEST(StringList, AcceptsAnyIndex)
{
    _oxStringList const list = listOf({"first", "second"});
    EXPECT_EQ(list.at(1), "second");
    EXPECT_EQ(&list.at(5), &list[0]);
    EXPECT_EQ(&list.at(-1), &list[0]);
    char const * const second = list.atAsChar(1);
    EXPECT_STREQ(second, "second");
    EXPECT_EQ(list.atAsChar(7), second) << "all entries share one buffer";
    EXPECT_STREQ(second, "first");

    _oxStringList const longest = listOf({Entry(QString(499, u'x') + QChar(0x1279)), "\xE9"});
    EXPECT_EQ(longest.atAsChar(0), std::string(499, 'x'));
    EXPECT_STREQ(longest.atAsChar(1), "\xE9");

    _oxStringList const empty;
    EXPECT_TRUE(empty.at(0).isEmpty() && empty.at(-1).isEmpty() && empty[3].isEmpty());
    EXPECT_STREQ(empty.atAsChar(0), "");
}

TEST(StringList, CopiesByteForByte)
{
    _oxStringList list = listOf({"a", "b", "c", "d", "e"});
    setReserved(list, 4, 9);
    _oxStringList copy(list);
    ASSERT_EQ(copy.count(), 5);
    EXPECT_EQ(std::memcmp(copy.begin(), list.begin(), 5 * sizeof(Entry)), 0);
    copy.append("f", false, false);
    EXPECT_EQ(joined(copy), "a b c d e f ");
    EXPECT_EQ(joined(list), "a b c d e ");

    auto const & self = copy;
    copy = self;
    EXPECT_EQ(copy.count(), 6);
    copy = _oxStringList(list);
    EXPECT_EQ(joined(copy), "a b c d e ");
    _oxStringList const moved = std::move(copy);
    EXPECT_EQ(joined(moved), "a b c d e ");
    list = _oxStringList(_oxStringList());
    EXPECT_TRUE(list.isEmpty());
}

TEST(StringList, Prints)
{
    QString debug;
    QDebug(&debug).nospace() << listOf({"a", QStringLiteral("\u20AC")}) << _oxStringList();
    std::ostringstream stream;
    stream << listOf({"a", QStringLiteral("\u20AC")}) << _oxStringList();
    EXPECT_EQ(stream.str(), "(\"a\", \"\xE2\x82\xAC\")()");
    EXPECT_EQ(debug.toStdString(), stream.str());
}

TEST(StringList, Sorts)
{
    _oxStringList list = listOf({"b", "A", "c", "a", "B"});
    list.sort(false);
    EXPECT_EQ(joined(list), "A a b B c ");
    list.sort(true);
    EXPECT_EQ(joined(list), "c b B A a ") << "equal entries keep their order in both directions";
}

} // namespace

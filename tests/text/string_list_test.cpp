#include "shared/text/string_list.h"

#include <gtest/gtest.h>

#include <QDebug>

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

TEST(StringList, KeepsTheUnitsAfterTheEndOfTheTexts)
{
    Entry marked("b");
    marked.value[300] = 0x1234;
    marked.reserved = 7;
    _oxStringList list = listOf({"a", marked});
    EXPECT_EQ(list[1].value[300], 0x1234) << "the units after the end of the text are copied";
    EXPECT_EQ(list[1].reserved, 0) << "the reserved word is not copied";
    const_cast<Entry &>(list[1]).reserved = 9;
    _oxStringList const copy(list);
    ASSERT_EQ(copy.count(), 2);
    EXPECT_EQ(std::memcmp(copy.begin(), list.begin(), 2 * sizeof(Entry)), 0);

    auto const & self = list;
    list = self;
    EXPECT_EQ(list.count(), 2);
    for (int i = 1; i < 3000; ++i)
        list.append(list.at(i / 2), false, false);
    EXPECT_EQ(list[3000].view(), list[2999 / 2].view());
    EXPECT_EQ(list.find("", false), -1);
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

TEST(StringList, Prints)
{
    QString debug;
    QDebug(&debug).nospace() << listOf({"a", QStringLiteral("\u20AC")}) << _oxStringList();
    std::ostringstream stream;
    stream << listOf({"a", QStringLiteral("\u20AC")}) << _oxStringList();
    EXPECT_EQ(stream.str(), "(\"a\", \"\xE2\x82\xAC\")()");
    EXPECT_EQ(debug.toStdString(), stream.str());
}

} // namespace

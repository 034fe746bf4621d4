#include "shared/text/fixed_string.h"

#include <QString>

#include <gtest/gtest.h>

#include <algorithm>
#include <compare>
#include <cstring>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <unordered_set>
#include <vector>

namespace
{

/// Behaviour that the 8-bit and the wide strings share.
template <typename S>
class FixedStringCommon : public testing::Test
{
};

// 22 is a capacity that no record uses.
using Strings = testing::Types<_oxString8_evenSize<12>, _oxString8_evenSize<22>,
                               _oxString8_UnevenSize<15>, _oxString<10>, _oxString<2500>>;
TYPED_TEST_SUITE(FixedStringCommon, Strings);

template <typename S>
std::string text(S const & string)
{
    EXPECT_LE(string.length, S::capacity());
    EXPECT_EQ(string.value[string.size()], 0);
    std::string result;
    for (auto const c : string)
        result += static_cast<char>(c);
    return result;
}

template <typename S>
S fill(char c)
{
    return S(std::string(static_cast<std::size_t>(S::capacity()), c).c_str());
}

TYPED_TEST(FixedStringCommon, TruncatesEveryInputAtTheCapacity)
{
    using S = TypeParam;
    std::string const fitting(static_cast<std::size_t>(S::capacity()), 'x');
    std::string const tooLong = fitting + "yyyyy";
    QString const tooLongText = QString::fromLatin1(tooLong.c_str());
    std::vector<unsigned short> units(tooLong.begin(), tooLong.end());
    units.push_back(0);

    S assigned;
    EXPECT_EQ(text(S(tooLong.c_str())), fitting);
    EXPECT_EQ(text(S(tooLong.c_str(), static_cast<int>(tooLong.size()))), fitting);
    EXPECT_EQ(text(S(tooLongText)), fitting);
    EXPECT_EQ(text(S(units.data())), fitting);
    EXPECT_EQ(text(assigned = tooLong.c_str()), fitting);
    EXPECT_EQ(text(assigned = tooLongText), fitting);
    EXPECT_EQ(text(assigned = units.data()), fitting);
    EXPECT_EQ(text(S(QString(70000, u'x'))), fitting);
    EXPECT_EQ(text(S("xxx").add(tooLong.c_str())), fitting);
    EXPECT_EQ(text(S("x") += S(fitting.c_str())), fitting);
    EXPECT_EQ(text(fill<S>('x') += 'y'), fitting);
    EXPECT_EQ(text(fill<S>('x') + 'y'), fitting);
    EXPECT_EQ(text(fill<S>('y').insert(0, fitting.c_str())), fitting);
    EXPECT_EQ(text(fill<S>('y').replace("y", fitting.c_str())), fitting);
    EXPECT_EQ(text(S("xabc", 65536 + 1)), "x") << "the count has 16 bits";
}

TYPED_TEST(FixedStringCommon, TreatsNullPointersAsEmptyTexts)
{
    using S = TypeParam;
    char const * const null = nullptr;
    EXPECT_EQ(text(S(null)), "");
    EXPECT_EQ(text(S(null, 3)), "");
    EXPECT_EQ(text(S("ab").add(null)), "ab");
    EXPECT_EQ(text(S("ab") += null), "ab");
    EXPECT_FALSE(S() == null);
    EXPECT_FALSE(S("ab").startsWith(null));
    EXPECT_FALSE(S("ab").startsWithCaseSen(null));
    EXPECT_FALSE(S("ab").endsWith(null));

    S kept("ab");
    kept = null;
    EXPECT_EQ(kept.length, 0);
    EXPECT_EQ(kept.value[0], 'a') << "assigning null keeps the bytes";
}

TYPED_TEST(FixedStringCommon, Searches)
{
    using S = TypeParam;
    struct Case {
        char const * text;
        char const * needle;
        int from;
        int ignoringCase;
        int exact;
    };
    for (Case const & c : std::initializer_list<Case>{
             {"abcabc", "B", 2, 4, -1},
             {"abcabc", "B", 5, -1, -1},
             {"abcabc", "bc", 0, 1, 1},
             {"abc", "ABC", 0, 0, 0}, // ignores case, since both have the same length
             {"abcd", "ABC", 0, 0, -1},
             {"abc", "ABC", 1, -1, -1},
             {"abcd", "abc", -7, 0, 0},
             {"", "", 0, 0, 0},
             {"ab", "", 1, 1, 1},
             {"ab", "", 3, -1, -1},
             {"ab", "abc", 0, -1, -1},
             {"a[b{", "{", 0, 3, 3},
             {"a@b`", "`", 0, 3, 3},
             {"ab", "b", 0x7fffffff, -1, -1},
             {"xaXbXabxab", "XAB", 1, 4, -1}}) {
        SCOPED_TRACE(testing::Message() << c.text << " / " << c.needle << " from " << c.from);
        EXPECT_EQ(S(c.text).indexOf(c.needle, c.from), c.ignoringCase);
        EXPECT_EQ(S(c.text).indexOfCaseSen(c.needle, c.from), c.exact);
    }
    S const abx("abxb");
    EXPECT_EQ(abx.indexOf('x', 10), 2) << "a start beyond the end searches everything";
    EXPECT_EQ(abx.indexOf('a', 1), -1);
    EXPECT_EQ(abx.indexOf('X', 0), -1);
    EXPECT_EQ(abx.lastIndexOf('b', 2), 1);
    EXPECT_EQ(abx.lastIndexOf('b', 4), 3);
    EXPECT_EQ(abx.lastIndexOf('b', -1), 3);
    EXPECT_EQ(S().lastIndexOf('b', 0), -1);
    EXPECT_TRUE(abx.contains("BX") && abx.contains('x') && abx.contains(S("")));
    EXPECT_FALSE(abx.contains('X') || abx.contains("abxbb"));
}

TYPED_TEST(FixedStringCommon, ComparesEnds)
{
    using S = TypeParam;
    S const path("C:\\Job.TXT");
    EXPECT_TRUE(path.startsWith("c:\\") && path.startsWith(S("c:")) && path.startsWith('C'));
    EXPECT_TRUE(path.endsWith(".txt") && path.endsWith(S(".txt")) && path.endsWith('T'));
    EXPECT_FALSE(path.startsWith('c') || path.endsWith('t') || S().startsWith('\0'));
    EXPECT_FALSE(path.startsWith("") || path.endsWith("") || S().startsWith("") ||
                 S().endsWith(""));
    EXPECT_FALSE(path.startsWith("c:\\job.txt_") || path.endsWith("_c:\\job.txt"));
    EXPECT_TRUE(path.startsWithCaseSen("C:") && path.startsWithCaseSen(""));
    EXPECT_FALSE(path.startsWithCaseSen("c:") || S().startsWithCaseSen(""));
}

TYPED_TEST(FixedStringCommon, EditsInPlace)
{
    using S = TypeParam;
    EXPECT_EQ(text(S("\t x \r\n").trim()), "x");
    EXPECT_EQ(text(S("a b").trim()), "a b");
    EXPECT_EQ(text(S(" \t\r\n").trim()), "");
    EXPECT_EQ(text(S("\0 x\0", 4).trim()), "x");
    EXPECT_EQ(text(S("aXa").replace("a", "aa")), "aaXaa");
    EXPECT_EQ(text(S("aAb").replaceCaseSen("A", "c")), "acb");
    EXPECT_EQ(text(S("ab").replace("", "x")), "ab") << "an empty search text matches nothing";
    EXPECT_EQ(text(S("abAB").replace('B', 'x')), "axAx");
    EXPECT_EQ(text(S("a.b.").remove(".")), "ab");
    EXPECT_EQ(text(S("aabb").remove("ab")), "ab") << "a match that a removal creates stays";
    EXPECT_EQ(text(S("xAxa").removeCaseSens("a")), "xAx");
    EXPECT_EQ(text(S("ab").remove("")), "ab");
    S banana("banana");
    EXPECT_EQ(text(banana.remove('A')), "bnn");
    EXPECT_EQ(text(banana), "bnn");
    EXPECT_EQ(text(S("az[@`{AZ").makeUpper()), "AZ[@`{AZ");
    EXPECT_EQ(text(S("az[@`{AZ").makeLower()), "az[@`{az");
    EXPECT_EQ(text(S("ab").combined("cd")), "abcd");
    EXPECT_EQ(S("ab") + "cd", QLatin1String("abcd"));
    EXPECT_EQ(S("ab") + QStringLiteral("cd"), QLatin1String("abcd"));
}

TYPED_TEST(FixedStringCommon, ClampsPositionsToTheText)
{
    using S = TypeParam;
    int const huge = 0x7fffffff;
    EXPECT_EQ(text(S("abcd").mid(1, 2)), "bc");
    EXPECT_EQ(text(S("abcd").mid(3, huge)), "d");
    EXPECT_EQ(text(S("abcd").mid(-2, 1)), "a");
    EXPECT_EQ(text(S("abcd").mid(huge, huge)), "");
    EXPECT_EQ(text(S("abcd").left(2)), "ab");
    EXPECT_EQ(text(S("abcd").left(-2)), "");
    EXPECT_EQ(text(S("abcd").left(9)), "abcd");
    EXPECT_EQ(text(S("abcd").remove(1, 2)), "ad");
    EXPECT_EQ(text(S("abcd").remove(2, huge)), "ab");
    EXPECT_EQ(text(S("abcd").remove(huge, 1)), "abcd");
    EXPECT_EQ(text(S("abcd").remove(1, -1)), "abcd");
    EXPECT_EQ(text(S("abcd").insert(1, "x")), "axbcd");
    EXPECT_EQ(text(S("abcd").insert(huge, "x")), "abcdx");
    EXPECT_EQ(text(S("abcd").insert(-huge, "x")), "xabcd");
}

TYPED_TEST(FixedStringCommon, AcceptsItselfAsArgument)
{
    using S = TypeParam;
    S s("abc");
    EXPECT_EQ(text(s.add(s)), "abcabc");
    EXPECT_EQ(text(s = s.c_str() + 3), "abc");
    EXPECT_EQ(text(s += s.c_str()), "abcabc");
    EXPECT_EQ(text((s.setLength(3), s.insert(2, s))), "ababcc");
    EXPECT_EQ(text(s.replace(s, "aBa")), "aBa");
    EXPECT_EQ(text(s.replace("b", s)), "aaBaa");
    EXPECT_EQ(text(s.replace(s.value[0], s.value[2])), "BBBBB");
    EXPECT_EQ(text(s += s.value[0]), "BBBBBB");
    EXPECT_EQ(text(s.remove(s)), "");
}

TYPED_TEST(FixedStringCommon, AppendsNumbersWithinTheCapacity)
{
    using S = TypeParam;
    EXPECT_EQ(text(S("a").addNr(-5)), "a-5");
    EXPECT_EQ(text(S().addNr(-5, 3)), "0-5") << "zeros come before the sign";
    EXPECT_EQ(text(S().addNr(7, 3)), "007");
    EXPECT_EQ(text(S().addNr(1234, 2)), "1234");
    EXPECT_EQ(text(fill<S>('x').addNr(1)), text(fill<S>('x')));
    EXPECT_EQ(text(fill<S>('x').addNr(1, 200)), text(fill<S>('x')));
}

TYPED_TEST(FixedStringCommon, KeepsItsMemoryImage)
{
    using S = TypeParam;
    using Unit = typename S::Unit;
    auto const capacity = S::capacity();
    constexpr auto spareOffset = sizeof(S::value);
    auto const image = [](S const & s) {
        std::vector<unsigned char> bytes(sizeof s);
        std::memcpy(bytes.data(), &s, sizeof s);
        return bytes;
    };
    // Padding: the bytes between the characters and the length, and behind the length.
    auto const paddingOf = [&image](S const & s) {
        auto bytes = image(s);
        bytes.erase(bytes.begin() + offsetof(S, length),
                    bytes.begin() + offsetof(S, length) + sizeof s.length);
        return std::vector<unsigned char>(bytes.begin() + spareOffset, bytes.end());
    };
    auto const patterned = [](unsigned char pattern) {
        S s;
        std::memset(static_cast<void *>(&s), pattern, sizeof s);
        s.length = 0;
        return s;
    };
    S s;
    std::memset(static_cast<void *>(&s), 0x5A, sizeof s);
    auto const padding = paddingOf(s);
    auto const tail = s.value[0];
    s.length = 0;

    s = "abcd";
    EXPECT_EQ(s.value[5], tail);
    s = QStringLiteral("ab");
    EXPECT_EQ(s.value[3], Unit{'d'});
    EXPECT_EQ(s.value[5], tail);
    s.setLength(4);
    EXPECT_EQ(s.value[3], Unit{'d'}) << "setLength keeps the units in between";
    s.setLength(1);
    s.clearUnused();
    EXPECT_EQ(std::count(std::begin(s.value) + 1, std::end(s.value), 0), capacity);
    S const other = patterned(0xA5);
    s = other;
    EXPECT_EQ(std::memcmp(s.value, other.value, sizeof s.value), 0)
        << "copies the units behind the text";
    s.add("abc").trim().replace("a", "bb").insert(1, "x").remove('b');
    s.addNr(5).makeUpper();
    s.clear();
    EXPECT_EQ(std::count(std::begin(s.value), std::end(s.value), 0), capacity + 1);
    EXPECT_EQ(paddingOf(s), padding);

    EXPECT_EQ((s.setLength(-1), s.length), 0);
    EXPECT_EQ((s.setLength(static_cast<short>(capacity + 1)), s.length), capacity);
    std::fill(std::begin(s.value), std::end(s.value), Unit{'x'});
    s.calcLength();
    EXPECT_EQ(s, fill<S>('x'));
    s.value[2] = 0;
    s.calcLength();
    EXPECT_EQ(text(s), "xx");
}

/// The pointer is volatile, so that the compiler cannot discard the previous content of the memory
/// when it constructs an object there.
TYPED_TEST(FixedStringCommon, NeverWritesTheSpareByte)
{
    using S = TypeParam;
    alignas(S) unsigned char memory[sizeof(S)];
    unsigned char * volatile place = memory;
    auto const expectUntouched = [&place](auto const & construct) {
        std::memset(place, 0x5A, sizeof(S));
        construct(place);
        for (std::size_t i = sizeof(S::value); i < offsetof(S, length); ++i)
            EXPECT_EQ(place[i], 0x5A) << i;
    };
    S const other("abc");
    expectUntouched([](void * at) { new (at) S; });
    expectUntouched([](void * at) { new (at) S(); });
    expectUntouched([](void * at) { new (at) S{}; });
    expectUntouched([](void * at) { new (at) S("abc"); });
    expectUntouched([&other](void * at) { new (at) S(other); });
}

template <typename A, typename B>
void expectComparesAs(A const & a, B const & b, std::strong_ordering expected)
{
    SCOPED_TRACE(testing::Message() << a << " / " << b);
    EXPECT_TRUE((a <=> b) == expected && (b <=> a) == 0 <=> expected);
    EXPECT_TRUE((a == b) == (expected == 0) && (b == a) == (expected == 0));
    EXPECT_TRUE((a != b) == (expected != 0) && (b != a) == (expected != 0));
}

TYPED_TEST(FixedStringCommon, ComparesWithOtherCapacitiesInEitherOrder)
{
    using S = TypeParam;
    auto const compare = []<typename Other>(Other) {
        using std::strong_ordering;
        S const full = fill<S>('x');
        expectComparesAs(full, Other(full.c_str()), strong_ordering::equal);
        expectComparesAs(full, Other(full.c_str()) += 'y', strong_ordering::less);
        expectComparesAs(S("b"), Other("abc"), strong_ordering::greater);
        expectComparesAs(S(), Other(), strong_ordering::equal);
        S latin1;
        Other sameLatin1;
        expectComparesAs(latin1 = "\xE9", sameLatin1 = "\xE9", strong_ordering::equal);
        expectComparesAs(latin1, sameLatin1 = "\xEA", strong_ordering::less);
        if constexpr (sizeof(typename Other::Unit) == 2) {
            expectComparesAs(S("b"), Other(QStringLiteral("\u0161")), strong_ordering::greater);
            expectComparesAs(S("a"), Other(QStringLiteral("\u0161")), strong_ordering::less);
        }
    };
    compare(_oxString8_evenSize<3000>());
    compare(_oxString8_UnevenSize<2501>());
    compare(_oxString<2501>());
    struct Derived : S {
        using S::S;
    };
    expectComparesAs(Derived("a"), S("a"), std::strong_ordering::equal);

    std::string const longer(static_cast<std::size_t>(S::capacity()) + 1, 'x');
    EXPECT_TRUE(fill<S>('x') != longer.c_str() && fill<S>('x') < longer.c_str());
    char const * const null = nullptr;
    EXPECT_TRUE(S("a") > null && S() != null);
}

TYPED_TEST(FixedStringCommon, WorksInContainersAndStreams)
{
    using S = TypeParam;
    std::unordered_set<S> const set{"a", "b", "a"};
    EXPECT_EQ(set.size(), 2u);
    std::map<S, int> const map{{"b", 2}, {"a", 1}};
    EXPECT_EQ(map.begin()->first, "a");
    std::ostringstream stream;
    stream << S("job17");
    EXPECT_EQ(stream.str(), "job17");
    EXPECT_TRUE(S("a") == "a" && "a" == S("a") && S("a") != "b" && S("a") < "b");
    EXPECT_TRUE(S("a") == QStringLiteral("a") && QStringLiteral("b") != S("a"));
}

} // namespace

#include "shared/text/case_kernels.h"
#include "shared/text/fixed_string.h"

#include <gtest/gtest.h>

#include <QString>

#include <algorithm>
#include <compare>
#include <cstring>
#include <iterator>
#include <sstream>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

namespace
{

/// Tests of the behaviour that 8-bit and wide strings share.
template <typename S>
class FixedStringCommon : public testing::Test
{
};

// The farm's records do not use the capacity 22, but an application may.
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
    std::vector<unsigned short> units(tooLong.begin(), tooLong.end());
    units.push_back(0);

    S assigned;
    EXPECT_EQ(text(S(tooLong.c_str())), fitting);
    EXPECT_EQ(text(S(tooLong.c_str(), static_cast<int>(tooLong.size()))), fitting);
    EXPECT_EQ(text(S(units.data())), fitting);
    EXPECT_EQ(text(assigned = units.data()), fitting);
    EXPECT_EQ(text(S(QString(70000, u'x'))), fitting);
    EXPECT_EQ(text(fill<S>('x') += 'y'), fitting);
    EXPECT_EQ(text(fill<S>('x') + 'y'), fitting);
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

/// Tests the overloads that the fuzz target fixed_string does not call, and rules for positions and
/// letters.
TYPED_TEST(FixedStringCommon, AcceptsSingleUnitsAndTextsOfOtherKinds)
{
    using S = TypeParam;
    S const path("C:\\Job.TXT");
    EXPECT_TRUE(path.startsWith('C') && path.endsWith('T') && path.startsWithCaseSen(""));
    EXPECT_FALSE(path.startsWith('c') || path.endsWith('t') || S().startsWith('\0'));
    EXPECT_FALSE(path.startsWith("") || path.endsWith("") || S().startsWithCaseSen(""));
    EXPECT_EQ(S("abc").indexOfCaseSen("ABC", 0), 0) << "ignores case, since the lengths are equal";
    EXPECT_EQ(S("abxb").indexOf('x', 10), 2) << "a start beyond the end searches everything";
    EXPECT_EQ(text(S("ab").replace("", "x")), "ab") << "an empty search text matches nothing";
    EXPECT_EQ(text(S("aabb").remove("ab")), "ab") << "a match that a removal creates stays";
    EXPECT_EQ(text(S().addNr(-5, 3)), "0-5") << "zeros come before the sign";
    EXPECT_EQ(text(fill<S>('x').addNr(1, 200)), text(fill<S>('x')));
    EXPECT_EQ(text(S("ab").combined("cd")), "abcd");
    EXPECT_EQ(S("ab") + "cd", QLatin1String("abcd"));
    EXPECT_EQ(text(S("abcd").left(2)) + text(S("abcd").left(-2)), "ab");
    EXPECT_EQ(text(S("abcd").left(9)), "abcd");
    EXPECT_EQ(text(S("abcd").insert(-0x7fffffff, "x")), "xabcd");
}

TYPED_TEST(FixedStringCommon, AcceptsItselfAsArgument)
{
    using S = TypeParam;
    S s("abcabc");
    EXPECT_EQ(text(s = s.c_str() + 3), "abc");
    EXPECT_EQ(text(s += s.c_str()), "abcabc");
    EXPECT_EQ(text((s.setLength(3), s.insert(2, s))), "ababcc");
    EXPECT_EQ(text(s.replace(s, "aBa")), "aBa");
    EXPECT_EQ(text(s.replace("b", s)), "aaBaa");
    EXPECT_EQ(text(s.replace(s.value[0], s.value[2])), "BBBBB");
    EXPECT_EQ(text(s += s.value[0]), "BBBBBB");
}

TYPED_TEST(FixedStringCommon, KeepsItsMemoryImage)
{
    using S = TypeParam;
    using Unit = typename S::Unit;
    auto const capacity = S::capacity();
    // Returns the padding: the bytes between the characters and the length, and the bytes after the
    // length.
    auto const paddingOf = [](S const & s) {
        std::vector<unsigned char> bytes(sizeof s);
        std::memcpy(bytes.data(), &s, sizeof s);
        bytes.erase(bytes.begin() + offsetof(S, length),
                    bytes.begin() + offsetof(S, length) + sizeof s.length);
        return std::vector<unsigned char>(bytes.begin() + sizeof(S::value), bytes.end());
    };
    S s, other;
    std::memset(static_cast<void *>(&s), 0x5A, sizeof s);
    std::memset(static_cast<void *>(&other), 0xA5, sizeof other);
    auto const padding = paddingOf(s);
    auto const tail = s.value[0];
    s.length = other.length = 0;

    s = "abcd";
    s = QStringLiteral("ab");
    EXPECT_EQ(s.value[3], Unit{'d'});
    EXPECT_EQ(s.value[5], tail);
    s.setLength(4);
    EXPECT_EQ(s.value[3], Unit{'d'}) << "setLength keeps the units in between";
    s = other;
    EXPECT_EQ(std::memcmp(s.value, other.value, sizeof s.value), 0)
        << "the units after the end of the text are copied";
    s.add("abc").trim().replace("a", "bb").insert(1, "x").remove('b');
    s.addNr(5).makeUpper();
    s.clear();
    EXPECT_EQ(std::count(std::begin(s.value), std::end(s.value), 0), capacity + 1);
    EXPECT_EQ(paddingOf(s), padding);

    EXPECT_EQ((s.setLength(-1), s.length), 0);
    s.setLength(static_cast<short>(capacity + 1));
    std::fill(std::begin(s.value), std::end(s.value), Unit{'x'});
    s.calcLength();
    EXPECT_EQ(s, fill<S>('x'));
    s.value[2] = 0;
    s.calcLength();
    EXPECT_EQ(text(s), "xx");
}

/// The pointer is volatile, so that the compiler cannot discard the previous content of the memory
/// when an object is constructed there.
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
    using std::strong_ordering;
    auto const compare = []<typename Other>(Other) {
        S const full = fill<S>('x');
        expectComparesAs(full, Other(full.c_str()), strong_ordering::equal);
        expectComparesAs(full, Other(full.c_str()) += 'y', strong_ordering::less);
        expectComparesAs(S("b"), Other("abc"), strong_ordering::greater);
        S latin1;
        Other sameLatin1;
        expectComparesAs(latin1 = "\xE9", sameLatin1 = "\xE9", strong_ordering::equal);
        if constexpr (sizeof(typename Other::Unit) == 2) {
            expectComparesAs(S("b"), Other(QStringLiteral("\u0161")), strong_ordering::greater);
            expectComparesAs(S("a"), Other(QStringLiteral("\u0161")), strong_ordering::less);
        }
    };
    compare(_oxString8_UnevenSize<2501>());
    compare(_oxString<2501>());
    struct Derived : S {
        using S::S;
    };
    expectComparesAs(Derived("a"), S("a"), strong_ordering::equal);
    char const * const null = nullptr;
    EXPECT_TRUE(S("a") > null && S() != null);
    EXPECT_TRUE(S("a") == "a" && "a" == S("a") && S("a") != "b" && S("a") < "b");
    EXPECT_TRUE(S("a") == QStringLiteral("a") && QStringLiteral("b") != S("a"));
}

TYPED_TEST(FixedStringCommon, WorksInContainersAndStreams)
{
    using S = TypeParam;
    EXPECT_EQ((std::unordered_set<S>{"a", "b", "a"}.size()), 2u);
    std::ostringstream stream;
    stream << S("job17");
    EXPECT_EQ(stream.str(), "job17");
}

TYPED_TEST(FixedStringCommon, IgnoresCaseAlikeWithEveryKernel)
{
    using Unit = std::make_unsigned_t<typename TypeParam::Unit>;
    std::pair<int, int> const pairs[] = {{'a', 'A'},   {'Z', 'z'},   {'@', '`'},
                                         {'{', '['},   {'z', 'y'},   {0xE9, 0xC9},
                                         {0x80, 0x7F}, {'a', 0x141}, {0x6161, 0x4161}};
    for (auto const & kernel : ox::text::caseKernels<typename TypeParam::Unit>()) {
        for (int n = kernel.isSupported() ? 1 : 100; n < 100; ++n) {
            for (int at = 0; at < n; ++at) {
                for (auto const & [x, y] : pairs) {
                    std::vector<typename TypeParam::Unit> a(static_cast<std::size_t>(n), 'q');
                    std::vector<typename TypeParam::Unit> b(a.size(), 'Q');
                    auto const pos = static_cast<std::size_t>(at);
                    Unit const left = ox::text::toUpper(static_cast<Unit>(x));
                    Unit const right = ox::text::toUpper(static_cast<Unit>(y));
                    a[pos] = static_cast<typename TypeParam::Unit>(x);
                    b[pos] = static_cast<typename TypeParam::Unit>(y);
                    SCOPED_TRACE(testing::Message() << kernel.name << ' ' << n << ' ' << at);
                    ASSERT_EQ(kernel.mismatch(a.data(), b.data(), n), left == right ? n : at);
                    ASSERT_EQ(kernel.compare(a.data(), n, b.data(), n),
                              (left > right) - (left < right));
                    ASSERT_EQ(kernel.compare(a.data(), at, b.data(), n), -1);
                }
            }
        }
    }
}

} // namespace

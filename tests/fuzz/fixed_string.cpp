#include "shared/text/fixed_string.h"

#include "tests/fuzz/fuzz_input.h"

#include <climits>
#include <compare>

// Fuzzes fixed strings of several types with a sequence of operations. Compares each string with a
// model: a standard string that is truncated to the capacity. Sets some lengths to arbitrary
// values, as in a damaged file.

namespace
{

using namespace ox::fuzz;

template <typename S>
class Interpreter
{
    using Unit = typename S::Unit;
    using Model = std::basic_string<std::conditional_t<sizeof(Unit) == 1, char, char16_t>>;
    using ModelUnit = typename Model::value_type;
    static constexpr bool isWide = sizeof(Unit) > 1;
    static constexpr auto capacity = std::size_t(S::capacity());

    struct Pair {
        S text;
        Model model;
        bool isForeign = false; ///< the length is arbitrary; no operation has set it
    };

    /// The arguments for all operations. Each operation uses only some of them.
    struct Arguments {
        int at, count;
        Unit c, by;
        std::string bytes; ///< without zeros
        Pair one, other;
    };

  public:
    explicit Interpreter(Input & in) : in_(in) {}

    void run()
    {
        for (int i = 0; i < mostOperations && !in_.isAtEnd(); ++i) {
            int const operation = in_.number();
            Pair & a = strings_[operation / 128];
            Pair & b = strings_[in_.flag()];
            flag_ = (operation & 32) != 0;
            Arguments const with{in_.position(),
                                 in_.position(),
                                 in_.number<Unit>(),
                                 in_.number<Unit>(),
                                 std::string(in_.line()).c_str(),
                                 pair(),
                                 pair()};
            if (operation % 32 == 31)
                setArbitraryLength(a);
            else if (operation % 32 < 18)
                change(operation % 32, a, b, with);
            else
                ask(operation % 32, a, b, with);
            OX_HOLDS(a.text.size() == int(a.model.size()));
            OX_HOLDS(std::equal(a.model.begin(), a.model.end(), a.text.begin(),
                                [](auto m, Unit u) { return Unit(m) == u; }));
            OX_HOLDS(a.isForeign ||
                     (a.text.length <= capacity && a.text.value[a.text.length] == 0));
        }
    }

  private:
    static ModelUnit up(ModelUnit c) { return c >= 'a' && c <= 'z' ? ModelUnit(c - 32) : c; }
    static ModelUnit low(ModelUnit c) { return c >= 'A' && c <= 'Z' ? ModelUnit(c + 32) : c; }
    static Model mapped(Model text, ModelUnit (*map)(ModelUnit))
    {
        std::transform(text.begin(), text.end(), text.begin(), map);
        return text;
    }
    static Model cut(Model text) { return text.substr(0, capacity); }

    /// Converts bytes as Latin-1, or with sign extension.
    static Model ofBytes(std::string_view bytes, bool isSigned = false)
    {
        Model text;
        for (char const c : bytes)
            text += isSigned ? ModelUnit(static_cast<signed char>(c))
                             : ModelUnit(static_cast<unsigned char>(c));
        return text;
    }

    /// Creates a string and its model from the next bytes of the input.
    Pair pair()
    {
        std::string_view const bytes = in_.bytes(in_.number() % 16u);
        Pair result{S(), cut(ofBytes(bytes))};
        if constexpr (isWide)
            result.text = result.model;
        else
            result.text = bytes;
        return result;
    }

    /// Sets the length to an arbitrary value, as in a damaged record.
    void setArbitraryLength(Pair & a)
    {
        a.text.length = in_.number<std::uint16_t>();
        a.model.assign(a.text.value, a.text.value + a.text.size());
        a.isForeign = true;
    }

    static int find(Model const & text, Model const & needle, int from, bool isExact)
    {
        bool const ignoresCase = !isExact || text.size() == needle.size();
        return naiveFind(text, needle, from, [ignoresCase](ModelUnit x, ModelUnit y) {
            return x == y || (ignoresCase && up(x) == up(y));
        });
    }

    static Model replaced(Model text, Model const & before, Model const & after, bool isExact)
    {
        int at = 0;
        while (!before.empty() && (at = find(text, before, at, isExact)) >= 0) {
            text = cut(text.replace(std::size_t(at), before.size(), after));
            at += int(after.size());
        }
        return text;
    }

    static Model trimmed(Model const & text)
    {
        Model const blanks{0, '\t', '\n', '\r', ' '};
        std::size_t const first = std::min(text.find_first_not_of(blanks), text.size());
        return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
    }

    Model withNumber(Pair & a, long long number)
    {
        std::string const digits = std::to_string(number);
        a.text.addNr(number);
        if (isWide)
            return digits.size() < 14 ? cut(a.model + ofBytes(digits)) : a.model;
        if (digits.size() + 2 + a.model.size() > capacity)
            return a.model;
        Model const all = a.model + ofBytes(digits); // the new length ends at the first 0
        return all.substr(0, all.find(ModelUnit{0}));
    }

    void change(int operation, Pair & a, Pair & b, Arguments const & with)
    {
        constexpr int mayLeaveTheLength[] = {4, 5, 7, 11, 12, 13, 15, 17};
        if (std::ranges::find(mayLeaveTheLength, operation) == std::end(mayLeaveTheLength))
            a.isForeign = false;
        Model & model = a.model;
        Model const before = model;
        Model const other = b.model;
        auto const at = std::size_t(std::clamp<int>(with.at, 0, a.text.size()));
        auto const count = std::size_t(std::max(with.count, 0));
        auto const isUnit = [c = up(ModelUnit(with.c))](auto x) { return up(x) == c; };
        switch (operation) {
        case 0:
            a.text = with.bytes.c_str();
            model = cut(ofBytes(with.bytes));
            break;
        case 1:
            a.text += with.bytes.c_str();
            model = cut(before + ofBytes(with.bytes, isWide));
            break;
        case 2:
            a.text.add(b.text);
            model = cut(before + other);
            break;
        case 3:
            a.text.add(with.one.text.value, unsigned(with.one.model.size()));
            model = cut(before + with.one.model);
            break;
        case 4:
            model = withNumber(a, in_.number<std::int64_t>() >> in_.below(64));
            break;
        case 5: {
            auto const least = static_cast<unsigned char>(with.count);
            std::string const digits = std::to_string(with.at);
            a.text.addNr(with.at, least);
            model += Model(std::max<std::size_t>(least, digits.size()) - digits.size(), '0');
            model = cut(model + ofBytes(digits));
            break;
        }
        case 6:
            a.text.setLength(short(with.at));
            model.assign(a.text.value,
                         a.text.value + std::clamp<int>(short(with.at), 0, S::capacity()));
            if (flag_) {
                a.text.calcLength();
                model.assign(a.text.begin(), a.text.end());
                OX_HOLDS(model.find(ModelUnit{0}) == model.npos);
            }
            break;
        case 7:
            if (flag_)
                a.text.clear();
            model = flag_ ? Model() : before;
            a.text.clearUnused();
            OX_HOLDS(std::all_of(a.text.value + a.text.size(), std::end(a.text.value),
                                 [](Unit unit) { return unit == 0; }));
            break;
        case 8:
            a.text.trim();
            model = trimmed(before);
            break;
        case 9:
            a.text.insert(with.at, b.text);
            model = cut(model.insert(at, other));
            break;
        case 10:
            a.text.remove(with.at, with.count);
            model.erase(at, count);
            break;
        case 11:
            flag_ ? a.text.replaceCaseSen(with.one.text, with.other.text)
                  : a.text.replace(with.one.text, with.other.text);
            model = replaced(before, with.one.model, with.other.model, flag_);
            break;
        case 12:
            flag_ ? a.text.removeCaseSens(b.text) : a.text.remove(b.text);
            model = replaced(before, other, Model(), flag_);
            break;
        case 13:
            a.text.replace(with.c, with.by);
            std::replace_if(model.begin(), model.end(), isUnit, ModelUnit(with.by));
            break;
        case 14:
            a.text.remove(with.c);
            std::erase_if(model, isUnit);
            break;
        case 15:
            flag_ ? a.text.makeUpper() : a.text.makeLower();
            model = mapped(before, flag_ ? up : low);
            break;
        case 16:
            a.text = a.text.mid(with.at, with.count);
            model = before.substr(at, count);
            break;
        default:
            a = flag_ ? with.one : b;
        }
    }

    void ask(int operation, Pair const & a, Pair const & b, Arguments const & with)
    {
        Model const upperA = mapped(a.model, up);
        Model const upperB = mapped(b.model, up);
        char const * const bytes8 = with.bytes.c_str();
        Model const bytes = ofBytes(with.bytes);
        Model const upperBytes = mapped(bytes, up);
        auto const c = ModelUnit(with.c);
        auto const from = std::size_t(with.at);
        bool const isInside = with.at >= 0 && with.at < a.text.size();
        bool const hasText = !b.model.empty();
        switch (operation) {
        case 18:
            OX_HOLDS(a.text.indexOf(b.text, with.at) == find(a.model, b.model, with.at, false));
            OX_HOLDS(a.text.indexOfCaseSen(b.text, with.at) ==
                     find(a.model, b.model, with.at, true));
            OX_HOLDS(a.text.contains(b.text) == (find(a.model, b.model, 0, false) >= 0));
            break;
        case 19:
            OX_HOLDS(a.text.indexOf(with.c, with.at) == int(a.model.find(c, isInside ? from : 0)));
            OX_HOLDS(a.text.lastIndexOf(with.c, with.at) ==
                     int(a.model.rfind(c, isInside ? from : a.model.npos)));
            OX_HOLDS(a.text.contains(with.c) == (a.model.find(c) != a.model.npos));
            break;
        case 20: {
            // In the expected order, a prefix of a text is less than the text.
            std::basic_string<std::make_unsigned_t<Unit>> const x(upperA.begin(), upperA.end());
            std::basic_string<std::make_unsigned_t<Unit>> const y(upperB.begin(), upperB.end());
            OX_HOLDS(a.text.compare(b.text) == (x > y) - (x < y));
            OX_HOLDS(a.text.isEqual(b.text) == (x == y));
            OX_HOLDS((a.text == b.text) == (a.model == b.model));
            break;
        }
        case 21: {
            std::size_t const shorter = std::min(a.model.size(), b.model.size());
            int const order = std::memcmp(a.model.data(), b.model.data(), shorter * sizeof(Unit));
            OX_HOLDS((a.text <=> b.text) ==
                     (order != 0 ? order <=> 0 : a.model.size() <=> b.model.size()));
            break;
        }
        case 22:
            OX_HOLDS(a.text.startsWith(b.text) == (hasText && upperA.starts_with(upperB)));
            OX_HOLDS(a.text.endsWith(b.text) == (hasText && upperA.ends_with(upperB)));
            break;
        case 23:
            OX_HOLDS(a.text.startsWith(bytes8) ==
                     (!bytes.empty() && upperA.starts_with(upperBytes)));
            OX_HOLDS(a.text.endsWith(bytes8) == (!bytes.empty() && upperA.ends_with(upperBytes)));
            OX_HOLDS(a.text.startsWithCaseSen(bytes8) ==
                     (!a.model.empty() && a.model.starts_with(bytes)));
            OX_HOLDS((a.text == bytes8) == (a.model == bytes));
            break;
        default:
            convert(a, static_cast<unsigned char>(with.count));
        }
    }

    void convert(Pair const & a, int room)
    {
        QString const text = a.text;
        S back;
        OX_HOLDS(text.size() == a.text.size() && (back = text) == a.text);
        OX_HOLDS(QString(a.text + text) == text + text);
        auto const written = std::size_t(room > 0 ? std::min(a.text.size(), room - 1) + 1 : 0);
        if constexpr (isWide) {
            std::string bytes(300, '#');
            a.text.toChar(bytes.data(), static_cast<unsigned short>(room));
            OX_HOLDS(bytes.find_first_not_of('#', written) == bytes.npos);
        } else {
            unsigned short units[300] = {};
            a.text.toWchar_t(units, room);
            OX_HOLDS(std::all_of(units + written, std::end(units), [](auto u) { return u == 0; }));
            bool isNumber = false;
            int const number = a.text.toInt(&isNumber);
            auto const digits = a.model.substr(a.model.starts_with('-') ? 1 : 0);
            OX_HOLDS(isNumber == (digits.find_first_not_of("0123456789") == digits.npos));
            long long const exact = std::strtoll(a.model.c_str(), nullptr, 10);
            auto const limited = int(std::clamp<long long>(exact, INT_MIN, INT_MAX));
            OX_HOLDS(number == (isNumber ? limited : 0) && a.text.toInt() == limited);
        }
    }

    Input & in_;
    bool flag_ = false;
    Pair strings_[2];
};

template <typename S>
void run(Input & in)
{
    Interpreter<S>(in).run();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size)
{
    Input in(data, size);
    constexpr void (*runs[])(Input &) = {run<_oxString8_evenSize<6>>,
                                         run<_oxString8_UnevenSize<15>>,
                                         run<_oxString8_evenSize<250>>,
                                         run<_oxString<10>>,
                                         run<_oxString<25>>,
                                         run<_oxString<250>>};
    runs[in.below(6)](in);
    return 0;
}

#include "shared/text/case_kernels.h"
#include "shared/text/fixed_string.h"

#include <benchmark/benchmark.h>
#include <boost/algorithm/string/find.hpp>
#include <boost/static_string/static_string.hpp>

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

namespace
{

constexpr int capacity = 250;
using Ours = _oxString8_evenSize<capacity>;
using OursWide = _oxString<capacity>;
using Static = boost::static_string<capacity>;

/// Hides a value from the optimiser, so that the compiler cannot compute results at compile time.
/// In an application, the content of a record is unknown at compile time, too.
template <typename T>
T & opaque(T & value)
{
    benchmark::DoNotOptimize(&value);
    benchmark::ClobberMemory();
    return value;
}

/// Registers the benchmark of an operation. `work` runs the operation and returns its result. The
/// benchmark keeps a copy of `work`.
template <typename Work>
void add(char const * subject, std::size_t size, char const * who, Work work)
{
    auto const name = std::string(subject) + '/' + std::to_string(size) + '/' + who;
    benchmark::RegisterBenchmark(name.c_str(), [work](benchmark::State & state) mutable {
        for ([[maybe_unused]] auto _ : state)
            benchmark::DoNotOptimize(work());
    });
}

/// Returns a path of `size` characters, similar to the paths in the farm's records.
std::string sampleText(std::size_t size)
{
    std::string text;
    while (text.size() < size)
        text += "\\\\farm\\share\\Projects\\Scene_0017\\frames\\Beauty.";
    text.resize(size);
    return text;
}

std::string upperCased(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

template <typename Text>
Text make(std::string const & text)
{
    if constexpr (std::is_same_v<Text, QString>)
        return QString::fromLatin1(text.c_str());
    else if constexpr (std::is_same_v<Text, std::u16string>)
        return std::u16string(text.begin(), text.end());
    else
        return Text(text.c_str());
}

template <typename Text>
void addAssign(char const * subject, char const * who, std::string const & text)
{
    add(subject, text.size(), who, [source = QByteArray(text.c_str()), target = Text()]() mutable {
        char const * const bytes = opaque(source).constData();
        if constexpr (std::is_same_v<Text, QString>)
            target = QString::fromLatin1(bytes);
        else if constexpr (std::is_same_v<Text, std::u16string>)
            target.assign(bytes, bytes + std::strlen(bytes));
        else
            target = bytes;
        return &opaque(target);
    });
}

/// Registers the benchmark of an append to a text of eight characters. Each iteration first
/// truncates the text to eight characters.
template <typename Text>
void addAppend(char const * subject, char const * who, std::string const & text)
{
    add(subject, text.size(), who,
        [source = QByteArray(text.c_str()), target = make<Text>("12345678")]() mutable {
            char const * const bytes = opaque(source).constData();
            if constexpr (requires { target.setLength(8); })
                target.setLength(8);
            else
                target.resize(8);
            if constexpr (requires { target.add(bytes); })
                target.add(bytes);
            else if constexpr (std::is_same_v<Text, QString>)
                target.append(QLatin1String(bytes));
            else if constexpr (std::is_same_v<Text, std::u16string>)
                target.append(bytes, bytes + std::strlen(bytes));
            else
                target.append(bytes);
            return &opaque(target);
        });
}

/// Registers the benchmark of an operation on two texts.
template <typename Text, typename Operation>
void addPair(char const * subject, char const * who, std::string const & a, std::string const & b,
             Operation operation)
{
    add(subject, a.size(), who, [x = make<Text>(a), y = make<Text>(b), operation]() mutable {
        return operation(opaque(x), opaque(y));
    });
}

void addComparisons(std::string const & text)
{
    auto const equal = [](auto const & a, auto const & b) { return a == b; };
    auto const less = [](auto const & a, auto const & b) { return a < b; };
    std::string const later = text.substr(0, text.size() - 1) + '~';
    std::string const upper = upperCased(text);

    addPair<Ours>("equal", "oxShared", text, text, equal);
    addPair<std::string>("equal", "std::string", text, text, equal);
    addPair<Static>("equal", "boost::static_string", text, text, equal);
    addPair<QByteArray>("equal", "QByteArray", text, text, equal);
    addPair<OursWide>("equal wide", "oxShared", text, text, equal);
    addPair<QString>("equal wide", "QString", text, text, equal);
    addPair<std::u16string>("equal wide", "std::u16string", text, text, equal);

    addPair<Ours>("less", "oxShared", text, later, less);
    addPair<std::string>("less", "std::string", text, later, less);
    addPair<Static>("less", "boost::static_string", text, later, less);
    addPair<QByteArray>("less", "QByteArray", text, later, less);

    addPair<Ours>("compare no case", "oxShared", text, upper,
                  [](auto & a, auto & b) { return a.compare(b); });
    addPair<std::string>("compare no case", "strcasecmp", text, upper,
                         [](auto & a, auto & b) { return strcasecmp(a.c_str(), b.c_str()); });
    addPair<QByteArray>("compare no case", "QByteArray", text, upper,
                        [](auto & a, auto & b) { return a.compare(b, Qt::CaseInsensitive); });
    addPair<OursWide>("compare no case wide", "oxShared", text, upper,
                      [](auto & a, auto & b) { return a.compare(b); });
    addPair<QString>("compare no case wide", "QString", text, upper,
                     [](auto & a, auto & b) { return a.compare(b, Qt::CaseInsensitive); });
}

/// Registers a benchmark of `compare` for each supported kernel. The library uses the first one.
void addCaseKernels(std::string const & text)
{
    std::string const upper = upperCased(text);
    for (auto const & kernel : ox::text::caseKernels<char>()) {
        if (!kernel.isSupported())
            continue;
        std::string const subject = std::string("compare no case by ") + kernel.name;
        addPair<Ours>(subject.c_str(), "oxShared", text, upper, [&kernel](auto & a, auto & b) {
            return kernel.compare(a.value, a.size(), b.value, b.size());
        });
        addPair<std::string>(subject.c_str(), "strcasecmp", text, upper,
                             [](auto & a, auto & b) { return strcasecmp(a.c_str(), b.c_str()); });
    }
}

/// Registers searches for a word at the end of a text of `size` characters. Word and text differ in
/// letter case.
void addSearch(std::size_t size)
{
    std::string const needle = "FINAL.EXR";
    std::string const text = sampleText(size - needle.size()) + "final.exr";
    auto const sameLetter = [](unsigned char a, unsigned char b) {
        return std::toupper(a) == std::toupper(b);
    };

    addPair<Ours>("search no case", "oxShared", text, needle,
                  [](auto & a, auto & b) { return a.indexOf(b, 0); });
    addPair<std::string>("search no case", "strcasestr", text, needle,
                         [](auto & a, auto & b) { return strcasestr(a.c_str(), b.c_str()); });
    addPair<QByteArray>("search no case", "QLatin1String", text, needle, [](auto & a, auto & b) {
        return QLatin1String(a).indexOf(QLatin1String(b), 0, Qt::CaseInsensitive);
    });
    addPair<std::string>("search no case", "boost::ifind_first", text, needle,
                         [](auto & a, auto & b) { return boost::ifind_first(a, b).begin(); });
    addPair<std::string>("search no case", "std::search", text, needle,
                         [sameLetter](auto & a, auto & b) {
                             return std::search(a.begin(), a.end(), b.begin(), b.end(), sameLetter);
                         });
    addPair<OursWide>("search no case wide", "oxShared", text, needle,
                      [](auto & a, auto & b) { return a.indexOf(b, 0); });
    addPair<QString>("search no case wide", "QString", text, needle,
                     [](auto & a, auto & b) { return a.indexOf(b, 0, Qt::CaseInsensitive); });
}

bool const registered = [] {
    for (std::size_t const size : {6, 20, 60, 230}) {
        std::string const text = sampleText(size);
        addAssign<Ours>("assign", "oxShared", text);
        addAssign<std::string>("assign", "std::string", text);
        addAssign<Static>("assign", "boost::static_string", text);
        addAssign<QByteArray>("assign", "QByteArray", text);
        addAssign<OursWide>("assign wide", "oxShared", text);
        addAssign<QString>("assign wide", "QString", text);
        addAssign<std::u16string>("assign wide", "std::u16string", text);

        addAppend<Ours>("append", "oxShared", text);
        addAppend<std::string>("append", "std::string", text);
        addAppend<Static>("append", "boost::static_string", text);
        addAppend<QByteArray>("append", "QByteArray", text);
        addAppend<OursWide>("append wide", "oxShared", text);
        addAppend<QString>("append wide", "QString", text);
        addAppend<std::u16string>("append wide", "std::u16string", text);

        addComparisons(text);
        addCaseKernels(text);
    }
    for (std::size_t const size : {20, 60, 240})
        addSearch(size);
    return true;
}();

} // namespace

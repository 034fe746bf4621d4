#include "shared/text/string_list.h"

#include <benchmark/benchmark.h>

#include <QStringList>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace
{

using Entry = _oxStringList::Entry;
using Vector = std::vector<Entry>;
using Pointers = std::vector<Entry const *>;

enum class Names { Paths, Short };

/// Returns `count` names in a random order that is the same in every run. Paths are in one folder
/// and differ only at the end. Short names differ in the first characters.
QStringList sampleNames(Names names, int count)
{
    std::minstd_rand random(1);
    QStringList result;
    for (int i = 0; i < count; ++i) {
        if (names == Names::Paths)
            result += QStringLiteral("\\\\farm\\share\\Projects\\Scene_0017\\frames\\Beauty.%1.exr")
                          .arg(i, 6, 10, QLatin1Char('0'));
        else
            result += QString::number(random(), 36);
    }
    std::shuffle(result.begin(), result.end(), random);
    return result;
}

template <typename List>
List make(QStringList const & names)
{
    List list;
    for (QString const & name : names) {
        if constexpr (std::is_same_v<List, _oxStringList>)
            list.append(name, false, false);
        else if constexpr (std::is_same_v<List, Vector>)
            list.emplace_back(name);
        else
            list.push_back(name);
    }
    return list;
}

std::string nameOf(char const * subject, int size, char const * who)
{
    return std::string(subject) + '/' + std::to_string(size) + '/' + who;
}

/// Registers the benchmark of sort(list). Each iteration sorts a new copy of an unsorted list. The
/// measured time does not include the copying.
template <typename List, typename Sort>
void addSort(char const * subject, Names names, int size, char const * who, Sort sort)
{
    benchmark::RegisterBenchmark(nameOf(subject, size, who).c_str(), [=](benchmark::State & state) {
        List const unsorted = make<List>(sampleNames(names, size));
        List list;
        for ([[maybe_unused]] auto _ : state) {
            state.PauseTiming();
            list = unsorted;
            // If the list is a QStringList, begin() copies the shared entries. The copy is not
            // measured.
            static_cast<void>(list.begin());
            state.ResumeTiming();
            sort(list);
            benchmark::ClobberMemory();
        }
    });
}

void addSorts(char const * subject, Names names, int size)
{
    addSort<_oxStringList>(subject, names, size, "oxShared",
                           [](_oxStringList & list) { list.sort(false); });
    addSort<Vector>(subject, names, size, "stable_sort of pointers", [](Vector & entries) {
        Pointers pointers;
        for (Entry const & entry : entries)
            pointers.push_back(&entry);
        std::stable_sort(pointers.begin(), pointers.end(),
                         [](Entry const * a, Entry const * b) { return a->compare(*b) < 0; });
        benchmark::DoNotOptimize(pointers.data());
    });
    addSort<QStringList>(subject, names, size, "QStringList", [](QStringList & list) {
        std::stable_sort(list.begin(), list.end(), [](QString const & a, QString const & b) {
            return a.compare(b, Qt::CaseInsensitive) < 0;
        });
    });
}

template <typename Work>
void add(char const * subject, int size, char const * who, Work work)
{
    benchmark::RegisterBenchmark(nameOf(subject, size, who).c_str(),
                                 [work](benchmark::State & state) mutable {
                                     for ([[maybe_unused]] auto _ : state)
                                         benchmark::DoNotOptimize(work());
                                 });
}

void addAppends(int size)
{
    Entry const entry("\\\\farm\\share\\Projects\\Scene_0017");
    add("append", size, "oxShared", [=] {
        _oxStringList list;
        for (int i = 0; i < size; ++i)
            list.append(entry, false, false);
        return list.count();
    });
    add("append", size, "std::vector", [=] {
        Vector list;
        for (int i = 0; i < size; ++i)
            list.push_back(entry);
        return list.size();
    });
}

/// Registers case-insensitive searches for the last name, written in capitals.
void addFinds(int size)
{
    QStringList const names = sampleNames(Names::Paths, size);
    QString const wanted = names.last().toUpper();
    add("find no case", size, "oxShared",
        [list = make<_oxStringList>(names), wanted] { return list.find(wanted, false); });
    add("find no case", size, "QStringList", [list = names, wanted] {
        return std::find_if(list.begin(), list.end(),
                            [&wanted](QString const & name) {
                                return name.compare(wanted, Qt::CaseInsensitive) == 0;
                            }) -
               list.begin();
    });
}

bool const registered = [] {
    for (int const size : {1000, 100000}) {
        addSorts("sort paths", Names::Paths, size);
        addSorts("sort short", Names::Short, size);
        addAppends(size);
        addFinds(size);
    }
    return true;
}();

} // namespace

#include "shared/data/file_searcher.h"

#include <benchmark/benchmark.h>

#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace
{

void require(bool condition)
{
    if (!condition)
        std::abort();
}

constexpr char word[] = "old-server";

/// Returns a job description in which `word` occurs `matches` times, evenly spaced.
std::string jobs(int size, int matches)
{
    std::string text;
    text.reserve(std::size_t(size) + 64);
    int const distance = size / matches;
    for (int match = 0; match < matches; ++match) {
        while (int(text.size()) < match * distance)
            text += "frame=1024 output=/mnt/share/scene.exr\n";
        text += word;
        text += '\n';
    }
    text.resize(std::size_t(size), '\n');
    return text;
}

using FindNext = char const * (*)(char const * from, char const * end, std::string const & pattern);

char const * byMemmem(char const * from, char const * end, std::string const & pattern)
{
    return static_cast<char const *>(
        memmem(from, std::size_t(end - from), pattern.data(), pattern.size()));
}

char const * byStrcasestr(char const * from, char const *, std::string const & pattern)
{
    return strcasestr(from, pattern.c_str());
}

/// Replaces all matches without the library. Builds a new string from the unchanged parts and the
/// replacements.
int replaceInString(std::string & text, std::string const & before, std::string const & after,
                    FindNext findNext)
{
    std::string result;
    result.reserve(text.size() + text.size() / 16);
    char const * done = text.c_str();
    char const * const end = done + text.size();
    int count = 0;
    while (char const * const found = findNext(done, end, before)) {
        result.append(done, found).append(after);
        done = found + before.size();
        ++count;
    }
    result.append(done, end);
    text.swap(result);
    return count;
}

auto oursIn(int size, int matches)
{
    auto file = std::make_shared<_oxFileSearcher>();
    std::string const text = jobs(size, matches);
    QTemporaryDir const folder;
    QFile written(folder.filePath(QStringLiteral("jobs")));
    require(written.open(QIODevice::WriteOnly) && written.write(text.data(), size) == size);
    written.close();
    require(file->load(written.fileName()));
    return [file](std::string const & before, std::string const & after) {
        return file->replaceAll(_oxString8_evenSize<250>(before.c_str()),
                                _oxString8_evenSize<250>(after.c_str()));
    };
}

auto inString(int size, int matches, FindNext findNext)
{
    auto text = std::make_shared<std::string>(jobs(size, matches));
    return [text, findNext](std::string const & before, std::string const & after) {
        return replaceInString(*text, before, after, findNext);
    };
}

/// Replaces `word` by `other`, and then `other` by `word`, so that each iteration starts with the
/// same text.
template <class Replace>
void replaceAndRestore(benchmark::State & state, int matches, std::string const & other,
                       Replace const & replace)
{
    for (auto _ : state) {
        require(replace(std::string(word), other) == matches);
        require(replace(other, std::string(word)) == matches);
    }
}

void registerReplacing(std::string const & subject, int size, int matches,
                       std::string const & other)
{
    auto const add = [&](char const * who, auto makeReplace) {
        benchmark::RegisterBenchmark((subject + who).c_str(), [=](benchmark::State & state) {
            replaceAndRestore(state, matches, other, makeReplace(size, matches));
        })->Unit(benchmark::kMillisecond);
    };
    add("/oxShared", oursIn);
    add("/memmem", [](int bytes, int count) { return inString(bytes, count, byMemmem); });
    add("/strcasestr", [](int bytes, int count) { return inString(bytes, count, byStrcasestr); });
}

[[maybe_unused]] bool const registered = [] {
    constexpr int mebibyte = 1 << 20;
    for (int const size : {1, 10, 100})
        registerReplacing("replaceAll_every_KiB/" + std::to_string(size) + "MiB", size * mebibyte,
                          size * 1000, "new-server");
    for (int const matches : {100, 10000, 1000000})
        registerReplacing("replaceAll_in_16MiB/" + std::to_string(matches), 16 * mebibyte, matches,
                          "new-server");
    registerReplacing("replaceAll_longer_in_100MiB/100000", 100 * mebibyte, 100000,
                      "a-much-newer-server");
    registerReplacing("replaceAll_shorter_in_100MiB/100000", 100 * mebibyte, 100000, "server");
    return true;
}();

} // namespace

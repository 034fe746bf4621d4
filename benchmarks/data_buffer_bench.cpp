#include "shared/data/data_buffer.h"

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace
{

void require(bool condition)
{
    if (!condition)
        std::abort();
}

// Searching

/// Returns a random text of common words, similar to scripts, logs and job descriptions.
std::string prose(std::size_t size, std::mt19937 & random)
{
    static constexpr char const * words[] = {
        "the",   "frame", "of",     "a",     "render", "job",  "is",      "on",    "client",
        "Scene", "and",   "server", "to",    "file",   "with", "output",  "error", "in",
        "time",  "path",  "Camera", "light", "from",   "was",  "started", "by",    "user"};
    std::string text;
    text.reserve(size + 16);
    while (text.size() < size) {
        text += words[random() % std::size(words)];
        unsigned const ending = random() % 16;
        text += ending == 0 ? "\n" : ending == 1 ? ", " : ending == 2 ? " 1024 " : " ";
    }
    text.resize(size);
    return text;
}

std::string binary(std::size_t size, std::mt19937 & random)
{
    // Mostly small numbers, as in records. The bytes contain no 0, since strcasestr stops at the
    // first 0.
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(),
                  [&] { return random() % 3 ? char(1 + random() % 4) : char(1 + random() % 255); });
    return bytes;
}

std::string repetitive(std::size_t size, std::mt19937 &)
{
    std::string text(size, 'a');
    for (std::size_t i = 1; i < size; i += 2)
        text[i] = 'b';
    return text;
}

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return text;
}

/// A text that contains the pattern only at its end, even if letter case is ignored.
struct Haystack {
    _OX_DataBuffer buffer;
    std::string text;
    std::string pattern;
    _oxString8_evenSize<250> fixedPattern;
};

using Generator = std::string (*)(std::size_t, std::mt19937 &);

std::shared_ptr<Haystack> haystack(Generator generate, std::size_t size, std::size_t length)
{
    std::mt19937 random(1);
    auto result = std::make_shared<Haystack>();
    std::string & text = result->text;
    text = generate(size, random);
    std::string const folded = lowerCase(text);
    std::string & pattern = result->pattern;
    do {
        std::size_t const at = random() % (size - length);
        pattern = text.substr(at, length);
        std::swap(pattern[random() % length], pattern[random() % length]);
        pattern[random() % length] = text[random() % size];
    } while (folded.find(lowerCase(pattern)) != std::string::npos);
    text.replace(size - length, length, pattern);
    require(result->buffer.append(text.data(), int(size)));
    result->fixedPattern.fromChar(pattern.data(), int(length));
    return result;
}

struct FoldedHash {
    std::size_t operator()(char c) const
    {
        return std::size_t(std::tolower(static_cast<unsigned char>(c)));
    }
};

struct FoldedEqual {
    bool operator()(char a, char b) const { return FoldedHash()(a) == FoldedHash()(b); }
};

using Search = std::ptrdiff_t (*)(Haystack const &);

std::ptrdiff_t byHorspool(Haystack const & h)
{
    std::boyer_moore_horspool_searcher const searcher(h.pattern.begin(), h.pattern.end());
    return std::search(h.text.begin(), h.text.end(), searcher) - h.text.begin();
}

std::ptrdiff_t byFoldedHorspool(Haystack const & h)
{
    std::boyer_moore_horspool_searcher const searcher(h.pattern.begin(), h.pattern.end(),
                                                      FoldedHash(), FoldedEqual());
    return std::search(h.text.begin(), h.text.end(), searcher) - h.text.begin();
}

constexpr struct {
    char const * subject;
    char const * who;
    Search search;
} searches[] = {
    {"indexOf", "oxShared",
     [](Haystack const & h) -> std::ptrdiff_t { return h.buffer.indexOf(h.fixedPattern, 0); }},
    {"indexOf", "memmem",
     [](Haystack const & h) -> std::ptrdiff_t {
         void const * const found =
             memmem(h.text.data(), h.text.size(), h.pattern.data(), h.pattern.size());
         return static_cast<char const *>(found) - h.text.data();
     }},
    {"indexOf", "horspool", byHorspool},
    {"indexOfIgnCase", "oxShared",
     [](Haystack const & h) -> std::ptrdiff_t {
         return h.buffer.indexOfIgnCase(h.fixedPattern, 0);
     }},
    {"indexOfIgnCase", "strcasestr",
     [](Haystack const & h) -> std::ptrdiff_t {
         return strcasestr(h.text.c_str(), h.pattern.c_str()) - h.text.c_str();
     }},
    {"indexOfIgnCase", "horspool", byFoldedHorspool},
};

void registerSearches()
{
    constexpr struct {
        char const * name;
        Generator generate;
    } kinds[] = {{"prose", prose}, {"binary", binary}, {"repetitive", repetitive}};
    constexpr struct {
        char const * name;
        std::size_t size;
    } sizes[] = {{"64KiB", 1 << 16}, {"16MiB", 1 << 24}};
    for (auto const & kind : kinds) {
        for (std::size_t const length : {4, 12, 60}) {
            for (auto const & size : sizes) {
                auto const data = haystack(kind.generate, size.size, length);
                for (auto const & search : searches) {
                    std::string const name = std::string(search.subject) + "_" + kind.name + "_" +
                                             std::to_string(length) + "/" + size.name + "/" +
                                             search.who;
                    auto const expected = std::ptrdiff_t(size.size - length);
                    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State & state) {
                        for (auto _ : state)
                            require(search.search(*data) == expected);
                    });
                }
            }
        }
    }
}

// Files

/// The files to load and the folder for saved files. Both are created on first use.
class Files
{
  public:
    static Files & instance()
    {
        static Files files;
        return files;
    }

    QByteArray path(char const * name) const
    {
        return folder_.filePath(QString::fromLatin1(name)).toUtf8();
    }

    _OX_DataBuffer content;

  private:
    Files()
    {
        std::mt19937 random(2);
        _OX_DataBuffer large;
        require(large.newsize(256 << 20, 768));
        large.size = large.sizeAllocated;
        for (int at = 0; at < large.size; at += 64) // one random byte in each cache line
            large.data[at] = char(random());
        require(large.saveToFile(path("large").constData(), true));
        std::string text = prose(1 << 24, random);
        require(content.append(text.data(), int(text.size())));
        require(content.saveToFileCompressed(path("packed").constData()));
    }

    QTemporaryDir folder_;
};

struct Block {
    char * bytes = nullptr;
    ~Block() { std::free(bytes); }
};

void loadByRead(Files const & files)
{
    constexpr int size = (256 << 20) + 36;
    Block block{static_cast<char *>(std::malloc(std::size_t{size}))};
    QFile file(QString::fromUtf8(files.path("large")));
    require(file.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    require(file.read(block.bytes, size) == size);
    benchmark::DoNotOptimize(block.bytes);
}

void saveByZlib(Files const & files)
{
    gzFile const file = gzopen(files.path("zlib").constData(), "wb");
    require(gzwrite(file, files.content.data, unsigned(files.content.size)) == files.content.size);
    require(gzclose(file) == Z_OK);
}

void loadByZlib(Files const & files)
{
    Block block{static_cast<char *>(std::malloc(std::size_t(files.content.size)))};
    gzFile const file = gzopen(files.path("packed").constData(), "rb");
    require(gzread(file, block.bytes, 36) == 36);
    require(gzread(file, block.bytes, unsigned(files.content.size)) == files.content.size);
    gzclose(file);
}

void registerFiles()
{
    struct {
        char const * name;
        std::function<void(Files &)> run;
    } const jobs[] = {
        {"loadFromFile/256MiB/oxShared",
         [](Files & f) {
             _OX_DataBuffer buffer;
             require(buffer.loadFromFile(f.path("large").constData(), true));
         }},
        {"loadFromFile/256MiB/read", loadByRead},
        {"saveToFileCompressed/16MiB/oxShared",
         [](Files & f) { require(f.content.saveToFileCompressed(f.path("ours").constData())); }},
        {"saveToFileCompressed/16MiB/zlib", saveByZlib},
        {"loadFromFileCompressed/16MiB/oxShared",
         [](Files & f) {
             _OX_DataBuffer buffer;
             require(buffer.loadFromFileCompressed(f.path("packed").constData(), true));
         }},
        {"loadFromFileCompressed/16MiB/zlib", loadByZlib},
    };
    for (auto const & job : jobs) {
        benchmark::RegisterBenchmark(job.name, [run = job.run](benchmark::State & state) {
            Files & files = Files::instance();
            for (auto _ : state)
                run(files);
        })->Unit(benchmark::kMillisecond);
    }
}

[[maybe_unused]] bool const registered = [] {
    registerSearches();
    registerFiles();
    return true;
}();

} // namespace

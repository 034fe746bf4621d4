#include "shared/data/file_searcher.h"

#include "shared/data/byte_search.h"
#include "tests/fuzz/fuzz_input.h"

// Fuzzes searches, changes of the content and replacements by the file searcher, and compares the
// results with a simple implementation. Many contents repeat a piece of the input, since the search
// switches to another algorithm after many partial matches.

namespace
{

using namespace ox::fuzz;
using Pattern = _oxString8_evenSize<500>;

bool same(char a, char b)
{
    return upper(a) == upper(b);
}

int findIgnoringCase(std::string const & text, std::string_view pattern, int from)
{
    return pattern.empty() ? -1 : naiveFind(std::string_view(text), pattern, from, same);
}

std::string repeated(Input & in)
{
    std::string const piece = in.text();
    int const count = std::min<int>(in.number<std::uint16_t>(), 6000 / (int(piece.size()) + 1));
    std::string text;
    for (int i = 0; i < count; ++i)
        text += piece;
    return text + in.text();
}

/// Replaces all matches. By the documented rule, a match that includes the last byte is counted but
/// not replaced.
int replaceAll(std::string & text, std::string_view search, std::string_view replacement)
{
    int count = 0;
    int done = 0;
    std::string result;
    for (int at = 0; (at = findIgnoringCase(text, search, done)) >= 0;) {
        ++count;
        if (std::size_t(at) + search.size() == text.size())
            break;
        result += text.substr(std::size_t(done), std::size_t(at - done)).append(replacement);
        done = at + int(search.size());
    }
    text = result + text.substr(std::size_t(done));
    return count;
}

std::string utf16(std::string_view latin1)
{
    std::string bytes;
    for (char const c : latin1.substr(0, 250))
        bytes += {c, '\0'};
    return bytes;
}

void operate(Input & in, _oxFileSearcher & file, std::string & text)
{
    int const operation = in.below(8);
    int at = in.position();
    if (at < 250 && in.flag())
        at = std::max(file.size - at, -1);
    std::string const bytes = repeated(in).substr(0, 500);
    Pattern const pattern{std::string_view(bytes)};
    bool const isInside = at >= 0 && at < file.size;
    auto const place = std::size_t(isInside ? at : 0);
    switch (operation) {
    case 0: {
        int const exact = bytes.empty() ? -1
                                        : naiveFind(std::string_view(text), pattern.view(), at,
                                                    std::equal_to<char>());
        OX_HOLDS(file.indexOf(pattern, at) == exact);
        OX_HOLDS(file.indexOfIgnCase(pattern, at) == findIgnoringCase(text, bytes, at));
        break;
    }
    case 1: { // a ByteSearch keeps its state between searches
        ox::data::ByteSearch<true> search(bytes);
        int from = 0;
        for (int i = 0; i < 10 && from >= 0; ++i) {
            int const found = search.find(text, from);
            OX_HOLDS(found == findIgnoringCase(text, bytes, from));
            from = found < 0 ? -1 : found + 1;
        }
        break;
    }
    case 2:
        OX_HOLDS(file.insert(at, pattern) == isInside);
        if (isInside)
            text.insert(place, bytes);
        break;
    case 3: {
        int const length = in.position();
        bool const fits = isInside && std::int64_t{at} + length < file.size;
        OX_HOLDS(file.replace(at, pattern, length) == fits);
        if (fits && length >= 0)
            text.replace(place, std::size_t(length), bytes);
        else if (fits)
            text.replace(place, bytes.size(), bytes, 0, text.size() - place);
        break;
    }
    case 4: {
        int const delta = in.position();
        bool const isEnd = at == file.size;
        bool const fits = delta == 0 || ((isInside || isEnd) && delta <= 1000 &&
                                         (delta > 0 || std::int64_t{at} - delta < file.size));
        if (delta > 1000)
            break;
        OX_HOLDS(file.changeDataSize(at, delta) == fits);
        if (!fits || delta == 0)
            break;
        if (delta > 0) {
            std::fill_n(file.data + at, delta, '#');
            text.insert(std::size_t(at), std::size_t(delta), '#');
        } else {
            text.erase(place, std::size_t(-delta));
        }
        break;
    }
    case 5:
    case 6: {
        std::string const by = in.text().substr(0, 40);
        Pattern const replacement{std::string_view(by)};
        int const count = operation == 5 ? replaceAll(text, bytes, by)
                                         : replaceAll(text, utf16(bytes), utf16(by));
        OX_HOLDS(count == (operation == 5 ? file.replaceAll(pattern, replacement)
                                          : file.replaceAll_unicode(pattern, replacement)));
        break;
    }
    default:
        OX_HOLDS(file.save(QString()) == (file.size > 0));
        OX_HOLDS(file.size == 0 || contentOf(file.fileName) == text);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size)
{
    Input in(data, size);
    std::string text = repeated(in);
    _oxFileSearcher file;
    OX_HOLDS(file.load(writeFile("content", text)));
    for (int i = 0; i < 12 && !in.isAtEnd() && text.size() < 20'000; ++i) {
        operate(in, file, text);
        OX_HOLDS(std::string_view(file.data, std::size_t(file.size)) == text);
    }
    return 0;
}

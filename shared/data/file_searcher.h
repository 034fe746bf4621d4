#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string8.h"

#include <QString>

#include <cstdint>
#include <string_view>

/// Finds and replaces text in a file that is loaded whole.
///
///     _oxFileSearcher file;
///     if (file.load(name) && file.replaceAll(oldServer, newServer) > 0)
///         file.save(QString());
///
/// Texts are bytes. What fails returns false, -1 or 0 and leaves the content as it was, a failed
/// load() aside. The fields are there to be read. A searcher belongs to one thread at a time.
class OX_EXPORT _oxFileSearcher
{
  public:
    static constexpr std::int32_t largestFile = 512 << 20;
    /// What a new block holds more than there is to keep, so that edits need no other.
    static constexpr std::int32_t headroom = 512 << 10;

    char * data = nullptr;          ///< the file's bytes (new[]), owned
    QString fileName;               ///< the file last loaded, or saved under a new name
    std::int32_t capacity = 0;      ///< bytes usable in data; the block has 10 more
    std::int32_t spareCapacity = 0; ///< the same of spare
    std::int32_t size = 0;          ///< valid bytes in data
    char * spare = nullptr;         ///< the block that a change of size moves to (new[]), owned

    _oxFileSearcher() = default;
    ~_oxFileSearcher();
    _oxFileSearcher(_oxFileSearcher const &) = delete;
    _oxFileSearcher & operator=(_oxFileSearcher const &) = delete;

    /// Frees both blocks and empties the searcher; only the name stays.
    void freeBuffer();

    /// Loads a file of at most 512 MiB. When it cannot be opened all stays as it was. When it
    /// cannot be read whole, or there is no memory for it, the searcher is empty and nothing can be
    /// saved under the name of before.
    bool load(QString const & file);

    /// Writes the content over a file, or the one last loaded when the name is empty; the name is
    /// kept also when that fails. Nothing is written when there is no content. A failure on the
    /// way, as on a full disk, leaves the file cut short.
    bool save(QString const & file);

    /// The first position at or after from where the pattern stands, or -1. An empty pattern is
    /// found nowhere; a negative from counts as 0.
    template <int N>
    int indexOf(_oxString8_evenSize<N> const & pattern, int from) const
    {
        return find(textOf(pattern), from);
    }

    /// The same, with ASCII letters matching in either case.
    template <int N>
    int indexOfIgnCase(_oxString8_evenSize<N> const & pattern, int from) const
    {
        return findIgnoringCase(textOf(pattern), from);
    }

    /// Opens a gap of delta bytes at pos, to be filled by the caller, or removes -delta bytes from
    /// there. Fails when the bytes to remove reach the last one, when pos is no position, when the
    /// gap is larger than both the headroom and the spare block, and without memory.
    bool changeDataSize(int pos, int delta);

    /// Inserts a text at a position of the content, which its end deliberately is not: a file keeps
    /// its last byte, which usually ends its last line.
    template <int N>
    bool insert(int pos, _oxString8_evenSize<N> const & text)
    {
        return insertText(pos, textOf(text));
    }

    /// Puts a text in the place of oldLen bytes. The bytes must not reach the last one, as for
    /// insert(). A negative oldLen overwrites what is there, and what would lie behind the end is
    /// cut off.
    template <int N>
    bool replace(int pos, _oxString8_evenSize<N> const & text, int oldLen)
    {
        return replaceText(pos, textOf(text), oldLen);
    }

    /// Replaces all occurrences, ASCII letters matching in either case, from left to right and not
    /// within what it inserted. Returns their number: deliberately with one that touches the last
    /// byte, which stays as replace() leaves it. Takes one pass over the content. 0 as well, and
    /// nothing replaced, when the result has no place in memory or 2 GiB.
    template <int N>
    int replaceAll(_oxString8_evenSize<N> const & search,
                   _oxString8_evenSize<N> const & replacement)
    {
        return replaceEach(textOf(search), textOf(replacement));
    }

    /// replaceAll() for content in UTF-16LE, whose texts are given in Latin-1: the first 250
    /// characters of each. The bytes are searched, whatever the place at which a character begins.
    int replaceAll_unicode(_oxString8_evenSize<500> const & search,
                           _oxString8_evenSize<500> const & replacement);

    /// Loads a file, replaces all and saves it if there was something to replace; returns the
    /// number. 0 when it cannot be loaded; whether it could be saved is not told.
    template <int N>
    int replaceAll(QString const & file, _oxString8_evenSize<N> const & search,
                   _oxString8_evenSize<N> const & replacement)
    {
        return replaceInFile(file, textOf(search), textOf(replacement));
    }

    /// The same with what converts to such texts.
    int replaceAll(QString const & file, _oxString8_evenSize<250> const & search,
                   _oxString8_evenSize<250> const & replacement)
    {
        return replaceInFile(file, textOf(search), textOf(replacement));
    }

  private:
    template <int N>
    static std::string_view textOf(_oxString8_evenSize<N> const & text)
    {
        static_assert(N <= 500, "Patterns have up to 500 bytes.");
        return text.view();
    }

    int find(std::string_view pattern, int from) const;
    int findIgnoringCase(std::string_view pattern, int from) const;
    bool hasPosition(int pos) const { return pos >= 0 && pos < size; }
    bool insertText(int pos, std::string_view text);
    bool replaceText(int pos, std::string_view text, int oldLen);
    int replaceEach(std::string_view search, std::string_view replacement);
    int replaceInFile(QString const & file, std::string_view search, std::string_view replacement);
};

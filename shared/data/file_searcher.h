#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string8.h"

#include <QString>

#include <cstdint>
#include <string_view>

/// Finds and replaces text in a file that is loaded into memory.
///
///     _oxFileSearcher file;
///     if (file.load(name) && file.replaceAll(oldServer, newServer) > 0)
///         file.save(QString());
///
/// Texts are bytes. The data members are read-only for callers.
/// Fails: a function returns false, -1 or 0 and leaves the content unchanged. Only load() can leave
/// the searcher empty.
/// Threads: one thread at a time.
class OX_EXPORT _oxFileSearcher
{
  public:
    /// Largest file that load() accepts, in bytes: 512 MiB.
    static constexpr std::int32_t largestFile = 512 << 20;
    /// Spare capacity of a new block in bytes (512 KiB), so that small edits need no reallocation.
    static constexpr std::int32_t headroom = 512 << 10;

    char * data = nullptr;          ///< the file's bytes (new[]), owned
    QString fileName;               ///< the file last loaded, or saved under a new name
    std::int32_t capacity = 0;      ///< usable bytes of `data`; the block has 10 more
    std::int32_t spareCapacity = 0; ///< usable bytes of `spare`
    std::int32_t size = 0;          ///< valid bytes of `data`
    char * spare = nullptr;         ///< block for the content after a change of size (new[]), owned

    /// Creates an empty searcher without memory.
    _oxFileSearcher() = default;
    ~_oxFileSearcher();
    _oxFileSearcher(_oxFileSearcher const &) = delete;
    _oxFileSearcher & operator=(_oxFileSearcher const &) = delete;

    /// Frees the blocks `data` and `spare`, and sets the sizes to 0. `fileName` stays unchanged.
    void freeBuffer();

    /// Loads a file of at most `largestFile` bytes.
    /// Fails: if the file is too large, is a folder or cannot be opened, the searcher stays
    /// unchanged. If the file cannot be read completely or memory is lacking, the searcher is
    /// empty, and save() then fails.
    bool load(QString const & file);

    /// Writes the content to a file, or to `fileName` when `file` is empty. A given name replaces
    /// `fileName`, even if the call fails.
    /// Fails: if there is no content, writes nothing. An error during the write, such as a full
    /// disk, leaves the file truncated.
    bool save(QString const & file);

    /// Returns the position of the first match of `pattern` at or after `from`, or -1. Case
    /// matters. An empty pattern gives -1. A negative `from` counts as 0.
    template <int N>
    int indexOf(_oxString8_evenSize<N> const & pattern, int from) const
    {
        return find(textOf(pattern), from);
    }

    /// Returns the position of the first match of `pattern` at or after `from`, ignoring the case
    /// of ASCII letters, or -1. An empty pattern gives -1. A negative `from` counts as 0.
    template <int N>
    int indexOfIgnCase(_oxString8_evenSize<N> const & pattern, int from) const
    {
        return findIgnoringCase(textOf(pattern), from);
    }

    /// Inserts `delta` uninitialised bytes at `pos` (0 to `size`). A negative `delta` removes
    /// `-delta` bytes at `pos`.
    /// Fails: in each of these cases:
    /// - `pos` is out of range.
    /// - The call would remove the last byte of the content.
    /// - Memory is lacking.
    /// - `delta` exceeds `headroom`, and the result does not fit into the spare block.
    bool changeDataSize(int pos, int delta);

    /// Inserts `text` at `pos` (0 to `size` - 1).
    /// Fails: as changeDataSize().
    /// Compatibility: nothing can be inserted at the end, so that a file keeps its last byte, which
    /// usually ends its last line.
    template <int N>
    bool insert(int pos, _oxString8_evenSize<N> const & text)
    {
        return insertText(pos, textOf(text));
    }

    /// Replaces `oldLen` bytes at `pos` by `text`. With a negative `oldLen` the text overwrites the
    /// bytes from `pos` on and is cut at the end of the content.
    /// Fails: if `pos` is out of range or the call would replace the last byte of the content. The
    /// other failures are those of changeDataSize().
    template <int N>
    bool replace(int pos, _oxString8_evenSize<N> const & text, int oldLen)
    {
        return replaceText(pos, textOf(text), oldLen);
    }

    /// Replaces all occurrences of `search`, ignoring the case of ASCII letters, and returns their
    /// number. Works from left to right in one pass; inserted text is not searched.
    /// Fails: returns 0 and replaces nothing when memory is lacking or the result exceeds 2 GiB.
    /// Compatibility: an occurrence that includes the last byte is counted but not replaced, since
    /// replace() refuses a range that includes the last byte.
    template <int N>
    int replaceAll(_oxString8_evenSize<N> const & search,
                   _oxString8_evenSize<N> const & replacement)
    {
        return replaceEach(textOf(search), textOf(replacement));
    }

    /// Replaces all occurrences in UTF-16LE content, as replaceAll() does. `search` and
    /// `replacement` are Latin-1; only their first 250 characters count. The search compares bytes,
    /// so an occurrence can begin inside a character.
    int replaceAll_unicode(_oxString8_evenSize<500> const & search,
                           _oxString8_evenSize<500> const & replacement);

    /// Loads a file, replaces all occurrences and saves the file if an occurrence was found.
    /// Returns the number of occurrences, or 0 when the file cannot be loaded. A failed save is not
    /// reported.
    template <int N>
    int replaceAll(QString const & file, _oxString8_evenSize<N> const & search,
                   _oxString8_evenSize<N> const & replacement)
    {
        return replaceInFile(file, textOf(search), textOf(replacement));
    }

    /// Replaces all occurrences in a file, with texts that convert to strings of capacity 250.
    /// Returns the number of occurrences, or 0 when the file cannot be loaded. A failed save is not
    /// reported.
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

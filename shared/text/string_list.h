#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

/// A growable list of wide strings in one block of memory: the fixed-layout alternative to
/// QStringList. Lookups may ignore the case of ASCII letters.
///
///     _oxStringList frames;
///     frames.append(name, true, false); // unless it is there, in any case
///     frames.sort(false);
///
/// References to entries are valid until the list is changed. When memory is short, `append` and
/// copying leave the list empty.
class OX_EXPORT _oxStringList
{
  public:
    using Entry = _oxString<500>;

    _oxStringList() = default;
    _oxStringList(_oxStringList const & other) { copyFrom(other); }
    _oxStringList(_oxStringList && other) noexcept { swap(other); }
    _oxStringList & operator=(_oxStringList const & other)
    {
        copyFrom(other);
        return *this;
    }
    _oxStringList & operator=(_oxStringList && other) noexcept
    {
        swap(other);
        return *this;
    }
    ~_oxStringList() { clear(); }

    /// Takes a copy of the other's entries, byte for byte.
    void copyFrom(_oxStringList const & other);
    void swap(_oxStringList & other) noexcept
    {
        std::swap(count_, other.count_);
        std::swap(items_, other.items_);
    }

    /// Removes all entries and frees their memory.
    void clear();

    int count() const { return count_; }
    int size() const { return count_; }
    bool isEmpty() const { return count_ == 0; }

    Entry const * begin() const { return items_; }
    Entry const * end() const { return items_ + count_; }

    /// The entry at i, which must be one of the list; any i gives the empty string in an empty
    /// list.
    Entry const & operator[](int i) const { return items_ ? items_[i] : emptyEntry(); }
    /// The entry at i. Any other i is deliberately answered with the first entry: the farm's
    /// applications show that one where a stored selection is out of date.
    Entry const & at(int const & i) const { return (*this)[i >= 0 && i < count_ ? i : 0]; }
    /// The low bytes of the first 499 units of `at(i)`, zero-terminated, in a buffer of the list.
    /// The next call overwrites them.
    char const * atAsChar(int const & i) const;

    /// Index of the first entry that equals s, or -1.
    int find(Entry const & s, bool const & caseSensitive) const;

    /// Adds a copy of s at the end, with `unique` only when `find` does not find it. s may be an
    /// entry of the list.
    void append(Entry const & s, bool const & unique, bool const & caseSensitive);

    /// Sorts by `compare` of the entries, which ignores case; equal entries stay in their order,
    /// also when `descending`. Needs 16 bytes an entry for a while; without them it sorts in place,
    /// which takes longer.
    ///
    /// Compatibility: only the reserved words of the entries stay where they are, since they belong
    /// to the place and not to the text.
    void sort(bool const & descending);

    /// ("first", "second")
    friend OX_EXPORT QString oxPrintedText(_oxStringList const & list);

  private:
    struct Layout;

    static Entry const & emptyEntry();
    bool grow();

    std::int32_t count_ = 0;
    Entry * items_ = nullptr; ///< null exactly when there are no entries
    mutable char scratch_[501] = {};
};

/// The pointer is all that differs between the builds.
struct _oxStringList::Layout {
    static_assert(std::is_standard_layout_v<_oxStringList>);
    static_assert(offsetof(_oxStringList, count_) == 0);
    static_assert(offsetof(_oxStringList, items_) == sizeof(void *));
    static_assert(offsetof(_oxStringList, scratch_) == 2 * sizeof(void *));
    static_assert(sizeof(_oxStringList) == (sizeof(void *) == 8 ? 520 : 512));
};

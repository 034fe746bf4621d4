#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

/// Growable array of wide strings in one block of memory. The list object has a fixed memory
/// layout. Searches can ignore the case of ASCII letters.
///
///     _oxStringList frames;
///     // Appends the name unless an entry equals the name, ignoring case.
///     frames.append(name, true, false);
///     frames.sort(false);
///
/// References to entries are valid until the list changes.
/// Fails: if a memory allocation fails, `append` and copying leave the list empty.
class OX_EXPORT _oxStringList
{
  public:
    /// Type of the entries.
    using Entry = _oxString<500>;

    /// Creates an empty list. Allocates no memory.
    _oxStringList() = default;
    /// Copies `other`, as copyFrom does.
    _oxStringList(_oxStringList const & other) { copyFrom(other); }
    /// Moves the entries of `other` to the new list and leaves `other` empty.
    _oxStringList(_oxStringList && other) noexcept { swap(other); }
    /// Copies `other`, as copyFrom does.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): copyFrom tests for self-assignment
    _oxStringList & operator=(_oxStringList const & other)
    {
        copyFrom(other);
        return *this;
    }
    /// Swaps the entries of this list and `other`.
    _oxStringList & operator=(_oxStringList && other) noexcept
    {
        swap(other);
        return *this;
    }
    ~_oxStringList() { clear(); }

    /// Replaces the entries of this list by byte-for-byte copies of the entries of `other`.
    void copyFrom(_oxStringList const & other);
    /// Swaps the entries of this list and `other` without copying them.
    void swap(_oxStringList & other) noexcept
    {
        std::swap(count_, other.count_);
        std::swap(items_, other.items_);
    }

    /// Removes all entries and frees their memory.
    void clear();

    /// Number of entries.
    int count() const { return count_; }
    /// Number of entries, the same as count().
    int size() const { return count_; }
    /// Returns whether the list has no entries.
    bool isEmpty() const { return count_ == 0; }

    /// The first entry.
    Entry const * begin() const { return items_; }
    /// The end of the entries.
    Entry const * end() const { return items_ + count_; }

    /// Returns entry `i` without a range check: `i` must be 0 to count() - 1. In an empty list any
    /// `i` gives the empty string.
    Entry const & operator[](int i) const { return items_ ? items_[i] : emptyEntry(); }
    /// Returns entry `i`, or the first entry if `i` is out of range. An empty list gives the empty
    /// string.
    /// Compatibility: the farm's applications show the first entry if a stored selection is out of
    /// date.
    Entry const & at(int const & i) const { return (*this)[i >= 0 && i < count_ ? i : 0]; }
    /// Returns entry `at(i)` as zero-terminated bytes: the low bytes of its first 499 units. The
    /// bytes are in a buffer of the list, which the next call overwrites.
    char const * atAsChar(int const & i) const;

    /// Returns the index of the first entry that equals `s`, or -1. Ignores case unless
    /// `caseSensitive` is true.
    int find(Entry const & s, bool const & caseSensitive) const;

    /// Appends a copy of `s`. If `unique` is true and `find(s, caseSensitive)` finds an entry,
    /// appends nothing. `s` may be an entry of the list.
    /// Fails: when memory is lacking; the list is then empty.
    void append(Entry const & s, bool const & unique, bool const & caseSensitive);

    /// Sorts the entries by _oxString::compare, which ignores case. The order is descending if
    /// `descending` is true, else ascending. The sort is stable in both orders. It temporarily
    /// allocates 16 bytes per entry; if the allocation fails, it sorts in place and takes longer.
    ///
    /// Compatibility: the sort does not move the `reserved` members of the entries. A `reserved`
    /// member belongs to a position in the list and not to a text.
    void sort(bool const & descending);

    /// Returns the entries of `list` in the form ("first", "second"), for logs and messages.
    friend OX_EXPORT QString oxPrintedText(_oxStringList const & list);

  private:
    struct Layout;

    static Entry const & emptyEntry();
    bool grow();

    std::int32_t count_ = 0;
    Entry * items_ = nullptr; ///< null if and only if the list is empty
    mutable char scratch_[501] = {};
};

/// Checks the memory layout of the list at compile time. Only the pointer size differs between
/// 32-bit and 64-bit builds.
struct _oxStringList::Layout {
    static_assert(std::is_standard_layout_v<_oxStringList>);
    static_assert(offsetof(_oxStringList, count_) == 0);
    static_assert(offsetof(_oxStringList, items_) == sizeof(void *));
    static_assert(offsetof(_oxStringList, scratch_) == 2 * sizeof(void *));
    static_assert(sizeof(_oxStringList) == (sizeof(void *) == 8 ? 520 : 512));
};

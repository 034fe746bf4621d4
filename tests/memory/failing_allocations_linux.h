#pragma once

#include <new>

namespace ox::tests
{

/// Which allocations of the thread fail: a single allocation, or also all later ones.
enum class Failing { One, AllFrom };

/// Makes the allocation with the given number, counted from 1, fail during an operation. Counts all
/// calls of malloc, including those by operator new, Qt, zlib and the C library.
class MemoryLimit
{
  public:
    MemoryLimit(Failing failing, long number) : failing_(failing), number_(number) {}

    /// Runs a part of the operation under the limit. The part may throw std::bad_alloc.
    template <typename Work>
    void during(Work const & work)
    {
        begin();
        try {
            work();
        } catch (std::bad_alloc const &) {
            hasThrown_ = true;
        }
        end();
    }

    bool hasThrown() const { return hasThrown_; }
    /// Returns whether an allocation has failed.
    bool wasReached() const { return wasReached_; }

    /// Returns the number of blocks that the thread has allocated and not freed.
    static long liveBlocks();

  private:
    void begin() const;
    void end();

    Failing const failing_;
    long number_;
    bool hasThrown_ = false;
    bool wasReached_ = false;
};

} // namespace ox::tests

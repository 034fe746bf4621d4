#pragma once

#include <new>

namespace ox::tests
{

/// Which allocations of the thread fail: one, or all from one on.
enum class Failing { One, AllFrom };

/// Memory that ends: the allocation of a number, counted from 1, fails during an operation. That
/// holds for malloc and what it carries: operator new, Qt, zlib and the C library.
class MemoryLimit
{
  public:
    MemoryLimit(Failing failing, long number) : failing_(failing), number_(number) {}

    /// Runs work of the operation. It may throw std::bad_alloc.
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
    /// Whether an allocation has failed.
    bool wasReached() const { return wasReached_; }

    /// The blocks that the thread has allocated and not freed.
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

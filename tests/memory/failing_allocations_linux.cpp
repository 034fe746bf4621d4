// The allocator of the test program. Its functions replace malloc() and the other allocation
// functions of the C library, in the program and in all of its libraries.

#include "tests/memory/failing_allocations_linux.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>

extern "C" {
void * __libc_malloc(std::size_t size);
void * __libc_calloc(std::size_t count, std::size_t size);
void * __libc_realloc(void * block, std::size_t size);
void * __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void * block);
}

namespace
{

constexpr long never = 0;

thread_local long untilFailure = never;
thread_local bool allFail = false;
thread_local bool hasFailed = false;
thread_local long live = 0;

bool fails()
{
    if (untilFailure == never || --untilFailure > 0)
        return false;
    untilFailure = allFail ? 1 : never;
    hasFailed = true;
    errno = ENOMEM;
    return true;
}

void * counted(void * block)
{
    live += block != nullptr;
    return block;
}

} // namespace

#define OX_REPLACES extern "C" __attribute__((visibility("default")))

OX_REPLACES void * malloc(std::size_t size)
{
    return fails() ? nullptr : counted(__libc_malloc(size));
}

OX_REPLACES void * calloc(std::size_t count, std::size_t size)
{
    return fails() ? nullptr : counted(__libc_calloc(count, size));
}

OX_REPLACES void * realloc(void * block, std::size_t size)
{
    if (fails())
        return nullptr;
    void * const moved = __libc_realloc(block, size);
    live += (moved != nullptr) - (block != nullptr && (moved != nullptr || size == 0));
    return moved;
}

OX_REPLACES void * memalign(std::size_t alignment, std::size_t size)
{
    return fails() ? nullptr : counted(__libc_memalign(alignment, size));
}

OX_REPLACES void * aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

OX_REPLACES int posix_memalign(void ** block, std::size_t alignment, std::size_t size)
{
    *block = memalign(alignment, size);
    return *block ? 0 : ENOMEM;
}

OX_REPLACES void free(void * block)
{
    live -= block != nullptr;
    __libc_free(block);
}

namespace ox::tests
{

void MemoryLimit::begin() const
{
    hasFailed = false;
    allFail = failing_ == Failing::AllFrom;
    untilFailure = number_;
}

void MemoryLimit::end()
{
    // Keeps the countdown, which the next call of during() continues.
    number_ = untilFailure;
    untilFailure = never;
    wasReached_ = wasReached_ || hasFailed;
}

long MemoryLimit::liveBlocks()
{
    return live;
}

} // namespace ox::tests

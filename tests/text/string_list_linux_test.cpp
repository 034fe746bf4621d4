#include "shared/text/string_list.h"

#include "tests/support/this_build.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>
#include <utility>

#include <sys/resource.h>

using namespace ox::tests;

namespace
{

/// Limits the memory of the process to its current size and `more` bytes.
class MemoryLimit
{
  public:
    explicit MemoryLimit(rlim_t more)
    {
        rlim_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        ::getrlimit(RLIMIT_AS, &before_);
        rlimit const limit{pages * 4096 + more, before_.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_AS, &limit), 0);
    }
    ~MemoryLimit() { ::setrlimit(RLIMIT_AS, &before_); }
    MemoryLimit(MemoryLimit const &) = delete;

  private:
    rlimit before_;
};

TEST(StringList, IsEmptyAndUsableAfterMemoryRanOut)
{
    if (hasAddressSanitizer)
        GTEST_SKIP() << "the address sanitizer does not run under a limit of memory";
    _oxStringList large;
    for (int i = 0; i < 40000; ++i)
        large.append("frame", false, false);
    _oxStringList copy;
    _oxStringList list;
    {
        MemoryLimit const limit(20 << 20);
        copy.append("lost", false, false);
        copy = large;
        EXPECT_TRUE(copy.isEmpty());

        int appended = 0;
        do
            list.append("frame", false, false);
        while (++appended < large.count() && !list.isEmpty());
        EXPECT_TRUE(list.isEmpty());
        for (int i = 0; i < 5000; ++i)
            list.append("frame", false, false);
        EXPECT_EQ(list.count(), 5000) << "the block was freed";
    }
    EXPECT_EQ(large.count(), 40000);
}

/// Allocates all memory of the process in ever smaller blocks.
class Hoarder
{
  public:
    Hoarder()
    {
        for (std::size_t size = 1 << 20; size >= sizeof(Piece); size /= 2) {
            while (void * const memory = std::malloc(size))
                last_ = new (memory) Piece{last_};
        }
    }
    ~Hoarder()
    {
        while (last_)
            std::free(std::exchange(last_, last_->before));
    }
    Hoarder(Hoarder const &) = delete;

  private:
    struct Piece {
        Piece * before;
    };
    Piece * last_ = nullptr;
};

TEST(StringList, SortsWithoutMemory)
{
    if (hasAddressSanitizer)
        GTEST_SKIP() << "the address sanitizer does not run under a limit of memory";
    int const count = 3000;
    _oxStringList list;
    for (int i = 0; i < count; ++i) {
        list.append(QString::number(i * 7919 % count / 2), false, false);
        const_cast<_oxStringList::Entry &>(list[i]).value[400] = static_cast<unsigned short>(i);
    }
    for (bool const descending : {false, true}) {
        _oxStringList expected = list;
        expected.sort(descending);
        _oxStringList sorted = list;
        bool hadMemory = true;
        {
            MemoryLimit const limit(0);
            Hoarder const hoarder;
            void * const memory = std::malloc(16 * count);
            hadMemory = memory;
            std::free(memory);
            sorted.sort(descending);
        }
        EXPECT_FALSE(hadMemory);
        ASSERT_EQ(sorted.count(), count);
        for (int i = 0; i < count; ++i)
            ASSERT_TRUE(std::memcmp(&sorted[i], &expected[i], sizeof sorted[i]) == 0) << i;
    }
}

} // namespace

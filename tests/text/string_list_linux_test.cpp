#include "shared/text/string_list.h"

#include <gtest/gtest.h>

#include <fstream>

#include <sys/resource.h>

namespace
{

/// Lets the process take only so many bytes beyond those that it has.
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
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the address sanitizer does not run under a limit of memory";
#endif
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
        EXPECT_EQ(list.count(), 5000) << "the block was given back";
    }
    EXPECT_EQ(large.count(), 40000);
}

} // namespace

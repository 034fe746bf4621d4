#include "tests/crash/crash_fixture.h"
#include "tests/crash/expected_ends.h"

#include <QDir>

using namespace ox::tests;

std::span<ExpectedEnd const> expectedEnds()
{
    static constexpr ExpectedEnd ends[] = {
        {"null", true, 0xC0000005, 0xC0000005, true},
        {"divide", true, 0xC0000094, 0xC0000094, true},
        {"illegal", true, 0xC000001D, 0xC000001D, true},
        {"abort", false, 3, 0xE0000001, true},
        {"throw", false, 3, 0xE0000001, true},
        {"stack", true, 0xC00000FD, 0xC00000FD, true},
        {"thread", true, 0xC0000005, 0xC0000005, false},
        {"thread-stack", true, 0xC00000FD, 0xC00000FD, false},
    };
    return ends;
}

void addLibraryFolder(QString const & folder)
{
    qputenv("PATH", QDir::toNativeSeparators(folder).toUtf8() + ';' + qgetenv("PATH"));
}

TEST_F(CrashTest, ACrashWithTheHeapLockedEndsWithOrWithoutADump)
{
    run({u"malloc"_q});
    EXPECT_EQ(exitCode, static_cast<int>(0xC0000005));
}

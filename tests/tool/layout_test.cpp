#include "tests/support/golden.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

using namespace ox::tests;

TEST(Layout, IsTheSameInEveryBuild)
{
    ToolRun run("layout");
    EXPECT_EQ(run.status(), 0);
    QString records;
    for (QString const & line : run.output().split(u'\n')) {
        // These two types contain pointers, so their layout depends on the build. Tests of the file
        // formats check the header of _OX_DataBuffer.
        bool const hasPointer =
            line.startsWith(u"_OX_DataBuffer"_q) || line.startsWith(u"_oxStringList"_q);
        if (!hasPointer && !line.isEmpty())
            records += line + u'\n';
    }
    EXPECT_EQ(records, QString::fromLatin1(goldenFile("layout.txt")));
}

#include "tests/support/golden.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

using namespace ox::tests;

TEST(Layout, IsTheSameInEveryBuild)
{
    ToolRun run({QStringLiteral("layout")});
    EXPECT_EQ(run.status(), 0);
    QString records;
    for (QString const & line : run.output().split(QLatin1Char('\n'))) {
        // These two contain pointers. The file formats test the header of the buffer.
        bool const hasPointer = line.startsWith(QLatin1String("_OX_DataBuffer")) ||
                                line.startsWith(QLatin1String("_oxStringList"));
        if (!hasPointer && !line.isEmpty())
            records += line + QLatin1Char('\n');
    }
    EXPECT_EQ(records, QString::fromLatin1(goldenFile("layout.txt")));
}

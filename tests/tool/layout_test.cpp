#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

TEST(Layout, IsTheSameInEveryBuild)
{
    ToolRun run({QStringLiteral("layout")});
    EXPECT_EQ(run.status(), 0);
    QString records;
    for (QString const & line : run.output().split(QLatin1Char('\n'))) {
        // The buffer itself holds a pointer; what of it goes into files is tested with those.
        if (!line.startsWith(QLatin1String("_OX_DataBuffer")) && !line.isEmpty())
            records += line + QLatin1Char('\n');
    }
    EXPECT_EQ(records, QString::fromLatin1(golden("layout.txt")));
}

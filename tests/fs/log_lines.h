#pragma once

#include "tests/support/child.h"
#include "tests/support/file_content.h"

#include <gtest/gtest.h>

namespace ox::tests
{

/// Runs several processes that append to one log file, and checks that every line is complete.
inline void expectLogLinesDoNotMix(QString const & name)
{
    expectAllSucceed(4, QStringLiteral(OX_TEST_CHILD),
                     {QStringLiteral("log"), name, QStringLiteral("300")});
    auto const lines = linesOf(name).split('\n');
    EXPECT_EQ(lines.size(), 4 * 300 + 1);
    for (int i = 0; i + 1 < lines.size(); ++i) {
        QByteArray const & line = lines[i];
        bool const isWhole = line.startsWith('<') && line.endsWith('>') && line.count('<') == 1;
        ASSERT_TRUE(isWhole) << i;
    }
}

} // namespace ox::tests

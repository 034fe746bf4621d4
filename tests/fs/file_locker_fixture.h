#pragma once

#include "shared/fs/file.h"
#include "shared/fs/file_locker.h"
#include "tests/support/child.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

namespace ox::tests
{

class FileLocker : public testing::Test
{
  protected:
    /// Sets the time of the lock file to this many seconds ago.
    void ageLockFile(int seconds) const
    {
        _oxTime past(_oxTime(true).value - seconds, true);
        ASSERT_TRUE(oxSetFileTime(lockName, &past));
    }

    TemporaryFolder folder;
    QString const file = folder.filePath(QStringLiteral("a.ini"));
    QString const lockName = file + QStringLiteral("_lock.txt");
    QString const childProgram = QStringLiteral(OX_TEST_CHILD);
    QString const who = QStringLiteral("Server on farm01");
    int waited = 77;
};

} // namespace ox::tests

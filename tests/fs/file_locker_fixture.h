#pragma once

#include "shared/fs/file.h"
#include "shared/fs/file_locker.h"
#include "tests/fs/support.h"

class FileLocker : public testing::Test
{
  protected:
    /// Makes the lock file look as if it had been written this many seconds ago.
    void ageLockFile(int seconds) const
    {
        _oxTime past(_oxTime(true).value - seconds, true);
        ASSERT_TRUE(oxSetFileTime(lockName, &past));
    }

    TemporaryFolder folder;
    QString const file = folder.filePath(QStringLiteral("a.ini"));
    QString const lockName = file + QStringLiteral("_lock.txt");
    QString const who = QStringLiteral("Server on farm01");
    int waited = 77;
};

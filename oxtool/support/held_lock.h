#pragma once

#include "oxtool/support/stop.h"
#include "shared/fs/file_locker.h"

#include <QString>

namespace ox::tool
{

/// Holds the lock of a file while the object lives.
class HeldLock
{
  public:
    /// Waits for the lock and takes it.
    /// Fails: throws Failure when another process holds the lock for more than `timeoutMs`
    /// milliseconds, with its description, or when the lock file cannot be created. With 0 it does
    /// not wait.
    HeldLock(QString const & file, int timeoutMs);
    /// Releases the lock. A failure is reported on standard error.
    ~HeldLock();
    HeldLock(HeldLock const &) = delete;
    HeldLock & operator=(HeldLock const &) = delete;

    /// Releases the lock. Returns the message of a failure, which leaves the lock file behind;
    /// empty on success. Has no effect the second time.
    QString release();
    /// Time in milliseconds for which the constructor waited.
    int waitedMs() const { return waitedMs_; }

  private:
    bool isStale() const;
    bool tryLock();
    void unlock();

    QString file_;
    _oxFileLocker locker_;
    int waitedMs_ = 0;
    QString unlockFailure_;
    StopGuard guard_;
};

/// Returns the name of a file's lock file.
QString lockFileName(QString const & file);

/// Returns why a path has no lock file: it is empty, or the lock file's name exceeds the record.
QString unlockableReason(QString const & file);

} // namespace ox::tool

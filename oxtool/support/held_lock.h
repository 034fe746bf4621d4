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
    /// Waits up to `timeoutMs` milliseconds for the lock and takes it. With 0 it does not wait.
    /// Fails: throws Failure in two cases:
    /// - Another process still holds the lock. The message contains the holder's description.
    /// - The lock file cannot be created.
    HeldLock(QString const & file, int timeoutMs);
    /// Releases the lock. A failure is reported on standard error.
    ~HeldLock();
    HeldLock(HeldLock const &) = delete;
    HeldLock & operator=(HeldLock const &) = delete;

    /// Releases the lock. Returns an error message if the lock file could not be removed, otherwise
    /// an empty text. A second call has no effect.
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

/// Returns the path of the lock file of `file`.
QString lockFileName(QString const & file);

/// Returns why a file cannot be locked: its path is empty or longer than 241 bytes (250 bytes with
/// "_lock.txt").
QString unlockableReason(QString const & file);

} // namespace ox::tool

#pragma once

#include "oxtool/support/stop.h"
#include "shared/fs/file_locker.h"

#include <QString>

namespace ox::tool
{

/// The lock of a file, held for as long as the object lives.
class HeldLock
{
  public:
    /// Waits for the lock and takes it. Fails when somebody else holds it for longer than
    /// `timeoutMs` milliseconds, and says who, or when the lock file cannot be made.
    HeldLock(QString const & file, int timeoutMs);
    /// Releases the lock, and writes the failure of that to standard error.
    ~HeldLock();
    HeldLock(HeldLock const &) = delete;
    HeldLock & operator=(HeldLock const &) = delete;

    /// Releases the lock. Empty on success, else the text for the user: the lock file is still
    /// there. Does nothing the second time.
    QString release();
    /// How long the lock was waited for.
    int waitedMs() const { return waitedMs_; }

  private:
    bool take();
    void unlock();

    QString file_;
    _oxFileLocker locker_;
    int waitedMs_ = 0;
    QString unlockFailure_;
    StopGuard guard_;
};

/// The name of a file's lock file.
QString lockFileName(QString const & file);

/// Who has a lock, for people: "user@host oxtool 4711 since 2026-11-21 04:31:27".
QString holderText(_oxFileLockStatus const & status);

} // namespace ox::tool

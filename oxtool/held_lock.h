#pragma once

#include "oxtool/stop.h"
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

    void release() { holding_.giveBack(); }
    /// How long the lock was waited for.
    int waitedMs() const { return waitedMs_; }

  private:
    bool take();

    QString file_;
    _oxFileLocker locker_;
    int waitedMs_ = 0;
    Holding holding_;
};

/// The name of a file's lock file.
QString lockFileName(QString const & file);

/// Who has a lock, for people: "user@host oxtool 4711 since 2026-11-21 04:31:27".
QString holderText(_oxFileLockStatus const & status);

} // namespace ox::tool

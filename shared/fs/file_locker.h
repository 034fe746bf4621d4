#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string8.h"
#include "shared/time/time_value.h"

#include <QString>

#include <memory>

namespace ox::platform
{
class LockFile;
}

/// State of a lock file, from `_oxFileLocker::status`.
struct _oxFileLockStatus {
    /// Who holds the lock.
    enum Holder {
        Nobody,  ///< no lock file, or one that is left behind (`exists` is then true)
        Process, ///< a process
        Unknown  ///< a lock file exists; whether a process holds it is not known
    };

    /// System's error code if the lock file's existence is not known (the folder is missing or not
    /// readable, the share is not mounted); otherwise 0. `oxLastOSError(systemError)` returns the
    /// text.
    int systemError = 0;
    bool exists = false;    ///< whether the lock file exists; processes then wait
    Holder holder = Nobody; ///< who holds the lock
    QString who;            ///< the holder's description; empty if not readable
    _oxTime since;          ///< last write of the lock file: when the lock was taken
    /// Whether the lock file is older than three hours. If no process holds it, the next call of
    /// lock() or isFree() that reaches its timeout removes it.
    bool isStale = false;
};

/// Mutual exclusion for a file on the farm's share, across processes and machines.
///
/// A process that rewrites the file first takes the lock: it creates a companion file
/// ("a.ini_lock.txt" for "a.ini") and keeps it open. Others wait while the companion file exists.
/// The lock is advisory, and made for the few seconds in which a configuration file is rewritten. A
/// lock file is stale when it is older than three hours. A waiter whose time runs out removes a
/// stale lock file that no process holds, since a crash has left it behind. docs/lock_files.md
/// describes the protocol.
///
///     _oxFileLocker locker(fileName);
///     if (locker.lock(5000, QStringLiteral("Server on farm01"), nullptr, false))
///         rewrite(fileName); // unlocked at the end of the scope
///
/// A child process that starts another program does not inherit the lock. A child process that is
/// only forked (fork without exec) keeps the lock held until the child ends.
/// Threads: one thread at a time.
class OX_EXPORT _oxFileLocker
{
  public:
    /// Sets the name of the lock file; does not take the lock. A file cannot be locked if its name
    /// - is empty,
    /// - contains a NUL character,
    /// - has more than 250 bytes together with "_lock.txt", or
    /// - is not Latin-1 (only on Windows).
    explicit _oxFileLocker(QString const & fileToLock);
    /// Releases the lock, as unlock() does.
    ~_oxFileLocker();
    _oxFileLocker(_oxFileLocker const &) = delete;
    _oxFileLocker & operator=(_oxFileLocker const &) = delete;

    /// Waits until the lock is free, and takes it unless `checkOnly` is true. `who` describes the
    /// holder for people who read the lock file; it is written as Latin-1.
    ///
    /// Tries to take the lock immediately and then every 250 ms: `timeoutMs` / 250 times, but at
    /// least once. If the lock is still not free, removes the lock file if it is stale, and tries a
    /// last time.
    ///
    /// `waitedMs`, if given, receives the time waited in steps of 250 ms. If the lock file could
    /// not be created, the time is negated.
    ///
    /// Fails: returns false in these cases:
    /// - The time runs out. `waitedMs` is at least 250.
    /// - The lock file could not be created. `waitedMs` is 0 or negative, and `oxLastOSError`
    ///   returns the reason.
    /// - The file cannot be locked. The call returns immediately, and `waitedMs` is -1.
    ///
    /// An object that already holds the lock waits for itself until the time runs out.
    bool lock(int const & timeoutMs, QString const & who, int * waitedMs, bool checkOnly);

    /// Tries once to take the lock, without waiting. Makes a single open call if another process
    /// holds the lock. Does not remove a stale lock file.
    ///
    /// Fails: returns false. `isHeldByOther`, if given, becomes true when the lock file already
    /// exists, even if it is left behind. It becomes false when the lock file could not be created
    /// for another reason (`oxLastOSError` has the reason), and for a file that cannot be locked.
    bool tryLock(QString const & who, bool * isHeldByOther = nullptr);

    /// Returns whether the lock is free or becomes free within `timeoutMs`. Creates nothing, but
    /// removes a stale lock file as lock() does. Sets `waitedMs` as lock() does.
    bool isFree(int const & timeoutMs, int * waitedMs);

    /// Releases the lock, if this object holds it: deletes the lock file or, if this fails, appends
    /// ".none" to its name. If the share refuses to delete and to rename an open file, the file is
    /// closed first, and the release can take about a second. Returns true after the release, and
    /// also if this object does not hold the lock.
    /// Fails: returns false when the lock file still exists; `oxLastOSError` has the reason. Other
    /// processes then wait until the lock file is deleted or stale.
    bool unlock();

    /// Full path of the lock file as an 8-bit record: Latin-1, or on Linux UTF-8 for a name that
    /// Latin-1 cannot express. Empty for a file that cannot be locked.
    _oxString8_evenSize<250> const & lockFileName() const { return lockFileName_; }

    /// Returns the state of the lock file, without waiting and without disturbing the holder.
    _oxFileLockStatus status() const;

  private:
    _oxString8_evenSize<250> lockFileName_;
    std::unique_ptr<ox::platform::LockFile> held_; // null while not held
};

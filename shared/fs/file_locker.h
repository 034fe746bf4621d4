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

/// What a look at a lock file shows; see `_oxFileLocker::status`.
struct _oxFileLockStatus {
    enum Holder {
        Nobody, ///< no lock file, or one that a dead process left behind (then `exists` is true)
        Process,
        Unknown ///< there is a lock file, but the share cannot tell whether a process holds it
    };

    /// Error code of the system when it cannot say whether there is a lock file (the folder is
    /// missing or not readable, the share is not mounted); 0 otherwise. `oxLastOSError` has its
    /// text.
    int systemError = 0;
    bool exists = false; ///< whether there is a lock file, so that others wait
    Holder holder = Nobody;
    QString who;   ///< the description that the holder gave; empty when it cannot be read
    _oxTime since; ///< last write of the lock file, which is when the lock was taken
    /// Older than three hours: removed by the next waiter whose time runs out, unless held.
    bool isStale = false;
};

/// Mutual exclusion for a file on the farm's share, across processes and machines.
///
/// Whoever wants to write the file takes the lock first, which creates a companion file
/// ("a.ini_lock.txt" for "a.ini") and keeps it open; everybody else waits while it exists. The lock
/// is advisory. It is meant for the few seconds that rewriting a configuration file takes: a lock
/// file that is older than three hours and that no process holds is taken to be left over from a
/// crash, and removed. docs/lock_files.md describes the protocol.
///
///     _oxFileLocker locker(fileName);
///     if (locker.lock(5000, QStringLiteral("Server on farm01"), nullptr, false))
///         rewrite(fileName); // unlocked at the end of the scope
///
/// An object is used by one thread at a time. Child processes started in the usual way do not
/// inherit the lock; one forked without a new program keeps it as held, until it ends.
class OX_EXPORT _oxFileLocker
{
  public:
    /// Sets the lock file's name; takes nothing. A file name that is empty, that holds a 0
    /// character or that is too long for the record (250 bytes with "_lock.txt") cannot be locked.
    explicit _oxFileLocker(QString const & fileToLock);
    /// Unlocks.
    ~_oxFileLocker();
    _oxFileLocker(_oxFileLocker const &) = delete;
    _oxFileLocker & operator=(_oxFileLocker const &) = delete;

    /// Waits until nobody holds the lock, and takes it unless checkOnly. `who` describes the holder
    /// to people who look into the lock file; it is written as Latin-1.
    ///
    /// The lock is tried at once and then every 250 ms, timeoutMs / 250 times but at least once.
    /// When it is still taken after that, a stale lock file is removed and the lock tried again.
    ///
    /// False when the time ran out, or when the lock file could not be created (`oxLastOSError`
    /// has the reason). waitedMs, when
    /// given, receives the time waited in steps of 250, negated when the file could not be created.
    /// A false with 0 is such a failure at the first try, since who runs out of time has waited 250
    /// at least. A name that cannot be locked fails at once with -1.
    ///
    /// Not guarded: an object that holds the lock waits for itself.
    bool lock(int const & timeoutMs, QString const & who, int * waitedMs, bool checkOnly);

    /// Whether nobody holds the lock, or ceases to within the time. Creates nothing.
    bool isFree(int const & timeoutMs, int * waitedMs);

    /// Removes the lock file if this object holds it. A lock file that cannot be deleted is renamed
    /// to its name with ".none" behind. Where a share allows neither while the file is open, it is
    /// closed first and removed then, which can take about a second.
    ///
    /// False when the lock file is still there, so that others wait until somebody deletes it or
    /// the three hours are over; `oxLastOSError` has the reason. True also when nothing was held.
    bool unlock();

    /// Full name of the lock file in the form of the farm's 8-bit records (Latin-1; on Linux UTF-8
    /// for a name that Latin-1 cannot express); empty for a file that cannot be locked.
    _oxString8_evenSize<250> const & lockFileName() const { return lockFileName_; }

    /// Looks who holds the lock, without waiting and without disturbing the holder.
    _oxFileLockStatus status() const;

  private:
    _oxString8_evenSize<250> lockFileName_;
    std::unique_ptr<ox::platform::LockFile> held_; // null while not held
};

#include "shared/fs/file_locker.h"

#include "shared/fs/lock_file_status.h"
#include "shared/fs/lock_file_text.h"
#include "shared/platform/lock_file.h"
#include "shared/platform/result.h"
#include "shared/system/environment.h"
#include "shared/text/native_path.h"

#include <algorithm>
#include <new>
#include <string>
#include <string_view>
#include <utility>

using ox::fs::holderIn;
using ox::fs::lockFileText;
using ox::platform::LockFile;
using ox::platform::LockFileView;
using ox::platform::NativeName;
using ox::platform::Result;
using ox::text::nativePath;

namespace
{

constexpr int pollMs = 250;
constexpr __int64 staleAfterSeconds = 3 * 60 * 60;

_oxFileLockStatus::Holder holderOf(LockFileView const & view)
{
    switch (view.holder) {
    case LockFileView::Holder::None:
        return _oxFileLockStatus::Nobody;
    case LockFileView::Holder::Process:
        return _oxFileLockStatus::Process;
    case LockFileView::Holder::Unknown:
        break;
    }
    return _oxFileLockStatus::Unknown;
}

/// Writes the description of the holder into the lock file. When memory is lacking, the file stays
/// empty, as on a full disk. The lock does not depend on the file's content.
void describeHolder(LockFile & file, QString const & who)
{
    try {
        file.write(lockFileText(who, _oxTime(true)));
    } catch (std::bad_alloc const &) {
    }
}

/// Returns the new name for a lock file that cannot be deleted. When memory is lacking, the name is
/// empty, and the file is not renamed.
NativeName leftoverName(_oxString8_evenSize<250> const & lockFileName)
{
    try {
        return ox::platform::nativeName(std::string(lockFileName.view()) + ".none");
    } catch (std::bad_alloc const &) {
        return {};
    }
}

void removeIfStale(NativeName const & name)
{
    // The result is ignored: the next attempt to take the lock shows whether the file is gone.
    static_cast<void>(
        ox::platform::removeLeftLockFile(name, _oxTime(true).value - staleAfterSeconds));
}

} // namespace

_oxFileLocker::_oxFileLocker(QString const & fileToLock)
{
    auto const file = ox::platform::recordName(ox::text::viewOf(fileToLock));
    if (!file)
        return;
    std::string const name = *file + "_lock.txt";
    // A name that does not fit is not stored: a truncated name would lock another file.
    if (name.size() <= static_cast<std::size_t>(lockFileName_.capacity()))
        lockFileName_ = name;
}

_oxFileLocker::~_oxFileLocker()
{
    unlock();
}

bool _oxFileLocker::lock(int const & timeoutMs, QString const & who, int * waitedMs, bool checkOnly)
{
    int ignored;
    int & waited = waitedMs ? *waitedMs : ignored;
    waited = 1;
    if (lockFileName_.isEmpty()) {
        waited = -waited;
        return false;
    }

    NativeName const name = nativePath(lockFileName_);
    auto file = std::make_unique<LockFile>();
    Result<> taken;
    // Taking the lock also shows whether it is free. A separate test would need a second round trip
    // to the share, and its result would be outdated when it arrives.
    auto const isHeldByOther = [&] {
        if (checkOnly)
            return ox::platform::lockFileExists(name);
        taken = file->take(name);
        return !taken && ox::platform::isTaken(taken.error());
    };

    int const polls = std::max(timeoutMs / pollMs, 1);
    int polled = 0;
    bool isHeld = isHeldByOther();
    for (; isHeld && polled < polls; ++polled) {
        oxSleep(pollMs);
        isHeld = isHeldByOther();
    }
    if (isHeld) {
        removeIfStale(name);
        isHeld = isHeldByOther();
    }

    bool const hasFailed = !taken && !isHeld;
    waited = hasFailed ? -polled * pollMs : polled * pollMs;
    if (!ox::platform::reportToThread(taken) || isHeld)
        return false;
    if (!checkOnly) {
        describeHolder(*file, who);
        held_ = std::move(file);
    }
    return true;
}

bool _oxFileLocker::tryLock(QString const & who, bool * isHeldByOther)
{
    NativeName const name = nativePath(lockFileName_);
    auto file = std::make_unique<LockFile>();
    Result<> const taken = lockFileName_.isEmpty() ? ox::platform::Error{} : file->take(name);
    if (isHeldByOther)
        *isHeldByOther = !taken && ox::platform::isTaken(taken.error());
    if (!ox::platform::reportToThread(taken))
        return false;
    describeHolder(*file, who);
    held_ = std::move(file);
    return true;
}

bool _oxFileLocker::isFree(int const & timeoutMs, int * waitedMs)
{
    return lock(timeoutMs, QString(), waitedMs, true);
}

bool _oxFileLocker::unlock()
{
    auto const held = std::exchange(held_, nullptr);
    if (!held)
        return true;
    return ox::platform::reportToThread(held->release(leftoverName(lockFileName_)));
}

_oxFileLockStatus _oxFileLocker::status() const
{
    return ox::fs::statusOfLockFile(nativePath(lockFileName_));
}

_oxFileLockStatus ox::fs::statusOfLockFile(NativeName const & lockFile)
{
    LockFileView const view = ox::platform::viewLockFile(lockFile);
    _oxFileLockStatus status;
    status.systemError = view.error;
    if (!view.exists)
        return status;
    status.exists = true;
    status.holder = holderOf(view);
    status.who = holderIn(view.content);
    status.since = _oxTime(static_cast<__int64>(view.modified), true);
    status.isStale = status.since.waitTimeIsOver(staleAfterSeconds, false, nullptr);
    return status;
}

#include "oxtool/support/held_lock.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "shared/platform/files.h"
#include "shared/platform/program/console.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSysInfo>

#include <utility>

namespace ox::tool
{
namespace
{

constexpr int pollMs = 250;

/// Returns the description of this process as a lock holder: "user@host oxtool 4711".
QString holderName()
{
    return QStringLiteral("%1@%2 oxtool %3")
        .arg(QString::fromStdString(platform::userName()), QSysInfo::machineHostName())
        .arg(QCoreApplication::applicationPid());
}

/// Returns the failure for a lock file that could not be created. Call it directly after that.
Failure lockFileFailure(QString const & file)
{
    QString const reason = lastReason();
    QString const folder = QFileInfo(file).absolutePath();
    auto const status = platform::fileStatus(nativeName(folder));
    if (status)
        return Failure(
            QStringLiteral("cannot create lock file '%1': %2").arg(lockFileName(file), reason));
    return Failure(
        QStringLiteral("cannot lock '%1': cannot open folder '%2': %3").arg(file, folder, reason),
        statusOf(status.error()));
}

} // namespace

// The wait polls without taking the lock, and the lock is taken without a wait. So a stop request
// is deferred for neither.
HeldLock::HeldLock(QString const & file, int timeoutMs) : file_(file), locker_(file)
{
    if (locker_.lockFileName().isEmpty())
        throw Failure(QStringLiteral("cannot lock '%1': %2").arg(file, unlockableReason(file)));
    Progress const progress(QStringLiteral("Waiting for the lock of %1").arg(file));
    QElapsedTimer timer;
    timer.start();
    while (!locker_.isFree(pollMs, nullptr) || !tryLock()) {
        if (timer.elapsed() >= timeoutMs)
            throw Failure(QStringLiteral("cannot lock '%1' within %2 ms: locked by %3")
                              .arg(file, QString::number(timeoutMs), holderText(locker_.status())),
                          Locked);
    }
    waitedMs_ = static_cast<int>(timer.elapsed());
}

bool HeldLock::tryLock()
{
    int waited = 0;
    bool const isTaken =
        guard_.acquire([&] { return locker_.lock(0, holderName(), &waited, false); },
                       [this] { unlock(); }, [this] { return unlockFailure_; });
    bool const hasNoLockFile = !isTaken && waited <= 0;
    if (hasNoLockFile)
        throw lockFileFailure(file_);
    return isTaken;
}

HeldLock::~HeldLock()
{
    QString const failure = release();
    if (!failure.isEmpty())
        writeError(failure);
}

QString HeldLock::release()
{
    guard_.release();
    return std::exchange(unlockFailure_, QString());
}

void HeldLock::unlock()
{
    if (!locker_.unlock())
        unlockFailure_ =
            QStringLiteral("cannot remove lock file '%1': %2; delete it, or other processes wait "
                           "up to three hours")
                .arg(lockFileName(file_), lastReason());
}

QString lockFileName(QString const & file)
{
    return file + QLatin1String("_lock.txt");
}

QString unlockableReason(QString const & file)
{
    return file.isEmpty() ? QStringLiteral("path is empty")
                          : QStringLiteral("path is longer than 241 bytes");
}

QString holderText(_oxFileLockStatus const & status)
{
    QString const who = status.who.isEmpty() ? QStringLiteral("an unknown holder") : status.who;
    return QStringLiteral("%1 since %2").arg(who, timeText(status.since.value));
}

} // namespace ox::tool

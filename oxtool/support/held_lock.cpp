#include "oxtool/support/held_lock.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/progress.h"
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

/// "user@host oxtool 4711"
QString ourName()
{
    return QStringLiteral("%1@%2 oxtool %3")
        .arg(QString::fromStdString(platform::userName()), QSysInfo::machineHostName())
        .arg(QCoreApplication::applicationPid());
}

/// To be called right after the failure.
QString whyRefused(QString const & file)
{
    QString const message = lastSystemMessage();
    QString const folder = QFileInfo(file).absolutePath();
    if (platform::fileStatus(nativeName(folder)))
        return QStringLiteral("The lock file %1 cannot be made. %2")
            .arg(lockFileName(file), message);
    return QStringLiteral("%1: File does not exists! The folder %2 cannot be reached. %3")
        .arg(file, folder, message);
}

} // namespace

// The waiting is done a poll at a time with the lock left alone, and the taking without waiting, so
// that a stop request need not wait for either.
HeldLock::HeldLock(QString const & file, int timeoutMs) : file_(file), locker_(file)
{
    if (locker_.lockFileName().isEmpty())
        throw Failure(QStringLiteral("The path %1 is too long for a lock beside it.").arg(file));
    Progress const progress(QStringLiteral("Waiting for the lock of %1").arg(file));
    QElapsedTimer timer;
    timer.start();
    while (!locker_.isFree(pollMs, nullptr) || !take()) {
        if (timer.elapsed() >= timeoutMs)
            throw Failure(
                QStringLiteral("%1 is locked by %2.").arg(file, holderText(locker_.status())));
    }
    waitedMs_ = static_cast<int>(timer.elapsed());
}

bool HeldLock::take()
{
    int waited = 0;
    bool const taken = guard_.acquire([&] { return locker_.lock(0, ourName(), &waited, false); },
                                      [this] { unlock(); }, [this] { return unlockFailure_; });
    bool const refused = !taken && waited <= 0;
    if (refused)
        throw Failure(whyRefused(file_));
    return taken;
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
            QStringLiteral("cannot remove the lock file '%1': %2 Delete it, or others wait for it "
                           "for three hours")
                .arg(lockFileName(file_), lastSystemMessage());
}

QString lockFileName(QString const & file)
{
    return file + QLatin1String("_lock.txt");
}

QString holderText(_oxFileLockStatus const & status)
{
    QString const who = status.who.isEmpty() ? QStringLiteral("somebody unnamed") : status.who;
    return QStringLiteral("%1 since %2").arg(who, timeText(status.since.value));
}

} // namespace ox::tool

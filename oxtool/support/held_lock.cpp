#include "oxtool/support/held_lock.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/lock_state.h"
#include "oxtool/support/names.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "shared/platform/files.h"
#include "shared/platform/program/console.h"
#include "shared/system/environment.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSysInfo>

#include <cstdio>
#include <optional>
#include <utility>

namespace ox::tool
{
namespace
{

constexpr int pollMs = 250;

/// Returns the description of this process as a lock holder: "user@host oxtool 4711".
QString ownName()
{
    return QStringLiteral("%1@%2 oxtool %3")
        .arg(QString::fromStdString(platform::userName()), QSysInfo::machineHostName())
        .arg(QCoreApplication::applicationPid());
}

/// Returns the Failure for a lock file that could not be created. Call it directly after the failed
/// call.
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

/// Progress line during the wait for a lock. It contains the holder.
class WaitingLine
{
  public:
    WaitingLine(QString const & file, _oxFileLocker const & locker)
        : text_(QStringLiteral("Waiting for the lock of %1").arg(file)), locker_(locker),
          line_(std::in_place, text_)
    {
    }

    /// Updates the line. Call it after each poll of the lock.
    void update()
    {
        // A query of the holder takes a few round trips to the share, so it is made every 5 s.
        constexpr int pollsPerQuery = 5000 / pollMs;
        if (!platform::isTerminal(stderr) || polls_++ % pollsPerQuery != 0)
            return;
        _oxFileLockStatus const status = locker_.status();
        QString const holder = holderText(status);
        if (status.exists && std::exchange(holder_, holder) != holder)
            line_.emplace(QStringLiteral("%1, held by %2").arg(text_, holder));
    }

  private:
    QString const text_;
    _oxFileLocker const & locker_;
    std::optional<Progress> line_;
    QString holder_;
    int polls_ = 0;
};

} // namespace

// Each poll calls tryLock(), which is one request to the share. tryLock() defers stop requests, so
// the pauses between the polls are outside of tryLock(). The first and the last pause are a
// call of isFree(), which waits and then removes a stale lock file. The others call oxSleep().
HeldLock::HeldLock(QString const & file, int timeoutMs) : file_(file), locker_(file)
{
    if (locker_.lockFileName().isEmpty())
        throw Failure(QStringLiteral("cannot lock '%1': %2").arg(file, unlockableReason(file)));
    WaitingLine line(file, locker_);
    QElapsedTimer timer;
    timer.start();
    for (bool isFirst = true; !tryLock(); isFirst = false) {
        bool const isOver = isFirst ? timeoutMs == 0 && !isStale() : timer.elapsed() >= timeoutMs;
        if (isOver)
            throw Failure(QStringLiteral("cannot lock '%1' within %2 ms: locked by %3")
                              .arg(file, QString::number(timeoutMs), holderText(locker_.status())),
                          Locked);
        if (isFirst || timer.elapsed() + pollMs >= timeoutMs)
            locker_.isFree(pollMs, nullptr);
        else
            oxSleep(pollMs);
        line.update();
    }
    waitedMs_ = static_cast<int>(timer.elapsed());
}

bool HeldLock::isStale() const
{
    _oxFileLockStatus const status = locker_.status();
    return status.isStale && status.holder == _oxFileLockStatus::Nobody;
}

bool HeldLock::tryLock()
{
    bool isHeldByOther = false;
    bool const isTaken = guard_.acquire([&] { return locker_.tryLock(ownName(), &isHeldByOther); },
                                        [this] { unlock(); }, [this] { return unlockFailure_; });
    if (!isTaken && !isHeldByOther)
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
} // namespace ox::tool

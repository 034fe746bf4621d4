#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/held_lock.h"
#include "oxtool/support/lock_state.h"
#include "oxtool/support/names.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "shared/fs/path.h"
#include "shared/platform/files.h"
#include "shared/platform/lock_file.h"
#include "shared/platform/program/child_process.h"
#include "shared/platform/result.h"

#include <memory>

namespace ox::tool
{
namespace
{

struct Options {
    QString file;
    std::vector<std::string> command;
    int timeoutMs = 10000;
    int conflictStatus = Locked;
    bool status = false;
    bool breaks = false;
    bool json = false;
};

QString holderStateText(_oxFileLockStatus const & status)
{
    switch (status.holder) {
    case _oxFileLockStatus::Process:
        return QStringLiteral("a process holds it");
    case _oxFileLockStatus::Unknown:
        return QStringLiteral("cannot tell whether a process holds it");
    case _oxFileLockStatus::Nobody:
        break;
    }
    return status.isStale
               ? QStringLiteral(
                     "left behind: no process holds it; the next waiting process removes it")
               : QStringLiteral("left behind: no process holds it; waiting processes remove it "
                                "three hours after it was taken");
}

Failure statusFailure(QString const & file, QString const & reason, int status = Failed)
{
    return Failure(
        QStringLiteral("cannot check lock file '%1': %2").arg(lockFileName(file), reason), status);
}

Failure statusFailure(QString const & file, int systemError)
{
    return statusFailure(file, reasonOf(systemError), statusOf(platform::Error{systemError}));
}

/// Returns the system's error code for the folder of a path that begins with a share or a drive.
/// Returns 0 if the folder exists, or if the path has another form. Without this check an unmapped
/// path such as "\\farm\share\a" would, on Linux, name a file in the current folder, and no other
/// process would see its lock.
int systemErrorOfFolder(QString const & file)
{
    bool const isStoredPath = file.startsWith(QLatin1String("\\\\")) ||
                              (file.size() > 2 && file[0].isLetter() && file[1] == u':');
    if (!isStoredPath)
        return 0;
    QString const local = oxConvertPDToOS(file);
    auto const end = local.lastIndexOf(QLatin1Char(platform::ownSeparator));
    auto const status = platform::fileStatus(nativeName(local.left(end + 1)));
    return status ? 0 : status.error().code;
}

_oxFileLockStatus statusOfLock(QString const & file)
{
    _oxFileLocker const locker(file);
    if (locker.lockFileName().isEmpty())
        throw statusFailure(file, unlockableReason(file));
    if (int const error = systemErrorOfFolder(file))
        throw statusFailure(file, error);
    _oxFileLockStatus const status = locker.status();
    if (status.systemError != 0)
        throw statusFailure(file, status.systemError);
    return status;
}

/// Returns the Failure for a lock file that could not be removed. A process may have taken the lock
/// after the query of `status`.
Failure breakFailure(QString const & file, _oxFileLockStatus const & status, platform::Error error)
{
    bool const isHeld = platform::isTaken(error) || status.holder == _oxFileLockStatus::Process;
    bool const isUnknown = !isHeld && status.holder == _oxFileLockStatus::Unknown;
    QString const reason =
        isHeld
            ? QStringLiteral("held by %1").arg(holderText(status))
            : (isUnknown ? QStringLiteral("cannot tell whether a process holds it: ") : QString()) +
                  reasonOf(error);
    return Failure(
        QStringLiteral("cannot remove lock file '%1': %2").arg(lockFileName(file), reason),
        isHeld ? Locked : Failed);
}

void setMembers(Report & report, _oxFileLockStatus const & status)
{
    QJsonObject const members = lockJson(status);
    for (auto member = members.begin(); member != members.end(); ++member)
        report.set(member.key(), member.value());
}

void showStatus(QString const & file, Report & report)
{
    _oxFileLockStatus const status = statusOfLock(file);
    report.set(QStringLiteral("file"), file);
    report.set(QStringLiteral("lockFile"), lockFileName(file));
    report.set(QStringLiteral("held"), status.exists);
    report.line(QStringLiteral("lock"), lockFileName(file));
    if (!status.exists) {
        report.line(QStringLiteral("state"), QStringLiteral("free"));
        return;
    }
    setMembers(report, status);
    report.line(QStringLiteral("state"), QStringLiteral("held by ") + holderText(status));
    report.line(QStringLiteral("holder"), holderStateText(status));
}

/// Removes a lock file that no process holds. Uses the function with which a waiting process
/// removes a stale lock file.
void breakLock(QString const & file, Report & report)
{
    _oxFileLockStatus const status = statusOfLock(file);
    report.set(QStringLiteral("file"), file);
    report.set(QStringLiteral("lockFile"), lockFileName(file));
    report.set(QStringLiteral("removed"), status.exists);
    if (!status.exists) {
        report.line(QStringLiteral("lock"), QStringLiteral("free, nothing to remove"));
        return;
    }
    setMembers(report, status);
    // A lock file with a later time than in `status` belongs to another process and is not removed.
    auto const removed =
        platform::removeLeftLockFile(nativeName(lockFileName(file)), status.since.value + 1);
    if (!removed) {
        report.set(QStringLiteral("removed"), false);
        throw breakFailure(file, status, removed.error());
    }
    report.line(QStringLiteral("removed"), lockFileName(file));
    report.line(QStringLiteral("holder"), holderText(status));
}

/// Returns the exit status that shells return for a command that cannot be run.
int statusOfFailedStart(platform::Error error)
{
    constexpr int cannotRun = 126;
    constexpr int notFound = 127;
    return error.kind() == platform::ErrorKind::NotFound ? notFound : cannotRun;
}

/// Runs the command and waits for its end. Ctrl-C in a terminal reaches the command directly; other
/// stop requests are passed on to the command.
int runCommand(std::vector<std::string> const & command)
{
    std::unique_ptr<platform::ChildProcess> child;
    StopHandler const handler([&]() -> StopHandler::Handler {
        auto started = platform::ChildProcess::start(command);
        if (!started)
            throw Failure(QStringLiteral("cannot run '%1': %2")
                              .arg(fromArgument(command[0]), reasonOf(started.error())),
                          statusOfFailedStart(started.error()));
        child = *std::move(started);
        return [&child](platform::StopRequest request) {
            if (!request.fromTerminal)
                child->send(request.signal);
        };
    });
    return child->wait();
}

/// Takes the lock.
/// Fails: when another process holds the lock, throws Failure with the exit status of
/// --conflict-exit-code.
std::unique_ptr<HeldLock> takeLock(Options const & options)
{
    try {
        return std::make_unique<HeldLock>(options.file, options.timeoutMs);
    } catch (Failure const & failure) {
        if (failure.status() != Locked)
            throw;
        throw Failure(failure.text(), options.conflictStatus);
    }
}

int runUnderLock(Options const & options)
{
    auto const lock = takeLock(options);
    int const status = runCommand(options.command);
    QString const failure = lock->release();
    if (failure.isEmpty())
        return status;
    writeError(failure);
    return status == Done ? Failed : status;
}

int run(Options const & options)
{
    if (options.status && options.breaks)
        throw Failure(QStringLiteral("--status excludes --break"), WrongUse);
    auto const show = options.status ? showStatus : options.breaks ? breakLock : nullptr;
    if (show)
        return runReported(options.json, [&](Report & report) { show(options.file, report); });
    if (options.json)
        return runReported(true, [](Report &) {
            throw Failure(QStringLiteral("--json requires --status or --break"), WrongUse);
        });
    if (options.command.empty())
        throw Failure(QStringLiteral("COMMAND, --status or --break is required"), WrongUse);
    return runUnderLock(options);
}

} // namespace

Command lockCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "lock",
            .group = Group::Locks,
            .summary = "Run a command under the lock of a file; show or break the lock",
            .details =
                "The exit status is that of COMMAND, or 128 + signal if a signal ended COMMAND.\n"
                "It is 127 if COMMAND does not exist, 126 if COMMAND cannot be run, 4 if the\n"
                "lock is not available in time, and 1 if the lock cannot be taken or released\n"
                "for another reason.",
            .options = {{.name = "FILE",
                         .help = "File to lock; it need not exist",
                         .target = &options->file,
                         .isRequired = true},
                        {.name = "COMMAND",
                         .help = "Command to run, after \"--\"",
                         .target = &options->command},
                        timeoutOption(options->timeoutMs),
                        {.name = "--conflict-exit-code",
                         .letter = 'E',
                         .valueName = "N",
                         .help = "Exit status when another process holds the lock",
                         .target = &options->conflictStatus,
                         .showsDefault = true,
                         .range = Range{0, 255}},
                        {.name = "--status",
                         .help = "Show who holds the lock, and since when",
                         .target = &options->status,
                         .excludes = "COMMAND"},
                        {.name = "--break",
                         .help = "Remove the lock file, unless a process holds the lock",
                         .target = &options->breaks,
                         .excludes = "COMMAND"},
                        jsonOption(options->json)},
            .examples = {"oxtool lock /mnt/share/farm.ini --timeout 5s -- sed -i s/old/new/ "
                         "/mnt/share/farm.ini",
                         "oxtool lock --status /mnt/share/farm.ini",
                         "oxtool lock --break /mnt/share/farm.ini"},
            .run = [options] { return run(*options); }};
}

} // namespace ox::tool

#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/held_lock.h"
#include "oxtool/support/names.h"
#include "oxtool/support/report.h"
#include "shared/fs/path.h"
#include "shared/platform/files.h"
#include "shared/platform/program/child_process.h"
#include "shared/platform/result.h"
#include "shared/system/os_error.h"

namespace ox::tool
{
namespace
{

struct Options {
    QString file;
    std::vector<std::string> command;
    int timeoutMs = 10000;
    bool status = false;
    bool json = false;
};

QString liveText(_oxFileLockStatus const & status)
{
    switch (status.holder) {
    case _oxFileLockStatus::Process:
        return QStringLiteral("a process has it");
    case _oxFileLockStatus::Unknown:
        return QStringLiteral("cannot tell whether a process holds it");
    case _oxFileLockStatus::Nobody:
        break;
    }
    return status.isStale
               ? QStringLiteral("stale: no process has it, and whoever waits removes it")
               : QStringLiteral("left behind: no process has it; stale after three hours");
}

QJsonValue liveJson(_oxFileLockStatus const & status)
{
    if (status.holder == _oxFileLockStatus::Unknown)
        return QJsonValue();
    return status.holder == _oxFileLockStatus::Process;
}

Failure cannotLookAt(QString const & file, QString const & reason)
{
    return Failure(
        QStringLiteral("cannot look at the lock file '%1': %2").arg(lockFileName(file), reason));
}

/// The error of the folder of a path with a share or a drive, 0 when the folder exists. Where the
/// system has neither, such a path is a file name without a folder, whose lock nobody else sees.
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

void showStatus(QString const & file, Report & report)
{
    _oxFileLocker const locker(file);
    if (locker.lockFileName().isEmpty())
        throw cannotLookAt(file, QStringLiteral("the path is too long for a lock file beside it"));
    if (int const error = systemErrorOfFolder(file))
        throw cannotLookAt(file, QString(oxLastOSError(error)));
    _oxFileLockStatus const status = locker.status();
    if (status.systemError != 0)
        throw cannotLookAt(file, QString(oxLastOSError(status.systemError)));
    report.set(QStringLiteral("lockFile"), lockFileName(file));
    report.set(QStringLiteral("held"), status.exists);
    report.line(QStringLiteral("lock"), lockFileName(file));
    if (!status.exists) {
        report.line(QStringLiteral("state"), QStringLiteral("free"));
        return;
    }
    report.set(QStringLiteral("who"), status.who);
    report.set(QStringLiteral("since"), jsonTime(status.since.value));
    report.set(QStringLiteral("live"), liveJson(status));
    report.set(QStringLiteral("stale"), status.isStale);
    report.line(QStringLiteral("state"), QStringLiteral("held by ") + holderText(status));
    report.line(QStringLiteral("holder"), liveText(status));
}

/// The exit statuses of a command that cannot be run, as shells have them.
int statusOfFailedStart(platform::Error error)
{
    constexpr int cannotRun = 126;
    constexpr int notFound = 127;
    return error.kind() == platform::ErrorKind::NotFound ? notFound : cannotRun;
}

/// A stop request of the terminal reaches the command by itself; any other is passed on to it. The
/// tool ends when the command does.
int runToItsEnd(std::vector<std::string> const & command)
{
    std::unique_ptr<platform::ChildProcess> child;
    StopHandler const handler([&]() -> StopHandler::Handler {
        auto started = platform::ChildProcess::start(command);
        if (!started)
            throw Failure(QStringLiteral("%1 cannot be run. %2")
                              .arg(fromArgument(command[0]), systemMessage(started.error())),
                          statusOfFailedStart(started.error()));
        child = *std::move(started);
        return [&child](platform::StopRequest request) {
            if (!request.fromTerminal)
                child->send(request.signal);
        };
    });
    return child->wait();
}

int runUnderLock(Options const & options)
{
    HeldLock lock(options.file, options.timeoutMs);
    int const status = runToItsEnd(options.command);
    QString const failure = lock.release();
    if (failure.isEmpty())
        return status;
    writeError(failure);
    return status == Done ? Failed : status;
}

Option jsonOptionOfStatus(bool & json)
{
    Option option = jsonOption(json);
    option.needs = "--status";
    return option;
}

int run(Options const & options)
{
    if (options.status)
        return runReported(options.json,
                           [&options](Report & report) { showStatus(options.file, report); });
    if (options.command.empty())
        throw Failure(QStringLiteral("COMMAND or --status is required"), WrongUse);
    return runUnderLock(options);
}

} // namespace

Command lockCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "lock",
            .group = Group::Locks,
            .summary = "Run a command while holding the lock of a file, or show who holds it",
            .details =
                "The exit status is the command's, 128 + signal if a signal ended it, 127 or 126\n"
                "if it cannot be run, 1 if the lock cannot be taken or released.",
            .options = {{.name = "FILE",
                         .help = "File whose lock it is; it need not exist",
                         .target = &options->file,
                         .isRequired = true},
                        {.name = "COMMAND",
                         .help = "Command to run, behind \"--\"",
                         .target = &options->command},
                        timeoutOption(options->timeoutMs),
                        {.name = "--status",
                         .help = "Show who holds the lock and since when",
                         .target = &options->status,
                         .excludes = "COMMAND"},
                        jsonOptionOfStatus(options->json)},
            .examples = {"oxtool lock /mnt/share/farm.ini --timeout 5000 -- sed -i s/old/new/ "
                         "/mnt/share/farm.ini",
                         "oxtool lock --status /mnt/share/farm.ini"},
            .run = [options] { return run(*options); }};
}

} // namespace ox::tool

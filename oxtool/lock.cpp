#include "oxtool/commands.h"
#include "oxtool/failure.h"
#include "oxtool/held_lock.h"
#include "oxtool/names.h"
#include "oxtool/report.h"
#include "shared/platform/child_process.h"
#include "shared/platform/os_error.h"

namespace ox::tool
{
namespace
{

struct Options {
    std::string file;
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
        return QStringLiteral("whether a process has it cannot be told");
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

void showStatus(QString const & file, Report & report)
{
    _oxFileLockStatus const status = _oxFileLocker(file).status();
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
int statusOfFailedStart(int systemError)
{
    constexpr int cannotRun = 126;
    constexpr int notFound = 127;
    return isNotFound(systemError) ? notFound : cannotRun;
}

/// A stop request of the terminal reaches the command by itself; any other is passed on to it. The
/// tool ends when the command does.
int runUnderLock(Options const & options)
{
    HeldLock const lock(fromArgument(options.file), options.timeoutMs);
    std::unique_ptr<platform::ChildProcess> child;
    StopRequestsGoTo const requests([&]() -> StopRequestsGoTo::Answer {
        child = platform::ChildProcess::start(options.command);
        if (!child) {
            int const systemError = platform::lastError();
            throw Failure(QStringLiteral("%1 cannot be run. %2")
                              .arg(fromArgument(options.command[0]), lastSystemMessage()),
                          statusOfFailedStart(systemError));
        }
        return [&child](platform::StopRequest request) {
            if (!request.fromTerminal)
                child->send(request.signal);
        };
    });
    return child->wait();
}

} // namespace

void addLock(CLI::App & program, Run & run)
{
    auto const options = std::make_shared<Options>();
    CLI::App & command = *program.add_subcommand(
        "lock", "Run a command while holding a file's lock, or tell who holds it");
    command.footer(
        "The exit status is the command's, 128 + signal when a signal ended it, 127 or 126\n"
        "when it cannot be run, 1 when the lock cannot be had.\n"
        "Example:\n"
        "  oxtool lock /mnt/share/farm.ini --timeout 5000 -- sed -i s/old/new/ "
        "/mnt/share/farm.ini\n"
        "  oxtool lock --status /mnt/share/farm.ini");
    command.add_option("FILE", options->file, "The file whose lock it is; it need not exist")
        ->required();
    auto * const toRun =
        command.add_option("COMMAND", options->command, "What to run, behind \"--\"");
    addTimeout(command, options->timeoutMs);
    auto * const status =
        command.add_flag("--status", options->status, "Tell who holds the lock and since when");
    addJson(command, options->json)->needs(status);
    status->excludes(toRun);
    command.callback([options, &run] {
        if (!options->status && options->command.empty())
            throw CLI::RequiredError("COMMAND, or --status,");
        run = [options] {
            if (!options->status)
                return runUnderLock(*options);
            return runReported(options->json, [&options](Report & report) {
                showStatus(fromArgument(options->file), report);
            });
        };
    });
}

} // namespace ox::tool

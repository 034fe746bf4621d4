#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/process_rows.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "oxtool/support/shown_text.h"
#include "shared/platform/processes.h"
#include "shared/platform/program/console.h"

#include <QCoreApplication>
#include <QJsonArray>

#include <algorithm>
#include <cstdio>

namespace ox::tool
{
namespace
{

constexpr int nameLimit = 25; // the process list truncates longer names

struct Options {
    std::vector<QString> targets;
    bool yes = false;
    bool force = false;
    bool json = false;
};

/// Returns whether `target`, a process id or a whole name, selects a process.
bool isSelectedBy(_oxProcessEntry const & process, QString const & target)
{
    bool isNumber = false;
    auto const id = target.toUInt(&isNumber);
    if (isNumber)
        return process.pid == id;
    QString const suffix = QString::fromLatin1(platform::executableSuffix.data(),
                                               static_cast<int>(platform::executableSuffix.size()));
    auto const isName = [&process](QString const & name) {
        return QString(process.name).compare(name, Qt::CaseInsensitive) == 0;
    };
    return isName(target) || isName(target + suffix);
}

/// Returns the processes that the targets select, without this process.
/// Fails: throws Failure when a target selects no process.
std::vector<ProcessRow> findProcesses(std::vector<QString> const & targets)
{
    for (QString const & target : targets) {
        if (target.size() >= nameLimit) // several names can have the same beginning
            throw Failure(QStringLiteral("name '%1' is too long; give the process id").arg(target),
                          WrongUse);
    }
    auto const list = std::make_unique<_oxProcessList>();
    list->collectAllProcesses();
    list->initGetProcessInfo();
    if (list->total() > list->count)
        throw Failure(
            QStringLiteral("cannot search all processes: %1 exist, but only %2 are listed")
                .arg(list->total())
                .arg(list->count));
    auto const self = static_cast<unsigned int>(QCoreApplication::applicationPid());
    std::vector<bool> isFound(targets.size(), false);
    std::vector<ProcessRow> rows;
    for (int i = 0; i < list->count; ++i) {
        _oxProcessEntry const & entry = list->entries[i];
        if (entry.pid == 0 || entry.pid == self)
            continue;
        bool isSelected = false;
        for (std::size_t k = 0; k < targets.size(); ++k) {
            if (isSelectedBy(entry, targets[k]))
                isSelected = isFound[k] = true;
        }
        if (isSelected)
            rows.push_back(readProcess(*list, i));
    }
    auto const missing = std::ranges::find(isFound, false);
    if (missing != isFound.end())
        throw Failure(QStringLiteral("cannot find a process with the id or name '%1'")
                          .arg(targets[static_cast<std::size_t>(missing - isFound.begin())]),
                      Missing);
    return rows;
}

void writeToTerminal(QString const & text)
{
    std::fputs(shownLines(text).toUtf8().constData(), stderr);
}

/// Shows the processes and asks on the terminal whether to end them. Returns the answer.
/// Fails: throws Failure when the standard input is not a terminal.
bool confirm(std::vector<ProcessRow> const & rows)
{
    if (!platform::isTerminal(stdin))
        throw Failure(QStringLiteral("cannot ask whether to end the processes: standard input is "
                                     "not a terminal; confirm with --yes"),
                      WrongUse);
    ProcessTable const table(0, 0);
    writeToTerminal(table.heading() + u'\n');
    for (ProcessRow const & row : rows)
        writeToTerminal(table.line(row) + u'\n');
    writeToTerminal(rows.size() == 1
                        ? QStringLiteral("End this process? [y/N] ")
                        : QStringLiteral("End these %1 processes? [y/N] ").arg(rows.size()));
    char answer[16] = "";
    return std::fgets(answer, sizeof answer, stdin) && (answer[0] == 'y' || answer[0] == 'Y');
}

QString nameOf(ProcessRow const & row)
{
    return QStringLiteral("%1 (%2)").arg(QString::number(row.pid), row.name);
}

void kill(Options const & options, Report & report)
{
    std::vector<ProcessRow> const rows = findProcesses(options.targets);
    if (!options.yes && !confirm(rows))
        throw Failure(QStringLiteral("stopped: no process was ended"));
    auto const ending = options.force ? platform::Ending::Immediate : platform::Ending::Requested;
    QJsonArray ended;
    QStringList failures;
    int status = Done;
    for (ProcessRow const & row : rows) {
        auto const result = platform::endProcess(
            row.pid, row.details ? row.details->start : std::uint64_t{0}, ending);
        if (result) {
            ended.append(jsonOf(row));
            report.line(options.force ? QStringLiteral("killed") : QStringLiteral("ending"),
                        nameOf(row));
            continue;
        }
        failures +=
            QStringLiteral("cannot end process %1: %2").arg(nameOf(row), reasonOf(result.error()));
        writeError(failures.back());
        status = combinedStatus(status, statusOf(result.error()));
    }
    report.set(QStringLiteral("processes"), ended);
    if (!failures.isEmpty())
        throw Failure::reported(failures, status);
}

} // namespace

Command killCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "kill",
            .group = Group::Machine,
            .summary = "End processes by name or id, after a confirmation",
            .details =
                "On Linux a process gets SIGTERM, so it can release its locks; with --force it\n"
                "gets SIGKILL. On Windows a process always ends immediately. If the system has\n"
                "reused a process id in the meantime, the new process is not ended.",
            .options = {{.name = "PROCESS",
                         .help = "Process id, or whole name in any letter case",
                         .target = &options->targets,
                         .isRequired = true},
                        {.name = "--yes",
                         .letter = 'y',
                         .help = "Do not ask; required unless standard input is a terminal",
                         .target = &options->yes},
                        {.name = "--force",
                         .help = "End the processes immediately",
                         .target = &options->force},
                        jsonOption(options->json)},
            .examples = {"oxtool kill render", "oxtool kill 4711 --force --yes"},
            .run = reporting(options, kill)};
}

} // namespace ox::tool

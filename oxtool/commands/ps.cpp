#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/process_rows.h"
#include "oxtool/support/report.h"
#include "oxtool/support/styled.h"
#include "shared/platform/program/console.h"
#include "shared/platform/program/terminal.h"

#include <QJsonArray>

#include <algorithm>
#include <iterator>

namespace ox::tool
{
namespace
{

struct Options {
    QString name; ///< positional argument
    ProcessSelection selection;
    bool json = false;
};

Failure nothingFound(ProcessSelection const & selection)
{
    if (selection.name.isEmpty() && selection.user.isEmpty())
        return Failure(QStringLiteral("cannot list processes: the system returned none"));
    QStringList conditions;
    if (!selection.name.isEmpty())
        conditions += QStringLiteral("no name begins with '%1'").arg(selection.name);
    if (!selection.user.isEmpty())
        conditions += QStringLiteral("no process of user '%1'").arg(selection.user);
    return Failure(QStringLiteral("cannot find a process: ") +
                       conditions.join(QLatin1String(" or ")),
                   Missing);
}

void show(std::vector<ProcessRow> const & rows, Report & report, bool asJson)
{
    bool const isTerminal = platform::isTerminal(stdout);
    ProcessTable const table(0, isTerminal ? platform::terminalSize(stdout).columns : 0);
    QJsonArray entries;
    if (!asJson && !rows.empty())
        writeStyledLine(table.heading(), Style::Heading);
    for (ProcessRow const & row : rows) {
        report.text(table.line(row));
        if (asJson)
            entries.append(jsonOf(row));
    }
    report.set(QStringLiteral("processes"), entries);
}

void list(Options const & options, Report & report)
{
    ProcessSelection selection = options.selection;
    if (!options.name.isEmpty())
        selection.name = options.name;
    // The library compares only the first 25 characters of a name.
    _oxString8_UnevenSize<25> prefix(selection.name);
    prefix.makeUpper();
    ProcessSelection shortened = selection;
    shortened.name = prefix;
    auto const processes = std::make_unique<_oxProcessList>();
    processes->collectProcesses(prefix);
    processes->initGetProcessInfo();
    std::vector<ProcessRow> rows;
    int total = processes->total();
    for (int i = 0; i < processes->count; ++i) {
        ProcessRow row = readProcess(*processes, i);
        // The list contains the idle process even if its name does not begin with the prefix.
        if (matches(row, shortened))
            rows.push_back(std::move(row));
        else
            --total;
    }
    applyOrder(rows, selection);
    int const listed = static_cast<int>(rows.size());
    show(rows, report, options.json);
    if (listed < total)
        report.text(processCount(listed, total));
    report.set(QStringLiteral("total"), total);
    if (rows.empty())
        throw nothingFound(selection);
}

} // namespace

Command processesCommand()
{
    auto const options = std::make_shared<Options>();
    Command command = {
        .name = "ps",
        .group = Group::Machine,
        .summary = "List the processes with owner, memory, processor time, start and command line",
        .details = "If the terminal has fewer than 100 columns, NAME is the second column of the\n"
                   "table. The environment variable NO_COLOR switches colours off.",
        .options = {{.name = "NAME",
                     .help = "List only processes whose name begins with NAME, in any letter case",
                     .target = &options->name},
                    {.name = "--name",
                     .valueName = "NAME",
                     .help = "The same as NAME",
                     .target = &options->selection.name,
                     .excludes = "NAME"}},
        .examples = {"oxtool ps render", "oxtool ps --user farm --sort memory --top 10"},
        .run = reporting(options, list)};
    std::ranges::move(selectionOptions(options->selection), std::back_inserter(command.options));
    command.options.push_back(jsonOption(options->json));
    return command;
}

} // namespace ox::tool

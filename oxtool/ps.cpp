#include "oxtool/commands.h"
#include "oxtool/failure.h"
#include "oxtool/names.h"
#include "oxtool/process_line.h"
#include "oxtool/report.h"

#include <QJsonArray>

namespace ox::tool
{
namespace
{

struct Options {
    std::string name;
    bool json = false;
};

double secondsOf(long long cpuTime)
{
    return static_cast<double>(cpuTime) / 1e7;
}

QJsonObject jsonOf(_oxProcessEntry const & entry)
{
    return {{QStringLiteral("pid"), static_cast<qint64>(entry.pid)},
            {QStringLiteral("parentPid"), static_cast<qint64>(entry.parentPid)},
            {QStringLiteral("name"), QString(entry.name)},
            {QStringLiteral("user"), QString(entry.user)},
            {QStringLiteral("memMB"), entry.memMB},
            {QStringLiteral("cpuSeconds"), secondsOf(entry.cpuTime)}};
}

void list(Options const & options, Report & report)
{
    _oxString8_UnevenSize<25> prefix(fromArgument(options.name));
    prefix.makeUpper();
    auto const processes = std::make_unique<_oxProcessList>();
    processes->collectAllProcesses();
    processes->initGetProcessInfo();
    QJsonArray entries;
    for (int i = 0; i < processes->count; ++i) {
        _oxProcessEntry const & entry = processes->entries[i];
        if (!entry.name.startsWith(prefix) && prefix.hasData())
            continue;
        processes->getProcessInfo(i);
        if (entries.isEmpty())
            report.text(processHeading(QStringLiteral("    CPU s")));
        report.text(processLine(
            entry, QString::number(secondsOf(entry.cpuTime), 'f', 2).rightJustified(9)));
        entries.append(jsonOf(entry));
    }
    report.set(QStringLiteral("processes"), entries);
    if (entries.isEmpty())
        throw Failure(options.name.empty()
                          ? QStringLiteral("The system gives no list of its processes.")
                          : QStringLiteral("There is no process whose name begins with %1.")
                                .arg(shownName(fromArgument(options.name))));
}

} // namespace

void addPs(CLI::App & program, Run & run)
{
    auto const options = std::make_shared<Options>();
    CLI::App & command = *program.add_subcommand(
        "ps", "List the processes of this machine with owner, memory and processor time");
    command.footer("Example:\n"
                   "  oxtool ps render");
    command.add_option("NAME", options->name,
                       "Only processes whose names begin so, in any case of letters");
    addJson(command, options->json);
    command.callback([options, &run] { run = reporting(options, list); });
}

} // namespace ox::tool

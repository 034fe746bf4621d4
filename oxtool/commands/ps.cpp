#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/process_line.h"
#include "oxtool/support/report.h"

#include <QJsonArray>

namespace ox::tool
{
namespace
{

struct Options {
    QString name;
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
    _oxString8_UnevenSize<25> prefix(options.name);
    prefix.makeUpper();
    auto const processes = std::make_unique<_oxProcessList>();
    processes->collectProcesses(prefix);
    processes->initGetProcessInfo();
    QJsonArray entries;
    int total = processes->total();
    for (int i = 0; i < processes->count; ++i) {
        _oxProcessEntry const & entry = processes->entries[i];
        // The list contains the idle process for every prefix.
        if (prefix.hasData() && !entry.name.startsWith(prefix)) {
            --total;
            continue;
        }
        processes->getProcessInfo(i);
        if (entries.isEmpty())
            report.text(processHeading(QStringLiteral("    CPU s")));
        report.text(processLine(
            entry, QString::number(secondsOf(entry.cpuTime), 'f', 2).rightJustified(9)));
        entries.append(jsonOf(entry));
    }
    int const listed = static_cast<int>(entries.size());
    if (listed < total)
        report.text(processCount(listed, total));
    report.set(QStringLiteral("processes"), entries);
    report.set(QStringLiteral("total"), total);
    if (entries.isEmpty() && options.name.isEmpty())
        throw Failure(QStringLiteral("cannot list processes: the system returned none"));
    if (entries.isEmpty())
        throw Failure(
            QStringLiteral("cannot find a process: no name begins with '%1'").arg(options.name),
            Missing);
}

} // namespace

Command processesCommand()
{
    auto const options = std::make_shared<Options>();
    return {
        .name = "ps",
        .group = Group::Machine,
        .summary = "List the processes with owner, memory and processor time",
        .options = {{.name = "NAME",
                     .help = "List only processes whose name begins with NAME, in any letter case",
                     .target = &options->name},
                    jsonOption(options->json)},
        .examples = {"oxtool ps render"},
        .run = reporting(options, list)};
}

} // namespace ox::tool

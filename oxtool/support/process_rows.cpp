#include "oxtool/support/process_rows.h"

#include "oxtool/support/report.h"
#include "oxtool/support/shown_text.h"
#include "shared/text/native_path.h"

#include <QDateTime>

#include <algorithm>

namespace ox::tool
{
namespace
{

constexpr int narrowColumns = 100;

std::int64_t startOf(ProcessRow const & row)
{
    return row.details ? row.details->startTime : 0;
}

bool isBefore(std::string const & sort, ProcessRow const & a, ProcessRow const & b)
{
    if (sort == "memory")
        return a.memMB > b.memMB;
    if (sort == "id")
        return a.pid < b.pid;
    if (sort == "name")
        return a.name < b.name;
    if (sort == "time")
        return startOf(a) > startOf(b);
    if (a.usage != b.usage)
        return a.usage > b.usage;
    return a.cpuSeconds > b.cpuSeconds;
}

QString startText(ProcessRow const & row)
{
    return row.details ? timeText(row.details->startTime).left(16) : QStringLiteral("-");
}

QString commandLineOf(ProcessRow const & row)
{
    return row.details ? text::toQString(row.details->commandLine) : QString();
}

QString number(double value, int digits, int width)
{
    return QString::number(value, 'f', digits).rightJustified(width);
}

} // namespace

std::vector<Option> selectionOptions(ProcessSelection & selection)
{
    return {{.name = "--user",
             .letter = 'u',
             .valueName = "USER",
             .help = "Show only processes of this user, in any letter case",
             .target = &selection.user},
            {.name = "--sort",
             .letter = 's',
             .valueName = "KEY",
             .help = "Sort by cpu, memory, id, name or time (start time, newest first)",
             .target = &selection.sort,
             .choices = {"cpu", "memory", "id", "name", "time"}},
            {.name = "--top",
             .letter = 'n',
             .valueName = "N",
             .help = "Show only the first N processes; without --sort, sort by cpu",
             .target = &selection.top,
             .range = atLeast(1)}};
}

ProcessRow readProcess(_oxProcessList & list, int index)
{
    list.getProcessInfo(index);
    _oxProcessEntry const & entry = list.entries[index];
    return {.pid = entry.pid,
            .parentPid = entry.parentPid,
            .name = entry.name,
            .user = entry.user,
            .memMB = entry.memMB,
            .cpuSeconds = static_cast<double>(entry.cpuTime) / 1e7,
            .details = platform::processDetails(entry.pid)};
}

bool matches(ProcessRow const & row, ProcessSelection const & selection)
{
    return row.name.startsWith(selection.name, Qt::CaseInsensitive) &&
           (selection.user.isEmpty() || row.user.compare(selection.user, Qt::CaseInsensitive) == 0);
}

void applyOrder(std::vector<ProcessRow> & rows, ProcessSelection const & selection)
{
    auto const count = static_cast<std::size_t>(selection.top);
    if (!selection.sort.empty() || count > 0)
        std::ranges::stable_sort(rows, [&selection](ProcessRow const & a, ProcessRow const & b) {
            return isBefore(selection.sort, a, b);
        });
    if (count > 0 && rows.size() > count)
        rows.erase(rows.begin() + selection.top, rows.end());
}

QString ProcessTable::heading() const
{
    return inColumns(
        {QStringLiteral("PID"), QStringLiteral("PARENT"), QStringLiteral("USER"),
         QStringLiteral("MIB"),
         coreCount_ > 0 ? QStringLiteral("CORE %   ALL %") : QStringLiteral("    CPU s"),
         QStringLiteral("STARTED"), QStringLiteral("NAME"), QStringLiteral("COMMAND LINE")});
}

QString ProcessTable::line(ProcessRow const & row) const
{
    QString const figures = coreCount_ > 0
                                ? number(row.usage, 1, 6) + number(row.usage / coreCount_, 1, 8)
                                : number(row.cpuSeconds, 2, 9);
    return inColumns({QString::number(row.pid), QString::number(row.parentPid),
                      row.user.isEmpty() ? QStringLiteral("-") : shownText(row.user),
                      QString::number(row.memMB), figures, startText(row), shownText(row.name),
                      shownText(commandLineOf(row))});
}

QString ProcessTable::inColumns(Cells const & cells) const
{
    constexpr int nameColumns = 25;
    QString const id = cells.id.rightJustified(7);
    QString const parent = cells.parent.rightJustified(7);
    QString const memory = cells.memory.rightJustified(7);
    QString const user = padded(cells.user, 12);
    QString const started = cells.started.leftJustified(16);
    bool const isNarrow = columns_ > 0 && columns_ < narrowColumns;
    QStringList line = isNarrow ? QStringList{id, padded(cutInMiddle(cells.name, 16), 16),
                                              cells.figures, memory, user}
                                : QStringList{id, parent, user, memory, cells.figures};
    line += started;
    line += isNarrow ? parent : padded(cells.name, nameColumns);
    line += cells.commandLine;
    QString text = line.join(QLatin1String("  "));
    while (text.endsWith(u' '))
        text.chop(1);
    return columns_ > 0 ? cutAtEnd(text, columns_ - 1) : text;
}

QString processCount(int listed, int total)
{
    QString const all = QStringLiteral("%1 processes").arg(total);
    return listed == total ? all : QStringLiteral("%1 of %2").arg(listed).arg(all);
}

QJsonObject jsonOf(ProcessRow const & row)
{
    return {{QStringLiteral("pid"), static_cast<qint64>(row.pid)},
            {QStringLiteral("parentPid"), static_cast<qint64>(row.parentPid)},
            {QStringLiteral("name"), row.name},
            {QStringLiteral("user"), row.user},
            {QStringLiteral("memMB"), row.memMB},
            {QStringLiteral("cpuSeconds"), row.cpuSeconds},
            {QStringLiteral("started"),
             row.details ? QJsonValue(jsonTime(row.details->startTime)) : QJsonValue()},
            {QStringLiteral("commandLine"), commandLineOf(row)}};
}

} // namespace ox::tool

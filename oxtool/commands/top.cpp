#include "oxtool/commands/commands.h"
#include "oxtool/support/process_line.h"
#include "oxtool/support/report.h"
#include "oxtool/support/shown_text.h"
#include "oxtool/support/stop.h"
#include "shared/platform/program/terminal.h"
#include "shared/system/environment.h"
#include "shared/system/sys_info.h"

#include <QStringList>

#include <algorithm>
#include <unordered_map>
#include <vector>

namespace ox::tool
{
namespace
{

struct Options {
    int intervalMs = 2000;
    double leastUsage = 0;
    int count = 0;
};

/// Usage of the machine and of its processes between two samples.
class UsageMonitor
{
  public:
    UsageMonitor() { sample(); }

    void sample()
    {
        info_->update(false);
        list_->collectAllProcesses();
        list_->initGetProcessInfo();
        std::unordered_map<unsigned int, _ProcessWatch> watches;
        for (int i = 0; i < list_->count; ++i) {
            list_->getProcessInfo(i);
            _oxProcessEntry const & entry = list_->entries[i];
            _ProcessWatch & watch = watches[entry.pid];
            auto const before = watches_.find(entry.pid);
            // The system may have reused the process id.
            if (before != watches_.end() && before->second.name == entry.name &&
                before->second.lastCpuTime <= entry.cpuTime)
                watch = before->second;
            watch.pid = entry.pid;
            watch.name = entry.name;
            watch.calcCPUUsage(list_.get(), i, info_->coreCount);
        }
        watches_ = std::move(watches);
    }

    /// Returns a line about the machine, the column titles, and the processes with at least this
    /// usage, sorted by descending usage.
    QStringList lines(double leastUsage) const
    {
        QStringList lines{
            QStringLiteral("%1  load %2 of %3 cores, %4 of %5 MiB free, %6")
                .arg(timeText(_oxTime::currentTime().value), info_->cpuUsage.strSystemPerc())
                .arg(info_->coreCount)
                .arg(info_->freeMemoryMB)
                .arg(info_->totalMemoryMB)
                .arg(processCount(list_->count, list_->total())),
            processHeading(QStringLiteral("CORE %   ALL %"))};
        for (Row const & row : sortedByUsage(leastUsage)) {
            double const share = row.usage / info_->coreCount;
            lines += processLine(*row.entry, QString::number(row.usage, 'f', 1).rightJustified(6) +
                                                 QString::number(share, 'f', 1).rightJustified(8));
        }
        return lines;
    }

  private:
    struct Row {
        _oxProcessEntry const * entry;
        double usage;
    };

    std::vector<Row> sortedByUsage(double leastUsage) const
    {
        std::vector<Row> rows;
        for (int i = 0; i < list_->count; ++i) {
            _oxProcessEntry const & entry = list_->entries[i];
            double const usage = static_cast<double>(watches_.at(entry.pid).cpuUsage);
            if (usage >= leastUsage)
                rows.push_back({&entry, usage});
        }
        std::ranges::stable_sort(rows, [](Row const & a, Row const & b) {
            return a.usage != b.usage ? a.usage > b.usage : a.entry->memMB > b.entry->memMB;
        });
        return rows;
    }

    std::unique_ptr<_oxProcessList> list_ = std::make_unique<_oxProcessList>();
    std::unique_ptr<_oxSysInfo> info_ = std::make_unique<_oxSysInfo>();
    std::unordered_map<unsigned int, _ProcessWatch> watches_;
};

/// Returns whether another report follows this number of reports.
bool hasNextReport(Options const & options, int reports)
{
    return options.count == 0 || reports < options.count;
}

void draw(QStringList lines)
{
    auto const size = platform::terminalSize(stdout);
    if (lines.size() > size.rows - 1)
        lines.erase(lines.begin() + std::max(1, size.rows - 1), lines.end());
    lines += QStringLiteral("q: quit");
    QString frame = QStringLiteral("\033[H");
    for (QString & line : lines) {
        frame += cutAtEnd(shownText(line), size.columns - 1) + QStringLiteral("\033[K\r\n");
    }
    frame.chop(2);
    frame += QStringLiteral("\033[J");
    QByteArray const bytes = frame.toUtf8();
    writeOutput(bytes.constData(), bytes.size());
    std::fflush(stdout);
}

/// Waits for the key that ends the command. Returns whether it was pressed.
bool waitForQuit(int withinMs)
{
    auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(withinMs);
    while (auto const key = platform::waitForKey(end)) {
        if (*key == 'q' || *key == 'Q' || *key == platform::endOfKeys)
            return true;
    }
    return false;
}

/// Draws on the terminal until the user quits.
void showLive(Options const & options)
{
    UsageMonitor monitor;
    // The first report appears early.
    int waitMs = std::min(options.intervalMs, 500);
    for (int drawn = 0; hasNextReport(options, drawn) && !waitForQuit(waitMs); ++drawn) {
        monitor.sample();
        QStringList const lines = monitor.lines(options.leastUsage);
        // A stop request restores the terminal. Nothing may be drawn after that.
        deferStopRequests([&lines] { draw(lines); });
        waitMs = options.intervalMs;
    }
}

void showPlain(Options const & options)
{
    UsageMonitor monitor;
    for (int written = 0; hasNextReport(options, written) && !isOutputLost(); ++written) {
        oxSleep(options.intervalMs);
        monitor.sample();
        if (written > 0)
            writeLine(QString());
        for (QString const & line : monitor.lines(options.leastUsage))
            writeLine(line);
    }
}

int show(Options const & options)
{
    StopGuard guard;
    if (guard.acquire(platform::takeTerminal, platform::restoreTerminal))
        showLive(options);
    else
        showPlain(options);
    return 0;
}

} // namespace

Command topCommand()
{
    auto const options = std::make_shared<Options>();
    return {
        .name = "top",
        .group = Group::Machine,
        .summary = "Monitor processor usage per process",
        .details =
            "On a terminal the table is redrawn in place; q or Ctrl-C ends the command. In a pipe\n"
            "the reports follow each other.",
        .options = {{.name = "--interval",
                     .letter = 'i',
                     .valueName = "TIME",
                     .help = "Time between two reports",
                     .target = Milliseconds{&options->intervalMs},
                     .showsDefault = true,
                     .range = Range{50, 24 * 3600 * 1000}},
                    {.name = "--min",
                     .valueName = "PERCENT",
                     .help = "Show only processes that use at least this share of a core",
                     .unit = "%",
                     .target = &options->leastUsage,
                     .showsDefault = true,
                     .range = Range{0.0, 1e6}},
                    {.name = "--count",
                     .valueName = "N",
                     .help = "Number of reports; 0 for no limit",
                     .target = &options->count,
                     .showsDefault = true,
                     .range = atLeast(0)}},
        .examples = {"oxtool top --min 5"},
        .run = [options] { return show(*options); }};
}

} // namespace ox::tool

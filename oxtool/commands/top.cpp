#include "oxtool/commands/commands.h"
#include "oxtool/support/process_rows.h"
#include "oxtool/support/report.h"
#include "oxtool/support/shown_text.h"
#include "oxtool/support/stop.h"
#include "oxtool/support/styled.h"
#include "shared/platform/program/terminal.h"
#include "shared/system/environment.h"
#include "shared/system/sys_info.h"

#include <QByteArrayList>
#include <QJsonArray>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace ox::tool
{
namespace
{

struct Options {
    int intervalMs = 2000;
    double leastUsage = 0;
    int count = 0;
    bool json = false;
    ProcessSelection selection{{}, {}, "cpu", 0};
};

/// Measures the usage of the machine and of its processes between two samples.
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
        rows_.clear();
        for (int i = 0; i < list_->count; ++i) {
            ProcessRow row = readProcess(*list_, i);
            _oxProcessEntry const & entry = list_->entries[i];
            _ProcessWatch & watch = watches[entry.pid];
            auto const before = watches_.find(entry.pid);
            // If the name differs or the time has decreased, the system has reused the process id.
            if (before != watches_.end() && before->second.name == entry.name &&
                before->second.lastCpuTime <= entry.cpuTime)
                watch = before->second;
            watch.pid = entry.pid;
            watch.name = entry.name;
            watch.calcCPUUsage(list_.get(), i, info_->coreCount);
            row.usage = static_cast<double>(watch.cpuUsage);
            rows_.push_back(std::move(row));
        }
        watches_ = std::move(watches);
    }

    /// Returns a line about the machine.
    QString machineLine() const
    {
        return QStringLiteral("%1  load %2 of %3 cores, %4 of %5 MiB free, %6")
            .arg(timeText(_oxTime::currentTime().value), info_->cpuUsage.strSystemPerc())
            .arg(info_->coreCount)
            .arg(info_->freeMemoryMB)
            .arg(info_->totalMemoryMB)
            .arg(processCount(list_->count, list_->total()));
    }

    /// Returns the figures of the machine, with the members that `info` and `ps` use.
    QJsonObject machineJson() const
    {
        return {{QStringLiteral("time"), jsonTime(_oxTime::currentTime().value)},
                {QStringLiteral("cpuUsage"), info_->cpuUsage.asSystemFloat()},
                {QStringLiteral("coreCount"), info_->coreCount},
                {QStringLiteral("freeMemoryMB"), info_->freeMemoryMB},
                {QStringLiteral("totalMemoryMB"), info_->totalMemoryMB},
                {QStringLiteral("total"), list_->total()}};
    }

    /// Returns the selected processes whose usage is at least `leastUsage`, in the order of the
    /// selection. Processes that are equal in the sort key are sorted by descending memory.
    std::vector<ProcessRow> rows(double leastUsage, ProcessSelection const & selection) const
    {
        std::vector<ProcessRow> rows;
        std::ranges::copy_if(rows_, std::back_inserter(rows), [&](ProcessRow const & row) {
            return row.usage >= leastUsage && matches(row, selection);
        });
        std::ranges::stable_sort(rows, std::greater(), &ProcessRow::memMB);
        applyOrder(rows, selection);
        return rows;
    }

    int coreCount() const { return info_->coreCount; }

  private:
    std::unique_ptr<_oxProcessList> list_ = std::make_unique<_oxProcessList>();
    std::unique_ptr<_oxSysInfo> info_ = std::make_unique<_oxSysInfo>();
    std::unordered_map<unsigned int, _ProcessWatch> watches_;
    std::vector<ProcessRow> rows_;
};

/// Returns whether to write another report after `reports` reports.
bool hasNextReport(Options const & options, int reports)
{
    return options.count == 0 || reports < options.count;
}

/// Live table on the terminal. Keys change the sort order and scroll.
class LiveView
{
  public:
    explicit LiveView(Options const & options) : options_(options), selection_(options.selection) {}

    /// Draws the table until the user quits, or until N reports are drawn (--count N).
    void run()
    {
        // The first report appears after at most 500 ms.
        int waitMs = std::min(options_.intervalMs, 500);
        for (; hasNextReport(options_, drawn_) && !waitForQuit(waitMs); ++drawn_) {
            monitor_.sample();
            draw();
            waitMs = options_.intervalMs;
        }
    }

  private:
    /// Handles keys for `withinMs` milliseconds. Returns true when a key ends the command.
    bool waitForQuit(int withinMs)
    {
        auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(withinMs);
        while (auto const key = platform::waitForKey(end)) {
            if (*key == 'q' || *key == 'Q' || *key == platform::endOfKeys)
                return true;
            if (handle(*key) && drawn_ > 0)
                draw();
        }
        return false;
    }

    /// Handles a key. Always returns true, so that the table is redrawn after each key.
    bool handle(char key)
    {
        for (auto const & [letter, sort] :
             {std::pair('c', "cpu"), std::pair('m', "memory"), std::pair('i', "id"),
              std::pair('n', "name"), std::pair('t', "time")}) {
            if (key == letter)
                selection_.sort = sort;
        }
        int const page = std::max(1, platform::terminalSize(stdout).rows - 4);
        for (auto const & [special, letter, rows] :
             {std::tuple(platform::upKey, 'k', -1), std::tuple(platform::downKey, 'j', 1),
              std::tuple(platform::pageUpKey, 'b', -page),
              std::tuple(platform::pageDownKey, ' ', page)}) {
            if (key == special || key == letter)
                first_ += rows;
        }
        return true;
    }

    void draw()
    {
        auto const size = platform::terminalSize(stdout);
        auto const rows = monitor_.rows(options_.leastUsage, selection_);
        int const shown = std::max(0, size.rows - 3);
        first_ = std::clamp(first_, 0, std::max(0, static_cast<int>(rows.size()) - shown));
        ProcessTable const table(monitor_.coreCount(), size.columns);
        QByteArrayList lines = {cut(monitor_.machineLine(), size, Style::None),
                                cut(table.heading(), size, Style::Heading)};
        for (int i = first_; i < static_cast<int>(rows.size()) && i < first_ + shown; ++i) {
            ProcessRow const & row = rows[static_cast<std::size_t>(i)];
            constexpr double busy = 50; // percent of a core
            lines += cut(table.line(row), size, row.usage >= busy ? Style::Busy : Style::None);
        }
        while (lines.size() > std::max(1, size.rows - 1))
            lines.removeLast();
        lines += cut(QStringLiteral("q: quit  c, m, i, n, t: sort by cpu, memory, id, name, time  "
                                    "j, k, space, b: scroll"),
                     size, Style::None);
        QByteArray const frame = "\033[H" + lines.join("\033[K\r\n") + "\033[K\033[J";
        // A stop request restores the terminal. Without the deferral, the table could be drawn on
        // the restored terminal.
        deferStopRequests([&frame] {
            writeOutput(frame.constData(), frame.size());
            std::fflush(stdout);
        });
    }

    static QByteArray cut(QString const & line, platform::TerminalSize size, Style style)
    {
        return styled(cutAtEnd(shownText(line), size.columns - 1), style);
    }

    Options const & options_;
    ProcessSelection selection_;
    UsageMonitor monitor_;
    int first_ = 0; ///< index of the first shown process
    int drawn_ = 0;
};

void writeText(UsageMonitor const & monitor, std::vector<ProcessRow> const & rows)
{
    ProcessTable const table(monitor.coreCount(), 0);
    writeLine(monitor.machineLine());
    writeLine(table.heading());
    for (ProcessRow const & row : rows)
        writeLine(table.line(row));
}

void writeJson(UsageMonitor const & monitor, std::vector<ProcessRow> const & rows)
{
    QJsonArray processes;
    for (ProcessRow const & row : rows) {
        QJsonObject process = jsonOf(row);
        process.insert(QStringLiteral("usage"), std::round(row.usage * 10) / 10);
        processes.append(process);
    }
    QJsonObject report = monitor.machineJson();
    report.insert(QStringLiteral("processes"), processes);
    writeJsonLine(report);
}

void showPlain(Options const & options)
{
    UsageMonitor monitor;
    for (int written = 0; hasNextReport(options, written) && !isOutputLost(); ++written) {
        oxSleep(options.intervalMs);
        monitor.sample();
        if (written > 0 && !options.json)
            writeLine(QString());
        auto const write = options.json ? writeJson : writeText;
        write(monitor, monitor.rows(options.leastUsage, options.selection));
    }
}

void show(Options const & options)
{
    StopGuard guard;
    if (!options.json && guard.acquire(platform::takeTerminal, platform::restoreTerminal))
        LiveView(options).run();
    else
        showPlain(options);
}

} // namespace

Command topCommand()
{
    auto const options = std::make_shared<Options>();
    Command command = {
        .name = "top",
        .group = Group::Machine,
        .summary = "Monitor processor usage per process",
        .details =
            "On a terminal the table is redrawn in place. The keys c, m, i, n and t sort by cpu,\n"
            "memory, id, name and time; the arrow keys, or j, k, space and b, scroll; q or Ctrl-C\n"
            "ends the command. In a pipe, and with --json, the reports follow each other.",
        .options = {{.name = "--interval",
                     .letter = 'i',
                     .valueName = "TIME",
                     .help = "Time between two reports",
                     .target = Milliseconds{&options->intervalMs},
                     .showsDefault = true,
                     .range = Range{50, 24 * 3600 * 1000}},
                    {.name = "--min",
                     .valueName = "PERCENT",
                     .help = "Show only processes that use at least this percentage of a core",
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
        .examples = {"oxtool top --min 5", "oxtool top --user farm --sort memory --top 20",
                     "oxtool top --json --interval 10s --top 5 >usage.jsonl"},
        .run = [options] { return runInLines(options->json, [&] { show(*options); }); }};
    command.options.push_back(
        {.name = "--name",
         .valueName = "NAME",
         .help = "Show only processes whose name begins with NAME, in any letter case",
         .target = &options->selection.name});
    std::ranges::move(selectionOptions(options->selection), std::back_inserter(command.options));
    command.options.push_back(jsonLinesOption(options->json));
    return command;
}

} // namespace ox::tool

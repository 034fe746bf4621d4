#pragma once

#include "oxtool/command_line/command.h"
#include "shared/platform/program/process_details.h"
#include "shared/system/process_list.h"

#include <QJsonObject>
#include <QString>

#include <optional>
#include <string>
#include <vector>

// Processes as `ps`, `top` and `kill` show them.

namespace ox::tool
{

/// A process with its details.
struct ProcessRow {
    unsigned int pid = 0;
    unsigned int parentPid = 0;
    QString name;
    QString user; ///< empty if unknown
    int memMB = 0;
    double cpuSeconds = 0;
    double usage = 0; ///< percent of one core; only in `top`
    std::optional<platform::ProcessDetails> details;
};

/// Filter and order of the shown processes.
struct ProcessSelection {
    QString name;     ///< prefix of the name, ignoring case; empty for all
    QString user;     ///< name of the user, ignoring case; empty for all
    std::string sort; ///< empty for the system's order
    int top = 0;      ///< number of processes; 0 for no limit
};

/// Returns the options --user, --sort and --top.
std::vector<Option> selectionOptions(ProcessSelection & selection);

/// Returns entry `index` of a list, with its details. Call initGetProcessInfo() of the list first.
ProcessRow readProcess(_oxProcessList & list, int index);

/// Returns whether the name and the user of a process match the selection.
bool matches(ProcessRow const & row, ProcessSelection const & selection);

/// Sorts the processes by `selection.sort` and keeps the first `selection.top`. The keys memory and
/// time (start time) sort in descending order, id and name in ascending order. The key cpu sorts by
/// usage and then by processor time, both in descending order. If `selection.top` is set without
/// `selection.sort`, the key is cpu.
void applyOrder(std::vector<ProcessRow> & rows, ProcessSelection const & selection);

/// Formats processes as the rows of a table.
class ProcessTable
{
  public:
    /// If `coreCount` is not 0, the table shows the usage in percent of one core and of all cores,
    /// otherwise the processor time. `columns` is the width of the terminal; 0 without a terminal.
    /// Lines are cut to this width. Below 100 columns, the name is the second column.
    explicit ProcessTable(int coreCount, int columns) : coreCount_(coreCount), columns_(columns) {}

    QString heading() const;
    QString line(ProcessRow const & row) const;

  private:
    struct Cells {
        QString id, parent, user, memory, figures, started, name, commandLine;
    };
    QString inColumns(Cells const & cells) const;

    int coreCount_;
    int columns_;
};

/// Returns "84 processes", or "1000 of 1079 processes" if not all are listed.
QString processCount(int listed, int total);

/// Returns the JSON object of a process.
QJsonObject jsonOf(ProcessRow const & row);

} // namespace ox::tool

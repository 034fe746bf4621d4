#pragma once

#include "oxtool/command_line/command.h"
#include "shared/platform/program/process_details.h"
#include "shared/system/process_list.h"

#include <QJsonObject>
#include <QString>

#include <optional>
#include <string>
#include <vector>

// The processes as `ps`, `top` and `kill` show them.

namespace ox::tool
{

/// A process with its details.
struct ProcessRow {
    unsigned int pid = 0;
    unsigned int parentPid = 0;
    QString name;
    QString user; ///< empty for a process that the library has not read
    int memMB = 0;
    double cpuSeconds = 0;
    double usage = 0; ///< percent of one core; only in `top`
    std::optional<platform::ProcessDetails> details;
};

/// Which processes are shown, and in which order.
struct ProcessSelection {
    QString name;     ///< prefix in any letter case; empty for all
    QString user;     ///< in any letter case; empty for all
    std::string sort; ///< empty for the system's order
    int top = 0;      ///< number of processes; 0 for no limit
};

/// Returns the options --user, --sort and --top.
std::vector<Option> selectionOptions(ProcessSelection & selection);

/// Reads entry `index` of a list, after initGetProcessInfo, and its details.
ProcessRow readProcess(_oxProcessList & list, int index);

/// Returns whether the name and the user of a process match.
bool matches(ProcessRow const & row, ProcessSelection const & selection);

/// Sorts the processes: cpu by usage or, without it, by processor time, memory and time (the start)
/// in descending order, id and name in ascending order. Keeps the first `top` processes.
void applyOrder(std::vector<ProcessRow> & rows, ProcessSelection const & selection);

/// Text form of a table of processes.
class ProcessTable
{
  public:
    /// With a `coreCount` the figures are the usage of one core and of all cores, otherwise the
    /// processor time. On a terminal below 100 columns the name stands before the wide columns, and
    /// lines are cut. `columns` 0 means no terminal.
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

#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string8.h"

#include <QString>

#include <memory>

/// The processes of this machine: which run, what they use, whose they are.
///
///     auto const list = std::make_unique<_oxProcessList>();
///     if (list->processExists("render.exe", true))
///         ...
///
/// A process may end at any time. What is asked of one that has ended gives the "failed" result.

namespace ox::platform
{
struct Error;
}

namespace ox::system
{
struct ProcessListBlock;
}

/// One process of a list.
struct _oxProcessEntry {
    /// The file name of the executable in upper case; "IDLE" for the process 0.
    _oxString8_UnevenSize<25> name;
    /// Who owns it, as getProcessInfo read it: the account's name; "System" for a group that is
    /// built into the system; "AccDenied", "noSID" or "Err" and the system's number when the name
    /// could not be read; "noDebugPriv" when the process could not be looked at.
    _oxString8_UnevenSize<25> user;
    unsigned int pid = 0;
    unsigned int parentPid = 0;
    int memMB = 0;         ///< working set in MiB; 0 when not read
    long long cpuTime = 0; ///< processor time in 100 ns; 0 when not read
};

/// A snapshot of up to 1000 processes. About 80 KiB in size: create it on the heap. Snapshots are
/// taken in place, without further memory.
///
/// The figures of the processes are read in two steps: initGetProcessInfo reads those of all at one
/// moment, as the constructor does, and getProcessInfo takes out those of one entry. A process that
/// has started since has the figures of the moment at which it is asked for. Names are compared
/// ignoring case, and only their first 25 characters are known.
class OX_EXPORT _oxProcessList
{
  public:
    static constexpr int capacity = 1000;

    int count = 0; ///< how many of the entries are filled
    _oxProcessEntry entries[capacity];
    _oxString8_evenSize<500> errorText; ///< the failed readings, one after another
    long long perfTime = 0;   ///< when the figures were read, in 100 ns; 0 when that failed
    double perfTimeDelta = 0; ///< from the reading before to that one
    bool collected = false;   ///< whether there is a snapshot

    /// An empty list. Requests the right to look at the processes of others (SeDebugPrivilege) and
    /// reads the figures of all processes.
    _oxProcessList();
    ~_oxProcessList();

    /// Takes a new snapshot of ids and names: the idle process (id 0) first, then the first 999 of
    /// the others. Threads of the kernel and zombies are not processes. The snapshot is empty when
    /// the system has no list, and `oxLastOSError` has the reason.
    void collectAllProcesses();
    /// The same of the idle process and those whose names start with a text, in any case of
    /// letters. All processes of the machine are searched; the empty text takes all.
    void collectProcesses(_oxString8_UnevenSize<25> const & prefix);
    /// How many processes the last snapshot found; `count` of them have entries.
    int total() const { return total_; }

    /// Reads the figures of all processes and forgets those in the entries. On Linux a snapshot
    /// reads the figures along with the names: they serve a call within 10 ms after it.
    void initGetProcessInfo();
    /// Fills in `memMB` and `cpuTime` of an entry, if it has neither yet, and `user`.
    ///
    /// Indices from 1 to `count` are served: `count` serves the entry behind the filled ones. Other
    /// indices do nothing.
    /// Compatibility: the first entry, the idle process, is never served; the farm's applications
    /// rely on this range.
    void getProcessInfo(int index);
    /// As getProcessInfo, without the user and without fix32bit_4GBmemory.
    void getProcessInfoMemCPUOnly(int index);
    /// As getProcessInfo for `cpuTime` alone. Returns 0.
    long long getProcessInfoMemBytes_CPUOnly(int index);
    /// Shares out the memory that no process accounts for among those of more than 4000 MiB, whose
    /// size a reader of 32 bits sees cut off at 4 GiB.
    void fix32bit_4GBmemory();

    // The following take a snapshot first when there is none, or with `refresh`.

    /// The index of the first entry with an id; -1 when there is none.
    int getListIDByPID(unsigned int pid, bool refresh);
    bool processExistsPID(unsigned int pid, bool refresh);
    /// Whether a process has this name. False for the empty name, without a snapshot. `pidOut` is
    /// not written, deliberately: the applications keep their own number in it.
    bool processExists(_oxString8_UnevenSize<25> name, bool refresh, long long * pidOut = nullptr);
    /// Whether at least two processes have this name. The id of the last one goes to `pidOut`, also
    /// when there is only one; it is not written when there is none.
    bool doesProcessExistTwice(_oxString8_UnevenSize<25> name, long long * pidOut = nullptr);

    /// Ends a process at once. Failures are silent.
    void killProcess(unsigned int const & pid);
    /// Ends all processes of this name; none for the empty name.
    void killProcess(_oxString8_UnevenSize<25> name);

  private:
    void collectIfNeeded(bool refresh);
    void noteFailedReading(ox::platform::Error const & error);
    bool isServed(int index) const;
    /// Reads memory and time of an entry that has neither. Returns whether the working set is more
    /// than 32 bits can tell.
    bool readMemoryAndTime(_oxProcessEntry & entry);
    void readUser(_oxProcessEntry & entry);

    int total_ = 0;
    std::unique_ptr<ox::system::ProcessListBlock> block_;

  public:
    /// 308000 bytes of the list's own. On Windows they hold the raw performance data from which the
    /// figures were read last; on Linux they are zeros, as the system has no such data.
    char * const perfBuffer;
};

/// Follows the CPU usage of one process from reading to reading.
class OX_EXPORT _ProcessWatch
{
  public:
    unsigned int pid = 0;
    _oxString8_UnevenSize<25> name;
    float cpuUsage = 0;        ///< percent of one core over the last interval
    long long lastCpuTime = 0; ///< the entry's `cpuTime` at the last reading

    void clear() { *this = _ProcessWatch(); }

    /// Takes the usage since the last reading from an entry whose figures have been read; 0 the
    /// first time. An index outside the list changes nothing. The number of cores is not used: one
    /// busy core is 100, whatever the machine has.
    void calcCPUUsage(_oxProcessList const * list, int const & index, int const & coreCount);
};

/// Enables or disables a privilege of this process, such as "SeDebugPrivilege". False when it does
/// not have that privilege, and on systems that know none.
OX_EXPORT bool setPrivilege(char const * privilegeName, bool enable);

/// Whether one of the farm's applications, of which this process is one, runs already. Its program
/// is `baseName`, or `baseName` and "console" for its console variant, with the system's suffix.
/// With `checkConsole` both variants count, and `isConsole` tells which one asks. `pidOut` is
/// written as doesProcessExistTwice writes it for the variant without console, and not at all for a
/// console that checks both.
OX_EXPORT bool ourProcessAlreadyExists(_oxString8_UnevenSize<25> baseName, bool isConsole,
                                       bool checkConsole, long long * pidOut = nullptr);

/// A report of the processes whose names start with a text, over an interval: a line each with the
/// name, the usage of one core, with `coreCount` >= 1 the usage of the machine in parentheses, MiB,
/// user and, with `withPid`, the id. Empty for the empty prefix.
OX_EXPORT QString listProcess(_oxString8_UnevenSize<25> namePrefix, int waitMs, int coreCount,
                              bool withPid);
/// The same of all processes that use at least so many percent of a core, rounded, or more than 500
/// MiB, below a line that tells the limits.
OX_EXPORT QString listAllProcesses(int minCorePerc, int waitMs, int coreCount, bool withPid);

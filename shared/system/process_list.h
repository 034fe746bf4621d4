#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string8.h"

#include <QString>

#include <memory>

/// Lists the processes of this machine with their memory, processor time and owners.
///
///     auto const list = std::make_unique<_oxProcessList>();
///     if (list->processExists("render.exe", true))
///         ...
///
/// A process may end at any time. Each function treats an ended process as a failure.

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
    /// File name of the executable in upper case, cut at 25 characters; "IDLE" for process 0.
    _oxString8_UnevenSize<25> name;
    /// Owner that getProcessInfo has read: the account's name, or "System" for a group that is
    /// built into the system. If the name could not be read: "AccDenied", "noSID", or "Err"
    /// followed by the system's error code. If the process could not be opened: "noDebugPriv".
    _oxString8_UnevenSize<25> user;
    /// Process id.
    unsigned int pid = 0;
    /// Process id of the parent.
    unsigned int parentPid = 0;
    int memMB = 0;         ///< working set in MiB; 0 when not read
    long long cpuTime = 0; ///< processor time in 100 ns; 0 when not read
};

/// Snapshot of up to 1000 processes. An object has about 80 KiB: create it on the heap. Each
/// snapshot reuses the memory of the previous one.
///
/// Memory and processor time are read in two steps. initGetProcessInfo and the constructor read the
/// values of all processes at the same time. getProcessInfo copies the values of one process to its
/// entry; for a process that has started later, it reads the current values. Names are
/// compared ignoring case, by their first 25 characters.
class OX_EXPORT _oxProcessList
{
  public:
    /// Maximum number of entries.
    static constexpr int capacity = 1000;

    int count = 0; ///< number of filled entries
    /// The processes of the snapshot; the first `count` entries are filled.
    _oxProcessEntry entries[capacity];
    _oxString8_evenSize<500> errorText; ///< error texts of all failed reads
    long long perfTime = 0;             ///< time of the last reading in 100 ns; 0 if it failed
    double perfTimeDelta = 0;           ///< time between the last two readings in 100 ns
    bool collected = false;             ///< whether there is a snapshot

    /// Creates an empty list. Requests the right to open the processes of other users
    /// (SeDebugPrivilege), and reads memory and processor time of all processes.
    _oxProcessList();
    ~_oxProcessList();

    /// Takes a new snapshot of ids and names: the idle process (id 0), then the first 999 other
    /// processes. Kernel threads and zombies are omitted.
    /// Fails: with an empty snapshot; `oxLastOSError` has the reason.
    void collectAllProcesses();
    /// Takes a new snapshot of the idle process and the processes whose names begin with `prefix`,
    /// ignoring case. Searches all processes of the machine, not only the first 999. The empty
    /// prefix matches all.
    /// Fails: with an empty snapshot; `oxLastOSError` has the reason.
    void collectProcesses(_oxString8_UnevenSize<25> const & prefix);
    /// Number of processes that the last snapshot found; only `count` of them have entries.
    int total() const { return total_; }

    /// Reads memory and processor time of all processes, for later calls of getProcessInfo. Sets
    /// `memMB` and `cpuTime` of all entries to 0. On Linux a snapshot also reads these values; a
    /// call within 10 ms after the snapshot uses the values of the snapshot.
    void initGetProcessInfo();
    /// Sets `user` of an entry. If `memMB` and `cpuTime` of the entry are both 0, sets them, too.
    /// `index` is between 1 and `count`; entry `count` is the first unused entry. Other indices
    /// have no effect.
    /// Compatibility: entry 0, the idle process, is never set; the farm's applications rely on this
    /// range.
    void getProcessInfo(int index);
    /// Does the same as getProcessInfo, but does not set `user` and does not call
    /// fix32bit_4GBmemory.
    void getProcessInfoMemCPUOnly(int index);
    /// Does the same as getProcessInfo, but sets only `cpuTime`. Always returns 0.
    long long getProcessInfoMemBytes_CPUOnly(int index);
    /// Distributes the unaccounted part of the used memory among the entries above 4000 MiB,
    /// since a 32-bit process reads every working set above 4 GiB as 4 GiB.
    void fix32bit_4GBmemory();

    /// Returns the index of the first entry with this process id, or -1. First takes a snapshot if
    /// `refresh` is true or no snapshot exists.
    int getListIDByPID(unsigned int pid, bool refresh);
    /// Returns whether an entry has this process id. First takes a snapshot if `refresh` is true or
    /// no snapshot exists.
    bool processExistsPID(unsigned int pid, bool refresh);
    /// Returns whether a process has this name; false for the empty name. First takes a snapshot if
    /// `refresh` is true or no snapshot exists.
    /// Compatibility: `pidOut` is not written, since the applications pass a variable that they use
    /// for another number.
    bool processExists(_oxString8_UnevenSize<25> name, bool refresh, long long * pidOut = nullptr);
    /// Returns whether at least two processes have this name. First takes a snapshot if none
    /// exists. `pidOut` receives the id of the last process with this name, even if only one
    /// process has it. If no process has this name, `pidOut` is not written.
    bool doesProcessExistTwice(_oxString8_UnevenSize<25> name, long long * pidOut = nullptr);

    /// Ends a process immediately. Failures are not reported.
    void killProcess(unsigned int const & pid);
    /// Ends all processes with this name immediately. The empty name ends no process. First takes a
    /// snapshot if none exists. Failures are not reported.
    void killProcess(_oxString8_UnevenSize<25> name);

  private:
    void collectIfNeeded(bool refresh);
    void recordFailedReading(ox::platform::Error const & error);
    bool isReadable(int index) const;
    /// Reads memory and processor time of an entry if both are 0. Returns whether the working set
    /// was limited to 2^32 - 1 bytes.
    bool readMemoryAndTime(_oxProcessEntry & entry);
    void readUser(_oxProcessEntry & entry);

    int total_ = 0;
    std::unique_ptr<ox::system::ProcessListBlock> block_;

  public:
    /// Buffer of 308000 bytes (ProcessTable::rawSize): on Windows the raw performance data of the
    /// last reading, on Linux zeros.
    char * const perfBuffer;
};

/// Measures the CPU usage of one process between two calls of calcCPUUsage.
class OX_EXPORT _ProcessWatch
{
  public:
    /// Process id.
    unsigned int pid = 0;
    /// File name of the executable in upper case.
    _oxString8_UnevenSize<25> name;
    float cpuUsage = 0;        ///< percent of one core over the last interval
    long long lastCpuTime = 0; ///< `cpuTime` of the entry at the last reading, in 100 ns

    /// Resets all members.
    void clear() { *this = _ProcessWatch(); }

    /// Sets `cpuUsage` to the usage since the last call, or to 0 at the first call. Reads entry
    /// `index`, which getProcessInfo must have filled. An index outside the list has no effect.
    /// `coreCount` is not used: one busy core is 100 on every machine.
    void calcCPUUsage(_oxProcessList const * list, int const & index, int const & coreCount);
};

/// Enables or disables a privilege of this process, such as "SeDebugPrivilege". Returns false if
/// the process does not have the privilege or the call fails. On Linux always returns false.
OX_EXPORT bool setPrivilege(char const * privilegeName, bool enable);

/// Returns whether another instance of the calling application is running. The executable is
/// `baseName`, or `baseName` + "console" for the console variant, with the system's suffix. With
/// `checkConsole` both variants count. `isConsole` states whether the caller is the console
/// variant. `pidOut` receives the id of the last process of the variant without console, even if
/// this process is the caller. `pidOut` is not written if no such process exists, or if both
/// `checkConsole` and `isConsole` are true.
OX_EXPORT bool ourProcessAlreadyExists(_oxString8_UnevenSize<25> baseName, bool isConsole,
                                       bool checkConsole, long long * pidOut = nullptr);

/// Reports the processes whose names begin with a prefix, measured over waitMs milliseconds. Each
/// line contains the name, the CPU usage in percent of one core, the memory in MiB, the user and,
/// with `withPid`, the process id. With `coreCount` >= 1 the CPU usage in percent of the machine
/// follows in parentheses. Returns the empty text for the empty prefix.
OX_EXPORT QString listProcess(_oxString8_UnevenSize<25> namePrefix, int waitMs, int coreCount,
                              bool withPid);
/// Reports all processes that use at least minCorePerc percent of one core (rounded) or more than
/// 500 MiB, measured over waitMs milliseconds. The first line contains the limits; each other line
/// has the form of listProcess.
OX_EXPORT QString listAllProcesses(int minCorePerc, int waitMs, int coreCount, bool withPid);

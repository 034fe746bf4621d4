#pragma once

#include "shared/platform/result.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <variant>

namespace ox::platform
{

/// Suffix of the file names of executables.
#ifdef _WIN32
inline constexpr std::string_view executableSuffix = ".exe";
#else
inline constexpr std::string_view executableSuffix = "";
#endif

/// A process in the system's list.
struct ListedProcess {
    std::uint32_t id;       ///< process id
    std::uint32_t parentId; ///< process id of the parent
    /// File name of the executable. On Linux `name` has the bytes of the file name or, if the
    /// executable is not readable, the command name. On Windows `name` is Latin-1, with '?' for
    /// other characters.
    std::string_view name;
};

/// Resources that a process has used.
struct ProcessCounters {
    std::int64_t cpuTime;     ///< processor time of all threads in 100 ns
    std::uint64_t workingSet; ///< in bytes; a 32-bit process reads at most 2^32 - 1
};

/// Counters of many processes, read in one pass over the machine's processes.
class ProcessReading
{
  public:
    /// Maximum number of processes.
    static constexpr std::size_t capacity = 6000;

    /// Starts a reading and removes the processes of the previous reading. `time` is in units
    /// of 100 ns, with an arbitrary origin.
    void begin(std::int64_t time);
    /// Adds the counters of a process, unless `capacity` processes were added before.
    void add(std::uint32_t id, ProcessCounters const & counters);
    /// Ends the reading; `time` is as in begin(). Until end() is called, of() returns no counters.
    void end(std::int64_t time);

    /// Moves the processes of another reading to this one.
    void takeFrom(ProcessReading & other);

    /// Returns whether end() was called.
    bool hasEnded() const { return hasEnded_; }
    /// The `time` that begin() received, in 100 ns.
    std::int64_t beginTime() const { return beginTime_; }
    /// The `time` that end() received, in 100 ns.
    std::int64_t endTime() const { return endTime_; }
    /// Returns the counters of the process `id`; empty if add() was not called for it. If add() was
    /// called several times for this id, returns the first counters.
    std::optional<ProcessCounters> of(std::uint32_t id) const;

  private:
    struct Sample {
        std::uint32_t id;
        std::uint32_t order;
        ProcessCounters counters;
    };

    std::int64_t beginTime_ = 0;
    std::int64_t endTime_ = 0;
    bool hasEnded_ = false;
    std::size_t count_ = 0;
    std::array<Sample, capacity> samples_;
};

/// Processes of this machine, with their counters at one moment.
///
/// On Linux one pass over /proc returns the list and the counters, so list() also reads and stores
/// counters. On Windows the counters come in a block of raw performance data. An object occupies
/// about 300 kB: create it on the heap. It allocates no further memory.
class ProcessTable
{
  public:
    /// Size of the buffer for raw performance data in bytes.
    static constexpr std::size_t rawSize = 308000;
    /// Maximum age at which readCounters() reuses the counters of list(): 10 ms, in 100 ns units.
    static constexpr std::int64_t freshTime = 100'000;

    /// Creates a table that reads raw performance data into `raw`. The buffer must be aligned to 8
    /// bytes and live as long as the table.
    explicit ProcessTable(std::span<char, rawSize> raw) : raw_(raw) {}
    ProcessTable(ProcessTable const &) = delete;
    ProcessTable & operator=(ProcessTable const &) = delete;

    /// Calls `keep` for each process of the machine. Omits kernel threads and ended processes. The
    /// idle process (id 0) is the first, if the system lists it. `keep` returns whether the caller
    /// keeps the process; on Linux list() also reads the counters of the kept processes.
    /// Fails: when the system's list of processes is not readable.
    Result<> list(std::function<bool(ListedProcess const &)> const & keep);

    /// Returns whether readCounters() would use the counters of list(): they are at most
    /// `freshTime` old and not used yet.
    bool hasFreshListCounters() const;

    /// Reads at least the counters of the processes `ids`; counters() then returns them. Uses the
    /// counters of list() while they are fresh, and otherwise reads new counters. Returns the time
    /// of the counters in 100 ns, with an arbitrary origin.
    /// Fails: with the source of the counters in Error::step; the table then has no counters.
    Result<std::int64_t> readCounters(std::span<std::uint32_t const> ids);
    /// Reads new counters of all processes of the machine; counters() then returns them. Returns
    /// the time of the counters in 100 ns, with an arbitrary origin.
    /// Fails: with the source of the counters in Error::step; the table then has no counters.
    Result<std::int64_t> readAllCounters();

    /// Returns the counters of a process from the last reading. Reads them now if the last reading
    /// succeeded but does not contain the process. Empty if the process does not run or its
    /// counters are not readable.
    std::optional<ProcessCounters> counters(std::uint32_t id) const;

  private:
    std::span<char, rawSize> raw_;
    ProcessReading current_; ///< counters for counters()
    ProcessReading listed_;  ///< counters that list() has read
};

/// Owner of a process.
struct ProcessOwner {
    enum Kind {
        Account,      ///< an account; `name` is set
        BuiltInGroup, ///< a group of the system, such as the administrators
        AccessDenied, ///< the system refuses the lookup
        NoAccount,    ///< the owner has no account name
        Unknown,      ///< `error` is the system's error code
        NotOpened     ///< the process does not exist or cannot be opened
    };
    Kind kind = NotOpened;       ///< result of the lookup
    int error = 0;               ///< system's error code, 0 for none
    std::array<char, 32> name{}; ///< zero-terminated, cut at 31 bytes

    /// Sets `name` and the kind Account.
    void setName(std::string_view text);
};

/// Looks up the owners of processes and caches the account names, since a directory service may
/// answer slowly.
class ProcessOwners
{
  public:
    /// Returns the owner of a process.
    ProcessOwner of(std::uint32_t id);
    /// Clears the cache of accounts.
    void forget() { count_ = 0; }

  private:
    /// User id or security identifier, padded with zeros.
    using AccountId = std::array<char, 68>;
    struct Known {
        AccountId account;
        ProcessOwner owner;
    };

    /// Returns the account that owns a process. If the account is not available, returns the
    /// ProcessOwner that the function of() reports.
    static std::variant<AccountId, ProcessOwner> accountOf(std::uint32_t id);
    /// Looks up the name of an account.
    static ProcessOwner nameOf(AccountId const & account);

    std::array<Known, 16> known_;
    std::size_t count_ = 0;
};

/// Ends a process immediately, on Windows with exit code 1. Failures are not reported. On Linux the
/// ids 0, 1 and those above 2^31 - 1 are ignored, since they refer to process groups or to the
/// first process of the system.
void killProcess(std::uint32_t id);

/// Enables or disables a privilege of this process.
/// Fails: when the process does not have the privilege; always on Linux.
Result<> setPrivilege(char const * name, bool enable);

} // namespace ox::platform

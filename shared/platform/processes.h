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

/// What the file name of a program ends with.
#ifdef _WIN32
inline constexpr std::string_view executableSuffix = ".exe";
#else
inline constexpr std::string_view executableSuffix = "";
#endif

/// A process as the system lists it.
struct ListedProcess {
    std::uint32_t id;
    std::uint32_t parentId;
    /// The file name of its executable: as bytes on Linux, where a process that does not show it
    /// has its command name, in Latin-1 with '?' for other characters on Windows.
    std::string_view name;
};

/// What a process has used.
struct ProcessCounters {
    std::int64_t cpuTime;     ///< of all its threads, in 100 ns
    std::uint64_t workingSet; ///< bytes; 2^32 - 1 also stands for more to a reader of 32 bits
};

/// The counters of many processes, as one pass over the machine's processes reads them.
class ProcessReading
{
  public:
    static constexpr std::size_t capacity = 6000;

    /// Forgets all processes. The moments are in 100 ns, from any beginning.
    void begin(std::int64_t time);
    /// Leaves out what is beyond the capacity.
    void add(std::uint32_t id, ProcessCounters const & counters);
    /// From now on counters are found.
    void end(std::int64_t time);

    /// Takes over the processes of another reading, which forgets them.
    void takeFrom(ProcessReading & other);

    bool hasEnded() const { return hasEnded_; }
    std::int64_t beginTime() const { return beginTime_; }
    std::int64_t endTime() const { return endTime_; }
    /// Of the first one that was added with this id; empty when there is none.
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

/// The processes of this machine, with the counters of one moment.
///
/// On Linux the list and the counters come out of one pass over /proc, so list() reads counters as
/// well and puts them aside. On Windows the counters come in a block of raw performance data.
/// About 300 kB in size: create it on the heap. It needs no further memory.
class ProcessTable
{
  public:
    static constexpr std::size_t rawSize = 308000;
    /// For how long counters that list() has read count as those of now, in 100 ns.
    static constexpr std::int64_t freshTime = 100'000;

    /// Puts raw performance data into a buffer of the caller's, aligned to 8 bytes, which must live
    /// as long as the table.
    explicit ProcessTable(std::span<char, rawSize> raw) : raw_(raw) {}
    ProcessTable(ProcessTable const &) = delete;
    ProcessTable & operator=(ProcessTable const &) = delete;

    /// Shows every process of the machine to `keep`. Threads of the kernel and processes that have
    /// ended are left out. The idle process (id 0), where the system lists it, is the first.
    /// `keep` returns whether the caller keeps the process: only for those the counters are read
    /// along with the list. Fails when the system has no list.
    Result<> list(std::function<bool(ListedProcess const &)> const & keep);

    /// Whether list() has read counters within the last 10 ms that readCounters has not taken yet.
    bool hasFreshListCounters() const;

    /// Makes the counters of at least these processes the table's, for counters(): those that
    /// list() has read while they are fresh, otherwise new ones. Returns their moment in 100 ns,
    /// from any beginning. After a failure, whose step is the source of the counters, the table has
    /// none.
    Result<std::int64_t> readCounters(std::span<std::uint32_t const> ids);
    /// The same for all processes of the machine, always with new counters.
    Result<std::int64_t> readAllCounters();

    /// A process's counters of the moment of the reading. If the reading succeeded without this
    /// process, they are read now. Empty if the process does not run or its counters cannot be
    /// read.
    std::optional<ProcessCounters> counters(std::uint32_t id) const;

  private:
    std::span<char, rawSize> raw_;
    ProcessReading current_; ///< what counters() finds
    ProcessReading listed_;  ///< what list() has read along
};

/// The account that a process belongs to.
struct ProcessOwner {
    enum Kind {
        Account,      ///< `name` tells it
        BuiltInGroup, ///< a group of the system's own, such as the administrators
        AccessDenied,
        NoAccount, ///< the owner has no name
        Unknown,   ///< `error` is the system's reason
        NotOpened  ///< the process does not exist or does not show itself
    };
    Kind kind = NotOpened;
    int error = 0;
    std::array<char, 32> name{}; ///< cut, with a terminator

    void setName(std::string_view text);
};

/// Asks for the owners of processes and remembers the accounts it has met, since a directory
/// service may be slow.
class ProcessOwners
{
  public:
    ProcessOwner of(std::uint32_t id);
    /// Forgets the accounts, so that they are asked for anew.
    void forget() { count_ = 0; }

  private:
    /// A user id, or the longest security identifier; zeros behind it.
    using AccountId = std::array<char, 68>;
    struct Known {
        AccountId account;
        ProcessOwner owner;
    };

    /// The account that owns a process, or the owner to report when it is not available.
    static std::variant<AccountId, ProcessOwner> accountOf(std::uint32_t id);
    static ProcessOwner nameOf(AccountId const & account);

    std::array<Known, 16> known_;
    std::size_t count_ = 0;
};

/// Ends a process at once, with exit code 1 where the system has one to give. Failures are silent.
/// Never ends the system's first process, nor any by an id that the system would take for a group.
void killProcess(std::uint32_t id);

/// Enables or disables a privilege of this process. Fails when it has none such, as always where
/// the system has no privileges of that kind.
Result<> setPrivilege(char const * name, bool enable);

} // namespace ox::platform

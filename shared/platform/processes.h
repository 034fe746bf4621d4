#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

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

/// Where counters are kept, in a form of the system's own: zeros at first, aligned to 8 bytes. On
/// Windows that is a block of raw performance data and an index of its processes.
inline constexpr std::size_t rawCounterSize = 308000;
inline constexpr std::size_t counterBufferSize = rawCounterSize + 60000;
using CounterBuffer = std::span<char, counterBufferSize>;

/// Shows every process of the machine to `keep`; none when the system has no list. Threads of the
/// kernel and processes that have ended are left out. The idle process (id 0), where the system
/// lists it, is the first.
/// `keep` returns whether the caller keeps the process: counters that the system reports along with
/// the list are put aside in the buffer for those, at most 6000.
void visitProcesses(CounterBuffer buffer, std::function<bool(ListedProcess const &)> const & keep);

/// What the failure of readProcessCounters is told under.
extern char const counterSource[];

/// Reads the counters of at least these processes into the buffer, for processCounters to find;
/// those that visitProcesses has put aside just before do as well.
/// Returns the moment in 100 ns, from any beginning; empty on failure, with the last error set.
std::optional<std::int64_t> readProcessCounters(std::span<std::uint32_t const> ids,
                                                CounterBuffer buffer);
/// The same for all processes of the machine.
std::optional<std::int64_t> readAllProcessCounters(CounterBuffer buffer);

/// Returns a process's counters from the buffer. If the reading succeeded without this process,
/// they are read now. Empty if the process does not run or its counters cannot be read.
std::optional<ProcessCounters> processCounters(CounterBuffer buffer, std::uint32_t id);

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

    /// The account that owns a process; `failure` is set when there is none to be had.
    static AccountId accountOf(std::uint32_t id, std::optional<ProcessOwner> & failure);
    static ProcessOwner nameOf(AccountId const & account);

    std::array<Known, 16> known_;
    std::size_t count_ = 0;
};

/// Ends a process at once, with exit code 1 where the system has one to give. Failures are silent.
/// Never ends the system's first process, nor any by an id that the system would take for a group.
void killProcess(std::uint32_t id);

/// Enables or disables a privilege of this process. False when it has none such, as always where
/// the system has no privileges of that kind.
bool setPrivilege(char const * name, bool enable);

} // namespace ox::platform

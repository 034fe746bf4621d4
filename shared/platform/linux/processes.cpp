#include "shared/platform/processes.h"

#include "shared/platform/linux/descriptor.h"
#include "shared/platform/linux/process_texts.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <csignal>
#include <ctime>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

constexpr char procFolder[] = "/proc";

int openProc()
{
    return ::open(procFolder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

/// A path "ID/FILE" below /proc. ID may also be the id of a thread; /proc has a folder for each
/// thread but does not list it.
class ProcessPath
{
  public:
    ProcessPath(std::uint32_t id, std::string_view file)
    {
        char * end = std::to_chars(text_, text_ + 11, id).ptr;
        *end++ = '/';
        end[file.copy(end, 8)] = 0;
    }
    char const * c_str() const { return text_; }

  private:
    char text_[24];
};

/// Calls `visit` for each entry that has a number as its name, until `visit` returns false. The
/// folder is open.
template <typename Visit>
void forEachNumber(int folder, Visit const & visit)
{
    alignas(dirent64) char entries[32768];
    for (;;) {
        ssize_t const size = ::getdents64(folder, entries, sizeof entries);
        if (size <= 0)
            return;
        for (ssize_t at = 0; at < size;) {
            auto const & entry = *reinterpret_cast<dirent64 const *>(entries + at);
            at += entry.d_reclen;
            std::uint32_t id = 0;
            std::string_view const name = entry.d_name;
            auto const [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
            if (error == std::errc() && *end == 0 && !visit(id))
                return;
        }
    }
}

/// Reads the beginning of a file of a process. Empty if the process has ended or the file is not
/// readable.
std::string_view readFile(int proc, std::uint32_t id, std::string_view name, std::span<char> buffer)
{
    Descriptor const file(::openat(proc, ProcessPath(id, name).c_str(), O_RDONLY | O_CLOEXEC));
    ssize_t const size = file.isOpen() ? ::read(file.get(), buffer.data(), buffer.size()) : -1;
    return size > 0 ? std::string_view(buffer.data(), static_cast<std::size_t>(size))
                    : std::string_view();
}

struct StatBuffer {
    char buffer[1024];
};

/// The line in the file "stat" of a process or a thread; the constructor reads the file. Empty if
/// the process or the thread has ended.
class ReadStatLine : private StatBuffer, public StatLine
{
  public:
    ReadStatLine(int proc, std::uint32_t id) : StatLine(readFile(proc, id, "stat", buffer)) {}
    ReadStatLine(ReadStatLine const &) = delete;
    ReadStatLine & operator=(ReadStatLine const &) = delete;
};

/// Returns the thread whose files in /proc show the executable, the arguments and the memory of a
/// process: the main thread, or another running thread if the main thread has ended.
std::uint32_t shownThread(int proc, std::uint32_t id, StatLine const & stat)
{
    if (stat.isThreadAlive())
        return id;
    std::uint32_t living = id;
    Descriptor const threads(
        ::openat(proc, ProcessPath(id, "task").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    forEachNumber(threads.get(), [proc, id, &living](std::uint32_t thread) {
        ReadStatLine const line(proc, thread);
        if (line.isRunning() && line.isThreadAlive())
            living = thread;
        return living == id;
    });
    return living;
}

ProcessCounters countersIn(StatLine const & stat)
{
    static std::int64_t const tickIn100ns = 10'000'000 / ::sysconf(_SC_CLK_TCK);
    static std::int64_t const pageSize = ::sysconf(_SC_PAGESIZE);
    return stat.counters(tickIn100ns, pageSize);
}

ProcessCounters countersOf(int proc, std::uint32_t id, StatLine const & stat)
{
    std::uint32_t const thread = shownThread(proc, id, stat);
    return thread == id ? countersIn(stat) : countersIn(ReadStatLine(proc, thread));
}

/// Reads the current counters of a process. Empty if the process is not running.
std::optional<ProcessCounters> countersNow(int proc, std::uint32_t id)
{
    ReadStatLine const stat(proc, id);
    return stat.isRunning() ? std::optional(countersOf(proc, id, stat)) : std::nullopt;
}

/// Returns the file name of the executable of a process. If the link to the executable is not
/// readable, returns the command name, completed from the arguments if it may be truncated.
std::string_view nameOf(int proc, std::uint32_t id, StatLine const & stat, std::span<char> buffer)
{
    std::uint32_t const thread = shownThread(proc, id, stat);
    ssize_t const size =
        ::readlinkat(proc, ProcessPath(thread, "exe").c_str(), buffer.data(), buffer.size());
    if (size > 0)
        return executableName({buffer.data(), static_cast<std::size_t>(size)});
    std::string_view const command = stat.command();
    if (command.size() < truncatedCommand)
        return command;
    return completedCommand(command, readFile(proc, thread, "cmdline", buffer));
}

/// Returns the time of the monotonic clock in units of 100 ns.
std::int64_t now()
{
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return std::int64_t{time.tv_sec} * 10'000'000 + time.tv_nsec / 100;
}

/// Reads the counters of a process and adds them to `reading`, if the process is running.
void addNow(ProcessReading & reading, int proc, std::uint32_t id)
{
    if (auto const counters = countersNow(proc, id))
        reading.add(id, *counters);
}

} // namespace

Result<> ProcessTable::list(std::function<bool(ListedProcess const &)> const & keep)
{
    listed_.begin(now());
    Descriptor const proc(openProc());
    if (!proc.isOpen())
        return lastError(procFolder);
    char buffer[PATH_MAX];
    forEachNumber(proc.get(), [&](std::uint32_t id) {
        ReadStatLine const stat(proc.get(), id);
        if (stat.isRunning() && keep({id, stat.parentId(), nameOf(proc.get(), id, stat, buffer)}))
            listed_.add(id, countersOf(proc.get(), id, stat));
        return true;
    });
    listed_.end(now());
    return {};
}

bool ProcessTable::hasFreshListCounters() const
{
    return listed_.hasEnded() && now() - listed_.endTime() < freshTime;
}

Result<std::int64_t> ProcessTable::readCounters(std::span<std::uint32_t const> ids)
{
    if (hasFreshListCounters()) {
        current_.takeFrom(listed_);
        return current_.beginTime();
    }
    listed_.begin(0);
    current_.begin(now());
    Descriptor const proc(openProc());
    if (!proc.isOpen())
        return lastError(procFolder);
    for (std::uint32_t const id : ids)
        addNow(current_, proc.get(), id);
    current_.end(now());
    return current_.beginTime();
}

Result<std::int64_t> ProcessTable::readAllCounters()
{
    listed_.begin(0);
    current_.begin(now());
    Descriptor const proc(openProc());
    if (!proc.isOpen())
        return lastError(procFolder);
    forEachNumber(proc.get(), [&](std::uint32_t id) {
        addNow(current_, proc.get(), id);
        return true;
    });
    current_.end(now());
    return current_.beginTime();
}

std::optional<ProcessCounters> ProcessTable::counters(std::uint32_t id) const
{
    if (auto const found = current_.of(id))
        return found;
    Descriptor const proc(openProc());
    return countersNow(proc.get(), id);
}

void killProcess(std::uint32_t id)
{
    // For the id 0 and for negative ids, kill() sends the signal to a process group.
    if (id > 1 && id <= INT_MAX)
        ::kill(static_cast<pid_t>(id), SIGKILL);
}

Result<> setPrivilege(char const *, bool)
{
    return Error{ENOTSUP, "setPrivilege"};
}

} // namespace ox::platform

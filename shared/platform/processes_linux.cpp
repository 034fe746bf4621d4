#include "shared/platform/processes.h"

#include "shared/platform/descriptor_linux.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <csignal>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ox::platform
{

char const counterSource[] = "/proc";

namespace
{

int openProc()
{
    return ::open(counterSource, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

/// "ID/FILE", a path below /proc.
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

/// The beginning of a process's file; empty when the process has ended or does not show it.
std::string_view readFile(int proc, std::uint32_t id, std::string_view name, std::span<char> room)
{
    Descriptor const file(::openat(proc, ProcessPath(id, name).c_str(), O_RDONLY | O_CLOEXEC));
    ssize_t const size = file.isOpen() ? ::read(file.get(), room.data(), room.size()) : -1;
    return size > 0 ? std::string_view(room.data(), static_cast<std::size_t>(size))
                    : std::string_view();
}

/// The process's line in "stat": "ID (COMMAND) STATE PARENT …".
class StatLine
{
  public:
    StatLine(int proc, std::uint32_t id) : line_(readFile(proc, id, "stat", room_)) {}

    bool isValid() const { return !fields().empty(); }
    /// At most 15 characters, any of them.
    std::string_view command() const
    {
        std::size_t const open = line_.find('(');
        return line_.substr(open + 1, line_.rfind(')') - open - 1);
    }
    std::uint32_t parentId() const { return static_cast<std::uint32_t>(field(1)); }
    bool isKernelThread() const { return (field(6) & 0x00200000) != 0; }
    std::int64_t ticks() const { return field(11) + field(12); }
    std::int64_t residentPages() const { return field(21); }

  private:
    /// What follows the command and a blank.
    std::string_view fields() const
    {
        std::size_t const end = line_.rfind(')');
        return end == std::string_view::npos || end + 2 > line_.size() ? std::string_view()
                                                                       : line_.substr(end + 2);
    }
    std::int64_t field(int number) const
    {
        std::string_view rest = fields();
        for (; number > 0 && !rest.empty(); --number)
            rest.remove_prefix(std::min(rest.find(' '), rest.size() - 1) + 1);
        std::int64_t value = 0;
        std::from_chars(rest.data(), rest.data() + rest.size(), value);
        return value;
    }

    char room_[1024];
    std::string_view line_;
};

std::string_view fileNameOf(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

/// The file name of a process's executable. Where that does not show itself it is the command,
/// completed from the arguments when it may have been cut.
std::string_view nameOf(int proc, std::uint32_t id, StatLine const & stat, std::span<char> room)
{
    constexpr std::size_t cutCommand = 15;
    constexpr std::string_view deleted = " (deleted)";
    std::string_view const command = stat.command();
    if (stat.isKernelThread())
        return command;
    ssize_t const size =
        ::readlinkat(proc, ProcessPath(id, "exe").c_str(), room.data(), room.size());
    if (size > 0) {
        std::string_view path(room.data(), static_cast<std::size_t>(size));
        if (path.ends_with(deleted))
            path.remove_suffix(deleted.size());
        return fileNameOf(path);
    }
    if (command.size() < cutCommand)
        return command;
    std::string_view const arguments = readFile(proc, id, "cmdline", room);
    std::string_view const first = fileNameOf(arguments.substr(0, arguments.find('\0')));
    return first.starts_with(command) ? first : command;
}

/// Now, in 100 ns.
std::int64_t now()
{
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return std::int64_t{time.tv_sec} * 10'000'000 + time.tv_nsec / 100;
}

/// The counters of many processes, read one after the other.
class Counters
{
  public:
    void begin()
    {
        count_ = 0;
        end_ = 0;
        begin_ = now();
    }
    void add(std::uint32_t id, StatLine const & stat)
    {
        static std::int64_t const ticksIn100ns = 10'000'000 / ::sysconf(_SC_CLK_TCK);
        static std::int64_t const pageSize = ::sysconf(_SC_PAGESIZE);
        if (count_ < std::size(samples_))
            samples_[count_++] = {id,
                                  {stat.ticks() * ticksIn100ns,
                                   static_cast<std::uint64_t>(stat.residentPages() * pageSize)}};
    }
    void end()
    {
        std::ranges::sort(samples_, samples_ + count_, {}, &Sample::id);
        end_ = now();
    }

    std::int64_t time() const { return begin_; }
    /// Whether all were read, the last of them in the past hundredth of a second.
    bool areFresh() const { return end_ != 0 && now() - end_ < 100'000; }

    std::optional<ProcessCounters> of(std::uint32_t id) const
    {
        Sample const * const end = samples_ + count_;
        Sample const * const found = std::ranges::lower_bound(samples_, end, id, {}, &Sample::id);
        return found != end && found->id == id ? std::optional(found->counters) : std::nullopt;
    }

  private:
    struct Sample {
        std::uint32_t id;
        ProcessCounters counters;
    };

    std::int64_t begin_;
    std::int64_t end_;
    std::size_t count_;
    Sample samples_[6000];
};

/// What lies in a buffer: the counters that are found, and others aside.
struct Buffered {
    std::size_t found;
    Counters counters[2];

    static Buffered & in(CounterBuffer buffer)
    {
        return *reinterpret_cast<Buffered *>(buffer.data());
    }
    Counters & aside() { return counters[1 - found]; }
};
static_assert(sizeof(Buffered) <= counterBufferSize);

} // namespace

void visitProcesses(CounterBuffer buffer, std::function<bool(ListedProcess const &)> const & visit)
{
    Descriptor const proc(openProc());
    alignas(dirent64) char entries[32768];
    char room[PATH_MAX];
    Counters & counters = Buffered::in(buffer).aside();
    counters.begin();
    bool goOn = proc.isOpen();
    while (goOn) {
        ssize_t const size = ::getdents64(proc.get(), entries, sizeof entries);
        goOn = size > 0;
        for (ssize_t at = 0; goOn && at < size;) {
            auto const & entry = *reinterpret_cast<dirent64 const *>(entries + at);
            at += entry.d_reclen;
            std::uint32_t id = 0;
            std::string_view const name = entry.d_name;
            auto const [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
            if (error != std::errc() || *end != 0)
                continue;
            StatLine const stat(proc.get(), id);
            if (!stat.isValid())
                continue;
            counters.add(id, stat);
            goOn = visit({id, stat.parentId(), nameOf(proc.get(), id, stat, room)});
        }
    }
    if (proc.isOpen())
        counters.end();
}

std::optional<std::int64_t> readProcessCounters(std::span<std::uint32_t const> ids,
                                                CounterBuffer buffer)
{
    Buffered & buffered = Buffered::in(buffer);
    Counters & counters = buffered.aside();
    bool const areFresh = counters.areFresh();
    buffered.found = 1 - buffered.found;
    buffered.aside().begin();
    if (areFresh)
        return counters.time();
    counters.begin();
    Descriptor const proc(openProc());
    if (!proc.isOpen())
        return std::nullopt;
    for (std::uint32_t const id : ids) {
        StatLine const stat(proc.get(), id);
        if (stat.isValid())
            counters.add(id, stat);
    }
    counters.end();
    return counters.time();
}

std::optional<ProcessCounters> processCounters(CounterBuffer buffer, std::uint32_t id)
{
    Buffered & buffered = Buffered::in(buffer);
    return buffered.counters[buffered.found].of(id);
}

/// The folder of a process belongs to the user it acts as, whatever it hides inside.
ProcessOwners::AccountId ProcessOwners::accountOf(std::uint32_t id,
                                                  std::optional<ProcessOwner> & failure)
{
    AccountId account{};
    char path[24] = "/proc/";
    *std::to_chars(path + 6, path + sizeof path - 1, id).ptr = 0;
    struct stat status {
    };
    if (::stat(path, &status) != 0)
        failure = ProcessOwner();
    else
        std::memcpy(account.data(), &status.st_uid, sizeof status.st_uid);
    return account;
}

ProcessOwner ProcessOwners::nameOf(AccountId const & account)
{
    uid_t number = 0;
    std::memcpy(&number, account.data(), sizeof number);
    passwd entry{};
    passwd * found = nullptr;
    std::array<char, 16384> texts;
    int const error = ::getpwuid_r(number, &entry, texts.data(), texts.size(), &found);
    ProcessOwner owner;
    owner.error = error;
    if (found)
        owner.setName(found->pw_name);
    else if (error == EACCES || error == EPERM)
        owner.kind = ProcessOwner::AccessDenied;
    else
        // A missing database is no reason for an account to have no name, but has its own code.
        owner.kind = error == 0 || error == ENOENT || error == ESRCH ? ProcessOwner::NoAccount
                                                                     : ProcessOwner::Unknown;
    return owner;
}

void killProcess(std::uint32_t id)
{
    // 0 and, as a signed number, everything from 2^31 on would mean groups of processes.
    if (id > 1 && id <= INT_MAX)
        ::kill(static_cast<pid_t>(id), SIGKILL);
}

bool setPrivilege(char const *, bool)
{
    return false;
}

} // namespace ox::platform

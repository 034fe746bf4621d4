#include "shared/platform/program/process_details.h"

#include "shared/platform/file_names.h"
#include "shared/platform/linux/descriptor.h"
#include "shared/platform/linux/process_texts.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <ctime>
#include <string>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

/// Reads the beginning of a file of a process. Empty if the process has ended or the file is not
/// readable.
std::string readFile(std::uint32_t id, char const * name)
{
    std::string const path = "/proc/" + std::to_string(id) + '/' + name;
    Descriptor const file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string bytes(4096, '\0');
    ssize_t const size = file.isOpen() ? ::read(file.get(), bytes.data(), bytes.size()) : -1;
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return bytes;
}

/// Returns the time at which the machine started, in seconds since 1970-01-01 UTC.
std::int64_t bootTime()
{
    timespec now{};
    timespec sinceBoot{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    ::clock_gettime(CLOCK_BOOTTIME, &sinceBoot);
    return now.tv_sec - sinceBoot.tv_sec - (now.tv_nsec < sinceBoot.tv_nsec ? 1 : 0);
}

/// Returns the arguments of a process, separated by spaces. In `bytes` each argument ends with a 0.
std::u16string joinedArguments(std::string bytes)
{
    while (bytes.ends_with('\0'))
        bytes.pop_back();
    std::replace(bytes.begin(), bytes.end(), '\0', ' ');
    return fromFileName(bytes);
}

/// Sends a signal to a process through its pidfd `descriptor`. Older kernels have no pidfd:
/// `descriptor` is then negative, and the signal is sent to the process with the id `id`.
bool sendSignal(std::uint32_t id, int descriptor, int signal)
{
    if (descriptor >= 0)
        return ::syscall(SYS_pidfd_send_signal, descriptor, signal, nullptr, 0) == 0;
    return ::kill(static_cast<pid_t>(id), signal) == 0;
}

} // namespace

std::optional<ProcessDetails> processDetails(std::uint32_t id)
{
    std::string const line = readFile(id, "stat");
    StatLine const stat(line);
    if (!stat.isRunning())
        return std::nullopt;
    static std::int64_t const ticksPerSecond = ::sysconf(_SC_CLK_TCK);
    ProcessDetails details;
    details.start = stat.startTicks();
    details.startTime = bootTime() + static_cast<std::int64_t>(details.start) / ticksPerSecond;
    details.commandLine = joinedArguments(readFile(id, "cmdline"));
    return details;
}

Result<> endProcess(std::uint32_t id, std::uint64_t start, Ending ending)
{
    // kill() takes 0 or a negative id for a process group, and an id above INT_MAX would become
    // negative. Process 1 is the init process.
    if (id <= 1 || id > INT_MAX)
        return Error{EPERM, "kill"};
    // The pidfd refers to the process that has the id at this moment. If that process started at
    // `start`, no other process gets the signal, even if that process ends before the signal.
    Descriptor const process(static_cast<int>(::syscall(SYS_pidfd_open, id, 0)));
    if (!process.isOpen() && errno == ESRCH)
        return Error{ESRCH, "pidfd_open", ErrorKind::NotFound};
    auto const details = processDetails(id);
    if (!details || details->start != start)
        return Error{ESRCH, "kill", ErrorKind::NotFound};
    int const signal = ending == Ending::Immediate ? SIGKILL : SIGTERM;
    if (sendSignal(id, process.get(), signal))
        return {};
    return errno == ESRCH ? Error{ESRCH, "kill", ErrorKind::NotFound} : lastError("kill");
}

} // namespace ox::platform

#include "shared/platform/program/child_process.h"

#include <cerrno>
#include <csignal>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

/// Attributes of a new process: no signal is blocked, and the signals that prepareStandardStreams()
/// ignores have their default action.
class DefaultSignals
{
  public:
    DefaultSignals()
    {
        ::posix_spawnattr_init(&attributes_);
        sigset_t none;
        sigemptyset(&none);
        ::posix_spawnattr_setsigmask(&attributes_, &none);
        sigset_t ignored;
        sigemptyset(&ignored);
        sigaddset(&ignored, SIGPIPE);
        sigaddset(&ignored, SIGXFSZ);
        ::posix_spawnattr_setsigdefault(&attributes_, &ignored);
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~DefaultSignals() { ::posix_spawnattr_destroy(&attributes_); }
    DefaultSignals(DefaultSignals const &) = delete;
    DefaultSignals & operator=(DefaultSignals const &) = delete;

    posix_spawnattr_t const * get() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_;
};

pid_t toPid(std::intptr_t number)
{
    return static_cast<pid_t>(number);
}

} // namespace

Result<std::unique_ptr<ChildProcess>> ChildProcess::start(std::vector<std::string> const & command)
{
    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (std::string const & argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);

    DefaultSignals const signals;
    pid_t pid = 0;
    int const failure =
        ::posix_spawnp(&pid, arguments[0], nullptr, signals.get(), arguments.data(), environ);
    if (failure != 0)
        return Error{failure};
    return std::unique_ptr<ChildProcess>(new ChildProcess(pid));
}

ChildProcess::~ChildProcess()
{
    ::waitpid(toPid(number_), nullptr, WNOHANG);
}

int ChildProcess::wait() const
{
    siginfo_t end{};
    while (::waitid(P_PID, static_cast<id_t>(number_), &end, WEXITED | WNOWAIT) != 0) {
        if (errno != EINTR)
            return 1;
    }
    return end.si_code == CLD_EXITED ? end.si_status : 128 + end.si_status;
}

void ChildProcess::send(int signal) const
{
    ::kill(toPid(number_), signal);
}

} // namespace ox::platform

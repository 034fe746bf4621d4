#pragma once

#include <csignal>
#include <ctime>

#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace ox::platform
{

/// Kills the process 60 seconds after start(), unless stop() is called. Without the timer, the
/// process and its stopped threads might never end if the dump folder does not respond.
class KillTimer
{
  public:
    KillTimer() { create(); }
    ~KillTimer()
    {
        if (exists_)
            ::timer_delete(timer_);
    }
    KillTimer(KillTimer const &) = delete;
    KillTimer & operator=(KillTimer const &) = delete;

    /// Creates the timer. A forked child calls create() again, since timers are not inherited.
    void create()
    {
        sigevent event{};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = SIGKILL;
        exists_ = ::timer_create(CLOCK_MONOTONIC, &event, &timer_) == 0;
    }
    /// Starts the timer.
    void start() { set(60); }
    /// Stops the timer.
    void stop() { set(0); }

  private:
    void set(std::time_t seconds)
    {
        itimerspec const time{{}, {seconds, 0}};
        if (exists_)
            ::timer_settime(timer_, 0, &time, nullptr);
    }

    timer_t timer_{};
    bool exists_ = false;
};

/// Restores the protection of the process's memory (PR_SET_DUMPABLE) at the end of the scope.
/// Breakpad removes this protection for a dump.
class DumpableState
{
  public:
    DumpableState() = default;
    ~DumpableState()
    {
        // prctl() cannot restore the value 2, which lets only root read the memory, so 0 is set.
        if (before_ != 1)
            ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    }
    DumpableState(DumpableState const &) = delete;
    DumpableState & operator=(DumpableState const &) = delete;

  private:
    int const before_ = ::prctl(PR_GET_DUMPABLE, 0, 0, 0, 0);
};

} // namespace ox::platform

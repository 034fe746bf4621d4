#pragma once

#include <csignal>
#include <ctime>

#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace ox::platform
{

/// Kills the process when it has not come to its end in time: when the folder of the dumps does not
/// answer, neither the process nor its stopped threads may be able to do it themselves.
class KillTimer
{
  public:
    KillTimer() { create(); }
    ~KillTimer()
    {
        if (isThere_)
            ::timer_delete(timer_);
    }
    KillTimer(KillTimer const &) = delete;
    KillTimer & operator=(KillTimer const &) = delete;

    /// A forked child has none of its parent's.
    void create()
    {
        sigevent event{};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = SIGKILL;
        isThere_ = ::timer_create(CLOCK_MONOTONIC, &event, &timer_) == 0;
    }
    void start() { set(30); }
    void stop() { set(0); }

  private:
    void set(std::time_t seconds)
    {
        itimerspec const time{{}, {seconds, 0}};
        if (isThere_)
            ::timer_settime(timer_, 0, &time, nullptr);
    }

    timer_t timer_{};
    bool isThere_ = false;
};

/// Breakpad lets the process be read (PR_SET_DUMPABLE) for a dump. Afterwards a process that
/// protects its memory from being read does so again.
class DumpableState
{
  public:
    DumpableState() = default;
    ~DumpableState()
    {
        // The third state, in which only root may read, cannot be set.
        if (before_ != 1)
            ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    }
    DumpableState(DumpableState const &) = delete;
    DumpableState & operator=(DumpableState const &) = delete;

  private:
    int const before_ = ::prctl(PR_GET_DUMPABLE, 0, 0, 0, 0);
};

} // namespace ox::platform

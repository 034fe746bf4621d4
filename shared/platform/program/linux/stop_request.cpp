#include "shared/platform/program/stop_request.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>
#include <thread>

#include <pthread.h>

namespace ox::platform
{

bool answerStopRequests(void (*answer)(StopRequest))
{
    sigset_t requests;
    sigemptyset(&requests);
    for (int const number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction current {
        };
        ::sigaction(number, nullptr, &current);
        if (current.sa_handler != SIG_IGN)
            sigaddset(&requests, number);
    }
    // New threads inherit this signal mask. The signals stay blocked in every thread, and only the
    // sigwaitinfo() below receives them.
    ::pthread_sigmask(SIG_BLOCK, &requests, nullptr);
    try {
        std::thread([requests, answer] {
            for (;;) {
                siginfo_t info{};
                if (int const number = ::sigwaitinfo(&requests, &info); number > 0)
                    answer({number, info.si_code == SI_KERNEL});
            }
        }).detach();
    } catch (std::system_error const & error) {
        ::pthread_sigmask(SIG_UNBLOCK, &requests, nullptr);
        errno = error.code().value();
        return false;
    }
    return true;
}

void endAsRequested(StopRequest request)
{
    std::signal(request.signal, SIG_DFL);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, request.signal);
    ::pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
    ::raise(request.signal);
    std::_Exit(128 + request.signal);
}

} // namespace ox::platform

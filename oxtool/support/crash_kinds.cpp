#include "oxtool/support/crash_kinds.h"

#include "shared/crash/crash_handler.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace ox::tool
{

// With external names, so that symbols show them.

[[gnu::noinline]] void accessNullPointer()
{
    int volatile * volatile nowhere = nullptr;
    *nowhere = 1;
}

[[gnu::noinline]] void divideByZero()
{
    int volatile number = 7;
    int volatile zero = 0;
    number = number / zero;
}

[[gnu::noinline]] void runIllegalInstruction()
{
    __builtin_trap();
}

[[gnu::noinline]] void callAbort()
{
    std::abort();
}

[[gnu::noinline]] void throwUncaught()
{
    throw std::runtime_error("nobody catches this");
}

[[gnu::noinline]] int useUpStack(int depth)
{
    char volatile room[4096];
    room[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : useUpStack(depth + 1) + room[0];
}

namespace
{

void useUpOwnStack()
{
    useUpStack(0);
}

template <void (*crash)()>
void inThread()
{
    std::thread([] {
        oxCrashHandler::prepareThread();
        crash();
    }).join();
}

} // namespace

std::span<CrashKind const> crashKinds()
{
    static constexpr CrashKind kinds[] = {
        {"null", "accessNullPointer", accessNullPointer},
        {"divide", "divideByZero", divideByZero},
        {"illegal", "runIllegalInstruction", runIllegalInstruction},
        {"abort", "callAbort", callAbort},
        {"throw", "throwUncaught", throwUncaught},
        {"stack", "useUpStack", useUpOwnStack},
        {"thread", "accessNullPointer", inThread<accessNullPointer>},
        {"thread-stack", "useUpStack", inThread<useUpOwnStack>},
    };
    return kinds;
}

void crash(char const * kind)
{
    for (CrashKind const & known : crashKinds()) {
        if (std::strcmp(known.name, kind) == 0)
            known.crash();
    }
}

} // namespace ox::tool

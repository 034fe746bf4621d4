#include "oxtool/support/crash_kinds.h"

#include "shared/crash/crash_handler.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace ox::tool
{

// These functions have external linkage, so that the debug symbols contain their names.

[[gnu::noinline]] void accessNullPointer()
{
    int volatile * volatile null = nullptr;
    *null = 1;
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
    throw std::runtime_error("uncaught exception of a crash test");
}

[[gnu::noinline]] int overflowStack(int depth)
{
    char volatile frame[4096];
    frame[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : overflowStack(depth + 1) + frame[0];
}

namespace
{

void overflowOwnStack()
{
    overflowStack(0);
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
        {"stack", "overflowStack", overflowOwnStack},
        {"thread", "accessNullPointer", inThread<accessNullPointer>},
        {"thread-stack", "overflowStack", inThread<overflowOwnStack>},
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

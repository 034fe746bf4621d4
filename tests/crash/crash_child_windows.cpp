#include "oxtool/support/crash_kinds.h"
#include "shared/crash/crash_handler.h"
#include "shared/system/os_error.h"
#include "tests/crash/crash_child_system.h"

#include <cstring>

#include <windows.h>

namespace
{

LONG WINAPI endByEarlierHandler(EXCEPTION_POINTERS *)
{
    ::TerminateProcess(::GetCurrentProcess(), 17);
    return EXCEPTION_EXECUTE_HANDLER;
}

/// Crashes while this thread holds the lock of the heap.
void crashWithHeapLocked()
{
    ::Sleep(1000); // waits for other threads, which need the heap while they start
    ::HeapLock(::GetProcessHeap());
    ox::tool::crash("null");
}

} // namespace

bool doSystemWord(char const * word)
{
    if (std::strcmp(word, "malloc") != 0)
        return false;
    crashWithHeapLocked();
    return true;
}

void installEarlierHandler()
{
    ::SetUnhandledExceptionFilter(endByEarlierHandler);
}

bool dumpForException()
{
    CONTEXT context{};
    ::RtlCaptureContext(&context);
    EXCEPTION_RECORD record{};
    record.ExceptionCode = 0xC0000094;
    EXCEPTION_POINTERS exception{&record, &context};
    _oxString<250> message;
    return filter(&exception, message) == 1 &&
           message.view() == exceptionCodeText(0xC0000094).view();
}

#pragma once

/// The system's own types that the interface names. On Windows they are the system's, declared
/// without its headers; elsewhere they are plain types of the same name and size.

#include <cstdint>

#ifdef _WIN32
struct _FILETIME;
using FILETIME = _FILETIME;

struct _EXCEPTION_POINTERS;
using EXCEPTION_POINTERS = _EXCEPTION_POINTERS;
#else
using __int64 = std::int64_t;

/// A point in time: 100-nanosecond ticks since 1601-01-01 UTC, in two halves.
struct FILETIME {
    std::uint32_t dwLowDateTime;
    std::uint32_t dwHighDateTime;
};

/// What went wrong: a signal's number, or any other code.
struct EXCEPTION_RECORD {
    std::uint32_t ExceptionCode;
    std::uint32_t ExceptionFlags;
    void * ExceptionAddress;
};

/// An exception and the state of the thread at it.
struct EXCEPTION_POINTERS {
    EXCEPTION_RECORD * ExceptionRecord;
    void * ContextRecord; ///< the system's `ucontext_t`, as signal handlers get it
};
#endif

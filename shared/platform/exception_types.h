#pragma once

/// The system's own types of exceptions that the interface names. On Windows they are the system's,
/// declared without its headers; elsewhere they are plain types of the same name.

#include <cstdint>

#ifdef _WIN32
struct _EXCEPTION_POINTERS;
using EXCEPTION_POINTERS = _EXCEPTION_POINTERS;
#else
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

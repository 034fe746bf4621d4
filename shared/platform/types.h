#pragma once

/// System types that public functions use. On Windows these are forward declarations of the
/// system's own types. On Linux they are plain types with the same names and sizes.

#include <cstdint>

#ifdef _WIN32
struct _FILETIME;
using FILETIME = _FILETIME;

struct _EXCEPTION_POINTERS;
using EXCEPTION_POINTERS = _EXCEPTION_POINTERS;
#else
/// Signed 64-bit integer.
using __int64 = std::int64_t;

/// A point in time: 100-ns ticks since 1601-01-01 UTC, in two halves.
struct FILETIME {
    std::uint32_t dwLowDateTime;  ///< low 32 bits
    std::uint32_t dwHighDateTime; ///< high 32 bits
};

/// Record of an exception.
struct EXCEPTION_RECORD {
    std::uint32_t ExceptionCode;  ///< number of the signal, or any other code
    std::uint32_t ExceptionFlags; ///< flags of the exception
    void * ExceptionAddress;      ///< address of the instruction
};

/// An exception and the state of its thread.
struct EXCEPTION_POINTERS {
    EXCEPTION_RECORD * ExceptionRecord; ///< the exception
    void * ContextRecord;               ///< `ucontext_t` of a signal handler
};
#endif

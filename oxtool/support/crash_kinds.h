#pragma once

#include <span>

namespace ox::tool
{

/// Kind of crash that a program can cause.
struct CrashKind {
    char const * name;
    char const * function; ///< name of the crashing function, as in the debug symbols
    void (*crash)();
};

/// Returns all kinds of crash.
std::span<CrashKind const> crashKinds();

/// Crashes the process. Returns only when `kind` is unknown.
void crash(char const * kind);

} // namespace ox::tool

#pragma once

#include <span>

namespace ox::tool
{

/// A way in which a program crashes.
struct CrashKind {
    char const * name;
    char const * function; ///< in which it happens, as the symbols have it
    void (*crash)();
};

std::span<CrashKind const> crashKinds();

/// Crashes. Returns only when `kind` is unknown.
void crash(char const * kind);

} // namespace ox::tool

#pragma once

#include <QString>

#include <cstdint>
#include <span>

/// The expected end of a process for a kind of crash on this system.
struct ExpectedEnd {
    char const * word;
    bool crashed;           ///< the end as QProcess reports it
    std::uint32_t exitCode; ///< the exit code, or the signal number after a signal
    std::uint32_t dumpCode;
    bool isMainThread;
};

/// Returns the expected end for each kind of crash. The first element is for an access to a null
/// pointer.
std::span<ExpectedEnd const> expectedEnds();

/// Adds a folder to the search path for libraries. A copied program needs the folder of the
/// original.
void addLibraryFolder(QString const & folder);

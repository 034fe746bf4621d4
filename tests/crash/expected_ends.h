#pragma once

#include <QString>

#include <cstdint>
#include <span>

/// The expected end of a process for a kind of crash on this system.
struct ExpectedEnd {
    char const * word;
    bool crashed;           ///< whether QProcess reports a crash
    std::uint32_t exitCode; ///< the exit code, or the number of the signal that ended the process
    std::uint32_t dumpCode;
    bool isMainThread;
};

/// Returns the expected end of a process for each kind of crash. The first element describes
/// the access to a null pointer.
std::span<ExpectedEnd const> expectedEnds();

/// Adds a folder to the search path for libraries. A copied program finds its libraries only in the
/// folder of the original program.
void addLibraryFolder(QString const & folder);

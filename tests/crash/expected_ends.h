#pragma once

#include <QString>

#include <cstdint>
#include <span>

/// The expected end of a process for a kind of crash on this system.
struct ExpectedEnd {
    char const * word;
    bool crashed;           ///< as QProcess reports it
    std::uint32_t exitCode; ///< or the number of the signal
    std::uint32_t dumpCode;
    bool isMainThread;
};

/// Returns the expected ends. The first one is that of an access to a null pointer.
std::span<ExpectedEnd const> expectedEnds();

/// Adds a folder to the search path for libraries, for copied programs.
void addLibraryFolder(QString const & folder);

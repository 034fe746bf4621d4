#pragma once

#include <QString>

#include <cstdint>
#include <span>

/// What a kind of crash looks like on this system.
struct ExpectedEnd {
    char const * word;
    bool crashed;           ///< as the run of a process tells it
    std::uint32_t exitCode; ///< or the signal's number
    std::uint32_t dumpCode;
    bool isMainThread;
};

/// The first is that of an access to a null pointer.
std::span<ExpectedEnd const> expectedEnds();

/// Lets a copied program find the libraries of a folder.
void letFindLibraries(QString const & folder);

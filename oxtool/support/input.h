#pragma once

#include <QString>

#include <functional>
#include <span>

namespace ox::tool
{

/// Returns whether a path of the command line means the standard input: "-" or "/dev/stdin", on
/// every system.
bool isStandardInput(QString const & path);

/// Reads a file or the standard input to its end, and calls `process` for each piece of at most
/// 1 MiB.
/// Fails: throws Failure with the system's reason.
void readPieces(QString const & path,
                std::function<void(std::span<unsigned char>)> const & process);

} // namespace ox::tool

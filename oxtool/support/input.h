#pragma once

#include <QString>

#include <functional>
#include <span>

namespace ox::tool
{

/// Whether a path of the command line means the standard input: "-", and "/dev/stdin" on every
/// system.
bool isStandardInput(QString const & path);

/// Reads a file, or the standard input, to its end and passes it on in pieces. Fails with the
/// system's message.
void readPieces(QString const & path, std::function<void(std::span<unsigned char>)> const & take);

} // namespace ox::tool

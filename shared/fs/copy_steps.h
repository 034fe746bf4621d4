#pragma once

#include "shared/platform/new_file.h"
#include "shared/platform/result.h"

#include <QString>

#include <memory>

namespace ox::fs
{

/// Size of a piece in bytes: 1 MiB.
inline constexpr std::size_t copyPiece = 0x100000;

/// Allocates `size` bytes. Returns null when memory is lacking.
std::unique_ptr<char[]> allocatePiece(std::size_t size);

/// Returns the empty text for success, otherwise the text of the error. Sets the thread's last
/// error to the error.
QString systemText(platform::Result<> const & result);

/// Returns "No memory left."
QString noMemory();
/// Returns "Unable to open input file."
QString sourceNotOpened();
/// Returns "Unable to open output file."
QString targetNotOpened();

/// How a copy by pieces handles a failed write: it continues, or it ends.
enum class Faults { Ignored, End };

/// Copies in pieces of copyPiece bytes through the buffer `piece`, and sleeps pauseMs milliseconds
/// after each piece. Sets `*endsEmpty`, if given, to whether the last piece looks unfinished, as
/// oxCopyFile describes.
/// Fails: when a read fails, or a write with Faults::End.
platform::Result<> copyPieces(platform::OpenFile & from, platform::OpenFile & to, char * piece,
                              int pauseMs, bool * endsEmpty, Faults faults);

/// Copies a whole file with its last-write time into a new file: with the system's own copy, or in
/// pieces if pauseMs is not negative. The new file is then ready for NewFile::putInPlace. Returns
/// the text of the failure. A copy that is shorter than its source is a failure, too.
QString copyWhole(platform::NativeName const & from, platform::NewFile & to, int pauseMs,
                  bool * endsEmpty,
                  platform::NewFile::Attributes attributes = platform::NewFile::Attributes::Copied);

} // namespace ox::fs

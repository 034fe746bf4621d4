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

/// Returns the error text of `result`, or the empty text for success. After a failure it also sets
/// the thread's last error.
QString systemText(platform::Result<> const & result);

/// Returns "No memory left."
QString noMemory();
/// Returns "Unable to open input file."
QString sourceNotOpened();
/// Returns "Unable to open output file."
QString targetNotOpened();

/// Whether a copy by pieces continues or ends after a failed write.
enum class Faults { Ignored, End };

/// Copies in pieces of copyPiece bytes through the buffer `piece`, and sleeps pauseMs milliseconds
/// after each piece. Sets `*endsEmpty`, if given, to whether the last piece looks unfinished, as
/// oxCopyFile describes.
/// Fails: when a read fails, and with Faults::End also when a write fails.
platform::Result<> copyPieces(platform::OpenFile & from, platform::OpenFile & to, char * piece,
                              int pauseMs, bool * endsEmpty, Faults faults);

/// Copies a whole file with its last-write time into a new file: with the system's own copy, or in
/// pieces if pauseMs is not negative. Flushes the new file, which is then ready for
/// NewFile::putInPlace. Returns the error text, or the empty text for success.
/// Fails: when a step fails, or when the copy is shorter than its source.
QString copyWhole(platform::NativeName const & from, platform::NewFile & to, int pauseMs,
                  bool * endsEmpty,
                  platform::NewFile::Attributes attributes = platform::NewFile::Attributes::Copied);

} // namespace ox::fs

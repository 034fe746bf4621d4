#pragma once

#include "shared/platform/new_file.h"
#include "shared/platform/result.h"

#include <QString>

#include <memory>

namespace ox::fs
{

/// Bytes of a piece of a copy by pieces.
inline constexpr std::size_t copyPiece = 0x100000;

/// Null when there is not enough memory.
std::unique_ptr<char[]> allocatePiece(std::size_t size);

/// Empty, or the sentence of oxLastOSError for the error, which becomes the thread's last one.
QString systemText(platform::Result<> const & result);

/// The texts of shared/fs/copy.h.
QString noMemory();
QString sourceNotOpened();
QString targetNotOpened();

/// What a read or write that fails does to a copy by pieces: nothing, or it ends the copy.
enum class Faults { Ignored, End };

/// Copies in pieces, through memory of copyPiece bytes, with a pause after each. Sets endsEmpty, if
/// given, by the last piece. Fails when a fault ended the copy.
platform::Result<> copyPieces(platform::OpenFile & from, platform::OpenFile & to, char * piece,
                              int pauseMs, bool * endsEmpty, Faults faults);

/// Makes a created file a whole copy of another, with its last-write time, ready to be put in its
/// place: by the system, or by pieces when pauseMs is not negative. Every fault is a failure, and
/// so is a copy that is shorter than its source. Returns the failure's text.
QString copyWhole(platform::NativeName const & from, platform::NewFile & to, int pauseMs,
                  bool * endsEmpty);

} // namespace ox::fs

#pragma once

#include "shared/data/data_buffer.h"
#include "shared/export.h"

#include <QString>

/// Copies single files, also from and to a slow share. A function returns the text of its failure,
/// or the empty text for success; only a lack of memory throws (std::bad_alloc). File names follow
/// the rules of shared/fs/file.h.

/// Copies a file and sets the copy's last-write time to that of the source.
///
/// With `overwrite` an existing target is deleted first, even when the source then turns out to be
/// missing. A link at the target is replaced and not followed. A named pipe is refused as source
/// and as target, a device as target. A device or an unnamed pipe (/dev/stdin) can be the source. A
/// file is never copied onto itself, whatever its names: such a call fails and changes nothing.
///
/// A negative pauseMs selects the system's own copy, the fastest one. The system's copy includes
/// permission bits and holes. A failure leaves no target and returns the system's message.
///
/// Any other pauseMs copies in pieces of 1 MiB and sleeps that many milliseconds after each piece,
/// to reduce the load of the share. `endsEmpty` then becomes true if the source looks unfinished:
/// the last byte of the last piece is 0 and, if the piece has more than 10 bytes, also the 7th and
/// the 10th from its end. `endsEmpty` stays unchanged for an empty file and with the system's own
/// copy.
///
/// Fails: the texts of oxDeleteFile, "Source file does not exist.", "No memory left.", "Unable to
/// open input file.", "Unable to open output file.", or the system's message.
/// Compatibility: without `overwrite` an existing target counts as success and is not compared. In
/// a copy by pieces a failed write or a source that ends early is no failure and leaves what was
/// written: the farm compares the sizes afterwards and repeats the copy.
OX_EXPORT QString oxCopyFile(QString const & from, QString const & to, bool overwrite,
                             int const & pauseMs, bool * endsEmpty = nullptr);

/// Updates the copy of a growing file (a render log): appends the bytes that the source has gained.
/// Every byte is copied once, even while the source grows. With `added` the same bytes are also
/// appended to that buffer.
///
/// The whole source is copied if the target is missing or longer than the source: a shorter source
/// is a new log. Without `added` oxCopyFile makes the copy. With `added` the buffer receives the
/// whole source and loses its previous content.
///
/// A source of more than 25 MiB is not appended. The call fails with "Log file larger than 25 MB,
/// stopping copy to oxShare." and sets limitReported. While limitReported is true, such calls
/// return success without copying.
///
/// A named pipe is refused as source and as target, a device as target. For root a target that is a
/// link of another user is refused.
///
/// Fails: the bytes written before the failure stay in the target, and `added` contains the same
/// bytes. The next call continues behind them. The text is that of oxCopyFile if it makes the copy;
/// otherwise one of these, with the system's message without its number:
/// - "Source file does not exist", without a dot;
/// - "Cannot open source file;" or "Cannot open dest. file;" and the system's message, or the
///   message alone when the whole source is copied to `added`;
/// - "Unable to append data.  Buffer data: ... memsize: ... addsize: ..." when `added` has no
///   memory for more;
/// - "Unable to write data", or "No memory left.";
/// - "Unable to read all data  10 != 30-5" when the source becomes shorter during the call or is
///   not readable.
OX_EXPORT QString oxResumeFile(QString const & from, QString const & to, bool & limitReported,
                               _OX_DataBuffer * const added = nullptr);

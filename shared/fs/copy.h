#pragma once

#include "shared/data/data_buffer.h"
#include "shared/export.h"

#include <QString>

/// Copies single files on local disks and slow shares. Each function returns an error text, or the
/// empty text for success; only a lack of memory throws (std::bad_alloc). File names follow the
/// rules of shared/fs/file.h.

/// Copies a file and sets the copy's last-write time to that of the source.
///
/// With `overwrite` an existing target is deleted first, even if the source does not exist. A link
/// at the target is replaced and not followed. A named pipe is refused as source and as target, and
/// a device is refused as target. A device or an unnamed pipe (/dev/stdin) can be the source. If
/// both names refer to the same file, a call with `overwrite` fails and changes nothing.
///
/// A negative `pauseMs` selects the system's own copy, the fastest one. The system's copy keeps
/// permission bits and the holes of sparse files. A failure leaves no target and returns the
/// system's message.
///
/// Any other `pauseMs` copies in pieces of 1 MiB and sleeps `pauseMs` milliseconds after each
/// piece, to reduce the load on the share. A copy by pieces sets `endsEmpty` to whether the source
/// looks unfinished: the last byte of the last piece is 0 and, if the piece has more than 10 bytes,
/// also the 7th and the 10th byte from its end. `endsEmpty` stays unchanged for an empty file and
/// with the system's own copy.
///
/// Fails: the texts of oxDeleteFile, "Source file does not exist.", "No memory left.", "Unable to
/// open input file.", "Unable to open output file.", or the system's message.
/// Compatibility: without `overwrite` an existing target counts as success and is not compared. In
/// a copy by pieces a failed read or write counts as success, too, and can leave an incomplete
/// target: the farm compares the sizes afterwards and repeats the copy.
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
/// A source of more than 25 MiB is not appended: the call fails with "Log file larger than 25 MB,
/// stopping copy to oxShare." and sets `limitReported` to true. While `limitReported` is true,
/// further calls for a source of this size return success and copy nothing.
///
/// A named pipe is refused as source and as target, and a device is refused as target. If the
/// process runs as root, a target that is a link of another user is refused.
///
/// Fails: the bytes written before the failure stay in the target, and `added` contains the same
/// bytes. The next call continues after these bytes. If oxCopyFile makes the copy, the text is that
/// of oxCopyFile. Otherwise it is one of these texts (the system's message without its error
/// number):
/// - "Source file does not exist", without a dot;
/// - "Cannot open source file;" or "Cannot open dest. file;" and the system's message, or the
///   message alone when the whole source is copied to `added`;
/// - "Unable to append data.  Buffer data: ... memsize: ... addsize: ..." when `added` cannot be
///   enlarged;
/// - "Unable to write data", or "No memory left.";
/// - "Unable to read all data  10 != 30-5" (10 bytes read, from offset 5 of 30 bytes) when the
///   source becomes shorter during the call or is not readable.
OX_EXPORT QString oxResumeFile(QString const & from, QString const & to, bool & limitReported,
                               _OX_DataBuffer * const added = nullptr);

#pragma once

#include "shared/data/data_buffer.h"
#include "shared/export.h"

#include <QString>

/// Copies of single files, also from and to a slow share. A result is the failure's text, empty for
/// success; nothing throws. Names are those of shared/fs/file.h.

/// Copies a file and gives the copy the source's last-write time.
///
/// An existing target counts as done when overwrite is false, deliberately: nothing is compared.
/// Otherwise it is deleted first, so it is gone even when the source then turns out to be missing.
/// A file is never copied onto itself, under whatever name: that fails and changes nothing. A link
/// at the target is replaced and never followed. A named pipe is refused as source and as target,
/// and a device as target; a device or an unnamed pipe (/dev/stdin) can be read.
///
/// A negative pauseMs asks for the fastest way, the system's own copy; it keeps the permission bits
/// and the holes as well. A failure's text is the system's message, and no target is left.
///
/// Any other pauseMs copies in pieces of 1 MiB and sleeps that many milliseconds after each, to
/// spare the share. endsEmpty, if given, is then set to whether the last piece looks as if the
/// source was still being written: its last byte and, when it has more than 10, also the 7th and
/// the 10th from its end are 0. An empty file leaves it alone, and so does the system's own copy.
/// A piece that cannot be written whole is deliberately no failure, and a source that ends early is
/// none either: the farm compares sizes afterwards, and copies again when they differ. What was
/// written stays on disk.
///
/// Failures: that of oxDeleteFile, "Source file does not exist.", "No memory left.",
/// "Unable to open input file.", "Unable to open output file.", or the system's message.
OX_EXPORT QString oxCopyFile(QString const & from, QString const & to, bool overwrite,
                             int const & pauseMs, bool * endsEmpty = nullptr);

/// Brings the copy of a growing file (a render log) up to date by appending what the source gained;
/// every byte arrives once, also while the source grows. With `added`, the bytes that the target
/// gained are appended to that buffer, too.
///
/// A target that is missing, or longer than the source because that was started again, becomes a
/// copy of the whole source: through oxCopyFile, whose texts these are, or with `added` by way of
/// that buffer, which then holds the whole source and nothing else.
///
/// Otherwise a source of more than 25 MiB is not copied, since that is too much for logs on the
/// share: the failure is "Log file larger than 25 MB, stopping copy to oxShare." and sets
/// limitReported, and as long as the caller keeps that set, later calls succeed in silence.
///
/// After a failure the target keeps the bytes that reached it, `added` has the same ones, and the
/// next call goes on behind them. A named pipe is refused as source and as target, and a device as
/// target. As root, a link of another user at the target is refused. Failures, the system's message
/// being the bare one ("No such file or directory"): "Source file does not exist", without a dot;
/// "Cannot open source file;" or "Cannot open dest. file;" and the system's message, which stands
/// alone where the whole source is copied into `added`; "Unable to append data.  Buffer data: ...
/// memsize: ... addsize: ..." when `added` cannot take more; "Unable to write data"; and "Unable to
/// read all data  10 != 30-5" when the source became shorter meanwhile or cannot be read.
OX_EXPORT QString oxResumeFile(QString const & from, QString const & to, bool & limitReported,
                               _OX_DataBuffer * const added = nullptr);

#pragma once

#include "shared/export.h"
#include "shared/text/file_name.h"
#include "shared/text/fixed_string8.h"

#include <QString>

/// Updates the file `target` from its master copy `source`; both can be on the share or on a local
/// disk. Returns whether the target is up to date.
///
/// The source is copied when the target is missing or differs in size or last-write time. The copy
/// gets the source's time, and read, write and execute rights for everybody. The previous target is
/// renamed to `target` + "_old" and replaces an older file of that name. A missing target folder is
/// created, with rights for everybody.
///
/// The copy is written under a temporary name in the target's folder, flushed, and then renamed.
/// The disk therefore needs space for both files. At every moment a complete file, the previous or
/// the new one, exists under the name `target` or `target` + "_old", even when the process is
/// killed or several processes synchronise the same file. A link at the target is replaced and not
/// followed.
///
/// `pause` has the meaning of pauseMs in oxCopyFile: milliseconds between pieces, or negative for
/// the system's own copy. With `retryExe` and `errors`, the copy of an ".exe" is repeated every 5
/// seconds while oxCopyFile sets endsEmpty: the file then looks unfinished. This needs a `pause` of
/// 0 or more, since the system's own copy does not set endsEmpty.
///
/// `errors` receives failures and announcements of retries. `info` receives the actions and, with
/// `verbose`, a line if the target is already up to date. New texts are appended to `errors` and
/// `info`, and cut at their capacity. Both may be null.
///
/// Fails: after a failed copy the previous file is unchanged. A copy that is shorter than its
/// source is a failure. If the rights cannot be set, the result is false, although the new file is
/// in place. If the previous file cannot be renamed, `errors` receives a message, and the file is
/// replaced without "_old".
/// Compatibility: only one folder level is created, so that a mistyped path does not grow into a
/// tree.
OX_EXPORT bool syncCopy(_oxString8_evenSize<500> source, _oxString8_evenSize<500> target,
                        bool const & retryExe, _oxString8_evenSize<500> * errors,
                        _oxString8_evenSize<500> * info, int pause, bool const & verbose);

/// Updates a file from its master copy, with QStrings as names. A name that does not fit a record
/// (longer than 500 bytes, or on Windows not Latin-1) is treated as the name of a missing file.
OX_EXPORT bool syncCopy(QString const & source, QString const & target, bool const & retryExe,
                        _oxString8_evenSize<500> * errors, _oxString8_evenSize<500> * info,
                        int pause, bool const & verbose);

/// Updates a file from its master copy, with names of any other string types. The
/// two types may differ.
template <ox::text::FileName Source, ox::text::FileName Target>
bool syncCopy(Source const & source, Target const & target, bool const & retryExe,
              _oxString8_evenSize<500> * errors, _oxString8_evenSize<500> * info, int pause,
              bool const & verbose)
{
    return syncCopy(ox::text::fileNameText(source), ox::text::fileNameText(target), retryExe,
                    errors, info, pause, verbose);
}

#pragma once

#include "shared/export.h"
#include "shared/text/file_name.h"
#include "shared/text/fixed_string8.h"

#include <QString>

/// Brings one file up to date with its master copy: on a farm machine with the one on the share, or
/// the other way round.
///
/// The target is copied when it is missing or differs from the source in size or last-write time;
/// the copy gets the source's time, and read, write and execute rights for everybody. A target that
/// is replaced stays as `target` + "_old", in place of an older one of that name. A missing target
/// folder is created, with rights for everybody.
/// Compatibility: one folder level only, so that a mistyped path does not grow into a tree.
///
/// The copy is made under a temporary name in the target's folder, which needs space for both
/// files, is flushed, and takes its place only when it is complete: at every moment the previous or
/// the new file stands whole under its name or under "_old", also when the process is killed or
/// several processes synchronise the same file. A link at the target is replaced and never
/// followed.
///
/// With retryExe, and when `errors` is given, an ".exe" whose copy looked as if the source was
/// still being written (oxCopyFile tells, only if `pause` is not negative) is synchronised again 5
/// seconds later, as often as that happens.
///
/// Texts are appended to `errors` (failures, and that announcement of another try) and `info` (what
/// was done; with `verbose` also that there was nothing to do); either may be null. They are cut
/// where the string is full.
///
/// `pause` is the pauseMs of oxCopyFile; unlike there, a copy that is shorter than its source is a
/// failure. Returns whether the target is up to date. After a failed copy the previous file is
/// unchanged. A previous file that cannot be renamed is reported and replaced. Rights that cannot
/// be set are a failure, although the new file is in place.
OX_EXPORT bool syncCopy(_oxString8_evenSize<500> source, _oxString8_evenSize<500> target,
                        bool const & retryExe, _oxString8_evenSize<500> * errors,
                        _oxString8_evenSize<500> * info, int pause, bool const & verbose);

/// The same with names of any letters. One that no record can hold, as it is longer than 500 bytes
/// or Latin-1 lacks its letters on Windows, counts as missing.
OX_EXPORT bool syncCopy(QString const & source, QString const & target, bool const & retryExe,
                        _oxString8_evenSize<500> * errors, _oxString8_evenSize<500> * info,
                        int pause, bool const & verbose);

/// The same with names of other types, also two different ones.
template <ox::text::FileName Source, ox::text::FileName Target>
bool syncCopy(Source const & source, Target const & target, bool const & retryExe,
              _oxString8_evenSize<500> * errors, _oxString8_evenSize<500> * info, int pause,
              bool const & verbose)
{
    return syncCopy(ox::text::fileNameText(source), ox::text::fileNameText(target), retryExe,
                    errors, info, pause, verbose);
}

#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string8.h"

/// Brings one file up to date with its master copy: on a farm machine with the one on the share, or
/// the other way round.
///
/// The target is copied when it is missing or differs from the source in size or last-write time;
/// the copy gets the source's time, and read, write and execute rights for everybody. A target that
/// is replaced stays as `target` + "_old", in place of an older one of that name. A missing target
/// folder is created, with rights for everybody, but one level only, deliberately: a mistyped path
/// shall not grow into a tree.
///
/// With retryExe, and when `errors` is given, an ".exe" whose copy looked as if the source was
/// still being written (oxCopyFile tells, only if `pause` is not negative) is synchronised again 5
/// seconds later, as often as that happens.
///
/// Texts are appended to `errors` (failures, and that announcement of another try) and `info` (what
/// was done; with `verbose` also that there was nothing to do); either may be null. They are cut
/// where the string is full.
///
/// `pause` goes to oxCopyFile. Returns whether the target is up to date. After a failure in the
/// middle of the copy the target may be incomplete, and the former one is the "_old" file. That the
/// former one could not be renamed is told but is no failure; it is overwritten then.
OX_EXPORT bool syncCopy(_oxString8_evenSize<500> source, _oxString8_evenSize<500> target,
                        bool const & retryExe, _oxString8_evenSize<500> * errors,
                        _oxString8_evenSize<500> * info, int pause, bool const & verbose);

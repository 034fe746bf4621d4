#pragma once

#include "shared/export.h"
#include "shared/system/identity.h"
#include "shared/text/fixed_string.h"
#include "shared/text/fixed_string8.h"

#include <QString>

/// Converts, splits, tests and cleans paths as text. The farm's machines run different systems and
/// exchange paths in job and configuration data. The functions do not access the disk and do not
/// fail; each returns a new text.
///
/// A "PD path" is a path with the separators of any system. A folder name that a function returns
/// ends with a separator; the empty text means that the path has no folder part.
///
/// Two rules hold unless a function says otherwise:
/// - "AutoPD" functions use "/" as the separator when the path contains one, else "\". Functions of
///   fixed strings use "\" when the text contains one, else this system's separator.
/// - A separator or a dot splits a path only at a position greater than 1, counted from 0.
/// Compatibility: a leading "/", the "\\" of a share and the dot of a hidden file therefore never
/// split.

/// Returns the path with the separators of a system: "/" for Linux and Mac, "\" for every other
/// value of `os`.
OX_EXPORT QString oxConvertPDToOS(QString const & path, _oxOS os);
/// Returns the path with this system's separators.
OX_EXPORT QString oxConvertPDToOS(QString const & path);
/// Returns a wide path of capacity 500 with this system's separators.
OX_EXPORT _oxString<500> oxConvertPDToOS(_oxString<500> const & path);
/// Returns a wide path of capacity 250 with this system's separators.
OX_EXPORT _oxString<250> oxConvertPDToOS(_oxString<250> const & path);

/// Returns the extension with its dot: ".exr" for "a\shot.exr".
/// Compatibility: a path without a dot after its first two characters is returned whole, since
/// callers compare the result with the extensions they know.
OX_EXPORT QString oxGetFileNameExtention(QString path);

/// Returns the text after the last separator, or the whole path when no separator follows its
/// first two characters.
OX_EXPORT QString oxGetFileName(QString path, unsigned short separator);
/// Returns the text after the last separator, or the whole path when no separator follows its
/// first two characters. The separator is "/" when the path contains one, else "\".
OX_EXPORT QString oxGetFileNameAutoPD(QString path);
/// Returns the text after the last separator, even if the separator is the path's first character.
/// The result is cut at 100 characters. The separator is "\" when the path contains one, else this
/// system's.
OX_EXPORT _oxString8_evenSize<100> oxGetFileName(_oxString8_evenSize<500> const & path);
/// Returns the text after the last separator of an 8-bit path of capacity 250, cut at 100
/// characters.
OX_EXPORT _oxString8_evenSize<100> oxGetFileName(_oxString8_evenSize<250> const & path);
/// Returns the text after the last separator of an 8-bit path of capacity 200, cut at 100
/// characters.
OX_EXPORT _oxString8_evenSize<100> oxGetFileName(_oxString8_evenSize<200> const & path);
/// Returns the text after the last separator of a wide path of capacity 250, cut at 100
/// characters.
OX_EXPORT _oxString<100> oxGetFileName(_oxString<250> const & path);
/// Returns the text after the last separator of a wide path of capacity 500, cut at 100
/// characters.
OX_EXPORT _oxString<100> oxGetFileName(_oxString<500> const & path);

/// Returns the file name without its extension: "shot" for "a\shot.exr".
OX_EXPORT QString oxGetFileNameBase(QString path, unsigned short separator);

/// Returns the folder that contains the path's last part: `C:\a\` for `C:\a\b.exr` and for
/// `C:\a\b\`. The folder of a share is the share itself: `\\srv\share\` for `\\srv\share\x`,
/// `\\srv\share\` and `\\srv\share`. A path of one or two characters is returned unchanged. A path
/// without a separator between its second and its last character gives the empty text.
OX_EXPORT QString oxGetDirName(QString path, unsigned short separator);
/// Returns the folder that contains the path's last part, by the rules of oxGetDirName. The
/// separator is "/" when the path contains one, else "\".
OX_EXPORT QString oxGetDirNameAutoPD(QString path);
/// Returns the folder that contains the last part of an 8-bit path of capacity 200. The separator
/// is "\" when the path contains one, else this system's.
OX_EXPORT _oxString8_evenSize<200> oxGetDirName(_oxString8_evenSize<200> const & path);
/// Returns the folder that contains the last part of an 8-bit path of capacity 250.
OX_EXPORT _oxString8_evenSize<250> oxGetDirName(_oxString8_evenSize<250> const & path);
/// Returns the folder that contains the last part of an 8-bit path of capacity 500.
OX_EXPORT _oxString8_evenSize<500> oxGetDirName(_oxString8_evenSize<500> const & path);
/// Returns the folder that contains the last part of a wide path of capacity 250.
OX_EXPORT _oxString<250> oxGetDirName(_oxString<250> const & path);
/// Returns the folder that contains the last part of a wide path of capacity 500.
OX_EXPORT _oxString<500> oxGetDirName(_oxString<500> const & path);

/// Returns `name` with `add` inserted before the extension: "a_x.exr" for "a.exr" and "_x". If
/// `name` has no extension, appends `add`. The separator of folders is "\" when the name contains
/// one, else this system's.
OX_EXPORT QString oxAddStringToFileName(QString name, QString const & add);

/// Returns whether a path is relative by the farm's rules. Absolute paths begin with "\", with a
/// drive ("C:\") or with "<Database>", ignoring case. Every other path is relative. A path of up to
/// two characters is always relative.
/// Compatibility: "/usr/x" is relative, since these rules are those of the farm's Windows paths.
OX_EXPORT bool isRelativePath(QString path);

/// Returns whether a path is the root of a drive or share. A path of up to three characters is a
/// root; a longer path with a drive is not. Any other path is a root if it has at most three parts
/// after its first two characters: `\\srv\share\dir\` is a root, `\\srv\share\dir\x` is not.
/// Compatibility: the farm's applications count the parts this way.
OX_EXPORT bool oxIsRootpath(QString const & path);

/// Returns the path with its first sequence of ".." steps resolved: `C:\a\x` for `C:\a\b\..\x`.
/// Each step goes up as `oxGetDirName` does. A path that climbs above its drive or its leading "/"
/// loses this root; a path that climbs above its share keeps the share. Steps without a folder in
/// front of them are dropped.
/// Compatibility: later ".." steps stay unresolved, as in the farm's applications.
OX_EXPORT QString oxPathResolve(QString path);

/// Returns a file name without the characters that file systems and the farm's texts do not allow:
/// - The characters \ / | ; # { } " = ? ` ~ * < > ^ and all characters below 32 are removed.
/// - Without `allowSpaces`, blanks are removed, too.
/// - ":" becomes "_".
/// - With `keepFramePlaceholders`, the texts "<FN>" and "<FN1>" to "<FN7>" keep their brackets.
OX_EXPORT QString oxRemoveIllegalCharFromFile(QString name, bool allowSpaces,
                                              bool const & keepFramePlaceholders);

/// Returns a folder path without the characters that oxRemoveIllegalCharFromFile removes, but with
/// its separators and the colon of a leading drive letter. Set `last` if `path` is a whole path and
/// not the beginning of a longer path. With `last`, blanks and dots at the end of the path are
/// removed, too, since Windows ignores them. A last part "." or ".." stays.
OX_EXPORT QString oxRemoveIllegalCharFromDir(QString path, bool allowSpaces,
                                             bool const & keepFramePlaceholders, bool last);

/// Returns a file name for use in a link of a web page. Removes the characters & % + ', which have
/// a meaning in links. Also removes the characters that oxRemoveIllegalCharFromFile removes if both
/// of its flags are false.
OX_EXPORT QString oxRemoveIllegalCharFromHtmlFile(QString name);

/// Returns a folder path for use in a link of a web page. Cleans each part of the path as
/// oxRemoveIllegalCharFromHtmlFile does. Every separator becomes "/". The colon of a drive becomes
/// "_", since "C:" would be a URL scheme.
OX_EXPORT QString oxRemoveIllegalCharFromHtmlDir(QString path);

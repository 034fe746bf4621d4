#pragma once

#include "shared/export.h"
#include "shared/system/identity.h"
#include "shared/text/fixed_string.h"
#include "shared/text/fixed_string8.h"

#include <QString>

/// Paths as text. The farm's machines run different systems and hand each other paths inside job
/// and configuration data; these functions convert, split, test and clean them. None touches the
/// disk, none fails, each returns a new text.
///
/// A "PD path" is a path with the separators of whatever system wrote it. A folder name returned
/// here ends with its separator; an empty one means that the path has no folder part.
///
/// Two rules hold where nothing else is said:
/// - A separator or a dot splits a path only at a position greater than 1. This is deliberate: a
///   leading "/", the "\\" of a share and the dot of a hidden file never split.
/// - "AutoPD" functions take "/" as the separator when the path holds one, else "\". Functions of
///   fixed strings take "\" when the text holds one, else the running system's separator.

/// The path with the separators of a system: "/" for Linux and Mac, "\" for every other value.
OX_EXPORT QString oxConvertPDToOS(QString const & path, _oxOS os);
/// The path with the separators of the running system.
OX_EXPORT QString oxConvertPDToOS(QString const & path);
OX_EXPORT _oxString<500> oxConvertPDToOS(_oxString<500> const & path);
OX_EXPORT _oxString<250> oxConvertPDToOS(_oxString<250> const & path);

/// The extension with its dot: ".exr" of "a\shot.exr". A path whose last dot does not split is
/// returned whole, deliberately: callers compare the result with the extensions they know.
OX_EXPORT QString oxGetFileNameExtention(QString path);

/// The text behind the last separator, or the whole path when no separator splits it.
OX_EXPORT QString oxGetFileName(QString path, unsigned short separator);
OX_EXPORT QString oxGetFileNameAutoPD(QString path);
/// The text behind the last separator wherever that stands (the first two positions split here,
/// unlike above), cut at 100 characters.
OX_EXPORT _oxString8_evenSize<100> oxGetFileName(_oxString8_evenSize<500> const & path);
OX_EXPORT _oxString8_evenSize<100> oxGetFileName(_oxString8_evenSize<250> const & path);
OX_EXPORT _oxString8_evenSize<100> oxGetFileName(_oxString8_evenSize<200> const & path);
OX_EXPORT _oxString<100> oxGetFileName(_oxString<250> const & path);
OX_EXPORT _oxString<100> oxGetFileName(_oxString<500> const & path);

/// The file name without its extension: "shot" of "a\shot.exr".
OX_EXPORT QString oxGetFileNameBase(QString path, unsigned short separator);

/// The folder that holds what the path names: `C:\a\` of `C:\a\b.exr` and of `C:\a\b\`.
/// A share is its own folder: `\\srv\share\` of `\\srv\share\x`, `\\srv\share\` and `\\srv\share`.
/// A path of one or two characters is returned unchanged, one without a splitting separator gives
/// the empty text.
OX_EXPORT QString oxGetDirName(QString path, unsigned short separator);
OX_EXPORT QString oxGetDirNameAutoPD(QString path);
OX_EXPORT _oxString8_evenSize<200> oxGetDirName(_oxString8_evenSize<200> const & path);
OX_EXPORT _oxString8_evenSize<250> oxGetDirName(_oxString8_evenSize<250> const & path);
OX_EXPORT _oxString8_evenSize<500> oxGetDirName(_oxString8_evenSize<500> const & path);
OX_EXPORT _oxString<250> oxGetDirName(_oxString<250> const & path);
OX_EXPORT _oxString<500> oxGetDirName(_oxString<500> const & path);

/// The name with a text put in front of its extension: "a_x.exr" of "a.exr" and "_x". A name
/// without an extension gets the text at its end. Folders are told apart as fixed strings do it.
OX_EXPORT QString oxAddStringToFileName(QString name, QString const & add);

/// Whether a path is relative in the farm's sense. Absolute are only paths that begin with "\",
/// with a drive ("C:\") or with "<Database>" in any case. Everything else is relative, deliberately
/// also
/// "/usr/x", and so is every path of one or two characters.
OX_EXPORT bool isRelativePath(QString path);

/// Whether a path names the root of a drive or share. Paths of up to three characters are roots. Of
/// the others those are that have at most two parts behind the first two characters, so that
/// `\\srv\share\dir\` counts as a root as well and `\\srv\share\dir\x` does not; a longer drive
/// path never is one.
OX_EXPORT bool oxIsRootpath(QString const & path);

/// The path with its first run of ".." steps resolved: `C:\a\x` of `C:\a\b\..\x`. Later steps stay,
/// deliberately. Each step climbs as `oxGetDirName` does, so a path that climbs out of its drive
/// or out of a leading "/" loses it, a share stays where it is, and steps without a folder in front
/// of them are dropped.
OX_EXPORT QString oxPathResolve(QString path);

/// A name without the characters that file systems and the farm's own texts cannot take:
/// - removed are \ / | ; # { } " = ? ` ~ * < > ^ and all characters below 32, and blanks unless
///   allowSpaces; ":" becomes "_";
/// - with keepFramePlaceholders "<FN>" and "<FN1>" to "<FN7>" keep their brackets.
OX_EXPORT QString oxRemoveIllegalCharFromFile(QString name, bool allowSpaces,
                                              bool const & keepFramePlaceholders);

/// A folder path cleaned as a file name is, except that separators and the colon of a leading drive
/// letter stay. With `last` the text is the whole path, not the front of a longer one; then the
/// blanks and dots at its end go too, as Windows drops them and would name another folder. The
/// steps
/// "." and ".." stay.
OX_EXPORT QString oxRemoveIllegalCharFromDir(QString path, bool allowSpaces,
                                             bool const & keepFramePlaceholders, bool last);

/// A file name that can stand in the link of a web page as it is: cleaned as a file name without
/// blanks and placeholders, and without & % + ' as well, which mean something in a link.
OX_EXPORT QString oxRemoveIllegalCharFromHtmlFile(QString name);

/// A folder path that can stand in the link of a web page: each part cleaned as a file name there,
/// the separators turned into "/". A drive's colon becomes "_", since "C:" would name a protocol.
OX_EXPORT QString oxRemoveIllegalCharFromHtmlDir(QString path);

#pragma once

#include "shared/export.h"
#include "shared/text/file_name.h"

#include <QString>

/// Grants everybody rights on files and folders that all users of the farm share.
///
/// The functions add rights to the existing ones and return whether this succeeded. On Linux they
/// add the mode bits of owner, group and others; on Windows they add an entry for everybody to the
/// access list.
/// Fails: returns false; `oxLastOSError` has the reason. Also fails for a `char const *` path that
/// is null, empty or longer than 500 bytes.

/// Grants everybody the rights to read a folder and to create files in it. With `inherit`, on
/// Windows, the content of the folder gets the same rights: entries that are created later, and
/// existing entries that inherit their rights. Linux ignores `inherit`.
OX_EXPORT bool oxSetFolderRights_ReadWriteAll(char const * path, bool inherit);
/// Grants everybody the rights to read a folder and to create files in it; the path is a QString of
/// any length.
OX_EXPORT bool oxSetFolderRights_ReadWriteAll(QString const & path, bool inherit);
/// Grants everybody the rights to read a folder and to create files in it; the path is of any other
/// string type.
template <ox::text::FileNameObject Path>
bool oxSetFolderRights_ReadWriteAll(Path const & path, bool inherit)
{
    return oxSetFolderRights_ReadWriteAll(ox::text::fileNameText(path), inherit);
}

/// Grants everybody the rights to read, write and execute a file.
OX_EXPORT bool oxSetFileRights_ReadWriteExecuteAll(char const * path);
/// Grants everybody the rights to read, write and execute a file; the path is a QString of any
/// length.
OX_EXPORT bool oxSetFileRights_ReadWriteExecuteAll(QString const & path);
/// Grants everybody the rights to read, write and execute a file; the path is of any other string
/// type.
template <ox::text::FileNameObject Path>
bool oxSetFileRights_ReadWriteExecuteAll(Path const & path)
{
    return oxSetFileRights_ReadWriteExecuteAll(ox::text::fileNameText(path));
}

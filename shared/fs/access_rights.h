#pragma once

#include "shared/export.h"
#include "shared/text/file_name.h"

#include <QString>

/// Rights for everybody, on files and folders that all users of the farm's machines share. They are
/// added to those there are: owner, group and others where the system has such modes, an entry for
/// everybody in the access list on Windows. A null pointer, an empty path and one of more than 500
/// characters give false; so does a failure, with the system's last error set. A QString may be
/// longer.

/// Lets everybody read and fill a folder. With `inherit`, what is put into it later gets the same
/// rights, where the system knows such a thing; so does, on Windows, what is in it already and
/// inherits from it.
OX_EXPORT bool oxSetFolderRights_ReadWriteAll(char const * path, bool inherit);
OX_EXPORT bool oxSetFolderRights_ReadWriteAll(QString const & path, bool inherit);
template <ox::text::FileNameObject Path>
bool oxSetFolderRights_ReadWriteAll(Path const & path, bool inherit)
{
    return oxSetFolderRights_ReadWriteAll(ox::text::fileNameText(path), inherit);
}

/// Lets everybody read, write and execute a file.
OX_EXPORT bool oxSetFileRights_ReadWriteExecuteAll(char const * path);
OX_EXPORT bool oxSetFileRights_ReadWriteExecuteAll(QString const & path);
template <ox::text::FileNameObject Path>
bool oxSetFileRights_ReadWriteExecuteAll(Path const & path)
{
    return oxSetFileRights_ReadWriteExecuteAll(ox::text::fileNameText(path));
}

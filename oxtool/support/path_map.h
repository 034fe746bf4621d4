#pragma once

#include "oxtool/command_line/command.h"
#include "oxtool/support/stored_path.h"

#include <QString>

#include <vector>

namespace ox::tool
{

// The mappings from stored paths to local paths in this process. They come, in this order, from
// --map, the environment variable OXTOOL_MAP and the configuration file. Of two mappings of the
// same root the first one applies.

/// Returns all mappings. The first call reads the environment variable and the configuration file.
/// Fails: throws Failure when the variable or the file contains a text that is not a mapping, or
/// when the file cannot be read.
std::vector<RootMapping> const & rootMappings();

/// Returns the name of the configuration file; empty if the user has no folder for it.
QString configurationFile();

/// Returns the local path of a command-line argument. Without a matching mapping the path stays
/// unchanged. Exception: a share or drive with backslashes gets this system's separators, since on
/// Linux a path with backslashes would name a file in the current folder.
LocalPath localArgument(QString const & argument);

/// Returns the option --map, which adds a mapping.
Option mapOption();

/// Adds --map to a command that takes a file or folder. The command then runs with local paths.
void acceptStoredPaths(Command & command);

} // namespace ox::tool

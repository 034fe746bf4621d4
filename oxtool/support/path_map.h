#pragma once

#include "oxtool/command_line/command.h"
#include "oxtool/support/stored_path.h"

#include <QString>

#include <vector>

namespace ox::tool
{

// The mappings of stored paths in this process: those of --map, then those of the environment
// variable OXTOOL_MAP, then those of the configuration file. Of two mappings of the same root the
// first one applies.

/// Returns all mappings. The first call reads the variable and the file.
/// Fails: throws Failure when one of them contains a text that is not a mapping.
std::vector<RootMapping> const & rootMappings();

/// Returns the name of the configuration file; empty if the user has no folder for it.
QString configurationFile();

/// Returns the local path of a command-line argument. A path that no mapping applies to stays
/// unchanged; only a share or a drive with backslashes gets this system's separators, so that it
/// never names a file in the current folder.
LocalPath localArgument(QString const & argument);

/// Returns the option --map, which adds a mapping.
Option mapOption();

/// Adds --map to a command that takes a file or folder. The command then runs with local paths.
void acceptStoredPaths(Command & command);

} // namespace ox::tool

#pragma once

#include "oxtool/command_line/command_line.h"

#include <QString>

namespace ox::tool
{

/// Writes the manual pages, the completions for bash, zsh and fish, and the synopses of all
/// commands to `folder`. Creates the same subfolders as in the folder "share" of an installation.
/// Fails: throws Failure with the system's reason.
void writeGeneratedFiles(Program const & program, QString const & folder);

} // namespace ox::tool

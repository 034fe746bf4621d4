#pragma once

#include "oxtool/command_line/command.h"

#include <vector>

namespace ox::tool
{

/// The table of all commands, in the order of the overview.
std::vector<Command> allCommands();

// One function a command; each stands in the source of the command's name.
Command copyCommand();
Command crashTestCommand();
Command crcCommand();
Command emptyCommand();
Command infoCommand();
Command inspectCommand();
Command layoutCommand();
Command listCommand();
Command lockCommand();
Command packCommand();
Command processesCommand();
Command refreshCommand();
Command replaceCommand();
Command resumeCommand();
Command sharedMemoryCommand();
Command syncCommand();
Command topCommand();
Command unpackCommand();

// Options that several commands have.
Option jsonOption(bool & json);
Option formatOption(std::string & format);
Option timeoutOption(int & timeoutMs);
Option pauseOption(int & pauseMs);

} // namespace ox::tool

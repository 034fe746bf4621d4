#pragma once

#include "oxtool/command_line/command.h"

#include <vector>

namespace ox::tool
{

/// Returns all commands in the order of the overview.
std::vector<Command> allCommands();

/// Returns the options that may stand before the command.
std::vector<Option> generalOptions();

// One function per command. The source file of the function has the name of the command.
Command copyCommand();
Command crashCommand();
Command crashTestCommand();
Command crcCommand();
Command decodeCommand();
Command emptyCommand();
Command encodeCommand();
Command errorCommand();
Command followCommand();
Command infoCommand();
Command inspectCommand();
Command killCommand();
Command layoutCommand();
Command listCommand();
Command lockCommand();
Command locksCommand();
Command packCommand();
Command pathCommand();
Command processesCommand();
Command refreshCommand();
Command replaceCommand();
Command resumeCommand();
Command sharedMemoryCommand();
Command spaceCommand();
Command syncCommand();
Command timeCommand();
Command topCommand();
Command unpackCommand();
Command verifyCommand();

// Options of several commands.
Option jsonOption(bool & json);
Option jsonLinesOption(bool & json);
Option formatOption(std::string & format);
Option timeoutOption(int & timeoutMs);
Option pauseOption(int & pauseMs);

} // namespace ox::tool

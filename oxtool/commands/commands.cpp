#include "oxtool/commands/commands.h"

#include "oxtool/support/buffer_file.h"

namespace ox::tool
{

std::vector<Command> allCommands()
{
    std::vector<Command> commands = {
        refreshCommand(),      packCommand(),    unpackCommand(), inspectCommand(),   crcCommand(),
        lockCommand(),         copyCommand(),    resumeCommand(), syncCommand(),      listCommand(),
        emptyCommand(),        replaceCommand(), infoCommand(),   processesCommand(), topCommand(),
        sharedMemoryCommand(), layoutCommand()};
#ifndef OX_NO_CRASH_HANDLER
    commands.push_back(crashTestCommand());
#endif
    return commands;
}

Option jsonOption(bool & json)
{
    return {.name = "--json", .help = "Write the result as one JSON object", .target = &json};
}

Option formatOption(std::string & format)
{
    std::vector<std::string> names;
    for (auto const & [name, value] : formatNames())
        names.push_back(name);
    return {.name = "--format",
            .valueName = "FORMAT",
            .help = "Format of the buffer file: db, zp, ns or gz",
            .target = &format,
            .choices = names};
}

Option timeoutOption(int & timeoutMs)
{
    return {.name = "--timeout",
            .valueName = "MS",
            .help = "Longest wait for the lock",
            .unit = "ms",
            .target = &timeoutMs,
            .showsDefault = true,
            .range = atLeast(0)};
}

Option pauseOption(int & pauseMs)
{
    return {.name = "--pause",
            .valueName = "MS",
            .help = "Copy in pieces of 1 MiB and pause after each, to spare the share",
            .unit = "ms",
            .target = &pauseMs,
            .range = atLeast(0)};
}

} // namespace ox::tool

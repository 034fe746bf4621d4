#include "oxtool/commands/commands.h"

#include "oxtool/support/buffer_file.h"
#include "oxtool/support/path_map.h"

namespace ox::tool
{

std::vector<Command> allCommands()
{
    std::vector<Command> commands = {
        refreshCommand(), packCommand(),         unpackCommand(),    inspectCommand(),
        verifyCommand(),  crcCommand(),          lockCommand(),      locksCommand(),
        copyCommand(),    resumeCommand(),       followCommand(),    syncCommand(),
        listCommand(),    emptyCommand(),        replaceCommand(),   pathCommand(),
        spaceCommand(),   infoCommand(),         processesCommand(), topCommand(),
        killCommand(),    sharedMemoryCommand(), layoutCommand(),    crashCommand(),
        errorCommand(),   encodeCommand(),       decodeCommand(),    timeCommand()};
#ifndef OX_NO_CRASH_HANDLER
    commands.push_back(crashTestCommand());
#endif
    for (Command & command : commands)
        acceptStoredPaths(command);
    return commands;
}

std::vector<Option> generalOptions()
{
    static bool json = false; // not read; the option of the command receives the value
    return {jsonOption(json), mapOption()};
}

Option jsonOption(bool & json)
{
    return {.name = "--json", .help = "Print the result as one JSON object", .target = &json};
}

Option jsonLinesOption(bool & json)
{
    return {.name = "--json", .help = "Print one JSON object per line", .target = &json};
}

Option formatOption(std::string & format)
{
    std::vector<std::string> names;
    for (auto const & [name, value] : formatNames())
        names.push_back(name);
    return {.name = "--format",
            .letter = 'f',
            .valueName = "FORMAT",
            .help = "Format of the buffer file: db, zp, ns or gz",
            .target = &format,
            .choices = names};
}

Option timeoutOption(int & timeoutMs)
{
    return {.name = "--timeout",
            .letter = 't',
            .valueName = "TIME",
            .help = "Maximum wait for the lock",
            .target = Milliseconds{&timeoutMs},
            .showsDefault = true,
            .range = atLeast(0)};
}

Option pauseOption(int & pauseMs)
{
    return {.name = "--pause",
            .letter = 'p',
            .valueName = "TIME",
            .help = "Copy in pieces of 1 MiB and pause after each, to limit the load on the share",
            .target = Milliseconds{&pauseMs},
            .range = atLeast(0)};
}

} // namespace ox::tool

#include "oxtool/program.h"

#include "oxtool/command_line/command_line.h"
#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/report.h"
#include "oxtool/support/stop.h"
#include "shared/platform/program/console.h"
#include "shared/version.h"

#include <algorithm>
#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace ox::tool
{
namespace
{

int runArguments(std::vector<std::string> arguments)
{
    try {
        return runCommandLine({.name = "oxtool",
                               .summary =
                                   "Inspect and change the files of a render farm, and monitor "
                                   "its machines.",
                               .version = oxVersionString(),
                               .commands = allCommands(),
                               .options = generalOptions(),
                               .canGenerate = true},
                              std::move(arguments));
    } catch (Failure const & failure) {
        if (!failure.isReported())
            writeError(failure.text());
        return failure.status();
    } catch (std::exception const & error) {
        writeError(messageOf(error));
        return Failed;
    }
}

} // namespace

int runProgram(int argc, char ** argv)
{
    platform::prepareStandardStreams();
    installStopHandling();
    int const status = runArguments(platform::utf8Arguments(argc, argv));
    return finishOutput() ? status : std::max<int>(status, Failed);
}

} // namespace ox::tool

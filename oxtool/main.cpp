#include "oxtool/buffer_file.h"
#include "oxtool/commands.h"
#include "oxtool/failure.h"
#include "oxtool/report.h"
#include "oxtool/stop.h"
#include "shared/platform/console.h"

#include <QCoreApplication>

#include <algorithm>
#include <limits>
#include <new>

namespace ox::tool
{

CLI::Validator atLeast(int least)
{
    return CLI::Range(least, std::numeric_limits<int>::max()).description("");
}

CLI::Option * addJson(CLI::App & command, bool & json)
{
    return command.add_flag("--json", json, "Write the result as one JSON object");
}

CLI::Option * addFormat(CLI::App & command, std::string & format)
{
    return command.add_option("--format", format, "db, zp, ns or gz")
        ->type_name("FORMAT")
        ->check(CLI::IsMember(formatNames()).description(""));
}

CLI::Option * addTimeout(CLI::App & command, int & timeoutMs)
{
    return command
        .add_option("--timeout", timeoutMs, "How long to wait for the lock, in milliseconds")
        ->type_name("MS")
        ->check(atLeast(0))
        ->capture_default_str();
}

namespace
{

int runProgram(std::vector<std::string> arguments)
{
    CLI::App program(
        "Shows the farm's files and machines as its applications see them, and works on them.",
        "oxtool");
    program.require_subcommand(1);
    // On Windows, too, an argument such as //farm/share is a path.
    program.allow_windows_style_options(false);
    program.set_help_all_flag("--help-all", "Print the help of all commands");
    program.set_version_flag("--version", OX_VERSION);
    Run run;
    for (auto const add :
         {addRefresh, addPack, addUnpack, addInspect, addLock, addCopy, addResume, addSync, addList,
          addEmpty, addReplace, addCrc, addLayout, addInfo, addPs, addTop, addShm})
        add(program, run);
#ifndef OX_NO_CRASH_HANDLER
    addCrashTest(program, run);
#endif

    std::reverse(arguments.begin(), arguments.end());
    try {
        program.parse(arguments);
    } catch (CLI::ParseError const & error) {
        return program.exit(error) == 0 ? Done : WrongUse;
    }
    try {
        return run();
    } catch (Failure const & failure) {
        writeError(failure.text());
        return failure.status();
    } catch (std::bad_alloc const &) {
        writeError(QStringLiteral("There is not enough memory."));
        return Failed;
    }
}

} // namespace
} // namespace ox::tool

int main(int argc, char ** argv)
{
    ox::platform::prepareStandardStreams();
    ox::tool::prepareForStopRequests();
    int const status = ox::tool::runProgram(ox::platform::utf8Arguments(argc, argv));
    return ox::tool::finishOutput() ? status : std::max<int>(status, ox::tool::Failed);
}

#include "oxtool/command_line/command_line.h"

#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/stored_path.h"
#include "shared/fs/path.h"
#include "tests/fuzz/fuzz_input.h"

// Fuzzes the parser of the tool's command lines and the mapping of stored paths. The parser knows
// the commands of the tool, but the functions that run them are replaced, so that no command runs.

namespace
{

using namespace ox::fuzz;
using namespace ox::tool;

int runs = 0;

/// Returns a copy of the command whose function does nothing. The function of the copy holds a copy
/// of the original function, which owns the variables of the options.
Command inert(Command command)
{
    if (command.run)
        command.run = [options = command.run] {
            ++runs;
            return int{Done};
        };
    for (Command & subcommand : command.subcommands)
        subcommand = inert(subcommand);
    return command;
}

void parse(Input & in)
{
    std::vector<Command> const all = allCommands();
    // A parser with all commands is slow to build. So most inputs build a parser with one command,
    // and a few inputs build a parser with every fourth command.
    std::size_t const which = in.number() % (all.size() + 1);
    Program program{"oxtool", "Summary", "1", {}};
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (which == all.size() ? i % 4 == 0 : i == which)
            program.commands.push_back(inert(all[i]));
    }
    std::vector<std::string> arguments;
    if (which < all.size())
        arguments.push_back(all[which].name);
    while (!in.isAtEnd() && arguments.size() < 100)
        arguments.emplace_back(in.line());
    for (std::string const & argument : arguments)
        OX_HOLDS(fromArgument(argument).size() <= int(argument.size()));
    runs = 0;
    int const status = runCommandLine(program, arguments);
    OX_HOLDS(status == Done ? runs <= 1 : status == WrongUse && runs == 0);
}

/// Replaces the backslashes of a path by slashes. Removes the slashes at the end of a root.
QString plain(QString path, bool isRoot)
{
    path.replace(u'\\', u'/');
    while (isRoot && path.endsWith(u'/'))
        path.chop(1);
    return path;
}

void mapPath(Input & in)
{
    QString const stored = utf16Of(in.line());
    QString const path = plain(stored, false);
    std::vector<RootMapping> mappings;
    while (!in.isAtEnd() && mappings.size() < 20) {
        QString const text = utf16Of(in.line());
        RootMapping mapping;
        bool const isMapping = parseRootMapping(text, mapping);
        auto const equals = text.indexOf(u'=');
        OX_HOLDS(isMapping == (equals > 0 && equals < text.size() - 1));
        OX_HOLDS(!isMapping || mapping.storedRoot + u'=' + mapping.localRoot == text);
        if (isMapping)
            mappings.push_back(mapping);
    }
    LocalPath const local = localPath(stored, mappings);
    OX_HOLDS(local.path == oxConvertPDToOS(local.path));
    QString const root = plain(local.storedRoot, true);
    bool const isMapped = !local.storedRoot.isEmpty();
    OX_HOLDS(isMapped || local.path == oxConvertPDToOS(stored));
    OX_HOLDS(!isMapped || path.startsWith(root, Qt::CaseInsensitive));
    bool isBest = !isMapped;
    for (RootMapping const & mapping : mappings) {
        QString const other = plain(mapping.storedRoot, true);
        bool const fits =
            path.startsWith(other + u'/') && !other.isEmpty() &&
            other.startsWith(QLatin1String("//")) == path.startsWith(QLatin1String("//"));
        OX_HOLDS(!fits || (isMapped && root.size() >= other.size()));
        isBest = isBest || local.path == oxConvertPDToOS(plain(mapping.localRoot, true) +
                                                         path.mid(root.size()));
    }
    OX_HOLDS(isBest);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size)
{
    Input in(data, size);
    in.below(2) == 0 ? parse(in) : mapPath(in);
    return 0;
}

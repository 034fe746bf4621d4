#include "shared/platform/console.h"

#include "shared/platform/utf8.h"

#include <array>
#include <csignal>
#include <pwd.h>
#include <unistd.h>

namespace ox::platform
{

bool isTerminal(std::FILE * stream)
{
    return ::isatty(::fileno(stream)) != 0;
}

void prepareStandardStreams()
{
    std::signal(SIGPIPE, SIG_IGN);
}

std::vector<std::string> utf8Arguments(int argc, char ** argv)
{
    return argc > 1 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

std::u16string argumentText(std::string_view argument)
{
    return fromFileName(argument);
}

std::string userName()
{
    passwd entry{};
    passwd * found = nullptr;
    std::array<char, 4096> texts{};
    ::getpwuid_r(::getuid(), &entry, texts.data(), texts.size(), &found);
    return found ? found->pw_name : std::string();
}

} // namespace ox::platform

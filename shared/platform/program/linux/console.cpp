#include "shared/platform/program/console.h"

#include "shared/platform/file_names.h"

#include <array>
#include <csignal>

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

/// Opens the null device for each closed standard stream. Otherwise the next opened file would get
/// the descriptor number of the stream, and output to the stream would go into that file. Child
/// processes do not inherit the null device, so they find the stream closed.
void occupyClosedStreams()
{
    for (int const number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // Standard input is opened for writing and the outputs for reading, so that reading from
        // the stream or writing to it fails.
        int const mode = number == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (::fcntl(number, F_GETFD) < 0)
            ::open("/dev/null", mode | O_CLOEXEC); // open() returns the lowest free number
    }
}

} // namespace

bool isTerminal(std::FILE * stream)
{
    return ::isatty(::fileno(stream)) != 0;
}

void prepareStandardStreams()
{
    occupyClosedStreams();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

Result<OpenFile> openStandardInput()
{
    OpenFile file(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
    if (!file.isOpen())
        return lastError();
    return file;
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

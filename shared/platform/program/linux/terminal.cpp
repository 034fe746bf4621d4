#include "shared/platform/program/terminal.h"

#include "shared/platform/program/console.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

termios savedSettings;

void show(char const * sequence)
{
    std::fputs(sequence, stdout);
    std::fflush(stdout);
}

} // namespace

TerminalSize terminalSize(std::FILE * stream)
{
    TerminalSize known;
    winsize size{};
    if (::ioctl(::fileno(stream), TIOCGWINSZ, &size) != 0)
        return known;
    // A terminal may report only the width or only the height.
    if (size.ws_col > 0)
        known.columns = size.ws_col;
    if (size.ws_row > 0)
        known.rows = size.ws_row;
    return known;
}

bool hasColours(std::FILE * stream)
{
    char const * const name = std::getenv("TERM");
    return isTerminal(stream) && name && *name && std::string_view(name) != "dumb";
}

bool takeTerminal()
{
    if (!isTerminal(stdout) || ::tcgetattr(STDIN_FILENO, &savedSettings) != 0)
        return false;
    termios settings = savedSettings;
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    // These keys would suspend or end the process without restoring the terminal.
    settings.c_cc[VSUSP] = _POSIX_VDISABLE;
    settings.c_cc[VQUIT] = _POSIX_VDISABLE;
    if (::tcsetattr(STDIN_FILENO, TCSAFLUSH, &settings) != 0)
        return false;
    show("\033[?1049h\033[?25l");
    return true;
}

void restoreTerminal()
{
    show("\033[?25h\033[?1049l");
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &savedSettings);
}

namespace
{

/// Reads an escape sequence after its escape character. Returns the constant of terminal.h for the
/// key, such as upKey. If the sequence is unknown or empty, returns the escape character.
char readSequence()
{
    // The bytes of a sequence arrive together. If no byte follows the escape character within this
    // time, the user has pressed the Escape key.
    constexpr int gapMs = 20;
    std::string sequence;
    char byte = 0;
    pollfd keyboard{STDIN_FILENO, POLLIN, 0};
    while (sequence.size() < 8 && ::poll(&keyboard, 1, gapMs) > 0 &&
           ::read(STDIN_FILENO, &byte, 1) == 1) {
        sequence += byte;
        bool const isEnd = sequence.size() > 1 && byte >= '@' && byte <= '~';
        if (isEnd)
            break;
    }
    for (auto const & [text, key] :
         {std::pair("[A", upKey), std::pair("OA", upKey), std::pair("[B", downKey),
          std::pair("OB", downKey), std::pair("[5~", pageUpKey), std::pair("[6~", pageDownKey)}) {
        if (sequence == text)
            return key;
    }
    return '\033';
}

} // namespace

std::optional<char> waitForKey(std::chrono::steady_clock::time_point end)
{
    for (;;) {
        auto const left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        pollfd keyboard{STDIN_FILENO, POLLIN, 0};
        int const ready = ::poll(&keyboard, 1, std::max(0, static_cast<int>(left.count())));
        if (ready == 0)
            return std::nullopt;
        char key = endOfKeys;
        if (ready > 0 && ::read(STDIN_FILENO, &key, 1) >= 0)
            return key == '\033' ? readSequence() : key;
        if (errno != EINTR)
            return endOfKeys;
    }
}

} // namespace ox::platform

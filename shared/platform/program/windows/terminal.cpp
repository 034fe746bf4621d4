#include "shared/platform/program/terminal.h"

#include <algorithm>

#include <windows.h>

#include <io.h>

namespace ox::platform
{
namespace
{

HANDLE handleOf(std::FILE * stream)
{
    return reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(stream)));
}

DWORD savedMode;

void show(char const * sequence)
{
    std::fputs(sequence, stdout);
    std::fflush(stdout);
}

} // namespace

TerminalSize terminalSize(std::FILE * stream)
{
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!::GetConsoleScreenBufferInfo(handleOf(stream), &info))
        return {};
    return {info.srWindow.Right - info.srWindow.Left + 1,
            info.srWindow.Bottom - info.srWindow.Top + 1};
}

bool hasColours(std::FILE * stream)
{
    DWORD mode;
    return ::GetConsoleMode(handleOf(stream), &mode) &&
           (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

bool takeTerminal()
{
    DWORD output;
    // With ENABLE_PROCESSED_INPUT, Ctrl-C still sends a stop request.
    if (!::GetConsoleMode(handleOf(stdout), &output) ||
        (output & ENABLE_VIRTUAL_TERMINAL_PROCESSING) == 0 ||
        !::GetConsoleMode(handleOf(stdin), &savedMode) ||
        !::SetConsoleMode(handleOf(stdin), ENABLE_PROCESSED_INPUT))
        return false;
    show("\033[?1049h\033[?25l");
    return true;
}

void restoreTerminal()
{
    show("\033[?25h\033[?1049l");
    ::SetConsoleMode(handleOf(stdin), savedMode);
}

namespace
{

/// Returns the constant of terminal.h for a key, such as upKey; 0 if the key has no constant.
char specialKey(WORD key)
{
    switch (key) {
    case VK_UP:
        return upKey;
    case VK_DOWN:
        return downKey;
    case VK_PRIOR:
        return pageUpKey;
    case VK_NEXT:
        return pageDownKey;
    default:
        return 0;
    }
}

} // namespace

std::optional<char> waitForKey(std::chrono::steady_clock::time_point end)
{
    HANDLE const input = handleOf(stdin);
    for (;;) {
        auto const left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        DWORD const wait = static_cast<DWORD>(std::max<long long>(0, left.count()));
        DWORD const waited = ::WaitForSingleObject(input, wait);
        if (waited == WAIT_TIMEOUT)
            return std::nullopt;
        INPUT_RECORD event;
        DWORD count = 0;
        if (waited != WAIT_OBJECT_0 || !::ReadConsoleInputW(input, &event, 1, &count))
            return endOfKeys;
        // Events of the mouse and the window, and the release of a key, are ignored.
        bool const isKey =
            count == 1 && event.EventType == KEY_EVENT && event.Event.KeyEvent.bKeyDown;
        if (char const special = isKey ? specialKey(event.Event.KeyEvent.wVirtualKeyCode) : 0)
            return special;
        wchar_t const key = isKey ? event.Event.KeyEvent.uChar.UnicodeChar : L'\0';
        if (key > 0 && key < 0x80)
            return static_cast<char>(key);
    }
}

} // namespace ox::platform

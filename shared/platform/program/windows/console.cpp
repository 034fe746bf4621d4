#include "shared/platform/program/console.h"

#include "shared/platform/file_names.h"
#include "shared/platform/windows/handle.h"
#include "shared/platform/windows/utf16.h"

#include <cstdlib>
#include <memory>
#include <utility>

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <lmcons.h>
#include <shellapi.h>

namespace ox::platform
{
namespace
{

HANDLE handleOf(std::FILE * stream)
{
    return reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(stream)));
}

bool isClosed(std::FILE * stream)
{
    if (::_fileno(stream) < 0)
        return true;
    ::SetLastError(ERROR_SUCCESS);
    return ::GetFileType(handleOf(stream)) == FILE_TYPE_UNKNOWN &&
           ::GetLastError() != ERROR_SUCCESS;
}

} // namespace

bool isTerminal(std::FILE * stream)
{
    DWORD mode;
    return ::GetConsoleMode(handleOf(stream), &mode);
}

void prepareStandardStreams()
{
    // A program without a console may be started without standard streams.
    for (auto const & [stream, mode] :
         {std::pair(stdin, "rb"), std::pair(stdout, "wb"), std::pair(stderr, "wb")}) {
        if (isClosed(stream))
            std::freopen("NUL", mode, stream);
    }
    ::_setmode(::_fileno(stdin), _O_BINARY);
    ::_setmode(::_fileno(stdout), _O_BINARY);
    // The program writes UTF-8. The console keeps its settings after the process ends, so they are
    // restored at exit.
    static UINT const codePage = ::GetConsoleOutputCP();
    if (codePage != 0 && ::SetConsoleOutputCP(CP_UTF8))
        std::atexit([] { ::SetConsoleOutputCP(codePage); });
    static HANDLE const console = isTerminal(stdout) ? handleOf(stdout) : handleOf(stderr);
    static DWORD mode = 0;
    if (::GetConsoleMode(console, &mode) &&
        ::SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING))
        std::atexit([] { ::SetConsoleMode(console, mode); });
}

Result<OpenFile> openStandardInput()
{
    HANDLE const process = ::GetCurrentProcess();
    HANDLE duplicate = INVALID_HANDLE_VALUE;
    if (!::DuplicateHandle(process, handleOf(stdin), process, &duplicate, 0, FALSE,
                           DUPLICATE_SAME_ACCESS))
        return lastError();
    return toOpenFile(duplicate);
}

std::vector<std::string> utf8Arguments(int, char **)
{
    // The arguments of main() are in the ANSI code page, which lacks most characters.
    int count = 0;
    std::unique_ptr<wchar_t *, decltype(&::LocalFree)> const all(
        ::CommandLineToArgvW(::GetCommandLineW(), &count), ::LocalFree);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(toUtf8(toUtf16(all.get()[i])));
    return arguments;
}

std::u16string argumentText(std::string_view argument)
{
    return fromUtf8(argument);
}

std::string userName()
{
    wchar_t name[UNLEN + 1];
    DWORD size = UNLEN + 1;
    return ::GetUserNameW(name, &size) ? toUtf8(toUtf16(name)) : std::string();
}

} // namespace ox::platform

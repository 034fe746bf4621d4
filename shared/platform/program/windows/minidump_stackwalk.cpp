// The program minidump_stackwalk for Windows: Breakpad's program of this name, with three changes.
// - Arguments and file names are UTF-8, and a path may be longer than 260 characters. Breakpad
//   passes file names to functions that interpret them in the ANSI code page, which lacks most
//   characters.
// - Files are read, and the output is written, without conversion of line ends.
// - A crash of the program on a damaged dump opens no dialog, for which the caller would wait.

#include "shared/platform/file_names.h"
#include "shared/platform/windows/utf16.h"

#include <cstdio>
#include <string>
#include <vector>

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

namespace
{

ox::platform::NativeName nativeNameOf(char const * name)
{
    return ox::platform::nativeName(ox::platform::fromUtf8(name));
}

/// Checks in place of stat() whether a file exists. Breakpad uses no other result of stat().
int checkExistence(char const * name)
{
    return ::GetFileAttributesW(nativeNameOf(name).c_str()) == INVALID_FILE_ATTRIBUTES ? -1 : 0;
}

} // namespace

/// Replaces the function of the C library, which std::ifstream calls. Breakpad only reads files.
std::FILE * fopen64(char const * name, char const *)
{
    return ::_wfopen(nativeNameOf(name).c_str(), L"rb");
}

#define main stackwalkMain
#include "processor/minidump_stackwalk.cc" // NOLINT(bugprone-suspicious-include)
#undef main

// The headers define `stat` as the name of a structure with a 64-bit size.
#undef stat
#define stat(name, status) checkExistence(name)
#include "processor/simple_symbol_supplier.cc" // NOLINT(bugprone-suspicious-include)
#undef stat

int wmain(int argc, wchar_t ** argv)
{
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    ::_setmode(::_fileno(stdout), _O_BINARY);
    std::vector<std::string> arguments;
    for (int i = 0; i < argc; ++i)
        arguments.push_back(ox::platform::toUtf8(ox::platform::toUtf16(argv[i])));
    std::vector<char const *> pointers;
    for (std::string const & argument : arguments)
        pointers.push_back(argument.c_str());
    pointers.push_back(nullptr);
    return stackwalkMain(argc, pointers.data());
}

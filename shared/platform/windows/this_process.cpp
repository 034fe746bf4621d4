#include "shared/platform/this_process.h"

#include "shared/platform/windows/utf16.h"

#include <memory>

#include <windows.h>

namespace ox::platform
{
namespace
{

/// Calls `read(buffer, capacity)` with growing buffers until the result fits. `read` is a system
/// call that returns the length of the result, or at least `capacity` if the result does not fit.
template <typename Read>
std::wstring readIntoGrowingBuffer(Read read)
{
    for (std::wstring text(MAX_PATH, L'\0');; text.resize(text.size() * 2)) {
        auto const length = read(text.data(), static_cast<DWORD>(text.size()));
        if (length < text.size()) {
            text.resize(length);
            return text;
        }
    }
}

/// Converts text in the ANSI code page, such as the arguments of a program, to UTF-16.
std::wstring fromCodePage(std::string_view text)
{
    std::wstring wide(text.size(), L'\0');
    int const length = ::MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()),
                                             wide.data(), static_cast<int>(wide.size()));
    wide.resize(static_cast<std::size_t>(length));
    return wide;
}

} // namespace

std::vector<std::u16string> environmentBlock()
{
    std::vector<std::u16string> entries;
    std::unique_ptr<wchar_t, decltype(&::FreeEnvironmentStringsW)> const block(
        ::GetEnvironmentStringsW(), ::FreeEnvironmentStringsW);
    for (wchar_t const * entry = block.get(); entry && *entry;
         entry += std::wstring_view(entry).size() + 1)
        entries.push_back(toUtf16(entry));
    return entries;
}

std::optional<std::u16string> environmentVariable(std::u16string_view name)
{
    std::wstring const wideName = toWide(name);
    ::SetLastError(ERROR_SUCCESS);
    auto const value = readIntoGrowingBuffer([&wideName](wchar_t * text, DWORD capacity) {
        return ::GetEnvironmentVariableW(wideName.c_str(), text, capacity);
    });
    if (value.empty() && ::GetLastError() != ERROR_SUCCESS)
        return std::nullopt;
    return toUtf16(value);
}

void sleepMilliseconds(int milliseconds)
{
    ::Sleep(static_cast<DWORD>(milliseconds));
}

Result<std::u16string> executablePath()
{
    auto const path = readIntoGrowingBuffer([](wchar_t * text, DWORD capacity) {
        return ::GetModuleFileNameW(nullptr, text, capacity);
    });
    if (path.empty())
        return lastError("GetModuleFileNameW");
    return toUtf16(path);
}

Result<std::u16string> absolutePath(char const * file)
{
    std::wstring const path = fromCodePage(file);
    bool const isAbsolute = path.starts_with(L'\\') || (path.size() > 1 && path[1] == L':');
    if (isAbsolute)
        return toUtf16(path);
    auto const folder = readIntoGrowingBuffer(
        [](wchar_t * text, DWORD capacity) { return ::GetCurrentDirectoryW(capacity, text); });
    if (folder.empty())
        return lastError("GetCurrentDirectoryW");
    return toUtf16(folder.ends_with(L'\\') ? folder + path : folder + L'\\' + path);
}

Result<std::u16string> absolutePath(std::u16string_view name)
{
    std::wstring const relative = toWide(name);
    auto const path = readIntoGrowingBuffer([&relative](wchar_t * text, DWORD capacity) {
        return ::GetFullPathNameW(relative.c_str(), capacity, text, nullptr);
    });
    if (path.empty())
        return lastError("GetFullPathNameW");
    return toUtf16(path);
}

std::u16string temporaryFolder()
{
    auto const folder = readIntoGrowingBuffer(
        [](wchar_t * text, DWORD capacity) { return ::GetTempPathW(capacity, text); });
    return folder.empty() ? std::u16string(u"\\tmp") : toUtf16(folder);
}

std::u16string_view folderOf(std::u16string_view path)
{
    return path.substr(0, path.rfind(u'\\') + 1);
}

} // namespace ox::platform

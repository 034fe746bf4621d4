#include "shared/platform/this_process.h"

#include "shared/platform/file_names.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace ox::platform
{
namespace
{

Result<std::string> currentFolder()
{
    std::string folder(256, '\0');
    while (!::getcwd(folder.data(), folder.size())) {
        if (errno != ERANGE)
            return lastError("getcwd");
        folder.resize(folder.size() * 2);
    }
    return std::string(folder.c_str());
}

} // namespace

std::vector<std::u16string> environmentBlock()
{
    std::vector<std::u16string> entries;
    for (char ** entry = ::environ; entry && *entry; ++entry)
        entries.push_back(systemText(*entry));
    return entries;
}

std::optional<std::u16string> environmentVariable(std::u16string_view name)
{
    char const * const value = std::getenv(nativeName(name).c_str());
    return value ? std::optional(systemText(value)) : std::nullopt;
}

void sleepMilliseconds(int milliseconds)
{
    std::timespec rest{milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
    while (::nanosleep(&rest, &rest) != 0 && errno == EINTR)
        ;
}

Result<std::u16string> executablePath()
{
    // readlink() truncates without an error, so a result that fills the buffer is not complete.
    for (std::string path(256, '\0');; path.resize(path.size() * 2)) {
        ssize_t const length = ::readlink("/proc/self/exe", path.data(), path.size());
        if (length < 0)
            return lastError("readlink");
        if (static_cast<std::size_t>(length) < path.size())
            return systemText(path.substr(0, static_cast<std::size_t>(length)));
    }
}

Result<std::u16string> absolutePath(char const * file)
{
    if (*file == '/')
        return systemText(file);
    auto const folder = currentFolder();
    if (!folder)
        return folder.error();
    return systemText(*folder + '/' + file);
}

Result<std::u16string> absolutePath(std::u16string_view name)
{
    if (name.starts_with(u'/'))
        return std::u16string(name);
    auto const folder = currentFolder();
    if (!folder)
        return folder.error();
    return nameText(*folder + '/').append(name);
}

std::u16string temporaryFolder()
{
    std::error_code error;
    auto const folder = std::filesystem::temp_directory_path(error);
    return error ? std::u16string(u"/tmp") : nameText(folder.native());
}

std::u16string_view folderOf(std::u16string_view path)
{
    return path.substr(0, path.rfind(u'/') + 1);
}

} // namespace ox::platform

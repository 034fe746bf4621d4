#include "shared/platform/windows/performance_query.h"

#include <charconv>

#include <windows.h>

namespace ox::platform
{
namespace
{

constexpr char step[] = "RegQueryValueExA";

} // namespace

Result<std::span<char const>> queryPerformanceData(Title object, std::span<char> buffer)
{
    char title[12]{};
    std::to_chars(title, title + sizeof title - 1, static_cast<std::uint32_t>(object));
    auto size = static_cast<DWORD>(buffer.size());
    LSTATUS const status = ::RegQueryValueExA(HKEY_PERFORMANCE_DATA, title, nullptr, nullptr,
                                              reinterpret_cast<BYTE *>(buffer.data()), &size);
    if (status != ERROR_SUCCESS)
        return Error{static_cast<int>(status), step};
    return std::span<char const>(buffer.first(size <= buffer.size() ? size : 0));
}

Error missingPerformanceData()
{
    return {ERROR_INVALID_DATA, step};
}

} // namespace ox::platform

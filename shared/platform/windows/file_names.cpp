#include "shared/platform/file_names.h"

#include "shared/platform/windows/utf16.h"

#include <algorithm>
#include <string>

#include <windows.h>

namespace ox::platform
{
namespace
{

/// Maximum length of a name without the prefix \\?\. The prefix removes the limit and requires a
/// full path. The value is the limit for creating a folder: MAX_PATH (260), less the terminator and
/// the 12 characters of a file name in the folder.
constexpr std::size_t longestPlainName = 247;

std::wstring fullName(std::wstring const & name)
{
    std::wstring full(32768, L'\0');
    full.resize(
        ::GetFullPathNameW(name.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full;
}

std::wstring withoutLimit(std::wstring name)
{
    if (name.size() <= longestPlainName || name.starts_with(LR"(\\?\)") ||
        name.starts_with(LR"(\\.\)"))
        return name;
    std::wstring const full = fullName(name);
    if (full.size() <= longestPlainName)
        return full;
    return full.starts_with(LR"(\\)") ? LR"(\\?\UNC)" + full.substr(1) : LR"(\\?\)" + full;
}

} // namespace

NativeName nativeName(std::u16string_view name)
{
    if (name.find(u'\0') != name.npos)
        return {};
    return withoutLimit(std::wstring(name.begin(), name.end()));
}

std::u16string recordText(std::string_view name)
{
    std::u16string wide;
    wide.reserve(name.size());
    for (char const c : name)
        wide.push_back(static_cast<unsigned char>(c));
    return wide;
}

std::u16string nameText(std::basic_string_view<NativeName::value_type> name)
{
    return toUtf16(name);
}

int widenSystemText(std::string_view text, unsigned short * units, int capacity)
{
    // The text is converted into a separate buffer, since MultiByteToWideChar fails if the result
    // does not fit.
    std::wstring wide(text.size(), L'\0');
    int const length = ::MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()),
                                             wide.data(), static_cast<int>(wide.size()));
    int const written = std::clamp(length, 0, std::max(capacity, 0));
    std::copy_n(wide.begin(), written, units);
    return written;
}

} // namespace ox::platform

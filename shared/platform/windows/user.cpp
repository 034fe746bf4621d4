#include "shared/platform/user.h"

#include "shared/platform/windows/handle.h"
#include "shared/platform/windows/registry.h"
#include "shared/platform/windows/utf16.h"

#include <vector>

#include <windows.h>

#include <sddl.h>
#include <shlobj.h>

extern "C" LONG NTAPI NtQueryKey(HANDLE key, int what, void * answer, ULONG room, ULONG * needed);

namespace ox::platform
{
namespace
{

UserAnswer failure(UserStep step, DWORD error)
{
    UserAnswer answer;
    answer.failedAt = step;
    answer.error = static_cast<int>(error);
    return answer;
}

/// The key of the registry that holds the settings bears the SID of their user.
UserAnswer settingsId()
{
    HKEY opened = nullptr;
    LONG const error = ::RegOpenCurrentUser(KEY_QUERY_VALUE, &opened);
    RegistryKey const key(opened);
    if (error != ERROR_SUCCESS)
        return failure(UserStep::OpenRegistry, static_cast<DWORD>(error));
    constexpr int keyNameInformation = 3;
    struct {
        ULONG bytes;
        wchar_t name[512];
    } info{};
    ULONG needed = 0;
    if (::NtQueryKey(key.get(), keyNameInformation, &info, sizeof info, &needed) != 0 ||
        info.bytes > sizeof info.name)
        return failure(UserStep::ReadValue, ERROR_INVALID_DATA);
    std::wstring_view const path(info.name, info.bytes / sizeof(wchar_t));
    return {toUtf16(path.substr(path.rfind(L'\\') + 1))};
}

UserAnswer processId()
{
    HANDLE const process = ::OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, ::GetCurrentProcessId());
    if (!process)
        return failure(UserStep::OpenProcess, ::GetLastError());
    Handle const openProcess(process);
    HANDLE token = nullptr;
    if (!::OpenProcessToken(process, TOKEN_QUERY, &token))
        return failure(UserStep::OpenToken, ::GetLastError());
    Handle const openToken(token);

    alignas(TOKEN_USER) BYTE user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD needed = 0;
    wchar_t * text = nullptr;
    if (!::GetTokenInformation(token, TokenUser, user, sizeof user, &needed) ||
        !::ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER const *>(user)->User.Sid, &text)) {
        UserAnswer answer = failure(UserStep::ReadToken, ::GetLastError());
        answer.needed = needed;
        answer.room = sizeof user;
        return answer;
    }
    UserAnswer answer{toUtf16(text)};
    ::LocalFree(text);
    return answer;
}

} // namespace

bool isAdministrator()
{
    SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
    PSID administrators = nullptr;
    BOOL isMember = FALSE;
    if (!::AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID,
                                    DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0, 0, &administrators))
        return false;
    bool const isKnown = ::CheckTokenMembership(nullptr, administrators, &isMember) != FALSE;
    ::FreeSid(administrators);
    return isKnown && isMember;
}

std::optional<std::u16string> userFolder(UserFolder folder)
{
    int const number = folder == UserFolder::LocalData     ? CSIDL_LOCAL_APPDATA
                       : folder == UserFolder::RoamingData ? CSIDL_APPDATA
                                                           : CSIDL_PROFILE;
    wchar_t path[MAX_PATH];
    if (::SHGetFolderPathW(nullptr, number, nullptr, SHGFP_TYPE_CURRENT, path) != S_OK)
        return std::nullopt;
    return toUtf16(path);
}

UserAnswer userId(UserOf which)
{
    return which == UserOf::Settings ? settingsId() : processId();
}

UserAnswer userHome(UserOf which)
{
    UserAnswer const id = userId(which);
    if (id.failedAt != UserStep::None)
        return id;
    std::wstring const path =
        L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList\\" + toWide(id.text);
    RegistryKey const profile(HKEY_LOCAL_MACHINE, path.c_str(), KEY_QUERY_VALUE);
    if (!profile.isOpen())
        return failure(UserStep::OpenRegistry, ERROR_FILE_NOT_FOUND);
    auto const home = profile.text(L"ProfileImagePath");
    return home ? UserAnswer{toUtf16(*home)} : failure(UserStep::ReadValue, ERROR_FILE_NOT_FOUND);
}

std::span<std::string_view const> desktopShells()
{
    static constexpr std::string_view names[] = {"EXPLORER.EXE"};
    return names;
}

bool mayBeDesktopUsers(std::uint32_t)
{
    return true; // the login screen has no shell
}

std::optional<InputTicks> inputTicks()
{
    LASTINPUTINFO input{sizeof input, 0};
    if (!::GetLastInputInfo(&input))
        return std::nullopt;
    return InputTicks{::GetTickCount(), input.dwTime};
}

} // namespace ox::platform

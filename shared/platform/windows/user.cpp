#include "shared/platform/user.h"

#include "shared/platform/windows/handle.h"
#include "shared/platform/windows/registry.h"
#include "shared/platform/windows/utf16.h"

#include <vector>

#include <windows.h>

#include <sddl.h>
#include <shlobj.h>

extern "C" LONG NTAPI NtQueryKey(HANDLE key, int what, void * answer, ULONG capacity,
                                 ULONG * needed);

namespace ox::platform
{
namespace
{

/// Returns the SID of the user whose settings the process uses: the name of the registry key that
/// HKEY_CURRENT_USER refers to.
Result<std::u16string> settingsId()
{
    HKEY opened = nullptr;
    LONG const error = ::RegOpenCurrentUser(KEY_QUERY_VALUE, &opened);
    RegistryKey const key(opened);
    if (error != ERROR_SUCCESS)
        return Error{static_cast<int>(error), openUserList};
    constexpr int keyNameInformation = 3;
    struct {
        ULONG bytes;
        wchar_t name[512];
    } info{};
    ULONG needed = 0;
    if (::NtQueryKey(key.get(), keyNameInformation, &info, sizeof info, &needed) != 0 ||
        info.bytes > sizeof info.name)
        return Error{ERROR_INVALID_DATA, readUserList};
    std::wstring_view const path(info.name, info.bytes / sizeof(wchar_t));
    return toUtf16(path.substr(path.rfind(L'\\') + 1));
}

Result<std::u16string> processId(TokenSize & size)
{
    HANDLE const process = ::OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, ::GetCurrentProcessId());
    if (!process)
        return lastError("OpenProcess");
    Handle const openProcess(process);
    HANDLE token = nullptr;
    if (!::OpenProcessToken(process, TOKEN_QUERY, &token))
        return lastError("OpenProcessToken");
    Handle const openToken(token);

    alignas(TOKEN_USER) BYTE user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD needed = 0;
    wchar_t * text = nullptr;
    if (!::GetTokenInformation(token, TokenUser, user, sizeof user, &needed) ||
        !::ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER const *>(user)->User.Sid, &text)) {
        size = {needed, sizeof user};
        return lastError(readToken);
    }
    std::u16string id = toUtf16(text);
    ::LocalFree(text);
    return id;
}

int folderNumber(UserFolder folder)
{
    switch (folder) {
    case UserFolder::LocalData:
        return CSIDL_LOCAL_APPDATA;
    case UserFolder::RoamingData:
        return CSIDL_APPDATA;
    case UserFolder::Home:
        break;
    }
    return CSIDL_PROFILE;
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

Result<std::u16string> userFolder(UserFolder folder)
{
    wchar_t path[MAX_PATH];
    HRESULT const error =
        ::SHGetFolderPathW(nullptr, folderNumber(folder), nullptr, SHGFP_TYPE_CURRENT, path);
    if (error != S_OK)
        return Error{static_cast<int>(error), "SHGetFolderPathW"};
    return toUtf16(path);
}

Result<std::u16string> userId(UserOf which, TokenSize & token)
{
    return which == UserOf::Settings ? settingsId() : processId(token);
}

Result<std::u16string> userHome(UserOf which, TokenSize & token)
{
    auto const id = userId(which, token);
    if (!id)
        return id;
    std::wstring const path =
        L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList\\" + toWide(*id);
    RegistryKey const profile(HKEY_LOCAL_MACHINE, path.c_str(), KEY_QUERY_VALUE);
    if (!profile.isOpen())
        return Error{ERROR_FILE_NOT_FOUND, openUserList};
    auto const home = profile.text(L"ProfileImagePath");
    if (!home)
        return Error{ERROR_FILE_NOT_FOUND, readUserList};
    return toUtf16(*home);
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

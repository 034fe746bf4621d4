#include "shared/platform/access_rights.h"

#include <memory>

#include <windows.h>

#include <aclapi.h>

namespace ox::platform
{
namespace
{

struct FreeLocal {
    void operator()(void * memory) const { ::LocalFree(memory); }
};
template <typename T>
using Local = std::unique_ptr<T, FreeLocal>;

bool succeeded(DWORD error)
{
    ::SetLastError(error);
    return error == ERROR_SUCCESS;
}

/// Adds an entry for everybody to the access list of a file or folder.
bool allowEverybody(NativeName const & name, DWORD rights, DWORD inheritance)
{
    SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
    SID everybody;
    ::InitializeSid(&everybody, &world, 1);
    *::GetSidSubAuthority(&everybody, 0) = SECURITY_WORLD_RID;

    std::wstring object = name;
    PACL present = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (!succeeded(::GetNamedSecurityInfoW(object.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                                           nullptr, nullptr, &present, nullptr, &descriptor)))
        return false;
    Local<void> const descriptorOwner(descriptor);
    if (!present) // without a list everybody may do everything
        return true;

    EXPLICIT_ACCESS_W entry = {};
    entry.grfAccessPermissions =
        FILE_GENERIC_READ | FILE_GENERIC_WRITE | FILE_GENERIC_EXECUTE | rights;
    entry.grfAccessMode = GRANT_ACCESS;
    entry.grfInheritance = inheritance;
    ::BuildTrusteeWithSidW(&entry.Trustee, &everybody);
    PACL merged = nullptr;
    if (!succeeded(::SetEntriesInAclW(1, &entry, present, &merged)))
        return false;
    Local<ACL> const mergedOwner(merged);
    return succeeded(::SetNamedSecurityInfoW(object.data(), SE_FILE_OBJECT,
                                             DACL_SECURITY_INFORMATION, nullptr, nullptr, merged,
                                             nullptr));
}

} // namespace

bool allowEverybodyToExecute(NativeName const & file)
{
    return allowEverybody(file, DELETE, NO_INHERITANCE);
}

bool allowEverybodyToFill(NativeName const & folder, bool inherit)
{
    return allowEverybody(folder, FILE_DELETE_CHILD,
                          inherit ? SUB_CONTAINERS_AND_OBJECTS_INHERIT : NO_INHERITANCE);
}

} // namespace ox::platform

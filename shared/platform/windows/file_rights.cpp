#include "shared/platform/windows/file_rights.h"

#include "shared/platform/files.h"

#include <memory>

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

Result<> resultOfCode(DWORD error)
{
    return error == ERROR_SUCCESS ? Result<>() : Result<>(Error{static_cast<int>(error)});
}

/// Adds an entry for all users to the access-control list of an object. `get` reads the list, `set`
/// writes it; both return the system's error code.
template <typename Get, typename Set>
Result<> allowEverybody(Get const & get, Set const & set, DWORD rights, DWORD inheritance)
{
    SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
    SID everybody;
    ::InitializeSid(&everybody, &world, 1);
    *::GetSidSubAuthority(&everybody, 0) = SECURITY_WORLD_RID;

    PACL present = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (Result<> const read = resultOfCode(get(&present, &descriptor)); !read)
        return read;
    Local<void> const descriptorOwner(descriptor);
    if (!present) // an object without a list grants all rights to all users
        return {};

    EXPLICIT_ACCESS_W entry = {};
    entry.grfAccessPermissions =
        FILE_GENERIC_READ | FILE_GENERIC_WRITE | FILE_GENERIC_EXECUTE | rights;
    entry.grfAccessMode = GRANT_ACCESS;
    entry.grfInheritance = inheritance;
    ::BuildTrusteeWithSidW(&entry.Trustee, &everybody);
    PACL merged = nullptr;
    DWORD const merging = ::SetEntriesInAclW(1, &entry, present, &merged);
    if (merging != ERROR_SUCCESS)
        return resultOfCode(merging);
    Local<ACL> const mergedOwner(merged);
    return resultOfCode(set(merged));
}

constexpr SECURITY_INFORMATION accessList = DACL_SECURITY_INFORMATION;

} // namespace

Result<> allowEverybodyToExecute(HANDLE file)
{
    return allowEverybody(
        [file](PACL * list, PSECURITY_DESCRIPTOR * descriptor) {
            return ::GetSecurityInfo(file, SE_FILE_OBJECT, accessList, nullptr, nullptr, list,
                                     nullptr, descriptor);
        },
        [file](PACL list) {
            return ::SetSecurityInfo(file, SE_FILE_OBJECT, accessList, nullptr, nullptr, list,
                                     nullptr);
        },
        DELETE, NO_INHERITANCE);
}

Result<> allowEverybodyToExecute(NativeName const & name)
{
    Handle const file(openFile(name, READ_CONTROL | WRITE_DAC, shareAll, OPEN_EXISTING,
                               FILE_FLAG_BACKUP_SEMANTICS));
    return file.isOpen() ? allowEverybodyToExecute(file.get()) : lastError();
}

Result<> allowEverybodyToFill(NativeName const & folder, bool inherit)
{
    // The list is set by name, since SetNamedSecurityInfoW also applies inheritable entries to the
    // existing content of the folder.
    std::wstring object = folder;
    return allowEverybody(
        [&](PACL * list, PSECURITY_DESCRIPTOR * descriptor) {
            return ::GetNamedSecurityInfoW(object.data(), SE_FILE_OBJECT, accessList, nullptr,
                                           nullptr, list, nullptr, descriptor);
        },
        [&](PACL list) {
            return ::SetNamedSecurityInfoW(object.data(), SE_FILE_OBJECT, accessList, nullptr,
                                           nullptr, list, nullptr);
        },
        FILE_DELETE_CHILD, inherit ? SUB_CONTAINERS_AND_OBJECTS_INHERIT : NO_INHERITANCE);
}

Result<> createFolderForEverybody(NativeName const & folder)
{
    Result<> const created = createFolder(folder);
    return created ? allowEverybodyToFill(folder, false) : created;
}

} // namespace ox::platform

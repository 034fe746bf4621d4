#include "shared/platform/processes.h"

#include "shared/platform/windows/handle.h"
#include "shared/platform/windows/process_handle.h"

#include <vector>

namespace ox::platform
{
namespace
{

ProcessOwner failedWith(DWORD error)
{
    ProcessOwner owner;
    owner.error = static_cast<int>(error);
    owner.kind = error == ERROR_ACCESS_DENIED ? ProcessOwner::AccessDenied
                 : error == ERROR_NONE_MAPPED ? ProcessOwner::NoAccount
                                              : ProcessOwner::Unknown;
    return owner;
}

/// The owner in a process's security descriptor, which `room` holds; null on failure.
PSID ownerOf(HANDLE process, std::vector<char> & room)
{
    DWORD size = 0;
    if (::GetKernelObjectSecurity(process, OWNER_SECURITY_INFORMATION, nullptr, 0, &size) ||
        ::GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return nullptr;
    room.resize(size);
    PSID owner = nullptr;
    BOOL isDefault = FALSE;
    bool const found =
        ::GetKernelObjectSecurity(process, OWNER_SECURITY_INFORMATION, room.data(), size, &size) &&
        ::GetSecurityDescriptorOwner(room.data(), &owner, &isDefault);
    return found && owner && ::IsValidSid(owner) ? owner : nullptr;
}

} // namespace

std::variant<ProcessOwners::AccountId, ProcessOwner> ProcessOwners::accountOf(std::uint32_t id)
{
    Handle const process(openProcess(READ_CONTROL, id));
    if (!process.isOpen())
        return ProcessOwner();
    std::vector<char> room;
    PSID const owner = ownerOf(process.get(), room);
    AccountId account{};
    if (!owner || !::CopySid(static_cast<DWORD>(account.size()), account.data(), owner))
        return failedWith(::GetLastError());
    return account;
}

ProcessOwner ProcessOwners::nameOf(AccountId const & account)
{
    std::array<wchar_t, 256> name{}, domain{};
    DWORD nameSize = 256, domainSize = 256;
    SID_NAME_USE use;
    AccountId copy = account;
    if (!::LookupAccountSidW(nullptr, copy.data(), name.data(), &nameSize, domain.data(),
                             &domainSize, &use))
        return failedWith(::GetLastError());
    ProcessOwner owner;
    std::array<char, 256> room;
    owner.setName(narrowed(name.data(), room));
    if (::lstrcmpiW(domain.data(), L"Builtin") == 0)
        owner.kind = ProcessOwner::BuiltInGroup;
    return owner;
}

} // namespace ox::platform

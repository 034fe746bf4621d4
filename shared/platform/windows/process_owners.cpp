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

/// Returns the owner in the security descriptor of a process; null on failure. The result points
/// into `buffer`.
PSID ownerOf(HANDLE process, std::vector<char> & buffer)
{
    DWORD size = 0;
    if (::GetKernelObjectSecurity(process, OWNER_SECURITY_INFORMATION, nullptr, 0, &size) ||
        ::GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return nullptr;
    buffer.resize(size);
    PSID owner = nullptr;
    BOOL isDefault = FALSE;
    bool const found = ::GetKernelObjectSecurity(process, OWNER_SECURITY_INFORMATION, buffer.data(),
                                                 size, &size) &&
                       ::GetSecurityDescriptorOwner(buffer.data(), &owner, &isDefault);
    return found && owner && ::IsValidSid(owner) ? owner : nullptr;
}

} // namespace

std::variant<ProcessOwners::AccountId, ProcessOwner> ProcessOwners::accountOf(std::uint32_t id)
{
    Handle const process(openProcess(READ_CONTROL, id));
    if (!process.isOpen())
        return ProcessOwner();
    std::vector<char> buffer;
    PSID const owner = ownerOf(process.get(), buffer);
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
    std::array<char, 256> buffer;
    owner.setName(narrowed(name.data(), buffer));
    if (::lstrcmpiW(domain.data(), L"Builtin") == 0)
        owner.kind = ProcessOwner::BuiltInGroup;
    return owner;
}

} // namespace ox::platform

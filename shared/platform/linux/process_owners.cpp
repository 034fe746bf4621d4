#include "shared/platform/processes.h"

#include <cerrno>
#include <charconv>
#include <cstring>

#include <pwd.h>
#include <sys/stat.h>

namespace ox::platform
{

/// Returns the effective user of a process: the owner of its folder in /proc, which is readable
/// even if the files in the folder are not.
std::variant<ProcessOwners::AccountId, ProcessOwner> ProcessOwners::accountOf(std::uint32_t id)
{
    char path[24] = "/proc/";
    *std::to_chars(path + 6, path + sizeof path - 1, id).ptr = 0;
    struct stat status {
    };
    if (::stat(path, &status) != 0)
        return ProcessOwner();
    AccountId account{};
    std::memcpy(account.data(), &status.st_uid, sizeof status.st_uid);
    return account;
}

ProcessOwner ProcessOwners::nameOf(AccountId const & account)
{
    uid_t number = 0;
    std::memcpy(&number, account.data(), sizeof number);
    passwd entry{};
    passwd * found = nullptr;
    std::array<char, 16384> texts;
    int const error = ::getpwuid_r(number, &entry, texts.data(), texts.size(), &found);
    ProcessOwner owner;
    owner.error = error;
    if (found)
        owner.setName(found->pw_name);
    else if (error == EACCES || error == EPERM)
        owner.kind = ProcessOwner::AccessDenied;
    else
        // NoAccount: the account has no name, or there is no user database.
        owner.kind = error == 0 || error == ENOENT || error == ESRCH ? ProcessOwner::NoAccount
                                                                     : ProcessOwner::Unknown;
    return owner;
}

} // namespace ox::platform

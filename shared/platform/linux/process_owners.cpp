#include "shared/platform/processes.h"

#include <cerrno>
#include <charconv>
#include <cstring>

#include <pwd.h>
#include <sys/stat.h>

namespace ox::platform
{

/// Returns the user of a process. The folder of a process in /proc belongs to its effective user,
/// even if its files are not readable.
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
        // An account without a name and a missing database are NoAccount. Other errors are Unknown
        // with their code.
        owner.kind = error == 0 || error == ENOENT || error == ESRCH ? ProcessOwner::NoAccount
                                                                     : ProcessOwner::Unknown;
    return owner;
}

} // namespace ox::platform

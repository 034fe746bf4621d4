#include "shared/platform/processes.h"

#include <algorithm>

namespace ox::platform
{

void ProcessOwner::setName(std::string_view text)
{
    kind = Account;
    name = {};
    std::copy_n(text.begin(), std::min(text.size(), name.size() - 1), name.begin());
}

ProcessOwner ProcessOwners::of(std::uint32_t id)
{
    auto const found = accountOf(id);
    if (auto const * const unavailable = std::get_if<ProcessOwner>(&found))
        return *unavailable;
    AccountId const & account = std::get<AccountId>(found);
    auto const end = known_.begin() + static_cast<std::ptrdiff_t>(count_);
    auto const known = std::find_if(known_.begin(), end,
                                    [&account](Known const & k) { return k.account == account; });
    if (known != end)
        return known->owner;
    ProcessOwner const owner = nameOf(account);
    if (count_ < known_.size())
        known_[count_++] = {account, owner};
    return owner;
}

} // namespace ox::platform

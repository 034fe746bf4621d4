#pragma once

#include "shared/platform/user.h"

#include <string_view>

namespace ox::platform
{

/// The lowest id of an account that a person logs on with: UID_MIN in the text of /etc/login.defs,
/// 1000 where it has none.
std::uint32_t firstUserId(std::string_view loginDefs);

} // namespace ox::platform

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ox::tool
{

/// Returns the name that a user probably meant: the only one that begins with the given text,
/// otherwise the one with the fewest typing errors, up to a third of its letters. Empty if no name
/// is near.
std::string nearestName(std::string_view given, std::vector<std::string> const & names);

} // namespace ox::tool

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ox::tool
{

/// Returns the name that a user probably meant: the only name that begins with `given`, otherwise
/// the name with the fewest typing errors. Accepts one error, or errors in a third of the letters
/// if that is more. Returns an empty text if no name is near.
std::string nearestName(std::string_view given, std::vector<std::string> const & names);

} // namespace ox::tool

#include "oxtool/command_line/nearest.h"

#include <algorithm>

namespace ox::tool
{
namespace
{

/// Returns the number of inserted, deleted, replaced and swapped letters between two texts (the
/// optimal string alignment distance).
std::size_t distance(std::string_view a, std::string_view b)
{
    std::vector<std::vector<std::size_t>> cost(a.size() + 1,
                                               std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t k = 0; k <= b.size(); ++k) {
            if (i == 0 || k == 0) {
                cost[i][k] = i + k;
                continue;
            }
            std::size_t const replaced = cost[i - 1][k - 1] + (a[i - 1] == b[k - 1] ? 0 : 1);
            cost[i][k] = std::min({cost[i - 1][k] + 1, cost[i][k - 1] + 1, replaced});
            bool const isSwapped = i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1];
            if (isSwapped)
                cost[i][k] = std::min(cost[i][k], cost[i - 2][k - 2] + 1);
        }
    }
    return cost[a.size()][b.size()];
}

} // namespace

std::string nearestName(std::string_view given, std::vector<std::string> const & names)
{
    constexpr std::size_t longest = 40; // limits the time for a long argument
    // Dashes alone get no suggestion, since every option begins with "--".
    if (given.size() > longest || given.find_first_not_of('-') == std::string_view::npos)
        return {};
    auto const begins = [given](std::string const & name) { return name.starts_with(given); };
    if (std::ranges::count_if(names, begins) == 1)
        return *std::ranges::find_if(names, begins);
    std::string nearest;
    std::size_t least = longest;
    for (std::string const & name : names) {
        std::size_t const errors = distance(given, name);
        if (errors < least && errors <= std::max<std::size_t>(1, name.size() / 3)) {
            least = errors;
            nearest = name;
        }
    }
    return nearest;
}

} // namespace ox::tool

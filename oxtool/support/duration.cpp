#include "oxtool/support/duration.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace ox::tool
{
namespace
{

using std::chrono::milliseconds;
using namespace std::chrono_literals;

constexpr milliseconds day = 24h;
constexpr milliseconds longest = 10000 * day;

struct Unit {
    char const * name;
    milliseconds length;
};

constexpr Unit units[] = {{"ms", 1ms}, {"s", 1s}, {"min", 1min}, {"h", 1h}, {"d", day}};

bool isPartOfNumber(QChar letter)
{
    return (letter >= u'0' && letter <= u'9') || letter == u'.';
}

/// Returns the length of the unit `name`: `bare` for an empty name, 0 for an unknown unit.
milliseconds lengthOf(QString const & name, milliseconds bare)
{
    auto const unit = std::find_if(std::begin(units), std::end(units), [&](Unit const & each) {
        return name == QLatin1String(each.name);
    });
    return unit != std::end(units) ? unit->length : name.isEmpty() ? bare : 0ms;
}

} // namespace

std::optional<milliseconds> parseDuration(QString const & text, milliseconds unit)
{
    auto const end = std::find_if_not(text.begin(), text.end(), isPartOfNumber);
    auto const digits = static_cast<int>(end - text.begin());
    bool isNumber = false;
    double const number = text.left(digits).toDouble(&isNumber);
    milliseconds const length = lengthOf(text.mid(digits), unit);
    double const result = std::round(number * static_cast<double>(length.count()));
    if (!isNumber || length == 0ms || result > static_cast<double>(longest.count()))
        return std::nullopt;
    return milliseconds(static_cast<milliseconds::rep>(result));
}

} // namespace ox::tool

#pragma once

#include "shared/text/fixed_string8.h"

#include <ctime>

/// The texts of calendar fields in file names. They allocate nothing, so a crash can be named.
namespace ox::time
{

using FileNameText = _oxString8_evenSize<50>;

/// 1114_090507
FileNameText fileNameText(std::tm const & fields);
/// 261114_0905
FileNameText fileNameTextYearMinute(std::tm const & fields);

} // namespace ox::time

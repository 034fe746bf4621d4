#pragma once

#include "shared/text/fixed_string8.h"

#include <ctime>

/// Texts of local times for file names. These functions allocate no memory, so the crash handler
/// can use them.
namespace ox::time
{

using FileNameText = _oxString8_evenSize<50>;

/// Returns month, day, hour, minute and second of `fields` with two digits each: "1114_090507".
FileNameText fileNameText(std::tm const & fields);
/// Returns year, month, day, hour and minute of `fields` with two digits each: "261114_0905".
FileNameText fileNameTextYearMinute(std::tm const & fields);

} // namespace ox::time

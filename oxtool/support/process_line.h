#pragma once

#include "shared/system/process_list.h"

#include <QString>

namespace ox::tool
{

/// Returns the column titles of processLine(): "    PID  PARENT  USER  MIB  <figures>  NAME".
QString processHeading(QString const & figures);

/// Returns "84 processes", or "1000 of 1079 processes" if not all are listed.
QString processCount(int listed, int total);

/// Returns the line of a process. The user is "-" for a process that the library has not read.
QString processLine(_oxProcessEntry const & entry, QString const & figures);

} // namespace ox::tool

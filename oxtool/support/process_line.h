#pragma once

#include "shared/system/process_list.h"

#include <QString>

namespace ox::tool
{

/// "    PID  PARENT  USER  MIB  <figures>  NAME", the heading of such lines.
QString processHeading(QString const & figures);

/// "84 processes", or "1000 of 1079 processes" when not all are listed.
QString processCount(int listed, int total);

/// A process on a line, with "-" for the user of one that the library did not read.
QString processLine(_oxProcessEntry const & entry, QString const & figures);

} // namespace ox::tool

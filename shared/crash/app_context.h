#pragma once

#include "shared/text/fixed_string8.h"
#include "shared/time/time_value.h"

/// Where an application's log lines go. Each application has its own.
class oxLogger
{
  public:
    /// Writes one line. `level` tells how grave it is: 0 information, 1 warning, 2 error. `flag`
    /// asks for the line to be in the file when the call returns.
    ///
    /// After a crash it is called in a process whose heap and whose locks may be unusable: it then
    /// may do no more than write to a file that it has open, and is given up when it crashes or
    /// takes three seconds. On Windows the call then comes on a thread of its own. Keep it the
    /// first virtual function; the farm's applications are built apart from the library.
    virtual void log(int level, _oxString8_evenSize<500> const & text, bool flag) = 0;

  protected:
    ~oxLogger() = default;
};

/// What the library knows of the application that it is in. An application fills it in before it
/// hands it over, and keeps it until its end.
struct __OX {
    _oxTime startTime;                  ///< when the application started; stays first
    oxLogger * logger{};                ///< may be null: nothing is logged
    _oxString8_evenSize<250> logFolder; ///< with or without a separator at its end
    _oxString8_evenSize<250> logFile;   ///< the log file's name, with or without its folder
};

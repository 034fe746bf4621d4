#pragma once

#include "shared/text/fixed_string8.h"
#include "shared/time/time_value.h"

/// Receives the log lines of the library. Each application implements it.
class oxLogger
{
  public:
    /// Writes one line. `level` is 0 for information, 1 for a warning, 2 for an error. If `flag` is
    /// true, the line must be in the file when the call returns.
    ///
    /// After a crash the heap and any lock may be unusable, so a call may only write to a file that
    /// is already open. A call that crashes or takes three seconds is abandoned. On Windows the
    /// call runs on a separate thread. `log` must stay the first virtual function, since
    /// applications are built separately from the library and depend on the order of the virtual
    /// functions.
    virtual void log(int level, _oxString8_evenSize<500> const & text, bool flag) = 0;

  protected:
    ~oxLogger() = default;
};

/// Context of the application. The application fills it before oxCrashHandler::init and keeps it
/// until the process ends.
struct __OX {
    _oxTime startTime;                  ///< start of the application; must be the first member
    oxLogger * logger{};                ///< null: nothing is logged
    _oxString8_evenSize<250> logFolder; ///< with or without a separator at its end
    _oxString8_evenSize<250> logFile;   ///< name of the log file, with or without its folder
};

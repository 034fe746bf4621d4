#pragma once

#include "shared/crash/app_context.h"
#include "shared/export.h"
#include "shared/platform/types.h"
#include "shared/text/fixed_string.h"

#include <QString>

/// Writes a minidump when the process crashes, and on demand.
///
///     int main(int argc, char ** argv)
///     {
///         static MyLogger logger;
///         static __OX context{_oxTime(true), &logger, logFolder, "client.txt"};
///         oxCrashHandler::instance()->init(context, argc, argv);
///
/// Each dump is written into the dump folder under a name of the dump library (ending in ".dmp"),
/// and then gets its final name:
///
///     client__dump_1114_090507_7.0.26_261114_0905_64.oxdmp
///
/// that is the log file's name without ".txt", the local time of the dump (month, day, hour,
/// minute, second), the library's version, the local time of the application's start (year to
/// minute), and the width of the build. A name that is taken is never overwritten: the dump gets
/// that of the next free second, and keeps its first name when there is none within a minute.
///
/// Two lines go to the log: "crash detected true" (or "false", when no dump could be written, which
/// ends it) and 200 ms later, when the dump has its final name, "wrote dumpfile to " with its path.
/// The process then ends as it would without the handler. When several threads crash, the first one
/// has its dump and the others wait for the end. The process ends half a minute after the crash at
/// the latest, also when the dump folder does not answer.
///
/// Threads: every function may be called from any thread.
class OX_EXPORT oxCrashHandler
{
  public:
    /// The one object, made by the first call. At the process's end it takes the handler away.
    static oxCrashHandler * instance();

    oxCrashHandler(oxCrashHandler const &) = delete;
    oxCrashHandler & operator=(oxCrashHandler const &) = delete;

    /// Remembers the context and, the first time, installs the handler. The dump folder is "sub"
    /// and in it "log" beside the folder "bin" that the executable is in or below ("_debug" in that
    /// path becomes "_release", so debug builds use the release's folder), if it exists, or else
    /// the system's folder for temporary files. The context must live until the process ends.
    /// `argv` is the program's, or null. When several threads call it at once, the first one
    /// installs the handler, and the context of the last one holds.
    ///
    /// The time zone is read here: dumps are named by its rules for the next five years.
    void init(__OX & context, int argc, char ** const argv);

    /// Prepares the calling thread for its stack being used up, which on Linux no dump can be
    /// written of otherwise. `init` does it for its own thread; call it at the start of every other
    /// one that may recurse deeply.
    static void prepareThread();

    /// Sets the dump folder once the handler is installed. It must exist when a dump is written. An
    /// empty path is the system's folder for temporary files. A path that the dump library cannot
    /// take (more than 218 characters on Windows, 1000 bytes on Linux) leaves the folder unchanged.
    void setDumpPath(QString const & path);
    /// Sets the dump folder to the log folder of the context, in the same way.
    void setDumpPathDefault();

    /// Whether a crash goes on to the handlers that were there before, and on Windows to the
    /// system's error reporting, after its dump. It does not by default. It always does when the
    /// dump failed. On Linux the process ends by the crash's signal in any case, and the system
    /// writes its core dump as it is configured to (`ulimit -c`, `kernel.core_pattern`).
    void setReportCrashesToSystem(bool on);

    /// Writes a dump of the process as it is, and returns whether that could be done. The log line
    /// then is "crash detected truedump called", without a blank between the two, deliberately: the
    /// farm compares these texts across versions. The dump's exception is 0xC0000025.
    bool writeMinidump();
    /// Writes a dump for an exception; null stands for none, as in `writeMinidump`.
    bool WriteMinidumpForException(EXCEPTION_POINTERS * exinfo);

  private:
    oxCrashHandler() = default;
    ~oxCrashHandler();
};

/// For the filter of a structured exception handling block: writes a dump, gives the sentence for
/// the exception's code, and returns 1, which makes the block's handler run.
OX_EXPORT unsigned long filter(EXCEPTION_POINTERS * exinfo, _oxString<250> & message);

/// Always the empty text: stack traces are read from the dumps.
OX_EXPORT QString oxOutputStackTrace(int depth);

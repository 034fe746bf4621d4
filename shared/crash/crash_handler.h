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
/// A dump is first written to the dump folder under a temporary name (ending in ".dmp"). The dump
/// then gets its final name:
///
///     client__dump_1114_090507_7.0.26_261114_0905_64.oxdmp
///
/// The parts are the log file's name without ".txt", the local time of the dump (month, day, hour,
/// minute, second), the library's version, the local time of the application's start (year to
/// minute), and the word size of the build. Existing files are never overwritten: if the name
/// exists, the dump gets the name of the next free second. If no second within a minute is free,
/// the dump keeps its temporary name.
///
/// Two lines are logged. The first is "crash detected true", or "crash detected false" if no dump
/// could be written. The second follows 200 ms later, after the rename: "wrote dumpfile to " with
/// the path. The process then ends in the same way as without the handler. If several threads
/// crash, the first one is dumped and the others wait until the process ends. The process ends a
/// minute after the crash at the latest, even when the dump folder does not respond.
///
/// Threads: every function may be called from any thread.
class OX_EXPORT oxCrashHandler
{
  public:
    /// Returns the only object, which the first call creates. The handler is removed at the end of
    /// the process.
    static oxCrashHandler * instance();

    oxCrashHandler(oxCrashHandler const &) = delete;
    oxCrashHandler & operator=(oxCrashHandler const &) = delete;

    /// Sets the context and, at the first call, installs the handler. The context must exist until
    /// the process ends. `argc` and `argv` are those of main(); `argv` may be null.
    ///
    /// The dump folder is "sub/log" beside the last folder "bin" in the path of the executable. If
    /// "sub/log" does not exist, the dump folder is the system's temporary folder. "_debug" in the
    /// executable's path is replaced by "_release", so that debug builds use the release's folder.
    ///
    /// Reads the time zone's offsets of the next five years, for the local times in names of dumps.
    /// Threads: if several threads call it at once, the first call installs the handler, and the
    /// context of the last call is used.
    void init(__OX & context, int argc, char ** const argv);

    /// Prepares the calling thread for a stack overflow. On Linux a thread that is not prepared
    /// writes no dump of its stack overflow. `init` prepares its own thread; call prepareThread()
    /// at the start of every other thread that may recurse deeply.
    static void prepareThread();

    /// Sets the dump folder of an installed handler. The folder must exist when a dump is written.
    /// An empty path sets the system's temporary folder. A path that is too long (more than 218
    /// characters on Windows, 1000 bytes on Linux) leaves the folder unchanged.
    void setDumpPath(QString const & path);
    /// Sets the dump folder to `logFolder` of the context, by the rules of setDumpPath.
    void setDumpPathDefault();

    /// Sets whether a crash is passed on after its dump. It is passed on to the previous handlers
    /// and, on Windows, also to the system's error reporting. Off by default. A crash whose dump
    /// failed is always passed on. On Linux the process ends by the signal of the crash in any
    /// case, and the system writes a core dump if it is configured to (`ulimit -c`,
    /// `kernel.core_pattern`).
    void setReportCrashesToSystem(bool on);

    /// Writes a dump of the running process, with the exception code 0xC0000025. Returns whether
    /// this succeeded.
    /// Compatibility: the log line is "crash detected truedump called", without a blank between the
    /// two parts, since the farm compares these texts across versions.
    bool writeMinidump();
    /// Writes a dump for an exception; for null it does the same as writeMinidump(). Returns
    /// whether this succeeded.
    bool WriteMinidumpForException(EXCEPTION_POINTERS * exinfo);

  private:
    oxCrashHandler() = default;
    ~oxCrashHandler();
};

/// Filter for a structured exception handling block: writes a dump, sets `message` to the text of
/// the exception code, and returns 1, so that the block's handler runs.
OX_EXPORT unsigned long filter(EXCEPTION_POINTERS * exinfo, _oxString<250> & message);

/// Always returns the empty text. To get a stack trace, read the dump with a debugger.
OX_EXPORT QString oxOutputStackTrace(int depth);

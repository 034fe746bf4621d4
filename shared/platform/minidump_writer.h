#pragma once

#include "shared/platform/files.h"
#include "shared/platform/types.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace ox::platform
{

/// Maximum length of the dump folder's path in units. On Windows the dump library silently
/// truncates the file name of a dump whose folder has a longer path.
#ifdef _WIN32
inline constexpr std::size_t longestDumpFolder = 218;
#else
inline constexpr std::size_t longestDumpFolder = 1000;
#endif

/// Why a dump is written.
enum class DumpReason {
    Crash,     ///< the process ends after the dump
    Exception, ///< on demand, for a given exception
    Request,   ///< on demand, without an exception
};

/// Result of an attempt to write a dump.
struct WrittenDump {
    NativeChar const * file; ///< full path of the dump
    DumpReason reason;       ///< why the dump was written
    bool succeeded;          ///< whether the dump was written
};

/// Writes the process's minidumps: of every crash automatically, and on demand. Only one object may
/// exist.
///
/// A crash is anything for which the system or the run-time library ends the process: an invalid
/// access, an illegal instruction, a division by zero, abort(), an uncaught exception. The process
/// then ends as it does without the writer. If several threads crash, the first one is dumped, and
/// the others wait for the end of the process. The process ends after a minute at the latest:
/// by SIGKILL on Linux, with the exit code of the crash on Windows.
class MinidumpWriter
{
  public:
    /// Called after each attempt to write a dump. For a dump on demand, write() returns the
    /// callback's result. For a crash, the result false passes the crash on to the previous
    /// handlers and to the system. After a crash the heap and any lock may be unusable. On Linux
    /// the callback then runs inside a signal handler.
    using Callback = bool (*)(WrittenDump const & dump);

    /// Installs the crash handlers. `folder` is an absolute path without a separator at its end, of
    /// at most longestDumpFolder units. If the folder does not exist, no dump is written, but the
    /// callback is called.
    MinidumpWriter(NativeName const & folder, Callback callback);
    ~MinidumpWriter();
    MinidumpWriter(MinidumpWriter const &) = delete;
    MinidumpWriter & operator=(MinidumpWriter const &) = delete;

    /// Sets another dump folder: an absolute path without a separator at its end, of at most
    /// longestDumpFolder units.
    void setFolder(NativeName const & folder);

    /// Writes a dump of the running process, as if the calling thread had an exception with this
    /// `code`. Returns the result of the callback.
    bool write(std::uint32_t code);
    /// Writes a dump for an exception of the calling thread. Returns the result of the callback;
    /// false if the exception has no record or no context.
    bool write(EXCEPTION_POINTERS & exception);

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

/// Calls `work(data)` after a crash. Returns true if `work` returns normally. Abandons `work` and
/// returns false if it crashes, calls abort() or takes longer than three seconds, for example
/// because it waits for a lock that a crashed thread holds.
bool runGuarded(void (*work)(void *), void * data);

/// Returns the code of an exception; 0 if `ExceptionRecord` is null.
std::uint32_t exceptionCode(EXCEPTION_POINTERS const & exception);

/// Reserves stack memory for the calling thread's crash handler, so that a stack overflow of the
/// thread can be handled. Further calls by the same thread have no effect.
void prepareThreadForCrash();

} // namespace ox::platform

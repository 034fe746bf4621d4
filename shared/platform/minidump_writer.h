#pragma once

#include "shared/platform/files.h"
#include "shared/platform/types.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace ox::platform
{

/// The longest dump folder, in units. The dump library of Windows would cut the name of a file in a
/// longer one without a word.
#ifdef _WIN32
inline constexpr std::size_t longestDumpFolder = 218;
#else
inline constexpr std::size_t longestDumpFolder = 1000;
#endif

enum class DumpReason {
    Crash,     ///< the process ends after it
    Exception, ///< asked for, for the exception that was given
    Request,   ///< asked for, without an exception
};

/// A dump that was written, or could not be.
struct WrittenDump {
    NativeChar const * file; ///< the full path that it was written to
    DumpReason reason;
    bool succeeded;
};

/// Writes the process's minidumps: of every crash by itself, and on demand. Only one may exist.
///
/// A crash is what the system or the run-time library ends the process for: an invalid access, an
/// illegal instruction, a division by zero, abort(), an exception that nobody catches. The process
/// then ends as it would without the dump. When several threads crash, the first one is written and
/// the others wait for the end of the process. The end comes after half a minute at the latest: by
/// SIGKILL on Linux, with the exit code of the crash on Windows.
class MinidumpWriter
{
  public:
    /// Called after each attempt to write a dump. The result is that of the calls that ask for a
    /// dump; after a crash false passes the crash on to whoever handled it before, and to the
    /// system. After a crash the heap and any lock may be unusable, and on Linux the call runs
    /// inside a signal handler.
    using Callback = bool (*)(WrittenDump const & dump);

    /// The folder is an absolute path without a separator at its end and not longer than
    /// longestDumpFolder. Without it there are no dumps, but the callback is called all the same.
    MinidumpWriter(NativeName const & folder, Callback callback);
    ~MinidumpWriter();
    MinidumpWriter(MinidumpWriter const &) = delete;
    MinidumpWriter & operator=(MinidumpWriter const &) = delete;

    /// Takes another folder, under the same conditions.
    void setFolder(NativeName const & folder);

    /// Writes a dump of the process as it is: of the calling thread, as if it had an exception of
    /// this code.
    bool write(std::uint32_t code);
    /// Writes a dump for an exception of the calling thread. Fails without its record or context.
    bool write(EXCEPTION_POINTERS & exception);

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

/// Runs `work` for the callback after a crash, and gives it up when it crashes in turn, calls
/// abort() or has not ended after three seconds, as when it waits for a lock that the crash left
/// taken. Whether it came to its end.
bool runGuarded(void (*work)(void *), void * data);

/// 0 without a record.
std::uint32_t exceptionCode(EXCEPTION_POINTERS const & exception);

/// Gives the calling thread, once, the room that it needs to report that its stack is used up.
void prepareThreadForCrash();

} // namespace ox::platform

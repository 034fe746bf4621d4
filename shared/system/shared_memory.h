#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string8.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>

namespace ox::platform
{
class SharedSegment;
struct Error;
template <typename Value>
class Result;
} // namespace ox::platform

/// A named block of memory in which the farm's processes on one machine exchange state.
///
/// One process creates the segment of a key, the others attach to it. It lives as long as a process
/// has it. A global segment is seen by services and desktop users alike, a local one by the session
/// (on Linux by the user) only. A byte in front of the data is an advisory lock, which all who use
/// the segment respect. docs/shared_memory.md describes both, and what they do not promise.
/// A global segment trusts all who may open it; on Linux they may also cut it, which ends attached
/// processes.
///
///     oxSharedMemory memory("ClientState");
///     if (!memory.attach() && !memory.create(sizeof(State), true, true))
///         report(memory.errorString());
///     else if (memory.lock()) {
///         std::memcpy(memory.bytes().data(), &state, sizeof state);
///         memory.unlock();
///     }
///
/// `create`, `attach`, `detach`, `lock` and `unlock` return whether they succeeded; `error` and
/// `errorString` tell of the last of these calls only. An object is used by one thread at a time.
/// Programs that the process starts do not inherit the segment; a process forked without a new
/// program must leave the object to its parent.
class OX_EXPORT oxSharedMemory
{
  public:
    enum Error {
        NoError = 0,
        OwnError = -1, ///< refused here, not by the system
        AlreadyExists = 4,
        DoesNotExist = 5, ///< of `attach`; from `create` 5 is the system's number, as any other
    };

    /// Builds the names; creates nothing. Keys that agree in their first 232 characters have the
    /// same global name.
    explicit oxSharedMemory(_oxString8_evenSize<250> const & key);
    /// Unlocks if locked by this object, and detaches.
    ~oxSharedMemory();
    oxSharedMemory(oxSharedMemory const &) = delete;
    oxSharedMemory & operator=(oxSharedMemory const &) = delete;

    /// Creates the segment with `size` bytes of zeros, 1 at least, and attaches to it. Refuses a
    /// segment that exists already, with the error AlreadyExists: who wants that one attaches.
    ///
    /// With `global` the segment is the machine-wide one; when the user may not create that and
    /// `fallBackToLocal` is set, the local one is created instead. On Windows only services and
    /// elevated programs may create global segments.
    bool create(int size, bool global, bool fallBackToLocal);

    /// Attaches to the segment that another has created: the one which this object has used before,
    /// else the global one, else the local one. Detaches first.
    bool attach();

    /// Unlocks if locked by this object, and gives the segment back. The last process to do so ends
    /// it. Nothing to detach is a success.
    bool detach();

    bool isAttached() const;

    /// The data behind the header. Null when not attached, which is an error.
    void const * data();
    /// The same for writing. Empty when not attached.
    std::span<std::byte> bytes();

    /// Number of data bytes: what `create` was asked for; to who attached, all there is up to the
    /// end of the last memory page. -9 before the first of these calls; detaching keeps it.
    int size() const { return mappedSize_ - headerSize; }

    /// Takes the lock. Waits about two seconds while another has it. The lock is advisory, and two
    /// who ask at the same instant may both get it; a holder that dies leaves it taken.
    bool lock();
    /// Gives up the lock that this object took.
    bool unlock();
    /// Whether somebody has the lock, be it this object or another.
    bool isLocked() const;

    int error() const { return errorCode_; }
    _oxString8_evenSize<250> errorString() const { return errorText_; }

    _oxString8_evenSize<250> const & localName() const { return localName_; }
    _oxString8_evenSize<250> const & globalName() const { return globalName_; }
    /// Which of the two names the last `create` or `attach` used; true before.
    bool usesGlobalName() const { return useGlobalName_; }

  private:
    static constexpr int headerSize = 8; // the lock byte and seven reserved zeros

    void clearError();
    bool fail(char const * text);
    bool failInSystem(char const * step, ox::platform::Error const & error);
    bool map();
    /// Unlocks and detaches; leaves the error as it is.
    ox::platform::Result<void> release();

    /// The name of that kind, which becomes the one in use.
    std::string choose(bool global);

    _oxString8_evenSize<250> localName_;
    _oxString8_evenSize<250> globalName_;
    _oxString8_evenSize<250> errorText_;
    int errorCode_ = NoError;
    int mappedSize_ = -1; // with the header
    bool lockedByUs_ = false;
    bool useGlobalName_ = true;
    bool nameKindKnown_ = false;
    std::unique_ptr<ox::platform::SharedSegment> segment_;
};

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

/// Named block of memory in which the farm's processes on one machine exchange state.
///
/// One process creates the segment of a key, the others attach to it. The segment exists as long as
/// a process is attached. Services and desktop users can attach to a global segment. Only processes
/// of the same session (Windows) or user (Linux) can attach to a local segment. A byte before the
/// data is an advisory lock, which all users of the segment must respect. docs/shared_memory.md
/// describes the protocol and its limits. Every process that may open a global segment can change
/// its content. On Linux it can also truncate the segment, which ends attached processes.
///
///     oxSharedMemory memory("ClientState");
///     if (!memory.attach() && !memory.create(sizeof(State), true, true))
///         report(memory.errorString());
///     else if (memory.lock()) {
///         std::memcpy(memory.bytes().data(), &state, sizeof state);
///         memory.unlock();
///     }
///
/// A child process that starts another program does not inherit the segment. A child process that
/// is only forked (fork without exec) must not use the object.
/// Fails: `create`, `attach`, `detach`, `lock` and `unlock` return false; `error` and `errorString`
/// describe the last of these calls.
/// Threads: one thread at a time.
class OX_EXPORT oxSharedMemory
{
  public:
    /// Codes of `error` in addition to those of the system.
    enum Error {
        NoError = 0,       ///< the last call succeeded
        OwnError = -1,     ///< refused by this class, not by the system
        AlreadyExists = 4, ///< create(): the segment exists already
        DoesNotExist =
            5, ///< attach(): the segment does not exist; after create() the code 5 is the system's
    };

    /// Sets the names of the segment; creates nothing. Keys of up to 232 characters have distinct
    /// names. Keys that agree in the first 240 characters have the same global name. Keys that
    /// agree in the first 247 characters also have the same local name.
    explicit oxSharedMemory(_oxString8_evenSize<250> const & key);
    /// Releases the lock, if this object holds it, and detaches.
    ~oxSharedMemory();
    oxSharedMemory(oxSharedMemory const &) = delete;
    oxSharedMemory & operator=(oxSharedMemory const &) = delete;

    /// Creates the segment with `size` (at least 1) zero bytes and attaches to it. With `global`
    /// the segment is machine-wide. If the user may not create a global segment and
    /// `fallBackToLocal` is true, creates a local segment instead. On Windows only services and
    /// elevated programs may create global segments.
    /// Fails: with AlreadyExists when the segment exists; with OwnError for a `size` out of range
    /// or an object that is already attached; otherwise with the system's code.
    bool create(int size, bool global, bool fallBackToLocal);

    /// Detaches, and attaches to an existing segment. If create() was called before, or an earlier
    /// attach() succeeded, uses the name of that call, global or local. Otherwise opens the global
    /// segment or, if this fails, the local segment.
    /// Fails: with DoesNotExist when the segment does not exist; otherwise with the system's code.
    bool attach();

    /// Releases the lock, if this object holds it, and detaches. The last process that detaches
    /// removes the segment. Succeeds when not attached.
    bool detach();

    /// Returns whether the object is attached to a segment.
    bool isAttached() const;

    /// Returns the first data byte.
    /// Fails: returns null, with OwnError, when not attached.
    void const * data();
    /// Returns the data for reading and writing; empty when not attached.
    std::span<std::byte> bytes();

    /// Number of data bytes: after `create` the requested size; after `attach` the size up to the
    /// end of the last memory page. Before the first create() or attach() the number is -9. A
    /// detach() does not change the number.
    int size() const { return mappedSize_ - headerSize; }

    /// Takes the lock. Waits up to two seconds while another process holds it. The lock is
    /// advisory. Two processes that take it at the same moment may both succeed. The lock stays
    /// taken if its holder dies.
    /// Fails: with OwnError when the time runs out, when not attached, or when this object already
    /// holds the lock.
    bool lock();
    /// Releases the lock.
    /// Fails: with OwnError when not attached, or when this object does not hold the lock.
    bool unlock();
    /// Returns whether any process, including this process, holds the lock.
    bool isLocked() const;

    /// Error code of the last call: one of Error, or the system's code.
    int error() const { return errorCode_; }
    /// Error text of the last call; empty if it succeeded.
    _oxString8_evenSize<250> errorString() const { return errorText_; }

    /// Name of the local segment.
    _oxString8_evenSize<250> const & localName() const { return localName_; }
    /// Name of the global segment.
    _oxString8_evenSize<250> const & globalName() const { return globalName_; }
    /// Returns whether the last `create` or `attach` used the global name; true before the first of
    /// these calls.
    bool usesGlobalName() const { return useGlobalName_; }

  private:
    static constexpr int headerSize = 8; // the lock byte and seven reserved zeros

    void clearError();
    bool fail(char const * text);
    bool failInSystem(char const * step, ox::platform::Error const & error);
    bool map();
    /// Releases the lock and detaches; does not change the error.
    ox::platform::Result<void> release();

    /// Selects the global or the local name and returns it.
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

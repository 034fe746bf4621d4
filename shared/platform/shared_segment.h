#pragma once

#include "shared/platform/result.h"

#include <cstddef>
#include <memory>
#include <string>

namespace ox::platform
{

/// A named block of memory that processes on one machine share, mapped into this one.
///
/// The promise: a segment lives exactly as long as somebody has it open, also when a process dies;
/// of all who create one under the same name at the same time, one does; it begins as zeros; and no
/// access to the view fails for want of memory. Programs that this process starts do not inherit
/// it.
///
/// Opening and mapping are two steps, since each can fail for reasons of its own.
class SharedSegment
{
  public:
    /// Who can open a segment.
    enum class Reach {
        Global, ///< all interactive users, the system and the services
        Local   ///< Windows: the session; elsewhere: the user
    };

    SharedSegment();
    /// Closes the segment.
    ~SharedSegment();
    SharedSegment(SharedSegment const &) = delete;
    SharedSegment & operator=(SharedSegment const &) = delete;

    /// Prepares, once, what lets everybody in to a global segment; to be called before one is
    /// created. The error names the step that failed.
    Result<> prepareGlobalAccess();

    /// Creates a segment that has room for `size` bytes. Only while not open.
    /// Fails: with AlreadyExists when somebody has one of that name, with AccessDenied when the
    /// user may not create one, and for other reasons of the system.
    Result<> create(std::string const & name, Reach reach, std::size_t size);

    /// Opens a segment that somebody has open. Only while not open.
    /// Fails: with an error of which isMissing() is true when nobody has, and for other reasons of
    /// the system.
    Result<> open(std::string const & name, Reach reach);

    /// Whether an error of open() means that nobody has the segment open.
    /// Compatibility: narrower than NotFound, since a name with a path of its own that does not
    /// exist keeps the system's number.
    static bool isMissing(Error const & error);

    bool isOpen() const;

    /// Maps the whole segment for reading and writing. Only while open and not mapped.
    Result<> map();

    /// The first byte; null while not mapped.
    void * view() const { return view_; }
    /// The size of the mapped region in whole pages.
    Result<std::size_t> viewSize() const;

    /// Unmaps and closes the segment. After a failure isOpen() returns whether there is still
    /// something to close.
    Result<> close();

  private:
    struct System;

    std::unique_ptr<System> system_;
    void * view_ = nullptr;
};

} // namespace ox::platform

#pragma once

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
/// Opening and mapping are two steps, since each can fail for reasons of its own. Where a step
/// fails, the system's last error tells why.
class SharedSegment
{
  public:
    /// Who can open a segment.
    enum class Reach {
        Global, ///< all interactive users, the system and the services
        Local   ///< Windows: the session; elsewhere: the user
    };

    enum class Attempt { Done, Exists, NotFound, AccessDenied, Failed };

    SharedSegment();
    /// Closes the segment.
    ~SharedSegment();
    SharedSegment(SharedSegment const &) = delete;
    SharedSegment & operator=(SharedSegment const &) = delete;

    /// Prepares, once, what lets everybody in to a global segment; to be called before one is
    /// created. Null, or the name of the step that failed.
    char const * prepareGlobalAccess();

    /// Creates a segment that has room for `size` bytes. Only while not open.
    Attempt create(std::string const & name, Reach reach, std::size_t size);

    /// Opens a segment that somebody has open. Only while not open.
    Attempt open(std::string const & name, Reach reach);

    bool isOpen() const;

    /// Maps the whole segment for reading and writing. Only while open and not mapped.
    bool map();

    /// The first byte; null while not mapped.
    void * view() const { return view_; }
    /// The size of the mapped region in whole pages; 0 when the system does not tell.
    std::size_t viewSize() const;

    /// Unmaps and closes the segment. False when the system refused that; isOpen() tells whether
    /// there is still something to close.
    bool close();

  private:
    struct System;

    std::unique_ptr<System> system_;
    void * view_ = nullptr;
};

} // namespace ox::platform

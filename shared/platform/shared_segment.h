#pragma once

#include "shared/platform/result.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace ox::platform
{

/// Named block of memory that processes on one machine share, mapped into this process.
///
/// A segment exists exactly as long as a process has it open; the end of a process, even by a
/// crash, closes its segments. If several processes create a segment with the same name at the same
/// time, one of them succeeds. A new segment contains zeros. All its memory is allocated when it is
/// created, so no later access fails for lack of memory. Child processes do not inherit segments.
///
/// Opening and mapping are two steps, since each has its own errors.
class SharedSegment
{
  public:
    /// Who can open a segment.
    enum class Reach {
        Global, ///< all interactive users, the system and the services
        Local   ///< Windows: processes of the same session; Linux: processes of the same user
    };

    /// Creates an object without a segment.
    SharedSegment();
    /// Closes the segment.
    ~SharedSegment();
    SharedSegment(SharedSegment const &) = delete;
    SharedSegment & operator=(SharedSegment const &) = delete;

    /// Builds the access rights for global segments. Call it before creating a global segment;
    /// further calls have no effect.
    /// Fails: with the name of the failed system call in Error::step.
    Result<> prepareGlobalAccess();

    /// Creates a segment of `size` bytes. Call it only while no segment is open.
    /// Fails: with AlreadyExists when another process has a segment of that name, with AccessDenied
    /// when the user may not create it, or with another error of the system.
    Result<> create(std::string const & name, Reach reach, std::size_t size);

    /// Opens a segment that another process has open. Call it only while no segment is open.
    /// Fails: with an error for which isMissing() is true when no process has the segment open.
    /// Otherwise fails with the error of the failed system call.
    Result<> open(std::string const & name, Reach reach);

    /// A segment as list() returns it.
    struct Listed {
        std::string name; ///< for open()
        Reach reach;
    };
    /// Returns the segments whose names, without "Global\", begin with `prefix`: all global ones
    /// and the local ones that this process can open. A segment may disappear at any time; on Linux
    /// the list also contains objects that no process has open.
    /// Fails: when the system does not list segments.
    static Result<std::vector<Listed>> list(std::string const & prefix);

    /// Returns whether an error of open() means that no process has the segment open.
    /// Compatibility: on Windows, false for ERROR_PATH_NOT_FOUND. The caller reports this error
    /// with its code.
    static bool isMissing(Error const & error);

    /// Returns whether a segment is open.
    bool isOpen() const;

    /// Maps the whole segment for reading and writing. Call it only while a segment is open and not
    /// mapped.
    Result<> map();

    /// Returns the address of the mapped memory; null while the segment is not mapped.
    void * view() const { return view_; }
    /// Returns the size of the mapped region in bytes, in whole pages.
    Result<std::size_t> viewSize() const;

    /// Unmaps and closes the segment.
    /// Fails: with the error of the failed system call; isOpen() then returns whether the segment
    /// is still open.
    Result<> close();

  private:
    struct System;

    std::unique_ptr<System> system_;
    void * view_ = nullptr;
};

} // namespace ox::platform

#pragma once

#include <array>
#include <atomic>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace ox::platform
{

/// Reserves the descriptors that a dump needs, so that a dump can be written even if the process
/// has no free descriptors.
class SpareDescriptors
{
  public:
    SpareDescriptors() { reserve(); }
    ~SpareDescriptors() { release(); }
    SpareDescriptors(SpareDescriptors const &) = delete;
    SpareDescriptors & operator=(SpareDescriptors const &) = delete;

    /// Opens the reserved descriptors that are not open. Does not occupy the numbers 0 to 2 of the
    /// standard streams.
    void reserve()
    {
        for (std::atomic<int> & spare : descriptors_) {
            if (spare >= 0)
                continue;
            int const opened = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
            spare = ::fcntl(opened, F_DUPFD_CLOEXEC, firstOwnNumber);
            ::close(opened);
        }
    }

    /// Closes the reserved descriptors. A descriptor that the application has closed and reused for
    /// another file stays open.
    void release()
    {
        for (std::atomic<int> & spare : descriptors_) {
            int const descriptor = spare.exchange(-1);
            if (isNullDevice(descriptor))
                ::close(descriptor);
        }
    }

  private:
    static constexpr int firstOwnNumber = 3;

    static bool isNullDevice(int descriptor)
    {
        struct stat file {
        };
        return ::fstat(descriptor, &file) == 0 && S_ISCHR(file.st_mode) &&
               file.st_rdev == makedev(1, 3);
    }

    /// The descriptors that a dump needs: two for the pipe to the process that writes the dump, one
    /// for the dump, one for a file of /proc.
    std::array<std::atomic<int>, 4> descriptors_ = {-1, -1, -1, -1};
};

} // namespace ox::platform

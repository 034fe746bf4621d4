#pragma once

#include <cerrno>
#include <utility>

#include <unistd.h>

namespace ox::platform
{

/// An open file, closed at the end of the scope; errno survives that.
class Descriptor
{
  public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor()
    {
        int const error = errno;
        close();
        errno = error;
    }
    Descriptor(Descriptor const &) = delete;
    Descriptor & operator=(Descriptor const &) = delete;

    int get() const { return descriptor_; }
    bool isOpen() const { return descriptor_ >= 0; }

    /// Hands the open file over to the caller.
    int release() { return std::exchange(descriptor_, -1); }
    /// False when the system reports only now that something could not be written.
    bool close() { return !isOpen() || ::close(release()) == 0; }

  private:
    int descriptor_;
};

} // namespace ox::platform

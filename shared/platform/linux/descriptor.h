#pragma once

#include <cerrno>
#include <utility>

#include <unistd.h>

namespace ox::platform
{

/// An open descriptor, which is closed at the end of the scope. The destructor does not change
/// errno.
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
    Descriptor(Descriptor && other) noexcept : descriptor_(other.release()) {}

    int get() const { return descriptor_; }
    bool isOpen() const { return descriptor_ >= 0; }

    /// Returns the descriptor; the caller must close it.
    int release() { return std::exchange(descriptor_, -1); }
    /// Closes the descriptor. Returns false if close() fails: a share may report only then that
    /// data was not written.
    bool close() { return !isOpen() || ::close(release()) == 0; }

  private:
    int descriptor_;
};

} // namespace ox::platform

#pragma once

#include "shared/platform/files.h"
#include "shared/platform/os_error.h"

#include <cstdio>
#include <memory>

namespace ox::detail
{

/// Leaves the last error as it is, since a stream is also closed after a read or write failed.
struct CloseStream {
    void operator()(std::FILE * stream) const
    {
        platform::KeptError const kept;
        std::fclose(stream);
    }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

/// Opens a file whose every read and write goes straight to the system, so that a full disk shows
/// at the write that it cuts short. Null on failure, with the system's last error set.
inline Stream openUnbuffered(platform::NativeName const & name, platform::StreamMode mode)
{
    Stream stream(platform::openStream(name, mode));
    if (stream)
        std::setvbuf(stream.get(), nullptr, _IONBF, 0);
    return stream;
}

/// Closes a stream. False when the system reports only now that something could not be written.
inline bool closeStream(Stream & stream)
{
    return std::fclose(stream.release()) == 0;
}

} // namespace ox::detail

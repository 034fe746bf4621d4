#pragma once

#include "shared/platform/native_name.h"

#include <cstdint>
#include <cstdio>
#include <optional>

namespace ox::platform
{

struct FileStatus {
    bool isFolder;
    std::int64_t size;     ///< in bytes
    std::int64_t modified; ///< last write, seconds since 1970-01-01 UTC
};

/// Asks for everything about a name at once, since each question is a round trip to the share.
/// Empty when the name does not exist or cannot be opened; the system's last error tells why.
std::optional<FileStatus> fileStatus(NativeName const & name);

enum class StreamMode { Read, Write, Append };

/// Opens a file in binary form. Write truncates or creates, Append creates. Null on failure, with
/// the system's last error set. The stream is not inherited by child processes.
std::FILE * openStream(NativeName const & name, StreamMode mode);

} // namespace ox::platform

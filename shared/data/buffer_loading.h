#pragma once

#include "shared/data/data_buffer.h"
#include "shared/platform/files.h"

#include <cstdint>
#include <optional>

// Loads plain buffer files with one open of the name, for callers that need the file's status as
// well.

namespace ox::data
{

/// Loads as _OX_DataBuffer::loadFromFile. Sets `status` to that of the loaded file; also after a
/// failure if the file exists.
bool loadFile(_OX_DataBuffer & buffer, platform::NativeName const & name, bool withHeader,
              std::optional<platform::FileStatus> & status);

/// Loads as _OX_DataBuffer::loadFromFile, from the current position of an open file. `fileSize` is
/// the number of bytes from there to its end.
/// Fails: also with NotOpened for a file that could not be opened.
bool loadOpenFile(_OX_DataBuffer & buffer, platform::Result<platform::OpenFile> file,
                  std::int64_t fileSize, bool withHeader);

} // namespace ox::data

#pragma once

#include "shared/data/data_buffer.h"
#include "shared/platform/files.h"

#include <cstdint>
#include <optional>

// Loads plain buffer files for callers that also need the file's status. Each file is opened once.

namespace ox::data
{

/// Loads a file as _OX_DataBuffer::loadFromFile does. Sets `status` to the status of the file, even
/// if loading fails. If the file does not exist, `status` has no value afterwards.
bool loadFile(_OX_DataBuffer & buffer, platform::NativeName const & name, bool withHeader,
              std::optional<platform::FileStatus> & status);

/// Loads an open file as _OX_DataBuffer::loadFromFile does, from its current position. `fileSize`
/// is the number of bytes from the current position to the end of the file.
/// Fails: as _OX_DataBuffer::loadFromFile; with NotOpened if `file` contains an error.
bool loadOpenFile(_OX_DataBuffer & buffer, platform::Result<platform::OpenFile> file,
                  std::int64_t fileSize, bool withHeader);

} // namespace ox::data

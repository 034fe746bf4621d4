#pragma once

#include <QString>

#include <cstdint>

namespace ox::tests
{

/// The threads and the exception of a minidump.
struct DumpContent {
    bool isDump = false;
    std::uint32_t code = 0;
    std::uint32_t thread = 0;      ///< id of the thread with the exception
    std::uint32_t firstThread = 0; ///< id of the first thread of the process
    std::uint32_t threadCount = 0;
};

/// Reads the header, the list of threads and the exception of a minidump.
DumpContent readDump(QString const & file);

} // namespace ox::tests

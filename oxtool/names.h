#pragma once

#include "shared/platform/native_name.h"
#include "shared/text/fixed_string8.h"

#include <QString>

#include <cstdio>
#include <memory>
#include <string>

namespace ox::tool
{

/// A file name for the operating system.
platform::NativeName nativeName(QString const & path);

/// A file name for the library's records. Fails when the record cannot hold it, where a cut name
/// would be another file's.
_oxString8_evenSize<500> recordName(QString const & path);

struct CloseStream {
    void operator()(std::FILE * stream) const { std::fclose(stream); }
};
using InputStream = std::unique_ptr<std::FILE, CloseStream>;

/// Opens a file for reading. Null on failure, with the system's last error set.
InputStream openInput(QString const & path);

/// The message of the system call that has just failed: "Error 13: Permission denied."
QString lastSystemMessage();

/// Whether a system error says that there is no such file.
bool isNotFound(int systemError);

/// Texts of the command line are UTF-8.
inline QString fromArgument(std::string const & argument)
{
    return QString::fromStdString(argument);
}

} // namespace ox::tool

#pragma once

#include "shared/data/data_buffer.h"

#include <QByteArray>
#include <QString>

namespace ox::tests
{

/// Returns the bytes of a file, or nothing if the file is not readable.
QByteArray contentOf(QString const & file);

/// Returns the bytes of a text file, with each CR LF converted to LF.
QByteArray linesOf(QString const & file);

/// Returns the bytes of a buffer.
QByteArray contentOf(_OX_DataBuffer const & buffer);

/// Writes a file and returns its name. The test fails if the file is not writable.
QString writeFile(QString const & file, QByteArray const & content = "content");

} // namespace ox::tests

#pragma once

#include "shared/data/data_buffer.h"

#include <QByteArray>
#include <QString>

namespace ox::tests
{

/// The bytes of a file; empty when it cannot be read.
QByteArray contentOf(QString const & file);

/// The bytes of a text file, with the line ends of Unix on every system.
QByteArray linesOf(QString const & file);

/// The bytes in a buffer.
QByteArray contentOf(_OX_DataBuffer const & buffer);

/// Writes a whole file and returns its name. The test fails when the file cannot be written.
QString writeFile(QString const & file, QByteArray const & content = "content");

} // namespace ox::tests

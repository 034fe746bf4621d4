#pragma once

#include "shared/platform/open_file.h"

#include <QByteArray>
#include <QString>

#include <functional>

namespace ox::tool
{

/// Reads the bytes that are appended to a file. Compares the content to detect that the file was
/// truncated or replaced: a share may report the same file number for the previous and the new
/// file.
class GrowingFile
{
  public:
    enum class Change { None, Grown, Restarted, Missing };

    /// Receives new bytes, at most 1 MiB per call.
    using Receive = std::function<void(QByteArray const &)>;

    explicit GrowingFile(QString const & path) : path_(path) {}

    /// Sets the position to the end of the file.
    /// Fails: throws Failure when the file cannot be read.
    void skipToEnd();

    /// If the file begins with the content of `copy`, sets the position to the size of `copy` and
    /// returns true; otherwise leaves the position at 0. Compares only the first and the last 4 KiB
    /// of the copy.
    /// Fails: throws Failure when one of the files cannot be read.
    bool skipCopied(QString const & copy);

    /// Calls `receive` with the bytes that were appended since the last poll. If the file was
    /// truncated or replaced, calls `restart` first, then `receive` with the whole content. If the
    /// file does not exist, returns Missing and keeps the position, since a program may be
    /// replacing the file.
    /// Fails: throws Failure when the file cannot be read.
    Change poll(std::function<void()> const & restart, Receive const & receive);

    /// Number of bytes that were read or skipped.
    qint64 position() const { return position_; }

    /// Sets the position to 0, so that the next poll reads the whole file.
    void rewind();

  private:
    QByteArray read(platform::OpenFile & file, qint64 position, qint64 size) const;
    void remember(QByteArray const & bytes);
    bool isSameContent(platform::OpenFile & file, qint64 size) const;

    QString path_;
    qint64 position_ = 0;
    qint64 lastSize_ = -1;
    qint64 lastModified_ = -1;
    QByteArray head_; ///< first bytes of the file, up to the position
    QByteArray tail_; ///< last bytes before the position
};

} // namespace ox::tool

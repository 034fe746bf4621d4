#pragma once

#include "shared/platform/open_file.h"

#include <QByteArray>
#include <QString>

#include <functional>

namespace ox::tool
{

/// Reads what a file gains. It detects by the content when the file begins anew, because it has
/// become shorter or another file has its name: a share may report the same file number for both.
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

    /// Sets the position to the size of `copy`, if the copy is a beginning of the file; otherwise
    /// the position stays 0. Returns whether it is one.
    /// Fails: throws Failure when one of the files cannot be read.
    bool skipCopied(QString const & copy);

    /// Passes the bytes since the last call to `receive`. If the file begins anew, calls `restart`
    /// first. A file that does not exist has the change Missing and keeps the position, since a
    /// program may be replacing it.
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
    QByteArray head_; ///< first bytes before the position
    QByteArray tail_; ///< last bytes before the position
};

} // namespace ox::tool

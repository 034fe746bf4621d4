#pragma once

#include "oxtool/stop.h"

#include <QString>

namespace ox::tool
{

/// A file that comes into being whole or not at all. It is written under a name of its own in the
/// folder of the file it will be, and until `commit` every way out removes it.
class OutputFile
{
  public:
    /// Fails when there is something at `path` that is no file.
    explicit OutputFile(QString const & path);

    /// The name to write to.
    QString const & temporaryName() const { return temporaryName_; }

    /// Gives the file, before it is written, the permissions of the one whose place it will take,
    /// and its owner and group where the system lets the process do that. Fails when
    /// that one is write-protected, and with the system's message.
    void keepPermissions() const;

    /// Writes the whole content. Fails with the system's message.
    void write(unsigned char * bytes, qint64 size) const;

    /// Gives the file its own name, in place of what had it. Fails with the system's message.
    void commit();

    /// For the user, what there is under the file's name as long as nothing is committed.
    QString whatIsLeft() const;

  private:
    QString path_;
    QString temporaryName_;
    Holding holding_;
};

} // namespace ox::tool

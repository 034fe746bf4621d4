#pragma once

#include "oxtool/support/progress.h"
#include "shared/platform/new_file.h"

#include <mutex>
#include <vector>

namespace ox::tool
{

/// Counts the files and bytes of a transfer, which may use several threads, for a progress line.
class Transfer
{
  public:
    /// Adds a file of `size` bytes to the expected amount. Call it before the transfer begins.
    void expect(qint64 size);

    /// A file that is being copied. Its bytes are counted as they arrive in the copy. At the end of
    /// the scope the whole file is counted.
    class File
    {
      public:
        File(Transfer & transfer, platform::NewFile const & copy, qint64 size);
        ~File();
        File(File const &) = delete;
        File & operator=(File const &) = delete;

      private:
        Transfer & transfer_;
        platform::NewFile const & copy_;
        qint64 const size_;
    };

    /// Returns the current amount.
    Progress::Amount amount() const;

  private:
    mutable std::mutex mutex_;
    Progress::Amount counted_;
    std::vector<platform::NewFile const *> large_; ///< large files in transfer
};

} // namespace ox::tool

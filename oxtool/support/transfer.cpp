#include "oxtool/support/transfer.h"

#include "shared/text/mebibytes.h"

#include <algorithm>

namespace ox::tool
{
namespace
{

/// File size in bytes from which the progress counts the bytes of a growing copy. A smaller file is
/// counted when its copy is complete, since each query of the copy's size takes a round trip to the
/// share.
constexpr qint64 largeSize = text::bytesOfMebibytes(8);

} // namespace

void Transfer::expect(qint64 size)
{
    std::lock_guard const guard(mutex_);
    ++counted_.allFiles;
    counted_.allBytes += size;
}

Transfer::File::File(Transfer & transfer, platform::NewFile const & copy, qint64 size)
    : transfer_(transfer), copy_(copy), size_(size)
{
    std::lock_guard const guard(transfer_.mutex_);
    if (size_ >= largeSize)
        transfer_.large_.push_back(&copy_);
}

Transfer::File::~File()
{
    std::lock_guard const guard(transfer_.mutex_);
    std::erase(transfer_.large_, &copy_);
    ++transfer_.counted_.files;
    transfer_.counted_.bytes += size_;
}

Progress::Amount Transfer::amount() const
{
    std::lock_guard const guard(mutex_);
    Progress::Amount amount = counted_;
    for (platform::NewFile const * const copy : large_)
        amount.bytes += copy->size().value_or(0);
    return amount;
}

} // namespace ox::tool

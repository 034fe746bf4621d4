#include "oxtool/support/verification.h"

namespace ox::tool
{
namespace
{

using Verdict = Verification::Verdict;

void load(QString const & path, Format format)
{
    _OX_DataBuffer loaded;
    loadQuietly(path, format, loaded);
    _OX_DataBuffer payload;
    if (format == Format::CompressAndSave)
        decompressQuietly(path, loaded, payload);
}

Verification verifyOnce(QString const & path)
{
    Verification result;
    try {
        result.format = detectFormat(path);
        if (result.format)
            load(path, *result.format);
        else
            result.verdict = Verdict::OtherFormat;
    } catch (Failure const & failure) {
        result.verdict = failure.status() == Damaged ? Verdict::Damaged : Verdict::Unreadable;
        result.failure = failure.text();
        result.status = failure.status();
    }
    return result;
}

} // namespace

Verification verifyFile(QString const & path)
{
    Verification const first = verifyOnce(path);
    return first.verdict == Verdict::Damaged ? verifyOnce(path) : first;
}

} // namespace ox::tool

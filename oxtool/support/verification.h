#pragma once

#include "oxtool/support/buffer_file.h"

#include <QString>

#include <optional>

namespace ox::tool
{

/// Result of the check of one file.
struct Verification {
    enum class Verdict { Intact, Damaged, Unreadable, OtherFormat };

    Verdict verdict = Verdict::Intact;
    std::optional<Format> format = {}; ///< empty if it could not be detected
    QString failure = {};              ///< message about a damaged or unreadable file
    int status = Done;                 ///< exit status that belongs to `failure`
};

/// Checks the content of a file as the loaders do: the CRC, and the compressed data if there is
/// any. A damaged file is checked a second time, since a process may be writing it. Writes no
/// output.
/// Threads: may be called on several threads; each call needs memory for one whole file.
Verification verifyFile(QString const & path);

} // namespace ox::tool

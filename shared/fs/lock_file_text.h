#pragma once

#include "shared/time/time_value.h"

#include <QString>

#include <string>
#include <string_view>

// Writes and parses the text in a lock file. docs/lock_files.md describes it.

namespace ox::fs
{

inline constexpr std::string_view holderLabel = "\n File locked by: ";
inline constexpr std::string_view timeLabel = "\n Time locked: ";

/// Returns the text of a lock file.
inline std::string lockFileText(QString const & who, _oxTime const & since)
{
    std::string text(holderLabel);
    text += who.toLatin1().toStdString();
    text += timeLabel;
    text += since.asString().toLatin1().toStdString();
    text += "\nInfo: This lock file should only exist a few seconds for config files.\n\n";
    return text;
}

/// Returns the holder's description from the text of a lock file. The description may have several
/// lines. If the text does not have the form of lockFileText(), returns an empty description.
inline QString holderIn(std::string_view text)
{
    if (!text.starts_with(holderLabel))
        return {};
    text.remove_prefix(holderLabel.size());
    text = text.substr(0, text.rfind(timeLabel));
    return QString::fromLatin1(text.data(), static_cast<int>(text.size()));
}

} // namespace ox::fs

#include "shared/fs/file.h"

#include "shared/platform/clock.h"
#include "shared/platform/files.h"
#include "shared/platform/open_file.h"
#include "shared/system/os_error.h"
#include "shared/text/mebibytes.h"
#include "shared/text/native_path.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

using ox::platform::Content;
using ox::platform::ErrorKind;
using ox::platform::FileStatus;
using ox::platform::fileStatus;
using ox::platform::kindOf;
using ox::platform::NameKind;
using ox::platform::NativeName;
using ox::platform::OpenFile;
using ox::platform::reportToThread;
using ox::platform::Result;
using ox::platform::secondsFrom1601To1970;
using ox::platform::statusOfFile;
using ox::platform::ticksPerSecond;
using ox::platform::Writers;
using ox::text::nativePath;
using ox::text::ownSeparator;

namespace
{

bool isFile(NativeName const & name, _oxTime * time = nullptr, __int64 * size = nullptr)
{
    auto const status = statusOfFile(name);
    if (!status)
        return false;
    if (time)
        *time = _oxTime(static_cast<__int64>(status->modified), true);
    if (size)
        *size = status->size;
    return true;
}

bool isFolder(NativeName const & name)
{
    return kindOf(name) == NameKind::Folder;
}

template <typename View>
bool isFolderPath(View path)
{
    if (path.size() < 3)
        return false;
    if (path.back() == ox::platform::ownSeparator)
        path.remove_suffix(1);
    return isFolder(ox::platform::nativeName(path));
}

/// Deletes a file if it exists. Returns the text of the failure without a closing dot.
QString deleteExisting(NativeName const & name)
{
    if (!isFile(name) || reportToThread(ox::platform::deleteFile(name)))
        return {};
    return QStringLiteral("Unable to delete file, ") + QString(oxLastOSError());
}

/// Creates one folder. Succeeds if another process creates the same folder at the same time.
bool makeFolder(QString const & path)
{
    NativeName const name = nativePath(path);
    if (isFolder(name))
        return true;
    Result<> const created = ox::platform::createFolder(name);
    return created || isFolder(name) || reportToThread(created);
}

} // namespace

bool oxFileExists(_oxString<500> const & name)
{
    return kindOf(nativePath(name)) == NameKind::File;
}

bool oxFileExists(_oxString8_evenSize<500> const & name, _oxTime * time, __int64 * size)
{
    return isFile(nativePath(name), time, size);
}

bool oxFileExists(_oxString8_evenSize<250> const & name, _oxTime * time, __int64 * size)
{
    return isFile(nativePath(name), time, size);
}

bool oxFileExists(_oxString<500> const & name, _oxTime * time, __int64 * size)
{
    return isFile(nativePath(name), time, size);
}

bool oxFileExists(QString name, _oxTime * time, __int64 * size)
{
    return oxFileExists(_oxString<500>(name), time, size);
}

bool oxDirectoryExists(_oxString8_evenSize<500> const & path)
{
    return isFolderPath(path.view());
}

bool oxDirectoryExists(_oxString8_evenSize<250> const & path)
{
    return isFolderPath(path.view());
}

bool oxDirectoryExists(_oxString8_evenSize<200> const & path)
{
    return isFolderPath(path.view());
}

bool oxDirectoryExists(_oxString<500> const & path)
{
    return isFolderPath(path.view());
}

bool oxDirectoryExists(QString const & path)
{
    return isFolderPath(ox::text::viewOf(path));
}

bool oxDirectoryExists(char const * path)
{
    // The 500-byte string would truncate a longer path, which could then name another folder.
    return path && std::strlen(path) <= 500 && oxDirectoryExists(_oxString8_evenSize<500>(path));
}

_oxString<500> oxDeleteFile(_oxString<500> const & name)
{
    return _oxString<500>(deleteExisting(nativePath(name)));
}

QString oxDeleteFile(QString const & name)
{
    QString const failure = deleteExisting(nativePath(name));
    return failure.isEmpty() ? failure : failure + u'.';
}

bool oxDeleteFolder(QString const & path)
{
    return reportToThread(ox::platform::deleteFolder(nativePath(path)));
}

bool oxCreateFolder(QString const & path, bool withParents)
{
    if (path.size() <= 3 || makeFolder(path))
        return true;
    if (!withParents)
        return false;
    bool const isShare = path[0] == ownSeparator && path[1] == ownSeparator;
    auto end = path.indexOf(ownSeparator, isShare ? 2 : 0);
    if (isShare && end >= 0)
        end = path.indexOf(ownSeparator, end + 1); // skips the server, which is not a folder
    for (; end >= 0; end = path.indexOf(ownSeparator, end + 1)) {
        if (!makeFolder(path.left(end + 1)))
            return false;
    }
    return makeFolder(path);
}

bool oxRenameFile(QString const & from, QString const & to, bool overwrite)
{
    NativeName const source = nativePath(from);
    NativeName const target = nativePath(to);
    if (isFile(target)) {
        if (!overwrite)
            return false;
        if (source == target)
            return true;
        Result<FileStatus> const status = fileStatus(source);
        if (status && !status->isFolder)
            return reportToThread(ox::platform::moveOver(source, target));
        // If the source's status is not readable, the source may exist, so the target stays.
        if (!status && status.error().kind() != ErrorKind::NotFound)
            return reportToThread(status);
        static_cast<void>(ox::platform::deleteFile(target));
        return false;
    }
    return isFile(source) && reportToThread(ox::platform::moveFile(source, target));
}

bool oxSetFileTime(QString const & name, _oxTime * time)
{
    return reportToThread(ox::platform::setFileTimes(
        nativePath(name), time ? std::optional(time->value) : std::nullopt));
}

QString oxWriteBufferToFile(QString name, unsigned char * data, __int64 size)
{
    constexpr __int64 largestPiece = 0x400000;
    Result<OpenFile> file = openForWriting(nativePath(name), Content::Emptied, Writers::Refused);
    if (!reportToThread(file))
        return QStringLiteral("Unable to write/open file: ") + QString(oxLastOSError());

    __int64 done = 0;
    __int64 piece = 0;
    Result<> result;
    for (; result && done < size; done += piece) {
        piece = std::min(largestPiece, size - done);
        result = file->write(reinterpret_cast<char const *>(data + done),
                             static_cast<std::size_t>(piece));
    }
    // A share may report a full disk only when the file is closed.
    Result<> const closed = file->close();
    if (reportToThread(result ? closed : result))
        return {};
    return QStringLiteral("Unable to write %1b (%2/%3 done): ")
               .arg(piece)
               .arg(done - piece)
               .arg(std::max<__int64>(size, 0)) +
           QString(oxLastOSError());
}

bool writeToLogFile(_oxString8_evenSize<250> const & name, _oxString8_evenSize<3000> line,
                    bool overwrite, bool addTime)
{
    return writeToLogFile(ox::text::fileNameText(name), line, overwrite, addTime);
}

bool writeToLogFile(QString const & name, _oxString8_evenSize<3000> line, bool overwrite,
                    bool addTime)
{
    _oxString8_evenSize<3000> text;
    if (addTime)
        text.add(_oxTime(true).asOX8String().c_str()).add(": ");
    text.add(line);
    text = text.left(text.capacity() - 1); // the line break needs one byte
    text += '\n';

    Result<OpenFile> file = openForWriting(
        nativePath(name), overwrite ? Content::Emptied : Content::Kept, Writers::Allowed);
    if (!file)
        return reportToThread(file);
    std::string const lines = ox::platform::textForFile(text.view());
    Result<> const written = file->write(lines.data(), lines.size());
    Result<> const closed = file->close();
    return reportToThread(written ? closed : written);
}

unsigned int oxGetFreeDriveSpaceMB(QString path)
{
    constexpr unsigned int unknown = 1000;
    if (path.size() < 3)
        return unknown;
    Result<std::uint64_t> const bytes = ox::platform::freeBytes(nativePath(path));
    if (!bytes)
        return unknown;
    return static_cast<unsigned int>(std::min<std::uint64_t>(
        ox::text::wholeMebibytes(*bytes), std::numeric_limits<unsigned int>::max()));
}

QString setExecutable_Rights(QString name, bool verbose)
{
    if (!ox::platform::hasExecutableBits) {
        if (verbose)
            std::fputs("Not required on windows\n", stdout);
        return {};
    }
    if (reportToThread(ox::platform::makeExecutable(nativePath(name))))
        return {};
    return QStringLiteral("Unable to set executable rights, ") + QString(oxLastOSError());
}

// On Windows FILETIME is an incomplete type here, so its two halves are copied as bytes.

void timeToFileTime(__int64 seconds, FILETIME * fileTime)
{
    auto const ticks =
        (static_cast<std::uint64_t>(seconds) + secondsFrom1601To1970) * ticksPerSecond;
    std::uint32_t const halves[] = {static_cast<std::uint32_t>(ticks),
                                    static_cast<std::uint32_t>(ticks >> 32)};
    std::memcpy(static_cast<void *>(fileTime), halves, sizeof halves);
}

void fileTimeToTime(_oxTime & time, FILETIME * fileTime)
{
    std::uint32_t halves[2];
    std::memcpy(halves, static_cast<void *>(fileTime), sizeof halves);
    std::uint64_t const ticks = std::uint64_t{halves[1]} << 32 | halves[0];
    time.value = static_cast<__int64>(ticks / ticksPerSecond);
}

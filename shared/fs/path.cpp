#include "shared/fs/path.h"

#include "shared/text/native_path.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

using ox::text::ownSeparator;
using ox::text::toQString;
using ox::text::viewOf;

namespace
{

using Index = decltype(QString().size());

constexpr QChar slash = u'/';
constexpr QChar backslash = u'\\';

/// Returns whether a separator or dot at this position splits a path. Positions 0 and 1 never do,
/// nor does -1 (not found).
template <typename Position>
bool splits(Position position)
{
    return position != static_cast<Position>(-1) && position > 1;
}

QChar separatorAutoPD(QString const & path)
{
    return path.contains(slash) ? slash : backslash;
}

/// Returns a backslash if the path contains one, else the separator of this system.
template <typename Char>
Char separatorOfRecord(std::basic_string_view<Char> path)
{
    Char const windows = '\\';
    return path.find(windows) != path.npos ? windows : Char{ox::platform::ownSeparator};
}

/// The folder of a path: its first `length` characters and, with `addSeparator`, a separator.
struct FolderCut {
    std::size_t length;
    bool addSeparator;
};

template <typename Char>
FolderCut folderCut(std::basic_string_view<Char> path, Char separator)
{
    if (path.size() < 3)
        return {path.size(), false};
    bool const isClosed = path.back() == separator;
    auto const name = path.substr(0, path.size() - isClosed);
    auto const last = name.rfind(separator);
    if (!splits(last))
        return {0, false};
    bool const isShareRoot = name[1] == separator && !splits(name.rfind(separator, last - 1));
    return isShareRoot ? FolderCut{path.size(), !isClosed} : FolderCut{last + 1, false};
}

template <typename S>
S folderOf(S path)
{
    auto const separator = separatorOfRecord(path.view());
    FolderCut const cut = folderCut(path.view(), separator);
    path.setLength(static_cast<short>(cut.length));
    if (cut.addSeparator)
        path += static_cast<typename S::Unit>(separator);
    return path;
}

template <typename Name, typename S>
Name fileNameOf(S const & path)
{
    auto const separator = separatorOfRecord(path.view());
    auto const start = path.view().rfind(separator) + 1; // 0 without a separator
    return Name(path.begin() + start, path.size() - static_cast<int>(start));
}

template <typename S>
S withOwnSeparators(S path)
{
    auto const own = static_cast<typename S::Unit>(ox::platform::ownSeparator);
    path.replace('/', own);
    path.replace('\\', own);
    return path;
}

/// Returns the length of the frame placeholder ("<FN>", "<FN1>" to "<FN7>") at a position, or 0 if
/// there is none.
Index placeholderLength(QString const & text, Index at)
{
    auto const isAt = [&text](Index i, char16_t c) { return i < text.size() && text[i] == c; };
    if (!isAt(at + 1, u'F') || !isAt(at + 2, u'N'))
        return 0;
    Index end = at + 3;
    if (end < text.size() && text[end] >= u'1' && text[end] <= u'7')
        ++end;
    return isAt(end, u'>') ? end + 1 - at : 0;
}

void removeAll(QString & text, QLatin1String characters)
{
    auto const end = std::remove_if(text.begin(), text.end(),
                                    [characters](QChar c) { return characters.contains(c); });
    text.truncate(static_cast<Index>(end - text.begin()));
}

/// Removes the characters that are illegal in names of files and of folders. Keeps separators and
/// colons, which the callers handle.
QString withoutIllegal(QString text, bool allowSpaces, bool keepPlaceholders)
{
    removeAll(text, QLatin1String("\n\r\t|;#}{\"=?`~*"));
    if (!allowSpaces)
        text.remove(u' ');
    // The search for placeholders runs after the removal, since a removed character may have
    // interrupted a placeholder.
    QString clean;
    clean.reserve(text.size());
    for (Index i = 0; i < text.size(); ++i) {
        QChar const c = text[i];
        Index const kept = keepPlaceholders && c == u'<' ? placeholderLength(text, i) : 0;
        if (kept > 0) {
            clean += text.mid(i, kept);
            i += kept - 1;
        } else if (c >= u' ' && c != u'<' && c != u'>' && c != u'^') {
            clean += c;
        }
    }
    return clean;
}

bool isDriveLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool isSeparator(QChar c)
{
    return c == slash || c == backslash;
}

/// Removes blanks and dots from the end of the last folder's name.
void trimLastFolder(QString & path)
{
    Index end = path.size();
    while (end > 0 && isSeparator(path[end - 1]))
        --end;
    Index nameStart = end;
    while (nameStart > 0 && !isSeparator(path[nameStart - 1]))
        --nameStart;
    QString const name = path.mid(nameStart, end - nameStart);
    if (name == QLatin1String(".") || name == QLatin1String(".."))
        return;
    Index kept = end;
    while (kept > nameStart && (path[kept - 1] == u' ' || path[kept - 1] == u'.'))
        --kept;
    path.remove(kept, end - kept);
}

/// Characters that are legal in file names but have a meaning in links of web pages.
constexpr QLatin1String linkCharacters("&%+'");

} // namespace

QString oxConvertPDToOS(QString const & path, _oxOS os)
{
    QString result = path;
    bool const isUnix = os == _oxOS::Linux || os == _oxOS::Mac;
    return isUnix ? result.replace(backslash, slash) : result.replace(slash, backslash);
}

QString oxConvertPDToOS(QString const & path)
{
    QString result = path;
    return result.replace(slash, ownSeparator).replace(backslash, ownSeparator);
}

_oxString<500> oxConvertPDToOS(_oxString<500> const & path)
{
    return withOwnSeparators(path);
}

_oxString<250> oxConvertPDToOS(_oxString<250> const & path)
{
    return withOwnSeparators(path);
}

QString oxGetFileNameExtention(QString path)
{
    auto const dot = path.lastIndexOf(u'.');
    return splits(dot) ? path.mid(dot) : path;
}

QString oxGetFileName(QString path, unsigned short separator)
{
    auto const last = path.lastIndexOf(QChar(separator));
    return splits(last) ? path.mid(last + 1) : path;
}

QString oxGetFileNameAutoPD(QString path)
{
    return oxGetFileName(path, separatorAutoPD(path).unicode());
}

_oxString8_evenSize<100> oxGetFileName(_oxString8_evenSize<500> const & path)
{
    return fileNameOf<_oxString8_evenSize<100>>(path);
}

_oxString8_evenSize<100> oxGetFileName(_oxString8_evenSize<250> const & path)
{
    return fileNameOf<_oxString8_evenSize<100>>(path);
}

_oxString8_evenSize<100> oxGetFileName(_oxString8_evenSize<200> const & path)
{
    return fileNameOf<_oxString8_evenSize<100>>(path);
}

_oxString<100> oxGetFileName(_oxString<250> const & path)
{
    return fileNameOf<_oxString<100>>(path);
}

_oxString<100> oxGetFileName(_oxString<500> const & path)
{
    return fileNameOf<_oxString<100>>(path);
}

QString oxGetFileNameBase(QString path, unsigned short separator)
{
    QString const name = oxGetFileName(path, separator);
    auto const dot = name.lastIndexOf(u'.');
    return splits(dot) ? name.left(dot) : name;
}

QString oxGetDirName(QString path, unsigned short separator)
{
    FolderCut const cut = folderCut(viewOf(path), static_cast<char16_t>(separator));
    path.truncate(static_cast<Index>(cut.length));
    if (cut.addSeparator)
        path += QChar(separator);
    return path;
}

QString oxGetDirNameAutoPD(QString path)
{
    return oxGetDirName(path, separatorAutoPD(path).unicode());
}

_oxString8_evenSize<200> oxGetDirName(_oxString8_evenSize<200> const & path)
{
    return folderOf(path);
}

_oxString8_evenSize<250> oxGetDirName(_oxString8_evenSize<250> const & path)
{
    return folderOf(path);
}

_oxString8_evenSize<500> oxGetDirName(_oxString8_evenSize<500> const & path)
{
    return folderOf(path);
}

_oxString<250> oxGetDirName(_oxString<250> const & path)
{
    return folderOf(path);
}

_oxString<500> oxGetDirName(_oxString<500> const & path)
{
    return folderOf(path);
}

QString oxAddStringToFileName(QString name, QString const & add)
{
    auto const dot = name.lastIndexOf(u'.');
    bool const inFileName = dot > name.lastIndexOf(QChar(separatorOfRecord(viewOf(name))));
    return name.insert(dot > 0 && inFileName ? dot : name.size(), add);
}

bool isRelativePath(QString path)
{
    if (path.size() < 3)
        return true;
    bool const isDrive = path[1] == u':' && path[2] == backslash;
    return path[0] != backslash && !isDrive &&
           !path.startsWith(QLatin1String("<Database>"), Qt::CaseInsensitive);
}

bool oxIsRootpath(QString const & path)
{
    if (path.size() <= 3)
        return true;
    if (path[1] == u':')
        return false;
    QChar const separator = separatorAutoPD(path);
    auto at = path.indexOf(separator, 2);
    for (int parts = 1; parts < 3 && at >= 0; ++parts)
        at = path.indexOf(separator, at + 1);
    return at < 0 || at == path.size() - 1;
}

QString oxPathResolve(QString path)
{
    QChar const separator = path.contains(backslash) ? backslash : slash;
    QString const step = QStringLiteral("..") + separator;
    auto const found = path.startsWith(step) ? 0 : path.indexOf(separator + step);
    if (found < 0)
        return path;
    auto const view = viewOf(path);
    auto const token = viewOf(step);
    auto const steps = view.substr(static_cast<std::size_t>(found + (path[found] == separator)));
    auto head = view.substr(0, view.size() - steps.size());
    auto tail = steps;
    bool isClimbing = true;
    for (; tail.substr(0, token.size()) == token; tail.remove_prefix(token.size())) {
        // Only the length of the cut is used: the head ends with a separator, so folderCut never
        // adds a separator.
        auto const length =
            isClimbing ? folderCut(head, char16_t{separator.unicode()}).length : head.size();
        isClimbing = length < head.size();
        head = head.substr(0, length);
    }
    return toQString(head) + toQString(tail);
}

QString oxRemoveIllegalCharFromFile(QString name, bool allowSpaces,
                                    bool const & keepFramePlaceholders)
{
    removeAll(name, QLatin1String("\\/"));
    return withoutIllegal(name, allowSpaces, keepFramePlaceholders).replace(u':', u'_');
}

QString oxRemoveIllegalCharFromDir(QString path, bool allowSpaces,
                                   bool const & keepFramePlaceholders, bool last)
{
    QString clean = withoutIllegal(path, allowSpaces, keepFramePlaceholders);
    bool const hasDrive = clean.size() > 1 && isDriveLetter(clean[0]) && clean[1] == u':';
    clean.replace(u':', u'_');
    if (hasDrive)
        clean[1] = u':';
    if (last)
        trimLastFolder(clean);
    return clean;
}

QString oxRemoveIllegalCharFromHtmlFile(QString name)
{
    removeAll(name, linkCharacters);
    return oxRemoveIllegalCharFromFile(name, false, false);
}

QString oxRemoveIllegalCharFromHtmlDir(QString path)
{
    removeAll(path, linkCharacters);
    return withoutIllegal(path, false, false).replace(u':', u'_').replace(backslash, slash);
}

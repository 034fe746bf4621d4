#include "shared/fs/path.h"

#include "shared/platform/file_names.h"
#include "tests/fuzz/fuzz_input.h"

// Fuzzes paths as text: overloads for different types of text have equal results, the joined
// parts of a path are the path, and a cleaned name contains no illegal character.

namespace
{

using namespace ox::fuzz;

QChar separatorOf(QString const & path)
{
    return path.contains(u'\\') ? QChar(u'\\') : QChar(char16_t{ox::platform::ownSeparator});
}

/// Checks that the overloads for a fixed string return the folder `folder` and the name `name`, if
/// the string can hold the whole path.
template <typename S>
void checkRecord(QString const & path, QString const & folder, QString const & name)
{
    S const record = path;
    if (path.size() >= S::capacity() || QString(record) != path)
        return;
    OX_HOLDS(QString(oxGetDirName(record)) == folder);
    if constexpr (requires { oxGetFileName(record); })
        OX_HOLDS(QString(oxGetFileName(record)) == name.left(100));
}

void checkParts(QString const & path)
{
    QChar const separator = separatorOf(path);
    QString const folder = oxGetDirName(path, separator.unicode());
    OX_HOLDS(path.size() < 3 || folder.isEmpty() || folder.endsWith(separator));
    OX_HOLDS(path.startsWith(folder) || folder == path + separator);
    QString const name = path.mid(path.lastIndexOf(separator) + 1);
    checkRecord<_oxString<250>>(path, folder, name);
    checkRecord<_oxString<500>>(path, folder, name);
    checkRecord<_oxString8_evenSize<200>>(path, folder, name);
    checkRecord<_oxString8_evenSize<250>>(path, folder, name);
    checkRecord<_oxString8_evenSize<500>>(path, folder, name);

    QString const file = oxGetFileName(path, separator.unicode());
    QString const front = path.chopped(file.size());
    OX_HOLDS(front + file == path && (front.isEmpty() || front.endsWith(separator)));
    OX_HOLDS(front.isEmpty() || (front.size() > 2 && !file.contains(separator)));
    QString const base = oxGetFileNameBase(path, separator.unicode());
    QString const extension = oxGetFileNameExtention(file);
    OX_HOLDS(base + (base == file ? QString() : extension) == file);
    OX_HOLDS(oxGetDirNameAutoPD(path) == oxGetDirName(path, path.contains(u'/') ? u'/' : u'\\'));

    QChar const added(0xE000);
    QString const longer = oxAddStringToFileName(path, added);
    OX_HOLDS(longer.size() == path.size() + 1);
    OX_HOLDS(QString(longer).remove(added) == QString(path).remove(added));
}

void checkWhole(QString const & path)
{
    QString const resolved = oxPathResolve(path);
    OX_HOLDS(resolved.size() <= path.size());
    OX_HOLDS(path.contains(QLatin1String("..")) || resolved == path);
    OX_HOLDS(path.size() > 3 || oxIsRootpath(path));
    OX_HOLDS(path.size() > 2 || isRelativePath(path));
    QString const here = oxConvertPDToOS(path);
    OX_HOLDS(here == oxConvertPDToOS(here) && here.size() == path.size());
    OX_HOLDS(oxConvertPDToOS(here, _oxOS::Linux) == oxConvertPDToOS(path, _oxOS::Linux));
    OX_HOLDS(!oxConvertPDToOS(path, _oxOS::Linux).contains(u'\\'));
    if (path.size() <= 250)
        OX_HOLDS(QString(oxConvertPDToOS(_oxString<250>(path))) == here);
}

bool isClean(QString name, bool allowSpaces, bool keepPlaceholders, QLatin1String others)
{
    if (keepPlaceholders) {
        for (char16_t const digit : {u'\0', u'1', u'2', u'3', u'4', u'5', u'6', u'7'})
            name.remove(QStringLiteral("<FN") + (digit ? QString(QChar(digit)) : QString()) + u'>');
    }
    QLatin1String const illegal("|;#{}\"=?`~*<>^");
    return std::none_of(name.begin(), name.end(), [&](QChar c) {
        return c < u' ' || (c == u' ' && !allowSpaces) || illegal.contains(c) || others.contains(c);
    });
}

void checkCleaning(QString const & path, bool spaces, bool placeholders, bool isLast)
{
    QString const file = oxRemoveIllegalCharFromFile(path, spaces, placeholders);
    OX_HOLDS(isClean(file, spaces, placeholders, QLatin1String("\\/:")));
    OX_HOLDS(oxRemoveIllegalCharFromFile(file, spaces, placeholders) == file);
    QString const folder = oxRemoveIllegalCharFromDir(path, spaces, placeholders, isLast);
    OX_HOLDS(isClean(folder, spaces, placeholders, QLatin1String("")));
    OX_HOLDS(folder.indexOf(u':', 2) < 0 && folder.indexOf(u':') != 0);
    if (!isLast)
        OX_HOLDS(oxRemoveIllegalCharFromDir(folder, spaces, placeholders, false) == folder);
    QString const page = oxRemoveIllegalCharFromHtmlFile(path);
    OX_HOLDS(isClean(page, false, false, QLatin1String("\\/:&%+'")));
    OX_HOLDS(isClean(oxRemoveIllegalCharFromHtmlDir(path), false, false, QLatin1String("\\:&%+'")));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size)
{
    Input in(data, size);
    int const flags = in.number();
    std::string_view const bytes = in.rest();
    for (QString const & path : {utf16Of(bytes), latin1(bytes)}) {
        checkParts(path);
        checkWhole(path);
        checkCleaning(path, flags & 1, flags & 2, flags & 4);
    }
    return 0;
}

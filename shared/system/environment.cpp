#include "shared/system/environment.h"

#include "shared/platform/environment.h"
#include "shared/platform/native_name.h"

#include <optional>

namespace
{

using Path8 = _oxString8_evenSize<250>;

QString toQString(std::u16string_view text)
{
    return QStringView(text.data(), static_cast<qsizetype>(text.size())).toString();
}

std::u16string_view viewOf(QString const & text)
{
    QStringView const view = text;
    return {view.utf16(), static_cast<std::size_t>(view.size())};
}

/// The bytes that stand for a text in an 8-bit record: Latin-1, or UTF-8 where those would name
/// another file. Latin-1 where neither does.
QByteArray recordBytes(QString const & text)
{
    auto const names = [file = ox::platform::nativeName(viewOf(text))](QByteArray const & bytes) {
        return file == ox::platform::nativeName(std::string_view(
                           bytes.constData(), static_cast<std::size_t>(bytes.size())));
    };
    QByteArray const latin1 = text.toLatin1();
    QByteArray const utf8 = text.toUtf8();
    return !names(latin1) && names(utf8) ? utf8 : latin1;
}

Path8 toRecord(QByteArray const & bytes)
{
    return Path8(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
}

} // namespace

void oxSleep(int ms)
{
    if (ms > 0)
        ox::platform::sleepMilliseconds(ms);
}

QString oxGetEnvironmentVariable(QString const & name)
{
    if (name == QLatin1String("ProgramFiles")) {
        QString const folder = oxGetEnvironmentVariable(QStringLiteral("ProgramW6432"));
        if (!folder.isEmpty())
            return folder;
    }
    return toQString(ox::platform::environmentVariable(viewOf(name)).value_or(u""));
}

_oxString8_evenSize<250> oxGetEnvironmentVariable8(_oxString8_evenSize<250> const & name)
{
    return toRecord(recordBytes(oxGetEnvironmentVariable(name)));
}

void oxGetEnvironmentVariableList(QStringList & names, QStringList & values)
{
    names.clear();
    values.clear();
    for (std::u16string const & text : ox::platform::environmentBlock()) {
        QString const entry = toQString(text);
        auto const split = entry.indexOf(QLatin1Char('='), 1);
        if (split < 0)
            continue;
        names += entry.left(split);
        values += entry.mid(split + 1);
    }
}

_oxString8_evenSize<250> oxApplicationPath(char * argv0)
{
    Path8 path;
    oxApplicationPath(path, argv0);
    return path;
}

bool oxApplicationPath(_oxString8_evenSize<250> & path, char * argv0)
{
    auto const takeFolderOf = [&path](std::optional<std::u16string> const & file) {
        QString const folder = toQString(ox::platform::folderOf(file.value_or(u"")));
        QByteArray const bytes = recordBytes(folder);
        bool const fits = !bytes.isEmpty() && bytes.size() <= Path8::capacity();
        path = fits ? toRecord(bytes) : Path8();
        return fits;
    };
    auto const module = ox::platform::executablePath();
    if (module && module->size() > 3 && takeFolderOf(module))
        return true;
    return takeFolderOf(argv0 && *argv0 ? ox::platform::absolutePath(argv0) : std::nullopt);
}

#include "shared/system/environment.h"

#include "shared/platform/environment.h"
#include "shared/platform/native_name.h"
#include "shared/platform/utf8.h"

#include <optional>
#include <string>
#include <utility>

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

/// The bytes that name the same file in an 8-bit record: Latin-1, or UTF-8 where the system takes
/// that. Empty when the record cannot hold the name.
std::optional<std::string> recordBytes(std::u16string_view name)
{
    auto const file = ox::platform::nativeName(name);
    for (std::string const & bytes :
         {toQString(name).toLatin1().toStdString(), ox::platform::toUtf8(name)}) {
        if (ox::platform::nativeName(bytes) == file)
            return bytes;
    }
    return std::nullopt;
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
    QString const value = oxGetEnvironmentVariable(name);
    auto const bytes = recordBytes(viewOf(value));
    return bytes ? Path8(*bytes) : Path8(value);
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
        auto const bytes = recordBytes(ox::platform::folderOf(file.value_or(u"")));
        bool const fits =
            bytes && !bytes->empty() && std::cmp_less_equal(bytes->size(), Path8::capacity());
        path = fits ? Path8(*bytes) : Path8();
        return fits;
    };
    auto const module = ox::platform::executablePath();
    if (module && module->size() > 3 && takeFolderOf(module))
        return true;
    return takeFolderOf(argv0 && *argv0 ? ox::platform::absolutePath(argv0) : std::nullopt);
}

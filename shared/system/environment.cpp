#include "shared/system/environment.h"

#include "shared/platform/file_names.h"
#include "shared/platform/this_process.h"
#include "shared/text/utf16_view.h"

#include <QStringList>

#include <optional>
#include <string>
#include <utility>

namespace
{

using Path8 = _oxString8_evenSize<250>;
using ox::platform::recordName;
using ox::text::toQString;
using ox::text::viewOf;

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
    auto const bytes = recordName(viewOf(value));
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
    auto const takeFolderOf = [&path](std::u16string_view file) {
        auto const bytes = recordName(ox::platform::folderOf(file));
        bool const fits = bytes && std::cmp_less_equal(bytes->size(), Path8::capacity());
        path = fits ? Path8(*bytes) : Path8();
        return fits;
    };
    auto const module = ox::platform::executablePath();
    if (module && module->size() > 3 && takeFolderOf(*module))
        return true;
    if (!argv0 || !*argv0) {
        ox::platform::reportToThread(module);
        return takeFolderOf(u"");
    }
    auto const program = ox::platform::absolutePath(argv0);
    ox::platform::reportToThread(program);
    return takeFolderOf(program.value_or(u""));
}

#include "shared/system/identity.h"

#include "shared/platform/this_process.h"
#include "shared/system/sys_info_rules.h"
#include "shared/text/utf16_view.h"

#include <iterator>

using ox::detail::userText;
using ox::platform::UserFolder;
using ox::platform::userHome;
using ox::platform::userId;
using ox::platform::UserOf;

namespace
{

/// The text of an enumerator, or null when the value is none of them.
template <typename Enum, std::size_t count>
char const * nameOf(Enum value, char const * const (&names)[count])
{
    auto const index = static_cast<unsigned>(value);
    return index < count ? names[index] : nullptr;
}

QString folderText(UserFolder folder)
{
    return ox::detail::toQString(ox::platform::userFolder(folder).value_or(u""));
}

} // namespace

_oxString<25> ox_AppType_asString(ox_AppType const & t)
{
    static constexpr char const * names[] = {
        "None",    "Server",      "Client", "Submitter", "Control",   "PostScript", "Test",
        "LogFile", "ClientWatch", "Config", "Viewer",    "Installer", "HistoryDB",  "Script"};
    char const * const name = nameOf(t, names);
    return name ? name : "unknown";
}

QString OS2String(_oxOS const & os)
{
    static constexpr char const * names[] = {"All/Unknown", "Windows", "Linux", "Mac"};
    return QString::fromLatin1(nameOf(os, names));
}

QString oxPrintedText(ox_AppType const & type)
{
    bool const isKnown = type >= ox_AppType::None && type <= ox_AppType::Script;
    return isKnown ? QString(ox_AppType_asString(type)) : QString::number(static_cast<int>(type));
}

QString oxPrintedText(_oxOS const & os)
{
    QString const name = OS2String(os);
    return name.isEmpty() ? QString::number(static_cast<int>(os)) : name;
}

QString OS2String_short(_oxOS const & os, bool const & withBits)
{
    static constexpr char const * names[] = {"all", "win", "lx", "mac"};
    QString name = QString::fromLatin1(nameOf(os, names));
    if (withBits && !name.isEmpty())
        name += QString::number(sizeof(void *) * 8);
    return name;
}

QString thisOS2String_short(bool const & withBits)
{
    return OS2String_short(static_cast<_oxOS>(ox::platform::ownSystem), withBits);
}

QString osBitStr()
{
    return thisOS2String_short(true);
}

bool oxIsSystemAdmin()
{
    return ox::platform::isAdministrator();
}

QString getWinFolderProfile()
{
    return folderText(UserFolder::Home);
}

QString getWinFolderLocalAppData()
{
    return folderText(UserFolder::LocalData);
}

QString getWinFolderAppData()
{
    return folderText(UserFolder::RoamingData);
}

QString getHKEY_CURRENT_USER_SID()
{
    return userText(userId(UserOf::Settings));
}

QString getCurrentUserHomePath()
{
    return userText(userHome(UserOf::Settings));
}

_oxString8_evenSize<250> GetProcessUserSID()
{
    return userText(userId(UserOf::Process));
}

QString GetProcessUserSIDProfilePath()
{
    return userText(userHome(UserOf::Process));
}

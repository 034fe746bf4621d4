#include "shared/system/identity.h"

#include "shared/platform/this_process.h"
#include "shared/platform/user.h"
#include "shared/system/user_text.h"
#include "shared/text/utf16_view.h"

using ox::platform::UserFolder;
using ox::platform::userHome;
using ox::platform::userId;
using ox::platform::UserOf;

namespace
{

/// Returns the enumerator's name; empty for a value that is not an enumerator.
char const * nameOf(ox_AppType type)
{
    switch (type) {
    case ox_AppType::None:
        return "None";
    case ox_AppType::Server:
        return "Server";
    case ox_AppType::Client:
        return "Client";
    case ox_AppType::Submitter:
        return "Submitter";
    case ox_AppType::Control:
        return "Control";
    case ox_AppType::PostScript:
        return "PostScript";
    case ox_AppType::Test:
        return "Test";
    case ox_AppType::LogFile:
        return "LogFile";
    case ox_AppType::ClientWatch:
        return "ClientWatch";
    case ox_AppType::Config:
        return "Config";
    case ox_AppType::Viewer:
        return "Viewer";
    case ox_AppType::Installer:
        return "Installer";
    case ox_AppType::HistoryDB:
        return "HistoryDB";
    case ox_AppType::Script:
        return "Script";
    }
    return "";
}

/// Names of a system. Both are empty for a value that is not an enumerator.
struct SystemNames {
    QString name;
    QString shortName;
};

SystemNames namesOf(_oxOS os)
{
    switch (os) {
    case _oxOS::All:
        return {QStringLiteral("All/Unknown"), QStringLiteral("all")};
    case _oxOS::Windows:
        return {QStringLiteral("Windows"), QStringLiteral("win")};
    case _oxOS::Linux:
        return {QStringLiteral("Linux"), QStringLiteral("lx")};
    case _oxOS::Mac:
        return {QStringLiteral("Mac"), QStringLiteral("mac")};
    }
    return {};
}

QString folderText(UserFolder folder)
{
    auto const path = ox::platform::userFolder(folder);
    ox::platform::reportToThread(path);
    return ox::text::toQString(path.value_or(u""));
}

using UserQuery = decltype(userId);

QString userText(UserQuery * query, UserOf which)
{
    ox::platform::TokenSize token;
    auto const answer = query(which, token);
    QString const text = ox::system::userText(answer, token);
    ox::platform::reportToThread(answer);
    return text;
}

} // namespace

_oxString<25> ox_AppType_asString(ox_AppType const & t)
{
    char const * const name = nameOf(t);
    return *name ? name : "unknown";
}

QString OS2String(_oxOS const & os)
{
    return namesOf(os).name;
}

QString oxPrintedText(ox_AppType const & type)
{
    QString const name = QString::fromLatin1(nameOf(type));
    return name.isEmpty() ? QString::number(static_cast<int>(type)) : name;
}

QString oxPrintedText(_oxOS const & os)
{
    QString const name = OS2String(os);
    return name.isEmpty() ? QString::number(static_cast<int>(os)) : name;
}

QString OS2String_short(_oxOS const & os, bool const & withBits)
{
    QString name = namesOf(os).shortName;
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
    return userText(userId, UserOf::Settings);
}

QString getCurrentUserHomePath()
{
    return userText(userHome, UserOf::Settings);
}

_oxString8_evenSize<250> GetProcessUserSID()
{
    return userText(userId, UserOf::Process);
}

QString GetProcessUserSIDProfilePath()
{
    return userText(userHome, UserOf::Process);
}

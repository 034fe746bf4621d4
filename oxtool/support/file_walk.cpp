#include "oxtool/support/file_walk.h"

#include "oxtool/support/names.h"
#include "oxtool/support/reason.h"
#include "shared/text/native_path.h"

#include <utility>
#include <vector>

namespace ox::tool
{
namespace
{

/// Returns a folder's path with a separator at its end.
QString asPrefix(QString const & folder)
{
    bool const isComplete = folder.endsWith(u'/') || folder.endsWith(text::ownSeparator);
    return isComplete ? folder : folder + text::ownSeparator;
}

} // namespace

void walkFiles(
    QString const & folder, bool recursive,
    std::function<void(QString const & path, platform::FolderWalk & entry)> const & visit,
    std::function<void(Failure const &)> const & fail)
{
    if (folder.isEmpty()) {
        fail(Failure(QStringLiteral("cannot read folder '': the name is empty"), Missing));
        return;
    }
    std::vector<QString> pending = {folder};
    while (!pending.empty()) {
        QString const current = std::move(pending.back());
        pending.pop_back();
        platform::FolderWalk walk(nativeName(asPrefix(current) + u'*'));
        while (walk.next()) {
            QString const path = asPrefix(current) + text::toQString(walk.name());
            if (!walk.isFolder())
                visit(path, walk);
            else if (recursive && !walk.isLink())
                pending.push_back(path);
        }
        if (platform::Error const error{walk.error()}; error.code != 0)
            fail(
                Failure(QStringLiteral("cannot read folder '%1': %2").arg(current, reasonOf(error)),
                        statusOf(error)));
    }
}

} // namespace ox::tool

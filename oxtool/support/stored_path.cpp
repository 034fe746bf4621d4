#include "oxtool/support/stored_path.h"

#include "shared/fs/path.h"

namespace ox::tool
{
namespace
{

QString withSlashes(QString path)
{
    return path.replace(QLatin1Char('\\'), QLatin1Char('/'));
}

QString withoutTrailingSlashes(QString path)
{
    while (path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path;
}

bool isShare(QString const & path)
{
    return path.startsWith(QLatin1String("//"));
}

bool isDrive(QString const & path)
{
    return path.size() >= 2 && path.at(1) == QLatin1Char(':') && path.at(0).isLetter();
}

/// Returns whether `root` is a prefix of `path` that ends at the end of a component. Both must have
/// slashes as their only separators, and `root` must not end with a slash.
bool matches(QString const & root, QString const & path)
{
    // The stored root "/" is an empty text here. It must not match a share such as "//farm/share".
    if (isShare(root) != isShare(path))
        return false;
    bool const ignoreCase = isShare(root) || isDrive(root);
    return path.startsWith(root, ignoreCase ? Qt::CaseInsensitive : Qt::CaseSensitive) &&
           (path.size() == root.size() || path.at(root.size()) == QLatin1Char('/'));
}

} // namespace

bool parseRootMapping(QString const & text, RootMapping & mapping)
{
    auto const equals = text.indexOf(QLatin1Char('='));
    mapping = {text.left(equals), text.mid(equals + 1)};
    return equals > 0 && !mapping.localRoot.isEmpty();
}

LocalPath localPath(QString const & storedPath, std::vector<RootMapping> const & mappings)
{
    QString const path = withSlashes(storedPath);
    RootMapping const * best = nullptr;
    QString bestRoot;
    for (RootMapping const & mapping : mappings) {
        QString const root = withoutTrailingSlashes(withSlashes(mapping.storedRoot));
        if (matches(root, path) && (!best || root.size() > bestRoot.size())) {
            best = &mapping;
            bestRoot = root;
        }
    }
    if (!best)
        return {oxConvertPDToOS(storedPath), QString(), QString()};
    QString const local = withoutTrailingSlashes(withSlashes(best->localRoot));
    return {oxConvertPDToOS(local + path.mid(bestRoot.size())), best->storedRoot, best->source};
}

} // namespace ox::tool

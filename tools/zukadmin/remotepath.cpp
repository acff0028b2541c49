#include "tools/zukadmin/remotepath.h"

RemotePath RemotePath::ofFile(const QString &path)
{
    const int slash = path.lastIndexOf(QLatin1Char('/'));
    const QString folder = slash == 0 ? QStringLiteral("/") : path.left(qMax(slash, 0));
    return {folder.isEmpty() ? QStringLiteral(".") : folder, path.mid(slash + 1)};
}

RemotePath RemotePath::ofTarget(const QString &path, const QString &localName)
{
    RemotePath target = ofFile(path.contains(QLatin1Char('/')) ? path : path + QLatin1Char('/'));
    if (path.isEmpty())
        target.folder = QStringLiteral(".");
    if (target.name.isEmpty())
        target.name = localName;
    return target;
}

#include "platform/paths.h"

#include <QDir>
#include <QFileInfo>

namespace tolvane {

QString normalFolderPath(const QString &folder)
{
    if (folder.isEmpty())
        return {};
    QString path = QDir::fromNativeSeparators(folder);
    // A drive or share path keeps its form on every system (catalogues travel between them).
    const bool drive = path.size() >= 2 && path.at(1) == u':' && path.at(0).isLetter();
    const bool windows = drive || path.startsWith(QLatin1String("\\\\"));
    if (windows)
        path.replace(u'\\', u'/');
    else if (QDir::isRelativePath(path))
        path = QDir::current().absoluteFilePath(path);
    path = QDir::cleanPath(path);
    return windows ? path.replace(u'/', u'\\') : QDir::toNativeSeparators(path);
}

QString joinPath(const QString &folder, const QString &name)
{
    if (folder.isEmpty())
        return name;
    const QChar last = folder.back();
    if (last == QLatin1Char('/') || last == QLatin1Char('\\'))
        return folder + name;
    const QChar sep = folder.contains(QLatin1Char('\\')) && !folder.contains(QLatin1Char('/')) ? QLatin1Char('\\')
                                                                                               : QLatin1Char('/');
    return folder + sep + name;
}

QString dayText(const QDateTime &moment)
{
    return moment.isValid() ? moment.toString(QStringLiteral("yyyy-MM-dd")) : QString();
}

QString fileDateText(const QString &path)
{
    const QFileInfo fi(path);
    if (!fi.exists())
        return {};
    return dayText(fi.lastModified());
}

} // namespace tolvane

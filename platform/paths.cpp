#include "platform/paths.h"

#include <QDir>
#include <QFileInfo>

namespace tolvane {

QString normalFolderPath(const QString &folder)
{
    if (folder.isEmpty())
        return {};
    const QString absolute = QFileInfo(QDir::fromNativeSeparators(folder)).absoluteFilePath();
    return QDir::toNativeSeparators(QDir::cleanPath(absolute));
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

#include "platform/desktopopen.h"

#include <QDesktopServices>
#include <QProcess>
#include <QSettings>
#include <QUrl>

namespace tolvane {

bool desktopHasHandler(const QString &mimeType, const QString &suffix)
{
#if defined(Q_OS_WIN)
    Q_UNUSED(mimeType);
    const QSettings classes(QStringLiteral("HKEY_CLASSES_ROOT\\") + suffix, QSettings::NativeFormat);
    return !classes.value(QStringLiteral("Default")).toString().isEmpty();
#elif defined(Q_OS_MACOS)
    Q_UNUSED(mimeType);
    Q_UNUSED(suffix);
    return true; // Launch Services offers a chooser when nothing is registered
#else
    Q_UNUSED(suffix);
    QProcess query;
    query.start(QStringLiteral("xdg-mime"), { QStringLiteral("query"), QStringLiteral("default"), mimeType });
    if (!query.waitForFinished(5000)) {
        query.kill();
        query.waitForFinished(1000);
        return false;
    }
    return query.exitStatus() == QProcess::NormalExit && query.exitCode() == 0
        && !query.readAllStandardOutput().trimmed().isEmpty();
#endif
}

bool openWithDesktop(const QString &path)
{
    return QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

} // namespace tolvane

#include "platform/systeminfo.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>

namespace tolvane {

std::optional<SystemInfoTool> findSystemInfoTool()
{
#if defined(Q_OS_WIN)
    const QSettings msinfo(
        QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Shared Tools\\MSINFO"), QSettings::NativeFormat);
    QString path = msinfo.value(QStringLiteral("Path")).toString();
    if (path.isEmpty()) {
        const QSettings location(
            QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Shared Tools Location"), QSettings::NativeFormat);
        const QString folder = location.value(QStringLiteral("MSINFO")).toString();
        if (!folder.isEmpty())
            path = QDir(QDir::fromNativeSeparators(folder)).filePath(QStringLiteral("MSINFO32.EXE"));
    }
    if (!path.isEmpty() && QFileInfo::exists(path))
        return SystemInfoTool { QDir::toNativeSeparators(path), {} };
    return std::nullopt;
#elif defined(Q_OS_MACOS)
    if (QFileInfo::exists(QStringLiteral("/System/Applications/Utilities/System Information.app")))
        return SystemInfoTool { QStringLiteral("open"),
            { QStringLiteral("-a"), QStringLiteral("System Information") } };
    return std::nullopt;
#else
    for (const char *name : { "kinfocenter", "hardinfo2", "hardinfo" }) {
        const QString program = QStandardPaths::findExecutable(QString::fromLatin1(name));
        if (!program.isEmpty())
            return SystemInfoTool { program, {} };
    }
    return std::nullopt;
#endif
}

bool startSystemInfoTool()
{
    const std::optional<SystemInfoTool> tool = findSystemInfoTool();
    return tool && QProcess::startDetached(tool->program, tool->arguments);
}

} // namespace tolvane

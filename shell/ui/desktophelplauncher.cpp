#include "shell/ui/desktophelplauncher.h"

#include <QDesktopServices>
#include <QUrl>

namespace tolvane::shell {

bool DesktopHelpLauncher::showHelp(const QString &helpFile, int contextId)
{
    // Viewers of compiled help on the desktop open the file at its start page; the topic
    // of contextId is reached from there.
    Q_UNUSED(contextId);
    return QDesktopServices::openUrl(QUrl::fromLocalFile(helpFile));
}

bool DesktopHelpLauncher::showText(const QString &textFile)
{
    return QDesktopServices::openUrl(QUrl::fromLocalFile(textFile));
}

} // namespace tolvane::shell

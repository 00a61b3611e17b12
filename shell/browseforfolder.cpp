#include "shell/browseforfolder.h"

#include <QDir>
#include <QFileInfo>

namespace tolvane::shell {

QString BrowseForFolder(Prompter &prompter, const QString &title, const QString &startFolder)
{
    const QString chosen = prompter.folder(title, startFolder);
    if (chosen.isEmpty())
        return canceledFolder();
    QString clean = QDir::cleanPath(QDir::fromNativeSeparators(chosen));
    if (!QFileInfo(clean).isDir())
        return canceledFolder(); // only real file-system folders are offered
    return QDir::toNativeSeparators(clean);
}

} // namespace tolvane::shell

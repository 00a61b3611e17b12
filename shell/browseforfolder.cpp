#include "shell/browseforfolder.h"

#include <QDir>
#include <QFileInfo>

#include "platform/paths.h"

namespace tolvane::shell {

QString BrowseForFolder(Prompter &prompter, const QString &title, const QString &startFolder)
{
    const QString chosen = prompter.folder(title, startFolder);
    if (chosen.isEmpty())
        return canceledFolder();
    const QString folder = normalFolderPath(chosen);
    if (!QFileInfo(folder).isDir())
        return canceledFolder(); // only real file-system folders are offered
    return folder;
}

} // namespace tolvane::shell

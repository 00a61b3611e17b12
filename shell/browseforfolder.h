// The folder-choice dialog as the commands use it: a path, or the literal "Canceled".
#pragma once

#include <QString>

#include "platform/prompter.h"

namespace tolvane::shell {

// What BrowseForFolder returns when the user cancels.
inline QString canceledFolder()
{
    return QStringLiteral("Canceled");
}

// Asks for a file-system folder, starting at startFolder (may be empty). Returns the chosen
// folder's full path in native form, or "Canceled".
QString BrowseForFolder(Prompter &prompter, const QString &title, const QString &startFolder);

} // namespace tolvane::shell

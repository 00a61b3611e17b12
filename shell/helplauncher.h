// HelpLauncher: opens the help file at a topic and the read-me text. The main window holds
// one; tests pass a recording one.
#pragma once

#include <QString>

namespace tolvane::shell {

class HelpLauncher {
public:
    virtual ~HelpLauncher() = default;
    // Opens the help file at the topic of contextId (0: its start page). False when no
    // viewer could be started.
    virtual bool showHelp(const QString &helpFile, int contextId) = 0;
    // Opens a plain text file in the desktop's text editor.
    virtual bool showText(const QString &textFile) = 0;
};

} // namespace tolvane::shell

// HelpLauncher: shows the manual at the page of a help context id. The main window holds
// one (the help window); tests may pass a recording one.
#pragma once

#include <QString>

namespace tolvane::shell {

class HelpLauncher {
public:
    virtual ~HelpLauncher() = default;
    // Shows the manual whose first page is firstPage at the page of contextId (0: the first
    // page). False when the page could not be read.
    virtual bool showHelp(const QString &firstPage, int contextId) = 0;
};

} // namespace tolvane::shell

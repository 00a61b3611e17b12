// DesktopHelpLauncher: opens the help file and the read-me text with the desktop's
// associated viewers.
#pragma once

#include "shell/helplauncher.h"

namespace tolvane::shell {

class DesktopHelpLauncher : public HelpLauncher {
public:
    bool showHelp(const QString &helpFile, int contextId) override;
    bool showText(const QString &textFile) override;
};

} // namespace tolvane::shell

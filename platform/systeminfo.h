// The desktop's system-information tool: where to find it on each system, and starting it
// detached. GUI thread only (it may read the Windows registry).
#pragma once

#include <optional>

#include <QString>
#include <QStringList>

namespace tolvane {

struct SystemInfoTool {
    QString program;
    QStringList arguments;
};

// Windows: the program the registry names under HKLM "SOFTWARE\Microsoft\Shared Tools\MSINFO"
// (value "Path"), else "MSINFO32.EXE" in the folder named by "SOFTWARE\Microsoft\Shared Tools
// Location" (value "MSINFO"), when that file exists. macOS: the System Information application.
// Elsewhere: the first of the desktops' information centres found on PATH (kinfocenter,
// hardinfo2, hardinfo). Nothing when none is installed.
std::optional<SystemInfoTool> findSystemInfoTool();

// Starts the tool found by findSystemInfoTool, without waiting for it. False when there is none
// or it could not be started.
bool startSystemInfoTool();

} // namespace tolvane

// Opening a file in the application the desktop has registered for its type, and telling
// whether there is one at all (the desktop's own open call reports success even when no
// application is registered). Thread-compatible; call from the GUI thread.
#pragma once

#include <QString>

namespace tolvane {

// True when the desktop names an application for files of mimeType (on Linux the answer of
// `xdg-mime query default`, on Windows the registry entry of suffix, e.g. ".xlsx").
bool desktopHasHandler(const QString &mimeType, const QString &suffix);

// Hands path to the desktop's application for it. False when the desktop refused.
bool openWithDesktop(const QString &path);

} // namespace tolvane

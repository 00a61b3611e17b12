// The program's title: the caption of the main window at start-up and the title of every
// message box.
#pragma once

#include <QString>

namespace tolvane {

inline QString appTitle()
{
    return QStringLiteral("Almaren Tolvane");
}

} // namespace tolvane

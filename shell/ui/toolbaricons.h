// Pictures of the toolbar buttons, by picture key ("arrow", "DBOpen", ...): the desktop
// theme's icon where one fits, otherwise a small picture drawn here.
#pragma once

#include <QIcon>
#include <QString>

namespace tolvane::shell {

QIcon toolbarIcon(const QString &imageKey);

} // namespace tolvane::shell

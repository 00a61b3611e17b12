// The program speaks Japanese whatever the system's language: Qt's own texts (the buttons of
// message boxes, the file and colour dialogs) from Qt's Japanese translation, and dates, month
// and day names from the Japanese locale. Called once, before the first widget is made.
#pragma once

class QCoreApplication;

namespace tolvane::shell {

// Sets the Japanese locale as every widget's default and installs Qt's Japanese translation
// (from Qt's translation folder, or a "translations" folder beside the program). False when the
// translation file was not found; the locale is set either way.
bool InstallJapaneseInterface(QCoreApplication &app);

} // namespace tolvane::shell

// Almaren Tolvane: the desktop program. All wiring happens in the main window.
#include <QApplication>

#include "shell/ui/form1.h"
#include "shell/ui/japaneseinterface.h"
#include "shell/ui/qtprompter.h"

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Almaren Tolvane"));
    QApplication::setApplicationVersion(QStringLiteral(TOLVANE_VERSION));
    tolvane::shell::InstallJapaneseInterface(app);

    tolvane::shell::QtPrompter prompter;
    tolvane::shell::Form1 window(prompter);
    prompter.setParent(&window);
    window.show();
    return app.exec();
}

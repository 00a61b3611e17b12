// Almaren Tolvane: the desktop program. All wiring happens in the main window.
#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Almaren Tolvane"));
    return 0; // the main window is added by the shell
}

// The tolvane-cli commands that need the document readers, the drawing viewer or the spreadsheet
// writer (render, index, fulltext, search --output). They are built as a module that tolvane-cli
// loads only to run one of them, so that every other command starts without those libraries.
#include <memory>

#include <QCoreApplication>
#include <QGuiApplication>

#include "cli/commands.h"

// Runs the command named by argv[1] as tolvane-cli's main would; 2 for a command not found here.
extern "C" Q_DECL_EXPORT int tolvaneCliHeavyMain(int argc, char *argv[])
{
    // Drawing text needs fonts, which come with a GUI application; no window is shown.
    const bool render = argc > 1 && qstrcmp(argv[1], "render") == 0;
    if (render && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const std::unique_ptr<QCoreApplication> app
        = render ? std::make_unique<QGuiApplication>(argc, argv) : std::make_unique<QCoreApplication>(argc, argv);
    QStringList args = QCoreApplication::arguments().mid(1);
    const QString command = args.isEmpty() ? QString() : args.takeFirst();
    if (command == QLatin1String("render"))
        return tolvane::cli::runRender(args);
    if (command == QLatin1String("index"))
        return tolvane::cli::runIndex(args);
    if (command == QLatin1String("fulltext"))
        return tolvane::cli::runFullText(args);
    if (command == QLatin1String("search"))
        return tolvane::cli::runSearchExport(args);
    return 2;
}

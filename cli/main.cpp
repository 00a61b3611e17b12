// tolvane-cli: scripted use of catalogues (create, register, dump, search, classes, compact, repair,
// binders, index, fulltext) and drawing previews (render).
#include <memory>

#include <QCoreApplication>
#include <QGuiApplication>

#include "cli/commands.h"
#include "cli/consoleprompter.h"

namespace {
int usage()
{
    tolvane::cli::writeErr(QStringLiteral("usage: tolvane-cli create CATALOG.mdb\n"
                                          "       tolvane-cli register CATALOG.mdb FOLDER\n"
                                          "       tolvane-cli dump CATALOG.mdb TABLE\n"
                                          "       tolvane-cli search CATALOG.mdb ...\n"
                                          "       tolvane-cli classes list|set CATALOG.mdb [FILE.tsv]\n"
                                          "       tolvane-cli compact CATALOG.mdb\n"
                                          "       tolvane-cli repair CATALOG.mdb [NEW.mdb]\n"
                                          "       tolvane-cli binder list|create|rename|delete|add|contents|move "
                                          "CATALOG.mdb ...\n"
                                          "       tolvane-cli render DRAWING OUT.png [--width N]\n"

                                          "       tolvane-cli index CATALOG.mdb\n"
                                          "       tolvane-cli fulltext CATALOG.mdb WORD [search options]"));
    return 2;
}
} // namespace

int main(int argc, char *argv[])
{
    // Drawing text needs fonts, which come with a GUI application; no window is shown.
    const bool render = argc > 1 && qstrcmp(argv[1], "render") == 0;
    if (render && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const std::unique_ptr<QCoreApplication> app
        = render ? std::make_unique<QGuiApplication>(argc, argv) : std::make_unique<QCoreApplication>(argc, argv);
    QStringList args = QCoreApplication::arguments().mid(1);
    if (args.isEmpty())
        return usage();
    const QString command = args.takeFirst();
    if (command == QLatin1String("create"))
        return tolvane::cli::runCreate(args);
    if (command == QLatin1String("register"))
        return tolvane::cli::runRegister(args);
    if (command == QLatin1String("dump"))
        return tolvane::cli::runDump(args);
    if (command == QLatin1String("search"))
        return tolvane::cli::runSearch(args);
    if (command == QLatin1String("classes"))
        return tolvane::cli::runClasses(args);
    if (command == QLatin1String("compact"))
        return tolvane::cli::runCompact(args);
    if (command == QLatin1String("repair"))
        return tolvane::cli::runRepair(args);
    if (command == QLatin1String("binder"))
        return tolvane::cli::runBinder(args);
    if (command == QLatin1String("render"))
        return tolvane::cli::runRender(args);
    if (command == QLatin1String("index"))
        return tolvane::cli::runIndex(args);
    if (command == QLatin1String("fulltext"))
        return tolvane::cli::runFullText(args);
    return usage();
}

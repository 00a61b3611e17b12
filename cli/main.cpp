// tolvane-cli: scripted use of catalogues (create, register, dump, search, index, fulltext).
#include <QCoreApplication>

#include "cli/commands.h"
#include "cli/consoleprompter.h"

namespace {
int usage()
{
    tolvane::cli::writeErr(QStringLiteral("usage: tolvane-cli create CATALOG.mdb\n"
                                          "       tolvane-cli register CATALOG.mdb FOLDER\n"
                                          "       tolvane-cli dump CATALOG.mdb TABLE\n"
                                          "       tolvane-cli search CATALOG.mdb ...\n"
                                          "       tolvane-cli index CATALOG.mdb\n"
                                          "       tolvane-cli fulltext CATALOG.mdb WORD [search options]"));
    return 2;
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
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
    if (command == QLatin1String("index"))
        return tolvane::cli::runIndex(args);
    if (command == QLatin1String("fulltext"))
        return tolvane::cli::runFullText(args);
    return usage();
}

// tolvane-cli: scripted use of catalogues (create, register, dump, search, classes, compact, repair,
// binders, index, fulltext) and drawing previews (render).
#include <cstdio>
#include <cstdlib> // defines __GLIBC__ with the C library's own headers
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <optional>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibrary>

#include "cli/commands.h"
#include "cli/consoleprompter.h"
#include "platform/jet/besidethread.h"

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

// The commands that live in the tolvane-cli-heavy module (heavymain.cpp).
bool isHeavyCommand(int argc, char *argv[])
{
    const char *command = argv[1];
    if (qstrcmp(command, "search") == 0) {
        for (int i = 2; i < argc; ++i)
            if (qstrcmp(argv[i], "--output") == 0)
                return true;
        return false;
    }
    return qstrcmp(command, "render") == 0 || qstrcmp(command, "index") == 0 || qstrcmp(command, "fulltext") == 0;
}

// Loads the module, from beside the program or else where the build left it, and runs the
// command there; the module makes its own application object.
int runHeavy(int argc, char *argv[])
{
    QString path;
    {
        const QCoreApplication app(argc, argv);
#ifdef Q_OS_WIN
        path = QCoreApplication::applicationDirPath() + QStringLiteral("/tolvane-cli-heavy.dll");
#else
        path = QCoreApplication::applicationDirPath() + QStringLiteral("/tolvane-cli-heavy.so");
#endif
#ifdef TOLVANE_CLI_HEAVY_BUILD_PATH
        if (!QFileInfo::exists(path))
            path = QString::fromUtf8(TOLVANE_CLI_HEAVY_BUILD_PATH);
#endif
    }
    QLibrary module(path);
    using Entry = int (*)(int, char **);
    const auto entry = reinterpret_cast<Entry>(module.resolve("tolvaneCliHeavyMain"));
    if (!entry) {
        tolvane::cli::writeErr(
            QStringLiteral("tolvane-cli: %1: %2").arg(QDir::toNativeSeparators(path), module.errorString()));
        return 1;
    }
    return entry(argc, argv);
}
} // namespace

int main(int argc, char *argv[])
{
#ifdef __GLIBC__
    // Blocks of 256 KB and more get their own mapping and go back to the system when freed.
    // (glibc raises this bound after each such block is freed, so that the lists a command
    // builds and drops in turn would stay resident in the heap.)
    mallopt(M_MMAP_THRESHOLD, 256 * 1024);
#endif
    if (argc > 1 && isHeavyCommand(argc, argv))
        return runHeavy(argc, argv);
    // A search splits its work in two: the second thread starts meanwhile.
    tolvane::jet::BesideThread::prepare();
    QStringList args;
    std::optional<QCoreApplication> app;
#ifndef Q_OS_WIN
    // Nothing a search does needs an application object, which takes a third of a millisecond to
    // make (a thirtieth of a search of a hundred thousand rows): its arguments are read as the
    // application would read them. (Windows passes them in another encoding.)
    if (argc > 1 && qstrcmp(argv[1], "search") == 0) {
        for (int i = 1; i < argc; ++i)
            args.append(QString::fromLocal8Bit(argv[i]));
    }
#endif
    if (args.isEmpty()) {
        app.emplace(argc, argv);
        args = QCoreApplication::arguments().mid(1);
    }
    if (args.isEmpty())
        return usage();
    const QString command = args.takeFirst();
    if (command == QLatin1String("create"))
        return tolvane::cli::runCreate(args);
    if (command == QLatin1String("register"))
        return tolvane::cli::runRegister(args);
    if (command == QLatin1String("dump"))
        return tolvane::cli::runDump(args);
    if (command == QLatin1String("search")) {
        // A search leaves nothing to put away (its catalogue is only read): once its output is
        // out, the process ends without freeing one by one what the system takes back at once.
        int code = tolvane::cli::runSearch(args);
        if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
            tolvane::cli::writeErr(QStringLiteral("tolvane-cli: cannot write the results"));
            code = 1;
        }
        std::fflush(stderr);
        std::_Exit(code);
    }
    if (command == QLatin1String("classes"))
        return tolvane::cli::runClasses(args);
    if (command == QLatin1String("compact"))
        return tolvane::cli::runCompact(args);
    if (command == QLatin1String("repair"))
        return tolvane::cli::runRepair(args);
    if (command == QLatin1String("binder"))
        return tolvane::cli::runBinder(args);
    return usage();
}

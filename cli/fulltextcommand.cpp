// tolvane-cli index and fulltext: build or refresh a catalogue's full-text index, and print the
// files that hold a word, among all registered files or among the rows of a catalogue search.
#include <csignal>
#include <cstdio>
#include <unistd.h>

#include <QElapsedTimer>
#include <QFileInfo>

#include "catalog/lifecycle.h"
#include "cli/commands.h"
#include "cli/consoleprompter.h"
#include "platform/extract/extractionpool.h"
#include "platform/jet/database.h"
#include "search/fulltext.h"
#include "search/fulltextindex.h"

namespace tolvane::cli {

namespace {

std::atomic<bool> g_interrupted { false };

// On a terminal one line is rewritten with the count and the current file.
search::FullTextEngine::Progress progressLine()
{
    if (!::isatty(2))
        return {};
    auto timer = std::make_shared<QElapsedTimer>();
    timer->start();
    return [timer](int done, int total, const QString &name) {
        if (done < total && timer->elapsed() < 100)
            return;
        timer->restart();
        const QByteArray line = QStringLiteral("\r%1/%2 %3").arg(done).arg(total).arg(name.left(60)).toUtf8();
        std::fprintf(stderr, "%s\x1b[K", line.constData());
        if (done == total)
            std::fprintf(stderr, "\n");
        std::fflush(stderr);
    };
}

struct Session {
    std::unique_ptr<jet::Database> db;
    std::unique_ptr<search::FullTextIndex> index;
};

int openSession(const QString &catalog, Session &s)
{
    auto opened = jet::Database::open(catalog, jet::Database::OpenMode::ReadOnly);
    if (!opened) {
        writeErr(QStringLiteral("%1: %2").arg(catalog, opened.status().toString()));
        return 1;
    }
    s.db = std::move(opened.value());
    if (!catalog::IsCatalog(*s.db)) {
        writeErr(catalog::notCatalogMessage());
        return 1;
    }
    auto index = search::FullTextIndex::open(search::FullTextIndex::locationFor(catalog));
    if (!index) {
        writeErr(QStringLiteral("index: %1").arg(index.status().toString()));
        return 1;
    }
    s.index = std::move(index.value());
    // Ctrl+C stops the extraction; what was indexed until then is kept.
    std::signal(SIGINT, [](int) { g_interrupted = true; });
    return 0;
}

} // namespace

int runIndex(const QStringList &args)
{
    if (args.size() != 1) {
        writeErr(QStringLiteral("usage: tolvane-cli index CATALOG.mdb"));
        return 1;
    }
    Session s;
    if (int rc = openSession(args.first(), s))
        return rc;
    Result<QStringList> paths = search::registeredPaths(*s.db);
    if (!paths) {
        writeErr(paths.status().toString());
        return 1;
    }
    extract::ExtractionPool pool;
    search::FullTextEngine engine(*s.index, pool);
    const Status st = engine.refresh(*paths, progressLine(), &g_interrupted);
    if (!st) {
        writeErr(QStringLiteral("index: %1").arg(st.toString()));
        return 1;
    }
    writeOut(QStringLiteral("%1: %2 files, %3 extracted, %4 failed")
                 .arg(s.index->file())
                 .arg(paths->size())
                 .arg(engine.lastExtracted())
                 .arg(engine.lastFailed()));
    return 0;
}

int runFullText(const QStringList &args)
{
    if (args.size() < 2) {
        writeErr(QStringLiteral("usage: tolvane-cli fulltext CATALOG.mdb WORD [--folder PATH | --name TEXT | "
                                "--class TEXT | --period FROM TO | --keyword TEXT] [--narrow CLASS]"));
        return 1;
    }
    const QString word = args.at(1).trimmed();
    if (word.isEmpty()) {
        writeErr(QStringLiteral("検索語句を記入して下さい。"));
        return 1;
    }
    Session s;
    if (int rc = openSession(args.first(), s))
        return rc;
    Result<QStringList> paths = QStringList();
    if (args.size() > 2) {
        CatalogueSearch run = searchCatalogue(*s.db, QStringList { args.first() } + args.mid(2));
        if (!run.result)
            return run.exitCode;
        paths = search::recordPaths(*s.db, *run.result);
    } else {
        paths = search::registeredPaths(*s.db);
    }
    if (!paths) {
        writeErr(paths.status().toString());
        return 1;
    }
    extract::ExtractionPool pool;
    search::FullTextEngine engine(*s.index, pool);
    Result<QList<bool>> hits = engine.find(*paths, word, progressLine(), &g_interrupted);
    if (!hits) {
        writeErr(QStringLiteral("fulltext: %1").arg(hits.status().toString()));
        return 1;
    }
    int count = 0;
    for (qsizetype i = 0; i < paths->size(); ++i) {
        if (hits->at(i)) {
            writeOut(paths->at(i));
            ++count;
        }
    }
    if (count == 0)
        writeOut(QStringLiteral("「%1」を含むファイルは見つかりませんでした。").arg(word));
    return 0;
}

} // namespace tolvane::cli

// Times the full-text search: the first search over generated documents (PDF, docx, odt and
// CP932 text; every file extracted in the worker processes and indexed) beside pdftotext over
// the same PDFs, and repeat searches over an index of many small documents. Usage:
// bench_fulltext [documents=1000] [indexed=10000]. Prints times and ratios; asserts nothing.
#include <algorithm>
#include <cstdio>

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "platform/extract/extractionpool.h"
#include "search/fulltext.h"
#include "search/fulltextindex.h"
#include "tests/search/fulltextfixtures.h"

using namespace tolvane;

namespace {

void say(const QString &line)
{
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

const QString kWords = QStringLiteral(u"管理票の改訂履歴を確認する図面第三版議事録設計変更の要点ｶﾀｶﾅＡＢＣ①髙橋〜 ");

QString sentence(QRandomGenerator &rng, int length)
{
    QString s;
    for (int i = 0; i < length; ++i)
        s += kWords.at(int(rng.bounded(kWords.size())));
    return s;
}

// Runs pdftotext over paths, two at a time (one per core), and returns the milliseconds.
qint64 pdftotextTime(const QStringList &paths)
{
    if (QStandardPaths::findExecutable(QStringLiteral("pdftotext")).isEmpty())
        return -1;
    QElapsedTimer t;
    t.start();
    QList<QProcess *> running;
    qsizetype next = 0;
    while (next < paths.size() || !running.isEmpty()) {
        while (running.size() < 2 && next < paths.size()) {
            auto *p = new QProcess;
            p->start(QStringLiteral("pdftotext"),
                { QStringLiteral("-enc"), QStringLiteral("UTF-8"), paths.at(next++), QStringLiteral("-") });
            running << p;
        }
        running.first()->waitForFinished(-1);
        running.first()->readAllStandardOutput();
        delete running.takeFirst();
    }
    return t.elapsed();
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    const int documents = argc > 1 ? std::atoi(argv[1]) : 1000;
    const int indexed = argc > 2 ? std::atoi(argv[2]) : 10000;
    QTemporaryDir dir;
    QRandomGenerator rng(7);

    // 1. The first search over generated documents of four families.
    QStringList pdfs;
    QStringList all;
    QElapsedTimer t;
    t.start();
    for (int i = 0; i < documents; ++i) {
        const QString text = sentence(rng, 200);
        const QString base = dir.filePath(QStringLiteral("doc%1").arg(i));
        switch (i % 4) {
        case 0: {
            QPdfWriter pdf(base + QStringLiteral(".pdf"));
            QPainter p(&pdf);
            p.setFont(QFont(QStringLiteral("Noto Sans CJK JP"), 10));
            for (int line = 0; line < 4; ++line)
                p.drawText(100, 200 + line * 300, text.mid(line * 50, 50));
            p.end();
            pdfs << base + QStringLiteral(".pdf");
            all << pdfs.last();
            break;
        }
        case 1:
            test::writeZip(base + QStringLiteral(".docx"),
                { { "word/document.xml",
                    "<w:document xmlns:w=\"w\"><w:body><w:p><w:r><w:t>" + test::xmlEscaped(text)
                        + "</w:t></w:r></w:p></w:body></w:document>" } });
            all << base + QStringLiteral(".docx");
            break;
        case 2:
            test::writeZip(base + QStringLiteral(".odt"),
                { { "content.xml",
                    "<office:document-content xmlns:office=\"o\" xmlns:text=\"t\"><office:body><text:p>"
                        + test::xmlEscaped(text) + "</text:p></office:body></office:document-content>" } });
            all << base + QStringLiteral(".odt");
            break;
        default:
            test::writeFile(base + QStringLiteral(".txt"), test::cp932(text));
            all << base + QStringLiteral(".txt");
        }
    }
    say(QStringLiteral("generated %1 documents (%2 PDF) in %3 ms").arg(documents).arg(pdfs.size()).arg(t.elapsed()));
    if (!QStandardPaths::findExecutable(QStringLiteral("soffice")).isEmpty())
        say(QStringLiteral("(LibreOffice is installed; .doc generation is not part of this run)"));

    const qint64 poppler = pdftotextTime(pdfs);
    extract::ExtractionPool pool;
    {
        auto index = search::FullTextIndex::open(dir.filePath(QStringLiteral("pdf.fulltext")));
        search::FullTextEngine engine(**index, pool);
        t.restart();
        engine.find(pdfs, QStringLiteral(u"議事録"));
        const qint64 ours = t.elapsed();
        say(QStringLiteral(
            "first search over %1 PDFs: %2 ms (%3 a minute); pdftotext alone, 2 at a time: %4 ms; ratio %5")
                .arg(pdfs.size())
                .arg(ours)
                .arg(pdfs.size() * 60000.0 / double(std::max<qint64>(1, ours)), 0, 'f', 0)
                .arg(poppler)
                .arg(poppler > 0 ? double(ours) / double(poppler) : 0.0, 0, 'f', 2));
    }
    {
        auto index = search::FullTextIndex::open(dir.filePath(QStringLiteral("all.fulltext")));
        search::FullTextEngine engine(**index, pool);
        t.restart();
        const auto hits = engine.find(all, QStringLiteral(u"議事録"));
        const qint64 first = t.elapsed();
        t.restart();
        engine.find(all, QStringLiteral(u"議事録"));
        say(QStringLiteral("first search over all %1 documents: %2 ms with %3 workers (%4 hits); repeat: %5 ms")
                .arg(all.size())
                .arg(first)
                .arg(pool.workerCount())
                .arg(hits ? hits->count(true) : -1)
                .arg(t.elapsed()));
    }

    // 2. Repeat searches over many indexed documents.
    QStringList many;
    const QString manyDir = dir.filePath(QStringLiteral("many"));
    QDir().mkpath(manyDir);
    for (int i = 0; i < indexed; ++i) {
        many << manyDir + QStringLiteral("/m%1.txt").arg(i);
        test::writeFile(many.last(), sentence(rng, 300).toUtf8());
    }
    auto index = search::FullTextIndex::open(dir.filePath(QStringLiteral("many.fulltext")));
    search::FullTextEngine engine(**index, pool);
    t.restart();
    engine.refresh(many);
    say(QStringLiteral("indexed %1 documents in %2 ms").arg(indexed).arg(t.elapsed()));
    QList<double> times;
    const QStringList queries { QStringLiteral(u"議"), QStringLiteral(u"議事録"), QStringLiteral(u"カタカナ"),
        QStringLiteral(u"abc"), QStringLiteral(u"改訂履歴を確認"), QStringLiteral(u"の"), QStringLiteral(u"①髙"),
        QStringLiteral(u"図面第三版"), QStringLiteral(u"要点"), QStringLiteral(u"存在しない語句") };
    for (int round = 0; round < 5; ++round) {
        for (const QString &q : queries) {
            QElapsedTimer one;
            one.start();
            const auto hits = engine.find(many, q);
            times << double(one.nsecsElapsed()) / 1e6;
            if (round == 0)
                say(QStringLiteral("  %1: %2 hits, %3 ms")
                        .arg(q)
                        .arg(hits ? hits->count(true) : -1)
                        .arg(times.last(), 0, 'f', 1));
        }
    }
    std::sort(times.begin(), times.end());
    say(QStringLiteral("repeat search over %1 indexed documents: median %2 ms, worst %3 ms (goal: under 25 ms)")
            .arg(indexed)
            .arg(times.at(times.size() / 2), 0, 'f', 1)
            .arg(times.last(), 0, 'f', 1));
    return 0;
}

// Times the full-text search: the first search over generated documents (PDF, docx, odt and
// CP932 text; every file extracted in the worker processes and indexed) beside pdftotext over
// the same PDFs; what a .doc (wvWare), .xls and .ppt (LibreOffice, several files a run, beside
// one run per file) cost a file; and repeat searches over an index of many small documents.
// Usage: bench_fulltext [documents=1000] [indexed=10000] [office=48].
// Prints times and ratios; asserts nothing.
#include <algorithm>
#include <cstdio>

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QMap>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "platform/extract/documenttext.h"
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
    const int office = argc > 3 ? std::atoi(argv[3]) : 48;
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

    // 2. Word, Excel and PowerPoint 97-2003 files, written by LibreOffice from flat ODF.
    if (office > 0 && !QStandardPaths::findExecutable(QStringLiteral("soffice")).isEmpty()) {
        const QString officeDir = dir.filePath(QStringLiteral("office"));
        QDir().mkpath(officeDir);
        t.restart();
        QMap<QString, QStringList> files;
        struct Family {
            const char *kind;
            const char *flat;
            const char *format;
        };
        for (const Family &f : { Family { "text", "fodt", "doc" }, Family { "spreadsheet", "fods", "xls" },
                 Family { "presentation", "fodp", "ppt" } }) {
            const QString format = QString::fromLatin1(f.format);
            QStringList sources;
            for (int i = 0; i < office; ++i) {
                sources << QStringLiteral("o%1.%2").arg(i).arg(QString::fromLatin1(f.flat));
                test::writeFile(QDir(officeDir).filePath(sources.last()), test::flatOdf(f.kind, sentence(rng, 400)));
                files[format] << QDir(officeDir).filePath(QStringLiteral("o%1.%2").arg(i).arg(format));
            }
            test::officeConvert(officeDir, dir.filePath(QStringLiteral("profile")), sources, f.format);
        }
        say(QStringLiteral("generated %1 each of .doc, .xls, .ppt through LibreOffice in %2 ms")
                .arg(office)
                .arg(t.elapsed()));
        // The route of old: one LibreOffice run per file (in process, its profile made first).
        extract::DocumentTextExtractor reader;
        reader.extract(files[QStringLiteral("xls")].first());
        const int alone = std::min<int>(8, office);
        for (const QString &format : { QStringLiteral("xls"), QStringLiteral("ppt") }) {
            t.restart();
            for (int i = 0; i < alone; ++i)
                reader.extract(files[format].at(i));
            say(QStringLiteral("  .%1, one LibreOffice run per file: %2 ms a file")
                    .arg(format)
                    .arg(double(t.elapsed()) / alone, 0, 'f', 0));
        }
        // What a first search pays: the workers (%1 of them), new ones each time, so that their
        // LibreOffice profile is made within the time, as it is on a search's first use.
        for (const QString &format : { QStringLiteral("doc"), QStringLiteral("xls"), QStringLiteral("ppt") }) {
            extract::ExtractionPool fresh;
            int withText = 0;
            t.restart();
            fresh.run(files[format], [&withText](qsizetype, extract::ExtractionOutcome o) {
                if (o.kind == extract::ExtractionOutcome::Kind::Text && o.text.size() > 100)
                    ++withText;
            });
            const qint64 ms = t.elapsed();
            say(QStringLiteral("  .%1 through %2 workers: %3 files in %4 ms, %5 ms a file (%6 a minute), %7 with text")
                    .arg(format)
                    .arg(fresh.workerCount())
                    .arg(office)
                    .arg(ms)
                    .arg(double(ms) / office, 0, 'f', 1)
                    .arg(office * 60000.0 / double(std::max<qint64>(1, ms)), 0, 'f', 0)
                    .arg(withText));
        }
    }

    // 3. Repeat searches over many indexed documents.
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

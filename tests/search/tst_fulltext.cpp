// Full-text search below the window: every document family extracted with all its needles (in
// process and through the worker processes), the index answering exactly as a substring search
// over the same normalised text, and the engine over a real folder: changed files read again,
// deleted ones never hits and dropped from the index, a file that crashes or hangs its worker a
// miss that does not stop the search and is not tried again until it changes; where the index
// lives and how a damaged one is replaced.
#include <sys/stat.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include "fulltextfixtures.h"
#include "platform/extract/documenttext.h"
#include "platform/extract/extractionpool.h"
#include "platform/extract/searchtext.h"
#include "search/fulltext.h"
#include "search/fulltextindex.h"

using namespace tolvane;
using namespace Qt::StringLiterals;

namespace {

bool holds(const QString &text, const QString &query)
{
    return !extract::findOccurrences(text, query).isEmpty();
}

// Gives a file another modification time (a second later), as an edit would.
void touchLater(const QString &path)
{
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadWrite));
    QVERIFY(f.setFileTime(f.fileTime(QFileDevice::FileModificationTime).addSecs(1), QFileDevice::FileModificationTime));
}

} // namespace

class TestFullText : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void normalisation();
    void everyFamilyHoldsItsNeedles();
    void workersGiveTheSameText();
    void formatsWithoutReaderGiveNoText();
    void indexAnswersAsSubstringSearch();
    void engineFollowsTheFiles();
    void crashAndHangAreMissesNotRetried();
    void indexLocationAndRepair();

private:
    QTemporaryDir m_dir;
    QString m_docs;
    QStringList m_names;
    QHash<QString, QString> m_texts; // of each name, read in process
};

void TestFullText::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(m_dir.isValid());
    m_docs = m_dir.filePath(u"docs"_s);
    QVERIFY(QDir().mkpath(m_docs));
    m_names = test::writeDocuments(m_docs);
    QVERIFY(!m_names.isEmpty());
    // .doc, .xls and .ppt come from LibreOffice; Write and Lotus files are built byte by byte.
    const QStringList legacy = test::writeLegacyDocuments(m_docs, m_dir.filePath(u"office-profile"_s));
    QVERIFY2(!legacy.isEmpty(), "LibreOffice could not write the .doc, .xls and .ppt samples");
    m_names += legacy;
    // Workbooks of the same name elsewhere, or named like another's sheet: LibreOffice reads
    // several files in one run and must not confuse their outputs.
    QVERIFY(QDir().mkpath(m_docs + u"/copy"_s));
    for (const QString &copy : { u"copy/sheet.xls"_s, u"copy/sheet-一.xls"_s, u"copy/f0.xls"_s }) {
        QVERIFY(QFile::copy(QDir(m_docs).filePath(u"sheet.xls"_s), QDir(m_docs).filePath(copy)));
        m_names << copy;
    }
}

void TestFullText::normalisation()
{
    // Width, case, voicing marks written apart, the wave dash, and blanks next to CJK.
    QCOMPARE(extract::normalizeForSearch(u"ＡＢＣ abc ﾊﾟｿｺﾝ 〜 ～"_s), u"abc abcパソコン~ ~"_s);
    QCOMPARE(extract::normalizeForSearch(u"議事録\n  の\tまとめ  two   words "_s), u"議事録のまとめtwo words"_s);
    // Marks are placed on the source text: left to right, never overlapping, whole clusters.
    const QString text = u"aaa ﾊﾟｿｺﾝとパソコン AAA"_s;
    const auto aa = extract::findOccurrences(text, u"ａａ"_s);
    QCOMPARE(aa.size(), 2);
    QCOMPARE(aa.at(0).start, 0);
    QCOMPARE(aa.at(0).length, 2);
    QCOMPARE(aa.at(1).start, text.indexOf(u"AAA"_s));
    const auto pc = extract::findOccurrences(text, u"パソコン"_s);
    QCOMPARE(pc.size(), 2);
    QCOMPARE(text.mid(pc.at(0).start, pc.at(0).length), u"ﾊﾟｿｺﾝ"_s);
    QCOMPARE(text.mid(pc.at(1).start, pc.at(1).length), u"パソコン"_s);
    QVERIFY(extract::findOccurrences(text, u"  "_s).isEmpty());
}

void TestFullText::everyFamilyHoldsItsNeedles()
{
    // All at once, as a worker is asked for a group: LibreOffice reads the workbooks in one run.
    extract::DocumentTextExtractor reader;
    QStringList paths;
    for (const QString &name : std::as_const(m_names))
        paths << QDir(m_docs).filePath(name);
    const QList<Result<QString>> texts = reader.extractAll(paths);
    QCOMPARE(texts.size(), m_names.size());
    for (qsizetype i = 0; i < m_names.size(); ++i) {
        const QString &name = m_names.at(i);
        QVERIFY2(texts.at(i), qPrintable(name + u": "_s + texts.at(i).status().toString()));
        m_texts[name] = texts.at(i).value();
        for (const test::Needle &n : test::needles()) {
            // ISO-2022-JP has no IBM extensions: the mail's plain part says 高橋, its HTML part 髙橋.
            QVERIFY2(holds(m_texts[name], n.query), qPrintable(name + u" lacks the "_s + QString::fromLatin1(n.what)));
        }
    }
    // What is not the document's text stays out of it.
    QVERIFY(!m_texts[u"page.html"_s].contains(u"スクリプト"_s));
    QVERIFY(!m_texts[u"sheet.xlsx"_s].contains(u"ヨミガナ"_s));
    QVERIFY(m_texts[u"sheet.xlsx"_s].contains(u"inline cell"_s));
    QVERIFY(!m_texts[u"minutes.docx"_s].contains(u"PAGE"_s));
    QVERIFY(m_texts[u"minutes.docx"_s].contains(u"\nsecond paragraph"_s));
    QVERIFY(m_texts[u"mail.eml"_s].startsWith(u"件名の確認\n"_s));
    // Slides in their order, not in the zip's.
    for (const QString &slides : { u"slides.pptx"_s, u"slides.ppt"_s })
        QVERIFY(m_texts[slides].indexOf(u"議事録"_s) < m_texts[slides].indexOf(u"MixedCase"_s));
    // Every sheet of a workbook, with its numbers as shown; each workbook its own sheets only.
    for (const QString &book : { u"sheet.xls"_s, u"copy/sheet.xls"_s, u"copy/sheet-一.xls"_s, u"copy/f0.xls"_s }) {
        QVERIFY(m_texts[book].indexOf(u"議事録"_s) < m_texts[book].indexOf(u"MixedCase"_s));
        QCOMPARE(m_texts[book].count(u"42"_s), 2);
    }
    // One file alone takes the same route.
    QCOMPARE(*reader.extract(QDir(m_docs).filePath(u"slides.ppt"_s)), m_texts[u"slides.ppt"_s]);
    // Damaged files give no text, without crashing.
    for (const char *name : { "bad.docx", "bad.pdf", "bad.odt", "bad.eml", "bad.wk3", "bad.wri", "bad.doc", "bad.xls",
             "bad.ppt", "bad.wj2" }) {
        const QString path = QDir(m_docs).filePath(QString::fromLatin1(name));
        QVERIFY(test::writeFile(path, QByteArray("PK\x03\x04 truncated \x00\xff garbage", 24)));
        Result<QString> none = reader.extract(path);
        QVERIFY2(!none || none->trimmed().isEmpty() || QByteArray(name) == "bad.eml", name);
        QFile::remove(path);
    }
}

void TestFullText::workersGiveTheSameText()
{
    // Two workers: the four workbooks go to LibreOffice two at a time.
    extract::ExtractionOptions options;
    options.workers = 2;
    extract::ExtractionPool pool(options);
    QStringList paths;
    for (const QString &name : std::as_const(m_names))
        paths << QDir(m_docs).filePath(name);
    // Answers arrive on the workers' threads: each index is written by one of them only.
    std::vector<QString> texts(size_t(paths.size()));
    std::vector<int> kinds(size_t(paths.size()), -1);
    std::vector<std::atomic<int>> seen(size_t(paths.size()));
    QVERIFY(pool.run(paths, [&](qsizetype i, extract::ExtractionOutcome o) {
        texts[size_t(i)] = o.text;
        kinds[size_t(i)] = int(o.kind);
        ++seen[size_t(i)];
    }));
    for (qsizetype i = 0; i < paths.size(); ++i) {
        QCOMPARE(seen[size_t(i)].load(), 1);
        QCOMPARE(kinds[size_t(i)], int(extract::ExtractionOutcome::Kind::Text));
        QCOMPARE(texts[size_t(i)], m_texts.value(m_names.at(i)));
    }
}

void TestFullText::formatsWithoutReaderGiveNoText()
{
    // Ichitaro, OASYS and .bun have no reader here: no text, at once, in process and in the
    // workers (whose time limit is short here, so a hang would come back as TimedOut).
    QStringList paths;
    for (const char *name : { "letter.jtd", "letter.jtt", "letter.jaw", "letter.jtw", "letter.jbw", "letter.juw",
             "letter.jfw", "letter.jvw", "memo.oas", "memo.oa2", "memo.oa3", "note.bun" }) {
        paths << QDir(m_docs).filePath(QString::fromLatin1(name));
        QVERIFY(test::writeFile(
            paths.last(), "\x1a a document of another word processor " + test::cp932(test::kNeedleText)));
    }
    extract::DocumentTextExtractor reader;
    for (const QString &path : std::as_const(paths))
        QCOMPARE(*reader.extract(path), QString());
    extract::ExtractionOptions options;
    options.baseMilliseconds = 3000;
    extract::ExtractionPool pool(options);
    std::atomic<int> answered { 0 };
    QVERIFY(pool.run(paths, [&](qsizetype, extract::ExtractionOutcome o) {
        if (o.kind == extract::ExtractionOutcome::Kind::Text && o.text.isEmpty())
            ++answered;
    }));
    QCOMPARE(answered.load(), int(paths.size()));
    for (const QString &path : std::as_const(paths))
        QFile::remove(path);
}

void TestFullText::indexAnswersAsSubstringSearch()
{
    // Random documents over an alphabet rich in the characters the rule folds together.
    const QString alphabet = u"議事録の要点がぎギｷﾞカタｶﾀアイうえおＡＢＣabcABCxyz①髙〜～ 　\n\"*():-^+.,"_s;
    QRandomGenerator rng(12);
    auto randomText = [&](int length) {
        QString s;
        for (int i = 0; i < length; ++i)
            s += alphabet.at(int(rng.bounded(alphabet.size())));
        return s;
    };
    Result<std::unique_ptr<search::FullTextIndex>> opened
        = search::FullTextIndex::open(m_dir.filePath(u"oracle.fulltext"_s));
    QVERIFY(opened);
    search::FullTextIndex &index = **opened;
    QList<QString> docs;
    QVERIFY(index.begin());
    for (int d = 0; d < 120; ++d) {
        docs << extract::normalizeForSearch(randomText(int(rng.bounded(0, 300))));
        QVERIFY(
            index.store(u"/doc/%1"_s.arg(d), { true, d, d }, search::FullTextIndex::State::Text, u"v"_s, docs.last()));
    }
    QVERIFY(index.commit());
    int nonEmptyAnswers = 0;
    for (int q = 0; q < 400; ++q) {
        // Half the queries are cut from a document (so that they are found), half are random.
        QString query;
        if (q % 2 == 0) {
            const QString &doc = docs.at(int(rng.bounded(docs.size())));
            if (doc.isEmpty())
                continue;
            const int at = int(rng.bounded(doc.size()));
            query = doc.mid(at, int(rng.bounded(1, 9)));
        } else {
            query = randomText(int(rng.bounded(1, 9)));
        }
        const QString needle = extract::normalizeForSearch(query);
        if (needle.isEmpty())
            continue;
        QSet<qint64> expected;
        for (int d = 0; d < docs.size(); ++d) {
            if (docs.at(d).contains(needle))
                expected.insert(index.entry(u"/doc/%1"_s.arg(d))->id);
        }
        Result<QSet<qint64>> got = index.match(needle);
        QVERIFY2(got, qPrintable(got.status().toString()));
        QVERIFY2(*got == expected,
            qPrintable(u"query \"%1\": %2 found, %3 expected"_s.arg(needle).arg(got->size()).arg(expected.size())));
        nonEmptyAnswers += expected.isEmpty() ? 0 : 1;
    }
    QVERIFY(nonEmptyAnswers > 150);
}

void TestFullText::engineFollowsTheFiles()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString a = dir.filePath(u"a.txt"_s);
    const QString b = dir.filePath(u"b.docx"_s);
    const QString skipped = dir.filePath(u"c.Txt"_s); // not a searchable spelling
    QVERIFY(test::writeFile(a, test::cp932(u"初版の本文"_s)));
    QVERIFY(test::writeZip(b, { { "word/document.xml", test::wordml() } }));
    QVERIFY(test::writeFile(skipped, "MixedCase"));
    Result<std::unique_ptr<search::FullTextIndex>> index = search::FullTextIndex::open(dir.filePath(u"i.fulltext"_s));
    QVERIFY(index);
    extract::ExtractionPool pool;
    search::FullTextEngine engine(**index, pool);
    const QStringList paths { a, b, skipped, dir.filePath(u"missing.txt"_s) };

    QCOMPARE(*engine.find(paths, u"mixedCASE"_s), (QList<bool> { false, true, false, false }));
    QCOMPARE(engine.lastExtracted(), 2);
    QCOMPARE(*engine.find(paths, u"初版"_s), (QList<bool> { true, false, false, false }));
    QCOMPARE(engine.lastExtracted(), 0); // answered from the index

    // A changed file is read again before the answer; a deleted one is no hit.
    QVERIFY(test::writeFile(a, test::cp932(u"第二版の本文"_s)));
    touchLater(a);
    QCOMPARE(*engine.find(paths, u"初版"_s), (QList<bool> { false, false, false, false }));
    QCOMPARE(*engine.find(paths, u"第二版"_s), (QList<bool> { true, false, false, false }));
    QVERIFY(QFile::remove(b));
    QCOMPARE(*engine.find(paths, u"議事録"_s), (QList<bool> { false, false, false, false }));
    // Deleted files leave the index, whether still listed or already gone from the list.
    QCOMPARE(engine.lastForgotten(), 1);
    const QString d = dir.filePath(u"d.txt"_s);
    QVERIFY(test::writeFile(d, "dropped"));
    QCOMPARE(*engine.find(paths + QStringList { d }, u"dropped"_s), (QList<bool> { false, false, false, false, true }));
    QVERIFY(QFile::remove(d));
    QCOMPARE(*engine.find(paths, u"dropped"_s), (QList<bool> { false, false, false, false }));
    QCOMPARE(engine.lastForgotten(), 1);
    QVERIFY(!(*index)->entry(b) && !(*index)->entry(d));

    // The index outlives the program: a new engine on the same file reads nothing again.
    index->reset();
    index = search::FullTextIndex::open(dir.filePath(u"i.fulltext"_s));
    QVERIFY(index);
    search::FullTextEngine again(**index, pool);
    QCOMPARE(*again.find(paths, u"第二版"_s), (QList<bool> { true, false, false, false }));
    QCOMPARE(again.lastExtracted(), 0);

    // A cancel before the first file leaves the index as it was.
    QVERIFY(test::writeFile(a, test::cp932(u"第三版"_s)));
    touchLater(a);
    std::atomic<bool> cancel { true };
    Result<QList<bool>> stopped = again.find(paths, u"第三版"_s, {}, &cancel);
    QVERIFY(!stopped);
    QCOMPARE(stopped.status().code(), Status::Code::Cancelled);
    QCOMPARE(*again.find(paths, u"第三版"_s), (QList<bool> { true, false, false, false }));
}

void TestFullText::crashAndHangAreMissesNotRetried()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QStringList paths;
    for (const char *name : { "before.txt", "crash.txt", "hang.txt", "after.txt" }) {
        paths << dir.filePath(QString::fromLatin1(name));
        QVERIFY(test::writeFile(paths.last(), "needle in " + QByteArray(name)));
    }
    // Workbooks go to a worker two at a time: the one beside the crash still gives its text.
    for (const char *name : { "book1.xls", "crash.xls", "book2.xls" }) {
        paths << dir.filePath(QString::fromLatin1(name));
        QVERIFY(QFile::copy(QDir(m_docs).filePath(u"sheet.xls"_s), paths.last()));
        QVERIFY(QFile::setPermissions(paths.last(), QFile::ReadOwner | QFile::WriteOwner));
    }
    qputenv("TOLVANE_EXTRACT_FAULTS", "crash=crash.txt;hang=hang.txt;crash=crash.xls");
    extract::ExtractionOptions options;
    options.workers = 2;
    options.baseMilliseconds = 3000;
    extract::ExtractionPool pool(options);
    // The workbooks' pool waits longer: a new worker's LibreOffice makes its profile first.
    options.baseMilliseconds = 30000;
    extract::ExtractionPool books(options);
    Result<std::unique_ptr<search::FullTextIndex>> index = search::FullTextIndex::open(dir.filePath(u"i.fulltext"_s));
    QVERIFY(index);
    search::FullTextEngine engine(**index, pool);
    QCOMPARE(*engine.find(paths.mid(0, 4), u"needle"_s), (QList<bool> { true, false, false, true }));
    QCOMPARE(engine.lastFailed(), 2);
    search::FullTextEngine bookEngine(**index, books);
    QCOMPARE(*bookEngine.find(paths.mid(4), u"議事録"_s), (QList<bool> { true, false, true }));
    QCOMPARE(bookEngine.lastExtracted(), 3);
    QCOMPARE(bookEngine.lastFailed(), 1);
    // Not tried again while they stay as they are, even with the faults gone...
    qunsetenv("TOLVANE_EXTRACT_FAULTS");
    extract::ExtractionPool healthy;
    search::FullTextEngine next(**index, healthy);
    QCOMPARE(*next.find(paths, u"needle"_s), (QList<bool> { true, false, false, true, false, false, false }));
    QCOMPARE(next.lastExtracted(), 0);
    // ...and read again once they change.
    touchLater(paths.at(1));
    touchLater(paths.at(2));
    touchLater(paths.at(5));
    QCOMPARE(*next.find(paths, u"needle"_s), (QList<bool> { true, true, true, true, false, false, false }));
    QCOMPARE(next.lastExtracted(), 3);
    QCOMPARE(*next.find(paths, u"議事録"_s), (QList<bool> { false, false, false, false, true, true, true }));
}

void TestFullText::indexLocationAndRepair()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString catalog = dir.filePath(u"cat.mdb"_s);
    QCOMPARE(search::FullTextIndex::locationFor(catalog), catalog + u".fulltext"_s);

    // A catalogue in a folder that takes no new files gets its index in the cache folder.
    const QString locked = dir.filePath(u"locked"_s);
    QVERIFY(QDir().mkpath(locked));
    QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    if (QFile probe(locked + u"/probe"_s); probe.open(QIODevice::WriteOnly)) {
        probe.close();
        probe.remove();
        // An administrator writes anywhere: lock the folder harder where the system allows it.
        QProcess::execute(u"chattr"_s, { u"+i"_s, locked });
    }
    const QString lockedCatalog = locked + u"/cat.mdb"_s;
    const QString where = search::FullTextIndex::locationFor(lockedCatalog);
    QProcess::execute(u"chattr"_s, { u"-i"_s, locked });
    QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    if (where == lockedCatalog + u".fulltext"_s)
        QSKIP("this system lets the test write into any folder");
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    QVERIFY2(where.startsWith(cache), qPrintable(where));
    QVERIFY(where != search::FullTextIndex::locationFor(dir.filePath(u"other/cat.mdb"_s)));

    // A damaged index file, or one of another make, is replaced by an empty one.
    const QString file = dir.filePath(u"repair.fulltext"_s);
    QVERIFY(test::writeFile(file, QByteArray(8192, '\x5a')));
    Result<std::unique_ptr<search::FullTextIndex>> index = search::FullTextIndex::open(file);
    QVERIFY2(index, qPrintable(index.status().toString()));
    QVERIFY((*index)->begin());
    QVERIFY((*index)->store(u"/x"_s, { true, 1, 1 }, search::FullTextIndex::State::Text, u"v"_s, u"abc"_s));
    QVERIFY((*index)->commit());
    index->reset();
    {
        QProcess sqlite;
        sqlite.start(u"sqlite3"_s, { file, u"UPDATE meta SET value = 'old' WHERE key = 'tokenizer'"_s });
        if (!sqlite.waitForFinished() || sqlite.exitCode() != 0)
            QSKIP("no sqlite3 program to age the index");
    }
    index = search::FullTextIndex::open(file);
    QVERIFY(index);
    QCOMPARE((*index)->fileCount(), 0);
}

QTEST_MAIN(TestFullText)
#include "tst_fulltext.moc"

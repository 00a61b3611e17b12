// tolvane-cli search, the built program run on a real catalogue file: each kind of search,
// narrowing, the zero-result and narrowing messages, and refused arguments; tolvane-cli index
// and fulltext over real files.
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include "search/searchtexts.h"
#include "searchcatalogue.h"

using namespace tolvane;
using namespace Qt::StringLiterals;

class TestSearchCommand : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void rows_data();
    void rows();
    void fieldsOfARow();
    void messages();
    void refused_data();
    void refused();
    void fullText();

private:
    struct Run {
        int exitCode = -1;
        QStringList lines;
        QString err;
    };
    Run run(const QStringList &args) const;
    Run runCommand(const QStringList &args) const;

    QTemporaryDir m_dir;
    QString m_path;
};

TestSearchCommand::Run TestSearchCommand::run(const QStringList &args) const
{
    return runCommand(QStringList { u"search"_s } + args);
}

TestSearchCommand::Run TestSearchCommand::runCommand(const QStringList &args) const
{
    QProcess p;
    p.start(QStringLiteral(TOLVANE_CLI_PATH), args);
    Run r;
    if (!p.waitForFinished(60000))
        return r;
    r.exitCode = p.exitCode();
    const QString out = QString::fromUtf8(p.readAllStandardOutput());
    r.lines = out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

void TestSearchCommand::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_path = m_dir.filePath(u"cli.mdb"_s);
    test::SearchCatalogue cat;
    QVERIFY(cat.create(m_path));
    cat.addSampleFiles();
}

void TestSearchCommand::rows_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QStringList>("names");

    const QString minase = QStringLiteral(u"水無瀬\u3000灯");
    QTest::newRow("keyword, trimmed") << QStringList { u"--keyword"_s, u" ab% "_s }
                                      << QStringList { u"report.doc"_s, u"plan_a.pdf"_s, u"planXa.pdf"_s };
    QTest::newRow("period") << QStringList { u"--period"_s, u"2009/12/30"_s, u"12/31/2009"_s }
                            << QStringList { u"report.doc"_s, u"plan_a.pdf"_s, u"O'Brien.txt"_s };
    QTest::newRow("folder") << QStringList { u"--folder"_s, u"C:\\photos"_s }
                            << QStringList { u"O'Brien.txt"_s, u"[draft].txt"_s, u"a_c.txt"_s, u"memo.txt"_s };
    QTest::newRow("narrowed, option first") << QStringList { u"--narrow"_s, minase, u"--class"_s, minase }
                                            << QStringList { u"memo.txt"_s, u"plan_a.pdf"_s };
}

void TestSearchCommand::rows()
{
    QFETCH(QStringList, args);
    QFETCH(QStringList, names);
    const Run r = run(QStringList { m_path } + args);
    QCOMPARE(r.exitCode, 0);
    QStringList got;
    for (const QString &line : r.lines) {
        const QStringList fields = line.split(QLatin1Char('\t'));
        QCOMPARE(fields.size(), 7);
        got.append(fields.at(1));
    }
    QCOMPARE(got, names);
}

void TestSearchCommand::fieldsOfARow()
{
    const Run r = run({ m_path, u"--name"_s, u"report.doc"_s });
    QCOMPARE(r.exitCode, 0);
    QCOMPARE(r.lines, QStringList { QStringLiteral(u"朝霧\u3000凪\treport.doc\t2009-12-30\tabc\t1\t1\t&HFFFFC0") });
    // Null fields print as nothing.
    const Run nulls = run({ m_path, u"--name"_s, u"scan.tif"_s });
    QCOMPARE(nulls.lines, QStringList { u"\tscan.tif\t2010-02-01\t\t1\t0\t"_s });
}

void TestSearchCommand::messages()
{
    Run r = run({ m_path, u"--keyword"_s, u"nothing"_s });
    QCOMPARE(r.exitCode, 0);
    QCOMPARE(r.lines, QStringList { search::kZeroResultMessage });

    r = run({ m_path, u"--period"_s, u"2010/01/01"_s, u"2009/12/30"_s });
    QCOMPARE(r.exitCode, 0);
    QCOMPARE(r.lines, QStringList { search::kZeroResultMessage });

    r = run({ m_path, u"--keyword"_s, u"%"_s, u"--narrow"_s, u"O'Neil"_s });
    QCOMPARE(r.exitCode, 0);
    QCOMPARE(r.lines, search::narrowEmptyMessage(u"O'Neil"_s).split(QLatin1Char('\n')));
}

void TestSearchCommand::refused_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::newRow("nothing") << QStringList {};
    QTest::newRow("no search") << QStringList { u"@"_s };
    QTest::newRow("two searches") << QStringList { u"@"_s, u"--name"_s, u"a"_s, u"--keyword"_s, u"b"_s };
    QTest::newRow("period needs two dates") << QStringList { u"@"_s, u"--period"_s, u"2009/01/01"_s };
    QTest::newRow("unknown option") << QStringList { u"@"_s, u"--colour"_s, u"red"_s };
    QTest::newRow("not a date") << QStringList { u"@"_s, u"--period"_s, u"開始日付"_s, u"まで"_s };
    QTest::newRow("empty word") << QStringList { u"@"_s, u"--keyword"_s, QString() };
    QTest::newRow("no such catalogue") << QStringList { u"/nonexistent/x.mdb"_s, u"--name"_s, u"a"_s };
}

void TestSearchCommand::refused()
{
    QFETCH(QStringList, args);
    if (!args.isEmpty() && args.first() == u"@"_s)
        args.first() = m_path;
    const Run r = run(args);
    QCOMPARE(r.exitCode, 1);
    QVERIFY(r.lines.isEmpty());
    QVERIFY(!r.err.isEmpty());
}

void TestSearchCommand::fullText()
{
    const QString docs = m_dir.filePath(u"docs"_s);
    QVERIFY(QDir().mkpath(docs));
    auto write = [&](const QString &name, const QByteArray &bytes) {
        QFile f(QDir(docs).filePath(name));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(bytes);
    };
    write(u"a.txt"_s, QStringLiteral(u"第三回議事録").toUtf8());
    write(u"b.txt"_s, "minutes");
    const QString catalog = m_dir.filePath(u"fulltext.mdb"_s);
    test::SearchCatalogue cat;
    QVERIFY(cat.create(catalog, docs));
    const QDateTime day(QDate(2024, 1, 1), QTime(0, 0));
    cat.addFile({ u""_s, u"a.txt"_s, day, u"k"_s, 1, 0, u""_s });
    cat.addFile({ u""_s, u"b.txt"_s, day, u"k"_s, 1, 0, u""_s });
    cat.release();

    Run r = runCommand({ u"index"_s, catalog });
    QCOMPARE(r.exitCode, 0);
    QCOMPARE(r.lines, QStringList { catalog + u".fulltext: 2 files, 2 extracted, 0 failed"_s });
    r = runCommand({ u"fulltext"_s, catalog, u"議事録"_s });
    QCOMPARE(r.exitCode, 0);
    QCOMPARE(r.lines, QStringList { QDir(docs).filePath(u"a.txt"_s) });
    // Among the rows of a catalogue search only.
    r = runCommand({ u"fulltext"_s, catalog, u"議事録"_s, u"--name"_s, u"b.txt"_s });
    QCOMPARE(r.lines, QStringList { u"「議事録」を含むファイルは見つかりませんでした。"_s });
    r = runCommand({ u"fulltext"_s, catalog, u" "_s });
    QCOMPARE(r.exitCode, 1);
}

QTEST_GUILESS_MAIN(TestSearchCommand)
#include "tst_searchcommand.moc"

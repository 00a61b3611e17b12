// tolvane-cli create, register, dump and render, run as a separate process on real files.
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include "../browser/testfolders.h"
#include "../viewer/drawingsamples.h"
#include "catalog/schema.h"
#include "platform/jet/database.h"
#include "platform/jet/recordset.h"
#include "support/oracles.h"

namespace {

struct Run {
    int code = -1;
    QString out;
    QString err;
};

Run cli(const QStringList &args)
{
    QProcess p;
    p.start(QStringLiteral(TOLVANE_CLI_PATH), args);
    Run r;
    if (!p.waitForFinished(600000))
        return r;
    r.code = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

} // namespace

class TestCli : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp;

private slots:
    void createRegisterDump()
    {
        QVERIFY(m_tmp.isValid());
        const QString mdb = m_tmp.path() + QStringLiteral("/台帳.mdb");

        Run r = cli({ QStringLiteral("create"), mdb });
        QCOMPARE(r.code, 0);
        QCOMPARE(r.out,
            m_tmp.path()
                + QStringLiteral("/台帳.mdb が使えるようになりました。\nDBオープンボタンで使用開始します。\n"));
        QVERIFY(QFile::exists(mdb));
        // An existing file is never overwritten.
        r = cli({ QStringLiteral("create"), mdb });
        QCOMPARE(r.code, 1);
        QCOMPARE(r.err, QStringLiteral("データベース作成に失敗しました。\n"));

        r = cli({ QStringLiteral("dump"), mdb, QStringLiteral("classn") });
        QCOMPARE(r.code, 0);
        QCOMPARE(r.out, QStringLiteral("朝霧　凪\t&HFFFFC0\t1\n水無瀬　灯\t&HC0FFFF\t2\n霜月　柊\t&HFFC0C0\t3\n"));

        // A folder given with a trailing separator is registered as the file list shows it.
        const QString folder = m_tmp.path() + QStringLiteral("/書類");
        QVERIFY(QDir().mkpath(folder));
        const QDateTime when(QDate(2022, 8, 1), QTime(10, 30));
        QVERIFY(tolvane::test::writeFile(folder + QStringLiteral("/O'Neil.doc"), 10, when));
        QVERIFY(tolvane::test::writeFile(folder + QStringLiteral("/見積.pdf"), 10, when));
        r = cli({ QStringLiteral("register"), mdb, folder + QLatin1Char('/') });
        QCOMPARE(r.code, 0);
        QCOMPARE(r.out, QStringLiteral("2件のファイル情報を登録しました。\n"));
        QCOMPARE(r.err, QString());

        r = cli({ QStringLiteral("dump"), mdb, QStringLiteral("PATH_NAME") });
        QCOMPARE(r.out, QStringLiteral("1\t") + QDir::toNativeSeparators(folder) + QLatin1Char('\n'));
        r = cli({ QStringLiteral("dump"), mdb, QStringLiteral("FILE_ATR") });
        QCOMPARE(r.out,
            QStringLiteral("\tO'Neil.doc\t2022-08-01 00:00:00\t\t1\t0\t\n"
                           "\t見積.pdf\t2022-08-01 00:00:00\t\t1\t0\t\n"));

        QVERIFY(QFile::remove(folder + QStringLiteral("/見積.pdf")));
        QVERIFY(tolvane::test::setModified(
            folder + QStringLiteral("/O'Neil.doc"), QDateTime(QDate(2022, 9, 2), QTime(8, 0))));
        r = cli({ QStringLiteral("register"), mdb, folder });
        QCOMPARE(r.code, 0);
        QCOMPARE(
            r.out, QStringLiteral("全ファイル登録済みです。 削除ファイル数：1　追加ファイル数：0　日付訂正数：1\n"));
        r = cli({ QStringLiteral("dump"), mdb, QStringLiteral("FILE_ATR") });
        QCOMPARE(r.out, QStringLiteral("\tO'Neil.doc\t2022-09-02 00:00:00\t\t1\t0\t\n"));
        r = cli({ QStringLiteral("dump"), mdb, QStringLiteral("IDno") });
        QCOMPARE(r.out, QStringLiteral("1\t0\t0\t0\t0\t0\t0\n"));
        // The folder search finds it in any of the folder's spellings.
        for (const QString &spelling : { folder, folder + QLatin1Char('/'), folder + QStringLiteral("/./") }) {
            r = cli({ QStringLiteral("search"), mdb, QStringLiteral("--folder"), spelling });
            QCOMPARE(r.code, 0);
            QVERIFY2(r.out.contains(QStringLiteral("\tO'Neil.doc\t")), qPrintable(spelling));
        }
        // File-name patterns with character lists, as Jet reads them.
        for (const char *pattern : { "[a-z]'%", "[!見]%.doc", "O'Neil.[cd]oc%" }) {
            r = cli({ QStringLiteral("search"), mdb, QStringLiteral("--name"), QString::fromUtf8(pattern) });
            QVERIFY2(r.out.contains(QStringLiteral("\tO'Neil.doc\t")), pattern);
        }

        // Stored text comes out as stored (a backslash stays one); only a tab or line break in
        // it is escaped so that the row stays one line.
        const QString odd = m_tmp.path() + QStringLiteral("/odd");
        QVERIFY(QDir().mkpath(odd));
        QVERIFY(tolvane::test::writeFile(odd + QStringLiteral("/C:\\報告\tA.txt"), 1, when));
        r = cli({ QStringLiteral("register"), mdb, odd });
        QCOMPARE(r.code, 0);
        r = cli({ QStringLiteral("dump"), mdb, QStringLiteral("FILE_ATR") });
        QVERIFY2(
            r.out.endsWith(QStringLiteral("\tC:\\報告\\tA.txt\t2022-08-01 00:00:00\t\t2\t0\t\n")), qPrintable(r.out));
    }

    // A search written to a spreadsheet or a CSV file instead of the terminal: the seven
    // headings, one row per file, Japanese text and dates as printed.
    void searchToSpreadsheet()
    {
        const QString mdb = m_tmp.path() + QStringLiteral("/export.mdb");
        QCOMPARE(cli({ QStringLiteral("create"), mdb }).code, 0);
        const QString folder = m_tmp.path() + QStringLiteral("/写真");
        QVERIFY(QDir().mkpath(folder));
        const QDateTime when(QDate(2023, 3, 14), QTime(9, 0));
        for (const char *name : { "港の朝.jpg", "橋, 北側.png", "\"quoted\".tif" })
            QVERIFY(tolvane::test::writeFile(folder + QLatin1Char('/') + QString::fromUtf8(name), 10, when));
        QCOMPARE(cli({ QStringLiteral("register"), mdb, folder }).code, 0);

        const QString csv = m_tmp.path() + QStringLiteral("/結果.csv");
        Run r = cli({ QStringLiteral("search"), mdb, QStringLiteral("--keyword"), QStringLiteral("%"),
            QStringLiteral("--output"), csv });
        QCOMPARE(r.code, 0);
        QCOMPARE(r.out, QStringLiteral("3件の検索結果を %1 に書き出しました。\n").arg(csv));
        QFile file(csv);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        QVERIFY(bytes.startsWith("\xEF\xBB\xBF"));
        const QStringList lines = QString::fromUtf8(bytes.mid(3)).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 4);
        QCOMPARE(lines[0], QStringLiteral("分類,ファイル名,更新年月日,キーワード,ファイル所在,History,BackCo"));
        QVERIFY(lines.contains(QStringLiteral(",港の朝.jpg,2023-03-14,,1,0,")));
        QVERIFY(lines.contains(QStringLiteral(",\"橋, 北側.png\",2023-03-14,,1,0,")));
        QVERIFY(lines.contains(QStringLiteral(",\"\"\"quoted\"\".tif\",2023-03-14,,1,0,")));

        const QString xlsx = m_tmp.path() + QStringLiteral("/結果.xlsx");
        r = cli({ QStringLiteral("search"), mdb, QStringLiteral("--name"), QStringLiteral("港%"),
            QStringLiteral("--output"), xlsx });
        QCOMPARE(r.code, 0);
        QProcess unzip;
        unzip.start(QStringLiteral("unzip"), { QStringLiteral("-p"), xlsx, QStringLiteral("xl/sharedStrings.xml") });
        QVERIFY(unzip.waitForFinished());
        const QString strings = QString::fromUtf8(unzip.readAllStandardOutput());
        QVERIFY(strings.contains(QStringLiteral("<t>港の朝.jpg</t>")));
        QVERIFY(strings.contains(QStringLiteral("<t>2023-03-14</t>")));
        QVERIFY(strings.contains(QStringLiteral("<t>ファイル名</t>")));
        unzip.start(
            QStringLiteral("unzip"), { QStringLiteral("-p"), xlsx, QStringLiteral("xl/worksheets/sheet1.xml") });
        QVERIFY(unzip.waitForFinished());
        QCOMPARE(QString::fromUtf8(unzip.readAllStandardOutput()).count(QStringLiteral("<row ")), 2);

        // Only the two formats are written.
        QCOMPARE(cli({ QStringLiteral("search"), mdb, QStringLiteral("--keyword"), QStringLiteral("%"),
                         QStringLiteral("--output"), m_tmp.path() + QStringLiteral("/x.txt") })
                     .code,
            1);
    }

    void killedRegistrationIsAllOrNothing()
    {
        const QString mdb = m_tmp.path() + QStringLiteral("/k.mdb");
        QCOMPARE(cli({ QStringLiteral("create"), mdb }).code, 0);
        const QString folder = m_tmp.path() + QStringLiteral("/many");
        QVERIFY(QDir().mkpath(folder));
        const int count = 12000;
        for (int i = 0; i < count; ++i)
            QVERIFY(tolvane::test::writeFile(folder + QStringLiteral("/f%1.txt").arg(i), 0));

        // The kill lands somewhere in the run, or after it: either way the catalogue holds the
        // whole registration or none of it.
        QProcess p;
        p.start(QStringLiteral(TOLVANE_CLI_PATH), { QStringLiteral("register"), mdb, folder });
        QVERIFY(p.waitForStarted());
        QTest::qWait(100);
        p.kill();
        p.waitForFinished();

        const Run files = cli({ QStringLiteral("dump"), mdb, QStringLiteral("FILE_ATR") });
        const Run paths = cli({ QStringLiteral("dump"), mdb, QStringLiteral("PATH_NAME") });
        const Run ids = cli({ QStringLiteral("dump"), mdb, QStringLiteral("IDno") });
        QCOMPARE(files.code, 0);
        const auto rows = files.out.count(QLatin1Char('\n'));
        const bool none = rows == 0 && paths.out.isEmpty() && ids.out.startsWith(QStringLiteral("0\t"));
        const bool all
            = rows == count && paths.out.count(QLatin1Char('\n')) == 1 && ids.out.startsWith(QStringLiteral("1\t"));
        QVERIFY2(
            none || all, qPrintable(QStringLiteral("%1 rows, paths: %2, ids: %3").arg(rows).arg(paths.out, ids.out)));

        // And the catalogue is usable: registering again completes it.
        const Run again = cli({ QStringLiteral("register"), mdb, folder });
        QCOMPARE(again.code, 0);
        QCOMPARE(cli({ QStringLiteral("dump"), mdb, QStringLiteral("FILE_ATR") }).out.count(QLatin1Char('\n')), count);
    }

    // compact and repair on a registered catalogue; a kill anywhere in a compaction leaves a
    // catalogue that holds every row.
    void compactAndRepair()
    {
        const QString mdb = m_tmp.path() + QStringLiteral("/c.mdb");
        QCOMPARE(cli({ QStringLiteral("create"), mdb }).code, 0);
        const QString folder = m_tmp.path() + QStringLiteral("/compact");
        QVERIFY(QDir().mkpath(folder));
        const int count = 3000;
        for (int i = 0; i < count; ++i)
            QVERIFY(tolvane::test::writeFile(folder + QStringLiteral("/f%1.txt").arg(i), 0));
        QCOMPARE(cli({ QStringLiteral("register"), mdb, folder }).code, 0);
        const QString rows = cli({ QStringLiteral("dump"), mdb, QStringLiteral("FILE_ATR") }).out;

        for (int kill = 0; kill < 6; ++kill) {
            QProcess p;
            p.start(QStringLiteral(TOLVANE_CLI_PATH), { QStringLiteral("compact"), mdb });
            QVERIFY(p.waitForStarted());
            QTest::qWait(kill * 15);
            p.kill();
            p.waitForFinished();
            QCOMPARE(cli({ QStringLiteral("dump"), mdb, QStringLiteral("FILE_ATR") }).out, rows);
        }
        Run r = cli({ QStringLiteral("compact"), mdb });
        QCOMPARE(r.code, 0);
        QVERIFY2(r.out.startsWith(QStringLiteral("データベースの最適化が終わりました。\n")), qPrintable(r.out));
        QCOMPARE(cli({ QStringLiteral("dump"), mdb, QStringLiteral("FILE_ATR") }).out, rows);
        QVERIFY(!QFile::exists(m_tmp.path() + QStringLiteral("/c.bak")));

        // Repair writes c_修復.mdb beside the file and reports each table.
        r = cli({ QStringLiteral("repair"), mdb });
        QCOMPARE(r.code, 0);
        const QString repaired = m_tmp.path() + QStringLiteral("/c_修復.mdb");
        QVERIFY2(
            r.out.contains(QStringLiteral("FILE_ATR：%1 行を救出、0 行を失いました。").arg(count)), qPrintable(r.out));
        QCOMPARE(cli({ QStringLiteral("dump"), repaired, QStringLiteral("FILE_ATR") }).out, rows);
        // ... and never over an existing file.
        r = cli({ QStringLiteral("repair"), mdb });
        QCOMPARE(r.code, 1);
        QVERIFY(r.err.startsWith(QStringLiteral("修復ができませんでした。")));
    }

    // The binder commands on a registered folder: the window's rules and messages, refusals
    // with status 1, listings in BdNo and DocNo order.
    void binders()
    {
        const QString mdb = m_tmp.path() + QStringLiteral("/b.mdb");
        QCOMPARE(cli({ QStringLiteral("create"), mdb }).code, 0);
        const QString folder = m_tmp.path() + QStringLiteral("/綴");
        QVERIFY(QDir().mkpath(folder));
        for (const char *name : { "a.txt", "b.txt" })
            QVERIFY(tolvane::test::writeFile(folder + QLatin1Char('/') + QString::fromLatin1(name), 1));
        QCOMPARE(cli({ QStringLiteral("register"), mdb, folder }).code, 0);
        auto binder = [&](QStringList args) {
            args.insert(1, mdb);
            args.prepend(QStringLiteral("binder"));
            return cli(args);
        };

        QCOMPARE(binder({ QStringLiteral("create"), QStringLiteral("請求書") }).code, 0);
        Run r = binder({ QStringLiteral("create"), QStringLiteral(" 請求書 ") });
        QCOMPARE(r.code, 1);
        QCOMPARE(r.err, QStringLiteral("同名のバインダが既にあります。　別の名前に変更してください。\n"));
        QCOMPARE(binder({ QStringLiteral("create"), QStringLiteral("見積") }).code, 0);
        r = binder({ QStringLiteral("list") });
        QCOMPARE(r.out, QStringLiteral("1\t請求書\t1\n3\t見積\t3\n"));

        r = binder({ QStringLiteral("add"), QStringLiteral("請求書"), folder, QStringLiteral("b.txt") });
        QCOMPARE(r.code, 0);
        QCOMPARE(r.out, QStringLiteral("表示中のファイルを、バインダ「請求書」　に登録しました。\n"));
        QCOMPARE(binder({ QStringLiteral("add"), QStringLiteral("請求書"), folder, QStringLiteral("a.txt") }).code, 0);
        QCOMPARE(
            binder({ QStringLiteral("add"), QStringLiteral("請求書"), folder, QStringLiteral("none.txt") }).code, 1);
        QCOMPARE(binder({ QStringLiteral("add"), QStringLiteral("無い"), folder, QStringLiteral("a.txt") }).code, 1);
        r = binder({ QStringLiteral("move"), QStringLiteral("請求書"), QStringLiteral("a.txt"), QStringLiteral("up") });
        QCOMPARE(r.code, 0);
        QCOMPARE(r.out, QStringLiteral("並べ替えを登録しました。\n"));
        r = binder({ QStringLiteral("contents"), QStringLiteral("請求書") });
        QCOMPARE(r.out, QStringLiteral("1\ta.txt\t1\t1\n1\tb.txt\t1\t2\n"));
        r = binder({ QStringLiteral("move"), QStringLiteral("見積"), QStringLiteral("a.txt"), QStringLiteral("up") });
        QCOMPARE(r.code, 1);
        QCOMPARE(r.err, QStringLiteral("バインダにはファイルがありません。\n"));

        QCOMPARE(binder({ QStringLiteral("rename"), QStringLiteral("見積"), QStringLiteral("請求書") }).code, 1);
        QCOMPARE(binder({ QStringLiteral("rename"), QStringLiteral("見積"), QStringLiteral("見積書") }).code, 0);
        QCOMPARE(binder({ QStringLiteral("delete"), QStringLiteral("請求書") }).code, 0);
        QCOMPARE(binder({ QStringLiteral("list") }).out, QStringLiteral("3\t見積書\t3\n"));
        QCOMPARE(cli({ QStringLiteral("dump"), mdb, QStringLiteral("BINDER") }).out, QString());
        QCOMPARE(cli({ QStringLiteral("dump"), mdb, QStringLiteral("FILE_ATR") }).out.count(QLatin1Char('\n')), 2);
        QCOMPARE(binder({ QStringLiteral("list"), QStringLiteral("extra") }).code, 2);
    }

    // A catalogue cut short (a copy from a share that failed): every command says it is
    // damaged and what was found; reading ones go on with what can be read, writing ones stop.
    void damagedCatalogue()
    {
        const QString mdb = m_tmp.path() + QStringLiteral("/損傷.mdb");
        QCOMPARE(cli({ QStringLiteral("create"), mdb }).code, 0);
        const QString folder = m_tmp.path() + QStringLiteral("/305");
        QVERIFY(QDir().mkpath(folder));
        for (int i = 0; i < 305; ++i)
            QVERIFY(tolvane::test::writeFile(folder + QStringLiteral("/file%1.txt").arg(i), 0));
        QCOMPARE(cli({ QStringLiteral("register"), mdb, folder }).code, 0);
        {
            QFile f(mdb);
            QVERIFY(f.resize(f.size() - 6000));
        }
        QFile f(mdb);
        QVERIFY(f.open(QIODevice::ReadOnly));
        const QByteArray bytes = f.readAll();
        f.close();
        const QString damaged = QStringLiteral("データベースが損傷しているため、読み取り専用で開きました。");

        Run r = cli({ QStringLiteral("register"), mdb, folder });
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.startsWith(damaged), qPrintable(r.err));
        QVERIFY2(r.err.contains(QStringLiteral("FILE_ATR")), qPrintable(r.err));
        QVERIFY2(r.err.contains(QStringLiteral("ページの途中で終わっています")), qPrintable(r.err));
        r = cli({ QStringLiteral("dump"), mdb, QStringLiteral("FILE_ATR") });
        QCOMPARE(r.code, 0);
        QVERIFY2(r.err.startsWith(damaged), qPrintable(r.err));
        const auto listed = r.out.count(QLatin1Char('\n'));
        QVERIFY(listed > 0 && listed < 305);
        r = cli({ QStringLiteral("search"), mdb, QStringLiteral("--name"), QStringLiteral("%") });
        QCOMPARE(r.code, 0);
        QVERIFY2(r.err.startsWith(damaged), qPrintable(r.err));
        QCOMPARE(r.out.count(QLatin1Char('\n')), listed);
        QVERIFY(f.open(QIODevice::ReadOnly));
        QCOMPARE(f.readAll(), bytes);
    }

    void refusals()
    {
        const QString mdb = m_tmp.path() + QStringLiteral("/r.mdb");
        QCOMPARE(cli({ QStringLiteral("create"), mdb }).code, 0);
        const QString empty = m_tmp.path() + QStringLiteral("/empty");
        QVERIFY(QDir().mkpath(empty));
        Run r = cli({ QStringLiteral("register"), mdb, empty });
        QCOMPARE(r.code, 1);
        QCOMPARE(r.err, QStringLiteral("ファイルが存在しません。　左パネルからフォルダを選択してください。\n"));
        QCOMPARE(r.out, QString());

        // A file the catalogue cannot store is named on standard error; the rest is registered.
        const QString longName = QString(121, QLatin1Char('n'));
        QVERIFY(tolvane::test::writeFile(empty + QLatin1Char('/') + longName, 1, QDateTime::currentDateTime()));
        QVERIFY(tolvane::test::writeFile(empty + QStringLiteral("/a.txt"), 1, QDateTime::currentDateTime()));
        r = cli({ QStringLiteral("register"), mdb, empty });
        QCOMPARE(r.code, 0);
        QCOMPARE(r.out, QStringLiteral("1件のファイル情報を登録しました。\n"));
        QCOMPARE(r.err,
            QStringLiteral("次の1件のファイルは登録できませんでした。\n　") + longName
                + QStringLiteral("（ファイル名が長すぎます（120文字まで））\n"));

#ifdef Q_OS_LINUX
        // Results that cannot be written (a full disk) fail the search, with a word.
        QProcess full;
        full.setStandardOutputFile(QStringLiteral("/dev/full"));
        full.start(QStringLiteral(TOLVANE_CLI_PATH),
            { QStringLiteral("search"), mdb, QStringLiteral("--name"), QStringLiteral("%") });
        QVERIFY(full.waitForFinished(60000));
        QCOMPARE(full.exitCode(), 1);
        QCOMPARE(full.readAllStandardError(), QByteArray("tolvane-cli: cannot write the results\n"));
#endif

        r = cli({ QStringLiteral("dump"), mdb, QStringLiteral("NoSuchTable") });
        QCOMPARE(r.code, 1);
        QVERIFY(!r.err.isEmpty());
        r = cli({ QStringLiteral("dump"), m_tmp.path() + QStringLiteral("/missing.mdb"), QStringLiteral("DBID") });
        QCOMPARE(r.code, 1);
        QCOMPARE(cli({ QStringLiteral("register"), mdb }).code, 2);

        // A Jet file that is not a catalogue (another writer's, or one whose DBID row is gone)
        // is refused by every command that works on a catalogue, as the window refuses it.
        const QString foreign = m_tmp.path() + QStringLiteral("/foreign.mdb");
        QVERIFY(QFile::copy(QStringLiteral(TOLVANE_SHARED_DIR "/testdata/jackcess-sample.mdb"), foreign));
        const QString noMark = m_tmp.path() + QStringLiteral("/nomark.mdb");
        QVERIFY(QFile::copy(mdb, noMark));
        {
            auto db = tolvane::jet::Database::open(noMark);
            QVERIFY(db);
            auto dbid = (*db)->openTable(tolvane::catalog::kDbidTable);
            QVERIFY(dbid && !(*dbid)->eof());
            QVERIFY((*dbid)->deleteCurrent());
        }
        const QString notCatalog = QStringLiteral("Tolvane 用データベースを選択してください。\n");
        for (const QString &file : { foreign, noMark }) {
            for (const QStringList &args :
                { QStringList { QStringLiteral("search"), file, QStringLiteral("--keyword"), QStringLiteral("%") },
                    QStringList { QStringLiteral("register"), file, empty },
                    QStringList { QStringLiteral("classes"), QStringLiteral("list"), file },
                    QStringList { QStringLiteral("binder"), QStringLiteral("list"), file },
                    QStringList { QStringLiteral("compact"), file }, QStringList { QStringLiteral("index"), file },
                    QStringList { QStringLiteral("fulltext"), file, QStringLiteral("語") } }) {
                r = cli(args);
                QCOMPARE(r.code, 1);
                QCOMPARE(r.err, notCatalog);
                QCOMPARE(r.out, QString());
            }
        }
    }

    // classes set replaces the list in the order of the file's positions; a refused file or
    // value leaves it as it was.
    void classesListAndSet()
    {
        const QString mdb = m_tmp.path() + QStringLiteral("/分類.mdb");
        QCOMPARE(cli({ QStringLiteral("create"), mdb }).code, 0);
        const QString sample
            = QStringLiteral("朝霧　凪\t&HFFFFC0\t1\n水無瀬　灯\t&HC0FFFF\t2\n霜月　柊\t&HFFC0C0\t3\n");
        QCOMPARE(cli({ QStringLiteral("classes"), QStringLiteral("list"), mdb }).out, sample);

        auto listFile = [&](const QString &name, const QString &text) {
            QFile f(m_tmp.path() + QLatin1Char('/') + name);
            if (!f.open(QIODevice::WriteOnly))
                return QString();
            f.write("\xEF\xBB\xBF" + text.toUtf8()); // with a byte-order mark, as Windows editors write
            return f.fileName();
        };
        const QString tsv = listFile(QStringLiteral("new.tsv"),
            QStringLiteral("O'Neil's　図面\t12648447\t20\r\n\r\nｶﾀﾛｸﾞ\t\t5\r\n見積\t&HFFC0C0\t5\r\n"));
        Run r = cli({ QStringLiteral("classes"), QStringLiteral("set"), mdb, tsv });
        QCOMPARE(r.err, QString());
        QCOMPARE(r.code, 0);
        QCOMPARE(cli({ QStringLiteral("classes"), QStringLiteral("list"), mdb }).out,
            QStringLiteral("ｶﾀﾛｸﾞ\t\t1\n見積\t&HFFC0C0\t2\nO'Neil's　図面\t12648447\t3\n"));
        QVERIFY(tolvane::test::jetCheck(mdb).ok);

        const QString listed = cli({ QStringLiteral("classes"), QStringLiteral("list"), mdb }).out;
        const QString tooLong = listFile(QStringLiteral("long.tsv"),
            QStringLiteral("a\t1\t1\n") + QString(61, QLatin1Char('x')) + QStringLiteral("\t2\t2\n"));
        r = cli({ QStringLiteral("classes"), QStringLiteral("set"), mdb, tooLong });
        QCOMPARE(r.code, 1);
        QVERIFY(r.err.contains(QStringLiteral("row 2")));
        const QString badColour = listFile(QStringLiteral("colour.tsv"), QStringLiteral("a\tred\t1\n"));
        r = cli({ QStringLiteral("classes"), QStringLiteral("set"), mdb, badColour });
        QCOMPARE(r.code, 1);
        QVERIFY(r.err.contains(QStringLiteral("colour.tsv:1:")));
        const QString twoFields = listFile(QStringLiteral("two.tsv"), QStringLiteral("a\t1\n"));
        QCOMPARE(cli({ QStringLiteral("classes"), QStringLiteral("set"), mdb, twoFields }).code, 1);
        QCOMPARE(cli({ QStringLiteral("classes"), QStringLiteral("list"), mdb }).out, listed);
        QCOMPARE(cli({ QStringLiteral("classes"), QStringLiteral("add"), mdb }).code, 2);
    }

    void renderDrawing()
    {
        // An A3 sheet 600 pixels wide comes out in its proportions, on black, with the frame.
        const QString sfc = m_tmp.path() + QStringLiteral("/plan.sfc");
        QFile f(sfc);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(tolvane::test::drawings::sampleSfc());
        f.close();
        const QString png = m_tmp.path() + QStringLiteral("/plan.png");
        Run r = cli({ QStringLiteral("render"), sfc, png, QStringLiteral("--width"), QStringLiteral("600") });
        QCOMPARE(r.code, 0);
        const QImage image(png);
        QCOMPARE(image.size(), QSize(600, 424));
        QCOMPARE(image.pixelColor(2, 2), QColor(Qt::black));

        r = cli({ QStringLiteral("render"), m_tmp.path() + QStringLiteral("/none.p21"), png });
        QCOMPARE(r.code, 1);
        QVERIFY(r.err.contains(QStringLiteral("NotFound")));
    }
};

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"

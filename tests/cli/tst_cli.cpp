// tolvane-cli create, register, dump and render, run as a separate process on real files.
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include "../browser/testfolders.h"
#include "../viewer/drawingsamples.h"

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

        r = cli({ QStringLiteral("dump"), mdb, QStringLiteral("NoSuchTable") });
        QCOMPARE(r.code, 1);
        QVERIFY(!r.err.isEmpty());
        r = cli({ QStringLiteral("dump"), m_tmp.path() + QStringLiteral("/missing.mdb"), QStringLiteral("DBID") });
        QCOMPARE(r.code, 1);
        QCOMPARE(cli({ QStringLiteral("register"), mdb }).code, 2);
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

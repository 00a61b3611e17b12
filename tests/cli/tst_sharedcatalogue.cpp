// One catalogue, several writers: tolvane-cli processes registering folders at the same time
// while another one searches, slips edited through two connections while a registration runs,
// a slip whose row another process replaced meanwhile, and writers that find the catalogue held
// by someone else. Nothing anyone committed is lost or overwritten, no reader sees half a
// commit, and every file written passes the independent readers.
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include "../browser/testfolders.h"
#include "../jet/jetfixtures.h"
#include "catalog/failuretext.h"
#include "catalog/lifecycle.h"
#include "platform/jet/recordset.h"
#include "registration/slip.h"
#include "search/searchtexts.h"

using namespace tolvane;
using namespace Qt::StringLiterals;

namespace {

struct Run {
    int code = -1;
    QString out;
    QString err;
};

Run finished(QProcess &p)
{
    Run r;
    if (p.state() != QProcess::NotRunning && !p.waitForFinished(600000))
        return r;
    r.code = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

void start(QProcess &p, const QStringList &args)
{
    p.start(QStringLiteral(TOLVANE_CLI_PATH), args);
}

Run cli(const QStringList &args)
{
    QProcess p;
    start(p, args);
    return finished(p);
}

// Files per registered folder: the figure an office met (3,000) unless the environment asks
// for another.
int filesPerFolder()
{
    const int n = qEnvironmentVariableIntValue("TOLVANE_SHARED_FILES");
    return n > 0 ? n : 3000;
}

QString makeFolder(const QString &path, int files)
{
    if (!QDir().mkpath(path))
        return {};
    for (int i = 0; i < files; ++i)
        if (!test::writeFile(path + u"/doc%1.txt"_s.arg(i, 5, 10, QLatin1Char('0')), i % 7))
            return {};
    return QDir::toNativeSeparators(path);
}

QMap<int, int> rowsPerFolder(jet::Database &db)
{
    QMap<int, int> rows;
    db.scan(u"FILE_ATR"_s, [&](jet::RowId, const jet::Row &r) {
        ++rows[r.at(4).toInt()];
        return true;
    });
    return rows;
}

} // namespace

class TstSharedCatalogue : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp;
    QString newCatalogue(const QString &name)
    {
        const QString mdb = m_tmp.filePath(name);
        return cli({ u"create"_s, mdb }).code == 0 ? mdb : QString();
    }

private slots:
    void fourRegistrationsAndASearcher()
    {
        const int n = filesPerFolder();
        const QString mdb = newCatalogue(u"共有.mdb"_s);
        QVERIFY(!mdb.isEmpty());
        QStringList folders;
        for (int f = 0; f < 4; ++f) {
            folders << makeFolder(m_tmp.filePath(u"部署%1"_s.arg(f)), n);
            QVERIFY(!folders.last().isEmpty());
        }

        QElapsedTimer clock;
        clock.start();
        std::array<QProcess, 4> writers;
        for (int f = 0; f < 4; ++f)
            start(writers[f], { u"register"_s, mdb, folders[f] });
        // A reader searches throughout: every answer holds whole registrations only.
        QList<int> seen;
        bool running = true;
        while (running) {
            const Run search = cli({ u"search"_s, mdb, u"--name"_s, u"%"_s });
            QCOMPARE(search.code, 0);
            const int rows = search.out.startsWith(search::kZeroResultMessage) ? 0 : int(search.out.count(u'\n'));
            QVERIFY2(rows % n == 0, qPrintable(u"a search saw %1 rows"_s.arg(rows)));
            seen << rows;
            running = false;
            for (QProcess &w : writers)
                running = (w.state() != QProcess::NotRunning && !w.waitForFinished(0)) || running;
            QVERIFY(clock.elapsed() < 240000);
        }
        for (QProcess &w : writers) {
            const Run r = finished(w);
            QVERIFY2(r.code == 0, qPrintable(r.err));
            QCOMPARE(r.out, u"%1件のファイル情報を登録しました。\n"_s.arg(n));
        }
        qInfo(
            "4 x %d files registered at once in %lld ms; the searcher saw %s rows", n, clock.elapsed(), qPrintable([&] {
                QStringList t;
                for (int s : seen)
                    t << QString::number(s);
                t.removeDuplicates();
                return t.join(u' ');
            }()));

        auto db = jet::Database::open(mdb, jet::Database::OpenMode::ReadOnly);
        QVERIFY(db);
        QCOMPARE(rowsPerFolder(**db), (QMap<int, int> { { 1, n }, { 2, n }, { 3, n }, { 4, n } }));
        QStringList paths;
        for (const jet::Row &r : test::scanAll(**db, u"PATH_NAME"_s))
            paths << r.at(1).toString();
        paths.sort();
        QCOMPARE(paths, folders);
        QCOMPARE(test::scanAll(**db, u"IDno"_s).value(0).value(0).toInt(), 4);
        db->reset();
        JET_VERIFY_ORACLES(mdb);
    }

    // The same folder registered by three processes at once: registered once, synchronised twice.
    void oneFolderFromThreeWritersAtOnce()
    {
        const QString mdb = newCatalogue(u"同じ.mdb"_s);
        QVERIFY(!mdb.isEmpty());
        const QString folder = makeFolder(m_tmp.filePath(u"同じ部署"_s), 300);
        QVERIFY(!folder.isEmpty());
        std::array<QProcess, 3> writers;
        for (QProcess &w : writers)
            start(w, { u"register"_s, mdb, folder });
        QStringList outs;
        for (QProcess &w : writers) {
            const Run r = finished(w);
            QVERIFY2(r.code == 0, qPrintable(r.err));
            outs << r.out;
        }
        outs.sort();
        QCOMPARE(outs,
            (QStringList { u"300件のファイル情報を登録しました。\n"_s,
                u"全ファイル登録済みです。 削除ファイル数：0　追加ファイル数：0　日付訂正数：0\n"_s,
                u"全ファイル登録済みです。 削除ファイル数：0　追加ファイル数：0　日付訂正数：0\n"_s }));
        auto db = jet::Database::open(mdb, jet::Database::OpenMode::ReadOnly);
        QVERIFY(db);
        QCOMPARE(test::scanAll(**db, u"PATH_NAME"_s).size(), 1);
        QCOMPARE(rowsPerFolder(**db), (QMap<int, int> { { 1, 300 } }));
    }

    void slipEditsFromTwoConnectionsDuringARegistration()
    {
        const int n = filesPerFolder();
        const QString mdb = newCatalogue(u"票.mdb"_s);
        QVERIFY(!mdb.isEmpty());
        const QString first = makeFolder(m_tmp.filePath(u"先"_s), 300);
        const QString later = makeFolder(m_tmp.filePath(u"後"_s), n);
        QVERIFY(!first.isEmpty() && !later.isEmpty());
        QCOMPARE(cli({ u"register"_s, mdb, first }).code, 0);

        // Two connections, as two windows have, each with the result list of the first folder.
        std::unique_ptr<jet::Database> conns[2];
        std::unique_ptr<jet::Recordset> lists[2];
        for (int c = 0; c < 2; ++c) {
            auto db = jet::Database::open(mdb);
            QVERIFY(db && !(*db)->isReadOnly());
            conns[c] = db.take();
            auto rs = conns[c]->openTable(u"FILE_ATR"_s);
            QVERIFY(rs);
            lists[c] = rs.take();
            QCOMPARE(lists[c]->recordCount(), 300);
        }
        QProcess registering;
        start(registering, { u"register"_s, mdb, later });
        // Each connection edits its own records in turn, before, during and after the
        // registration's transaction.
        int edits = 0;
        for (int i = 0; i < 300; ++i) {
            jet::Recordset &rs = *lists[i % 2];
            rs.moveFirst();
            rs.move(i);
            const registration::SlipEdit edit { u"分類%1"_s.arg(i % 3), u"編集%1-%2"_s.arg(i % 2).arg(i),
                u"&HC0FFFF"_s };
            const Status saved = registration::SaveSlipFields(*conns[i % 2], rs, edit);
            QVERIFY2(saved, qPrintable(saved.toString()));
            ++edits;
            if (i % 50 == 0)
                QTest::qWait(20);
        }
        const Run r = finished(registering);
        QVERIFY2(r.code == 0, qPrintable(u"%1 %2 %3"_s.arg(r.code).arg(r.out, r.err)));
        QCOMPARE(r.out, u"%1件のファイル情報を登録しました。\n"_s.arg(n));
        for (auto &rs : lists)
            rs.reset();
        for (auto &c : conns)
            c.reset();

        auto db = jet::Database::open(mdb, jet::Database::OpenMode::ReadOnly);
        QVERIFY(db);
        QCOMPARE(rowsPerFolder(**db), (QMap<int, int> { { 1, 300 }, { 2, n } }));
        QStringList keywords;
        for (const jet::Row &row : test::scanAll(**db, u"FILE_ATR"_s))
            if (row.at(4).toInt() == 1)
                keywords << row.at(3).toString();
        QCOMPARE(keywords.size(), 300);
        for (int i = 0; i < 300; ++i)
            QVERIFY2(keywords.contains(u"編集%1-%2"_s.arg(i % 2).arg(i)), qPrintable(u"edit %1 lost"_s.arg(i)));
        db->reset();
        JET_VERIFY_ORACLES(mdb);
    }

    // A window's result list holds row ids across transactions. Another process synchronises
    // the folder: one file's row is deleted and a new file's row takes its place in the file
    // (the same row id). Saving the old row's slip, or deleting it, is refused with a reason
    // the window shows, and the new row stays as that process wrote it. So is a save over a
    // row another connection changed since; rows nobody touched save as before.
    void slipOfARowReplacedElsewhereIsRefused()
    {
        const QString mdb = newCatalogue(u"入替.mdb"_s);
        QVERIFY(!mdb.isEmpty());
        const QString folder = makeFolder(m_tmp.filePath(u"入替"_s), 300);
        QVERIFY(!folder.isEmpty());
        QCOMPARE(cli({ u"register"_s, mdb, folder }).code, 0);

        auto mine = jet::Database::open(mdb);
        QVERIFY(mine);
        jet::Database &db = **mine;
        auto opened = db.openTable(u"FILE_ATR"_s);
        QVERIFY(opened);
        jet::Recordset &list = **opened;
        const auto rowNamed = [&](const QString &name) {
            for (list.moveFirst(); !list.eof(); list.moveNext())
                if (list.field(u"fName"_s).toString() == name)
                    return true;
            return false;
        };
        QVERIFY(rowNamed(u"doc00005.txt"_s));
        const jet::RowId held = list.currentId();

        QVERIFY(QFile::remove(folder + u"/doc00005.txt"_s));
        QVERIFY(test::writeFile(folder + u"/new00005.txt"_s, 3));
        const Run sync = cli({ u"register"_s, mdb, folder });
        QCOMPARE(sync.code, 0);
        QVERIFY2(sync.out.contains(u"削除ファイル数：1　追加ファイル数：1"_s), qPrintable(sync.out));
        const auto storedAt = [&](jet::RowId id) {
            auto other = jet::Database::open(mdb, jet::Database::OpenMode::ReadOnly);
            return other ? (*other)->readRow(u"FILE_ATR"_s, id) : Result<jet::Row>(other.status());
        };
        const Result<jet::Row> replacement = storedAt(held);
        QVERIFY(replacement);
        QCOMPARE(replacement->at(1).toString(), u"new00005.txt"_s); // the place was reused

        QVERIFY(rowNamed(u"doc00005.txt"_s));
        const QVariant keywordsRead = list.field(u"kStr"_s);
        const registration::SlipEdit edit { u"分類X"_s, u"古い行への記入"_s, u"&HC0FFFF"_s };
        Status saved = registration::SaveSlipFields(db, list, edit);
        QCOMPARE(saved.code(), Status::Code::Conflict);
        QVERIFY(catalog::failureReason(saved).contains(u"ほかの利用者またはプログラムが変更または削除しました"_s));
        QCOMPARE(list.field(u"kStr"_s), keywordsRead); // the snapshot as it was read
        QCOMPARE(list.deleteCurrent().code(), Status::Code::Conflict);
        QCOMPARE(storedAt(held).value(), replacement.value());

        // Another connection changes a row after this list read it: not overwritten either.
        {
            auto other = jet::Database::open(mdb);
            QVERIFY(other);
            auto theirs = (*other)->openTable(u"FILE_ATR"_s);
            QVERIFY(theirs);
            (*theirs)->moveFirst();
            while ((*theirs)->field(u"fName"_s).toString() != u"doc00006.txt"_s)
                (*theirs)->moveNext();
            QVERIFY(registration::SaveSlipFields(**other, **theirs, { u"分類Y"_s, u"先の記入"_s, {} }));
        }
        QVERIFY(rowNamed(u"doc00006.txt"_s));
        QCOMPARE(registration::SaveSlipFields(db, list, edit).code(), Status::Code::Conflict);
        QVERIFY(rowNamed(u"doc00007.txt"_s));
        saved = registration::SaveSlipFields(db, list, edit);
        QVERIFY2(saved, qPrintable(saved.toString()));
        opened->reset();
        mine->reset();

        auto after = jet::Database::open(mdb, jet::Database::OpenMode::ReadOnly);
        QVERIFY(after);
        QMap<QString, QString> keywords;
        for (const jet::Row &row : test::scanAll(**after, u"FILE_ATR"_s))
            keywords.insert(row.at(1).toString(), row.at(3).toString());
        QCOMPARE(keywords.size(), 300);
        QCOMPARE(keywords.value(u"new00005.txt"_s), QString());
        QCOMPARE(keywords.value(u"doc00006.txt"_s), u"先の記入"_s);
        QCOMPARE(keywords.value(u"doc00007.txt"_s), u"古い行への記入"_s);
        after->reset();
        JET_VERIFY_ORACLES(mdb);
    }

    void writersThatFindTheCatalogueHeld()
    {
        const QString mdb = newCatalogue(u"占有.mdb"_s);
        QVERIFY(!mdb.isEmpty());
        const QString folder = makeFolder(m_tmp.filePath(u"待ち"_s), 20);
        QVERIFY(!folder.isEmpty());

        // Another connection is in the middle of a write transaction: the registration gives
        // up after a few seconds, says why, and leaves the catalogue as it was.
        auto holder = jet::Database::open(mdb);
        QVERIFY(holder);
        QVERIFY((*holder)->beginTransaction());
        QElapsedTimer waited;
        waited.start();
        Run r = cli({ u"register"_s, mdb, folder });
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.contains(catalog::CatalogBusyMessage()), qPrintable(r.err));
        QVERIFY(waited.elapsed() >= 4000);
        // Readers are not held up by a writer that has not begun to commit.
        QCOMPARE(cli({ u"dump"_s, mdb, u"PATH_NAME"_s }).code, 0);
        (*holder)->rollback();
        r = cli({ u"register"_s, mdb, folder });
        QCOMPARE(r.code, 0);
        holder->reset();

        // A lock file of another Jet program: read-only, and the message names it.
        const QString ldb = m_tmp.filePath(u"占有.ldb"_s);
        QVERIFY(test::writeFile(ldb, 0));
        r = cli({ u"register"_s, mdb, folder });
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.startsWith(u"データベースは読み取り専用で開かれました。"_s), qPrintable(r.err));
        QVERIFY2(r.err.contains(QDir::toNativeSeparators(ldb)), qPrintable(r.err));
        QVERIFY(QFile::remove(ldb));
    }
};

QTEST_GUILESS_MAIN(TstSharedCatalogue)
#include "tst_sharedcatalogue.moc"

// Space and maintenance: inserts that reuse the room of deleted rows, compaction (rows kept,
// file halved, refusals, the file to itself while it runs, faults at every write leaving the
// old file or the new one) and repair of damaged copies (every readable row salvaged, the
// damaged file never written).
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include "catalog/schema.h"
#include "failingfileaccess.h"
#include "jetfixtures.h"
#include "platform/jet/internal/pagestore.h"
#include "platform/jet/maintenance.h"

using namespace tolvane;
using namespace tolvane::jet;
using namespace Qt::StringLiterals;

namespace {

const QString kFiles = u"FILE_ATR"_s;
const QString kFolders = u"PATH_NAME"_s;

Row fileRow(int i)
{
    static const QDateTime base(QDate(2015, 1, 1), QTime(8, 0), Qt::LocalTime);
    return { u"朝霧　凪"_s, u"document_%1_報告書.pdf"_s.arg(i, 7, 10, QLatin1Char('0')), base.addSecs(qint64(i) * 3571),
        u"keyword%1 工事 写真"_s.arg(i % 97), i % 40 + 1, i, u"&HFFFFC0"_s };
}

// A catalogue with 40 folders and rows file rows; with every other file row deleted when
// halve is set.
void makeCatalogue(const QString &path, int rows, bool halve)
{
    QFile::remove(path);
    QVERIFY(Database::create(path, catalog::catalogTables()));
    auto db = Database::open(path);
    QVERIFY(db);
    QVERIFY((*db)->beginTransaction());
    for (int i = 1; i <= 40; ++i)
        QVERIFY((*db)->insertRow(kFolders, Row { i, u"C:\\書類\\フォルダ%1"_s.arg(i) }));
    for (int i = 0; i < rows; ++i)
        QVERIFY((*db)->insertRow(kFiles, fileRow(i)));
    QVERIFY((*db)->commit());
    if (!halve)
        return;
    QList<RowId> ids;
    (*db)->scan(kFiles, [&](RowId id, const Row &) {
        ids << id;
        return true;
    });
    QVERIFY((*db)->beginTransaction());
    for (int i = 0; i < ids.size(); i += 2)
        QVERIFY((*db)->deleteRow(kFiles, ids[i]));
    QVERIFY((*db)->commit());
}

QMap<QString, QList<Row>> allRows(const QString &path)
{
    QMap<QString, QList<Row>> out;
    auto db = Database::open(path, Database::OpenMode::ReadOnly);
    if (!db)
        return out;
    for (const QString &t : (*db)->tableNames())
        out.insert(t, test::scanAll(**db, t));
    return out;
}

qint64 sizeOf(const QString &path)
{
    return QFileInfo(path).size();
}

// One round of re-synchronisation: the first n file rows go and n new ones come.
void resync(Database &db, int n, int &next)
{
    QList<RowId> ids;
    db.scan(kFiles, [&](RowId id, const Row &) {
        ids << id;
        return ids.size() < n;
    });
    QVERIFY(db.beginTransaction());
    for (const RowId &id : ids)
        QVERIFY(db.deleteRow(kFiles, id));
    for (int i = 0; i < n; ++i)
        QVERIFY(db.insertRow(kFiles, fileRow(next++)));
    QVERIFY(db.commit());
}

} // namespace

class TstJetMaintenance : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void insertsReuseDeletedSpace();
    void compactionHalvesTheFileAndKeepsEveryRow();
    void compactionRefuses_data();
    void compactionRefuses();
    void compactionHasTheFileToItself();
    void faultDuringCompactionLeavesOldOrNew();
    void repairSalvagesReadableRows_data();
    void repairSalvagesReadableRows();

private:
    QTemporaryDir m_dir;
    QString path(const QString &name) const { return m_dir.filePath(name); }
};

void TstJetMaintenance::initTestCase()
{
    QVERIFY(m_dir.isValid());
}

void TstJetMaintenance::insertsReuseDeletedSpace()
{
    const QString file = path(u"reuse.mdb"_s);
    makeCatalogue(file, 3000, true);
    const qint64 before = sizeOf(file);
    {
        auto db = Database::open(file);
        QVERIFY(db);
        // New rows of the same size take the room the deleted ones gave back: no page is added.
        QVERIFY((*db)->beginTransaction());
        for (int i = 0; i < 1500; ++i)
            QVERIFY((*db)->insertRow(kFiles, fileRow(10000 + i)));
        QVERIFY((*db)->commit());
        QCOMPARE(sizeOf(file), before);
        // Rows that grow and move, and moved rows deleted, give their room back too.
        QList<RowId> ids;
        (*db)->scan(kFiles, [&](RowId id, const Row &) {
            ids << id;
            return true;
        });
        QVERIFY((*db)->beginTransaction());
        for (int i = 0; i < 300; ++i) {
            Row r = *(*db)->readRow(kFiles, ids[i * 5]);
            r[3] = QString(200, u'長');
            QVERIFY((*db)->updateRow(kFiles, ids[i * 5], r));
        }
        for (int i = 0; i < 300; i += 2)
            QVERIFY((*db)->deleteRow(kFiles, ids[i * 5]));
        QVERIFY((*db)->commit());
    }
    JET_VERIFY_ORACLES(file);
    QCOMPARE(allRows(file).value(kFiles).size(), 3000 - 150);
}

void TstJetMaintenance::compactionHalvesTheFileAndKeepsEveryRow()
{
    const QString file = path(u"台帳.mdb"_s);
    makeCatalogue(file, 10000, true);
    const QMap<QString, QList<Row>> before = allRows(file);
    const qint64 fullSize = sizeOf(file);

    QList<qint64> steps;
    Result<CompactionReport> r = compactDatabase(file, [&](qint64 done, qint64 total) {
        steps << done;
        return done <= total;
    });
    QVERIFY2(r, qPrintable(r.status().toString()));
    QCOMPARE(r->sizeBefore, fullSize);
    QCOMPARE(r->sizeAfter, sizeOf(file));
    QVERIFY2(r->sizeAfter <= fullSize * 55 / 100, qPrintable(u"%1 of %2"_s.arg(r->sizeAfter).arg(fullSize)));
    QVERIFY(!steps.isEmpty() && std::is_sorted(steps.cbegin(), steps.cend()));
    QCOMPARE(allRows(file), before);
    JET_VERIFY_ORACLES(file);
    QVERIFY(!QFile::exists(compactionBackupPath(file)));
    QVERIFY(!QFile::exists(file + u"-compact"_s));

    // Re-synchronising a changing folder keeps the file near its compacted size.
    auto db = Database::open(file);
    QVERIFY(db);
    int next = 100000;
    qint64 largest = 0;
    for (int round = 0; round < 30; ++round) {
        resync(**db, 250, next);
        largest = std::max(largest, sizeOf(file));
    }
    QVERIFY2(largest <= r->sizeAfter * 12 / 10, qPrintable(u"%1 against %2"_s.arg(largest).arg(r->sizeAfter)));
    db->reset();
    JET_VERIFY_ORACLES(file);

    // A cancelled compaction leaves the file as it was.
    const QByteArray bytes = test::fileBytes(file);
    r = compactDatabase(file, [](qint64 done, qint64) { return done < 1000; });
    QCOMPARE(r.status().code(), Status::Code::Cancelled);
    QCOMPARE(test::fileBytes(file), bytes);
    QVERIFY(!QFile::exists(file + u"-compact"_s));
}

void TstJetMaintenance::compactionRefuses_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<Status::Code>("code");
    QTest::addColumn<QStringList>("named");
    QTest::newRow("another connection") << u"open"_s << Status::Code::ReadOnly
                                        << QStringList { u"ほかの接続がこのカタログを開いている"_s };
    QTest::newRow("lock file") << u"ldb"_s << Status::Code::ReadOnly << QStringList { u"ロックファイル"_s, u".ldb"_s };
    // Another writer's file: columns without compression, forms, properties, access rights.
    QTest::newRow("not carried exactly") << u"jackcess"_s << Status::Code::NotSupported
                                         << QStringList {
                                                u"テーブル「Items」の列「Name」（Unicode 圧縮なしの設定）"_s
                                            };
}

void TstJetMaintenance::compactionRefuses()
{
    QFETCH(QString, kind);
    QFETCH(Status::Code, code);
    QFETCH(QStringList, named);
    const QString file = path(u"refused.mdb"_s);
    std::unique_ptr<Database> other;
    if (kind == u"jackcess"_s) {
        QVERIFY(test::copyFile(test::kSampleFile, file));
    } else {
        makeCatalogue(file, 200, true);
        if (kind == u"open"_s)
            other = Database::open(file, Database::OpenMode::ReadOnly).take();
        else {
            QFile ldb(path(u"refused.ldb"_s));
            QVERIFY(ldb.open(QIODevice::WriteOnly));
        }
    }
    const QByteArray bytes = test::fileBytes(file);
    Result<CompactionReport> r = compactDatabase(file);
    QCOMPARE(r.status().code(), code);
    for (const QString &n : named)
        QVERIFY2(r.status().message().contains(n), qPrintable(r.status().message()));
    QCOMPARE(test::fileBytes(file), bytes);
    QVERIFY(!QFile::exists(file + u"-compact"_s));
    QFile::remove(path(u"refused.ldb"_s));
}

// One lock scheme (ConnectionLocks' open lock): compaction runs only while no connection of any
// process has the file open; while it runs, until the new file is in place, no connection opens
// it, in this process or another, and no repair starts; a connection that opened the file just
// before another was put in its place holds its locks on the new one.
void TstJetMaintenance::compactionHasTheFileToItself()
{
    const QString file = path(u"alone.mdb"_s);
    makeCatalogue(file, 3000, true);
    const QMap<QString, QList<Row>> rows = allRows(file);
    const QByteArray bytes = test::fileBytes(file);
    const QString repaired = path(u"alone_修復.mdb"_s);

    QProcess other;
    other.start(QStringLiteral(JET_KILL_HELPER), { u"--open"_s, file });
    QVERIFY(other.waitForReadyRead(30000));
    QCOMPARE(other.readAllStandardOutput().trimmed(), QByteArray("open"));
    Result<CompactionReport> r = compactDatabase(file);
    QCOMPARE(r.status().code(), Status::Code::ReadOnly);
    QVERIFY2(
        r.status().message().contains(u"ほかの接続がこのカタログを開いている"_s), qPrintable(r.status().message()));
    QCOMPARE(repairDatabase(file, repaired).status().code(), Status::Code::ReadOnly);
    QVERIFY(!QFile::exists(repaired));
    QCOMPARE(test::fileBytes(file), bytes);
    other.kill();
    QVERIFY(other.waitForFinished());

    // Turned away while it runs. (The checks run inside the progress callback; they are looked
    // at afterwards.)
    Status here, repair;
    int lateCode = -2;
    QString lateError;
    int calls = 0;
    r = compactDatabase(file, [&](qint64, qint64) {
        if (calls++ > 0)
            return true;
        QProcess late;
        late.start(QStringLiteral(JET_KILL_HELPER), { u"--open"_s, file });
        here = Database::open(file, Database::OpenMode::ReadOnly).status();
        repair = repairDatabase(file, repaired).status();
        if (late.waitForFinished(30000)) {
            lateCode = late.exitCode();
            lateError = QString::fromUtf8(late.readAllStandardError());
        }
        return true;
    });
    QVERIFY2(r, qPrintable(r.status().toString()));
    QCOMPARE(here.code(), Status::Code::Busy);
    QVERIFY2(here.message().contains(u"最適化または修復の処理中"_s), qPrintable(here.message()));
    QCOMPARE(lateCode, 1);
    QVERIFY2(lateError.contains(u"最適化または修復の処理中"_s), qPrintable(lateError));
    QCOMPARE(repair.code(), Status::Code::ReadOnly);
    QVERIFY(!QFile::exists(repaired));
    QVERIFY(r->sizeAfter < bytes.size());
    QCOMPARE(allRows(file), rows);
    JET_VERIFY_ORACLES(file);

    // The file is replaced right after a connection opened it: its locks go to the new file,
    // where compaction then sees it.
    const QString replacement = path(u"alone-replacement.mdb"_s);
    QVERIFY(test::copyFile(file, replacement));
    test::FailingFileAccess files;
    files.afterNextOpen([&](const QString &) { internal::DiskFileAccess().replace(replacement, file); });
    auto db = Database::open(files, file);
    QVERIFY2(db, qPrintable(db.status().toString()));
    QVERIFY(!QFile::exists(replacement));
    QCOMPARE(compactDatabase(file).status().code(), Status::Code::ReadOnly);
    QVERIFY((*db)->insertRow(kFiles, fileRow(777777)));
    db->reset();
    QCOMPARE(allRows(file).value(kFiles).size(), rows.value(kFiles).size() + 1);
    JET_VERIFY_ORACLES(file);
}

void TstJetMaintenance::faultDuringCompactionLeavesOldOrNew()
{
    const QString base = path(u"fault-base.mdb"_s);
    makeCatalogue(base, 600, true);
    const QByteArray old = test::fileBytes(base);
    const QMap<QString, QList<Row>> rows = allRows(base);
    const QString file = path(u"fault.mdb"_s);

    test::FailingFileAccess files;
    QVERIFY(test::copyFile(base, file));
    files.arm(test::FailingFileAccess::Fault::None, 0);
    Result<CompactionReport> done = compactDatabase(files, file);
    QVERIFY(done);
    const int writes = int(files.writes().size());
    const QByteArray compacted = test::fileBytes(file);
    QVERIFY(writes > 10);

    // The process dies after each write in turn (every third, and the last ones).
    int oldSeen = 0, newSeen = 0;
    for (int n = 1; n <= writes; n += (n > writes - 5 ? 1 : 3)) {
        QVERIFY(test::copyFile(base, file));
        files.arm(test::FailingFileAccess::Fault::Crash, n);
        QVERIFY(!compactDatabase(files, file));
        files.disarm();
        const QByteArray now = test::fileBytes(file);
        QVERIFY2(now == old || now == compacted, qPrintable(u"crash after write %1 of %2"_s.arg(n).arg(writes)));
        ++(now == old ? oldSeen : newSeen);
        QCOMPARE(allRows(file), rows);
    }
    QVERIFY(oldSeen > 0);
    // What a dead run left behind does not stand in the way of the next one.
    QVERIFY(compactDatabase(file));
    QCOMPARE(allRows(file), rows);
    JET_VERIFY_ORACLES(file);

    // A writer died in the middle of writing its pages: compaction rolls its journal back
    // first, rather than leave it beside the new file to be applied to that.
    const QString journal = internal::PageStore::journalPath(file);
    for (int n = 1; !QFile::exists(journal) || test::fileBytes(file) == old; ++n) {
        QVERIFY(n < 500);
        QVERIFY(test::copyFile(base, file));
        QFile::remove(journal);
        files.arm(test::FailingFileAccess::Fault::Crash, n);
        {
            auto db = Database::open(files, file);
            QVERIFY(db);
            QVERIFY((*db)->beginTransaction());
            for (int i = 0; i < 300; ++i)
                QVERIFY((*db)->insertRow(kFiles, fileRow(500000 + i)));
            (*db)->commit();
        }
        files.disarm();
    }
    QVERIFY(compactDatabase(file));
    QVERIFY(!QFile::exists(journal));
    QCOMPARE(allRows(file), rows);
    JET_VERIFY_ORACLES(file);
}

void TstJetMaintenance::repairSalvagesReadableRows_data()
{
    QTest::addColumn<QString>("damage");
    QTest::newRow("truncated at a page") << u"cut"_s;
    QTest::newRow("truncated inside a page") << u"cut inside"_s;
    QTest::newRow("page header byte changed") << u"header"_s;
    QTest::newRow("page overwritten by another") << u"overwritten"_s;
    QTest::newRow("usage map bit cleared") << u"map bit"_s;
    // The catalogue no longer loads: the tables it still names are salvaged.
    QTest::newRow("table definition overwritten") << u"tdef"_s;
}

void TstJetMaintenance::repairSalvagesReadableRows()
{
    QFETCH(QString, damage);
    const QString good = path(u"good.mdb"_s);
    makeCatalogue(good, 3000, false);
    // The original's rows, with the page each lies on.
    QList<QPair<RowId, Row>> fileRows;
    {
        auto db = Database::open(good, Database::OpenMode::ReadOnly);
        QVERIFY(db);
        (*db)->scan(kFiles, [&](RowId id, const Row &r) {
            fileRows.append({ id, r });
            return true;
        });
    }
    const QList<Row> folders = allRows(good).value(kFolders);
    QList<quint32> pages;
    jet::internal::MapRef owned;
    quint32 folderTdef = 0;
    {
        test::StoredFile stored(good);
        owned = stored.def(kFiles).ownedMap;
        folderTdef = stored.def(kFolders).tdefPage;
        pages = stored.pages(owned);
    }
    const quint32 hit = pages.at(pages.size() / 2);

    QByteArray bytes = test::fileBytes(good);
    quint32 lostPage = 0; // the page whose rows are gone, or from which on all are gone
    bool fromOn = false;
    int cutAt = 0; // within lostPage: rows lying wholly before this offset are still there
    if (damage == u"cut"_s) {
        bytes.truncate(qsizetype(hit) * 4096);
        lostPage = hit, fromOn = true;
    } else if (damage == u"cut inside"_s) {
        bytes.truncate(qsizetype(hit) * 4096 + 1000);
        lostPage = hit, fromOn = true, cutAt = 1000;
    } else if (damage == u"header"_s) {
        bytes[qsizetype(hit) * 4096] = 0x07;
    } else if (damage == u"overwritten"_s) {
        bytes.replace(qsizetype(hit) * 4096, 4096, bytes.mid(qsizetype(hit + 1) * 4096, 4096));
        lostPage = hit;
    } else if (damage == u"tdef"_s) {
        bytes.replace(qsizetype(folderTdef) * 4096, 4096, QByteArray(4096, '\0'));
    } else {
        // The owned-pages map of the table is an inline bitmap: type 0, first page, bits.
        const uchar *mapPage = reinterpret_cast<const uchar *>(bytes.constData()) + qsizetype(owned.page) * 4096;
        const auto row = jet::internal::rowExtent(mapPage, owned.row);
        QVERIFY(row && mapPage[row->start] == 0);
        const quint32 first = jet::internal::u32(mapPage + row->start + 1);
        const qsizetype at = qsizetype(owned.page) * 4096 + row->start + 5 + (hit - first) / 8;
        bytes[at] = char(uchar(bytes[at]) & ~(1 << ((hit - first) % 8)));
    }
    const QString damaged = path(u"damaged.mdb"_s);
    {
        QFile f(damaged);
        QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        QCOMPARE(f.write(bytes), bytes.size());
    }
    QList<Row> expected;
    const QByteArray goodBytes = test::fileBytes(good);
    const uchar *hitPage = reinterpret_cast<const uchar *>(goodBytes.constData()) + qsizetype(hit) * 4096;
    for (const auto &[id, row] : fileRows) {
        const bool kept = lostPage == 0 || (fromOn ? id.page < lostPage : id.page != lostPage)
            || (id.page == hit && jet::internal::rowExtent(hitPage, id.row)->end <= cutAt);
        if (kept)
            expected << row;
    }
    QVERIFY(expected.size() > 1000);

    const QString target = path(u"damaged_修復.mdb"_s);
    QFile::remove(target);
    Result<RepairReport> r = repairDatabase(damaged, target);
    QVERIFY2(r, qPrintable(r.status().toString()));
    QCOMPARE(test::fileBytes(damaged), bytes);
    QCOMPARE(r->repairedPath, target);
    const bool foldersLost = damage == u"tdef"_s;
    QCOMPARE(r->notCarried.isEmpty(), !foldersLost);
    JET_VERIFY_ORACLES(target);
    const QMap<QString, QList<Row>> salvaged = allRows(target);
    QCOMPARE(salvaged.value(kFiles), expected);
    QCOMPARE(salvaged.value(kFolders), foldersLost ? QList<Row>() : folders);
    QCOMPARE(salvaged.contains(kFolders), !foldersLost);
    const auto tally
        = std::find_if(r->tables.cbegin(), r->tables.cend(), [](const TableTally &t) { return t.table == kFiles; });
    QVERIFY(tally != r->tables.cend());
    QCOMPARE(tally->written, expected.size());
    QCOMPARE(tally->lost, fileRows.size() - expected.size());
    QCOMPARE(r->damage.isEmpty(), false);
    if (!foldersLost)
        QCOMPARE(r->lostRows(), fileRows.size() - expected.size());

    // The target is never overwritten.
    QCOMPARE(repairDatabase(damaged, target).status().code(), Status::Code::InvalidArgument);
}

QTEST_GUILESS_MAIN(TstJetMaintenance)
#include "tst_jetmaintenance.moc"

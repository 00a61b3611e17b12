// Transactions: commit and rollback, the journal that makes a commit atomic under every fault
// the disk can show, a writer killed at random moments, and locks between processes. The file
// is always left as it was before or after a transaction.
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include "failingfileaccess.h"
#include "jetfixtures.h"
#include "platform/jet/internal/diskfileaccess.h"
#include "platform/jet/internal/pagestore.h"

using namespace tolvane;
using namespace tolvane::jet;
using namespace Qt::StringLiterals;
using Fault = test::FailingFileAccess::Fault;

Q_DECLARE_METATYPE(Fault)

namespace {

using test::fileBytes;

const QList<TableSpec> kLogTable { { u"Log"_s,
    { { u"Seq"_s, ColumnType::Long, 0 }, { u"Item"_s, ColumnType::Long, 0 }, { u"Label"_s, ColumnType::Text, 120 },
        { u"At"_s, ColumnType::DateTime, 0 } } } };

// Rows per sequence number.
QMap<int, int> sequences(Database &db)
{
    QMap<int, int> seqs;
    db.scan(u"Log"_s, [&](RowId, const Row &r) {
        ++seqs[r.at(0).toInt()];
        return true;
    });
    return seqs;
}

// One transaction touching many pages: rows added on the last page and on new ones, rows that
// grow and move, rows deleted.
void changeLog(Database &db)
{
    QList<RowId> ids;
    db.scan(u"Log"_s, [&](RowId id, const Row &) {
        ids << id;
        return true;
    });
    QVERIFY(db.beginTransaction());
    for (int i = 0; i < 150; ++i)
        QVERIFY(db.insertRow(u"Log"_s, Row { 2, i, u"second"_s, QVariant() }));
    for (int i = 0; i < 30; ++i) {
        Row r = *db.readRow(u"Log"_s, ids[7 * i]);
        r[2] = QString(120, u'x');
        QVERIFY(db.updateRow(u"Log"_s, ids[7 * i], r));
    }
    for (int i = 0; i < 10; ++i)
        QVERIFY(db.deleteRow(u"Log"_s, ids[250 + i]));
}

} // namespace

class TstJetTransaction : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void commitAndRollback();
    void imageGrowsAndShrinksWithoutStaleBytes();
    void faultDuringCommit_data();
    void faultDuringCommit();
    void killedWriterLeavesWholeTransactions();
    void twoConnectionsSeeEachOthersCommits();
    void locksExcludeOtherProcesses();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_path;
    // The file before changeLog(), its rows before and after, and what its commit writes.
    QTemporaryDir m_baseDir;
    QString m_base;
    QList<Row> m_oldRows;
    QList<Row> m_newRows;
    int m_commitWrites = 0;
    int m_journalWrites = 0;
    int m_firstAppend = 0;
};

void TstJetTransaction::initTestCase()
{
    m_base = m_baseDir.filePath(u"base.mdb"_s);
    QVERIFY(Database::create(m_base, kLogTable));
    {
        auto db = Database::open(m_base);
        QVERIFY((*db)->beginTransaction());
        for (int i = 0; i < 300; ++i)
            QVERIFY((*db)->insertRow(u"Log"_s, Row { 1, i, u"first"_s, QVariant() }));
        QVERIFY((*db)->commit());
        m_oldRows = test::scanAll(**db, u"Log"_s);
    }
    // A commit without faults, to know its writes and its outcome.
    const QString path = m_baseDir.filePath(u"changed.mdb"_s);
    QVERIFY(test::copyFile(m_base, path));
    test::FailingFileAccess files;
    auto db = Database::open(files, path);
    changeLog(**db);
    files.disarm();
    QVERIFY((*db)->commit());
    m_newRows = test::scanAll(**db, u"Log"_s);
    const qint64 baseSize = QFileInfo(m_base).size();
    const QList<test::FailingFileAccess::Write> &writes = files.writes();
    m_commitWrites = int(writes.size());
    for (int i = 0; i < m_commitWrites; ++i) {
        if (writes[i].path != path)
            ++m_journalWrites;
        else if (!m_firstAppend && writes[i].offset >= baseSize)
            m_firstAppend = i + 1;
    }
    // Several pages journaled, changed and appended: the faults below land in every phase.
    QVERIFY(m_journalWrites >= 5 && m_firstAppend > m_journalWrites + 2 && m_firstAppend < m_commitWrites);
}

void TstJetTransaction::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_path = m_dir->filePath(u"log.mdb"_s);
    QVERIFY(Database::create(m_path, kLogTable));
}

void TstJetTransaction::commitAndRollback()
{
    auto db = Database::open(m_path);
    QVERIFY(db);
    const QByteArray empty = fileBytes(m_path);
    QVERIFY((*db)->beginTransaction());
    QVERIFY((*db)->inTransaction());
    for (int i = 0; i < 10000; ++i)
        QVERIFY((*db)->insertRow(u"Log"_s, Row { 1, i, u"row %1"_s.arg(i), QVariant() }));
    QCOMPARE(fileBytes(m_path), empty); // nothing reaches the file before the commit
    (*db)->rollback();
    QCOMPARE((*db)->tableInfo(u"Log"_s)->rowCount, 0);
    QVERIFY(test::scanAll(**db, u"Log"_s).isEmpty());
    QCOMPARE(fileBytes(m_path), empty);

    QVERIFY((*db)->beginTransaction());
    for (int i = 0; i < 10000; ++i)
        QVERIFY((*db)->insertRow(u"Log"_s, Row { 2, i, u"row %1"_s.arg(i), QVariant() }));
    QVERIFY((*db)->commit());
    QVERIFY(!QFile::exists(internal::PageStore::journalPath(m_path)));
    // Outside a transaction every write is its own commit.
    QVERIFY((*db)->insertRow(u"Log"_s, Row { 3, 0, u"alone"_s, QVariant() }));
    db->reset();
    auto again = Database::open(m_path);
    QCOMPARE(sequences(**again), (QMap<int, int> { { 2, 10000 }, { 3, 1 } }));
    JET_VERIFY_ORACLES(m_path);
}

// The page image grows past the size where it moves into its own mapping, is cut back by a
// rollback and a savepoint, and grows again: pages appended are zero every time, and what is
// committed is what the file then holds.
void TstJetTransaction::imageGrowsAndShrinksWithoutStaleBytes()
{
    internal::DiskFileAccess files;
    auto locks = internal::ConnectionLocks::open(files, m_path, internal::ConnectionLocks::Use::Write);
    QVERIFY(locks);
    QVERIFY((*locks)->lockWriter());
    auto opened = internal::PageStore::open(files, **locks, m_path);
    QVERIFY(opened);
    internal::PageStore &store = **opened;
    const quint32 committed = store.pageCount();
    auto fill = [&](quint32 pages, char byte) {
        for (quint32 i = 0; i < pages; ++i) {
            const quint32 n = store.appendPage();
            const uchar *page = store.page(n);
            QVERIFY(std::all_of(page, page + internal::kPageSize, [](uchar b) { return b == 0; }));
            std::memset(store.mutablePage(n), byte, internal::kPageSize);
        }
    };
    fill(600, 'a'); // past 2 MB
    store.rollback();
    QCOMPARE(store.pageCount(), committed);
    fill(300, 'b');
    store.beginSavepoint();
    fill(400, 'c');
    store.rollbackToSavepoint();
    QCOMPARE(store.pageCount(), committed + 300);
    fill(500, 'd');
    QVERIFY(store.commit());
    const QByteArray disk = fileBytes(m_path);
    QCOMPARE(disk.size(), qsizetype(committed + 800) * internal::kPageSize);
    for (quint32 n = 0; n < store.pageCount(); ++n)
        QVERIFY(std::memcmp(disk.constData() + qsizetype(n) * internal::kPageSize, store.page(n), internal::kPageSize)
            == 0);
    QCOMPARE(disk.at(qsizetype(committed + 299) * internal::kPageSize), 'b');
    QCOMPARE(disk.at(qsizetype(committed + 300) * internal::kPageSize), 'd');
    (*locks)->unlockWriter();
}

void TstJetTransaction::faultDuringCommit_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<int>("at");
    QTest::newRow("no fault") << Fault::None << 0;
    QTest::newRow("disk full at the journal") << Fault::DiskFull << 1;
    QTest::newRow("disk full at the first appended page") << Fault::DiskFull << m_firstAppend;
    QTest::newRow("short write in the journal") << Fault::ShortWrite << 2;
    QTest::newRow("short write of a page") << Fault::ShortWrite << m_journalWrites + 1;
    QTest::newRow("journal sync fails") << Fault::FailedSync << 1;
    QTest::newRow("file sync fails") << Fault::FailedSync << 2;
    for (int n = 1; n <= m_commitWrites; ++n)
        QTest::addRow("crash after write %d of %d", n, m_commitWrites) << Fault::Crash << n;
}

void TstJetTransaction::faultDuringCommit()
{
    QFETCH(Fault, fault);
    QFETCH(int, at);
    QVERIFY(test::copyFile(m_base, m_path));
    const QString journal = internal::PageStore::journalPath(m_path);
    test::FailingFileAccess files;
    Status committed;
    {
        auto db = Database::open(files, m_path);
        QVERIFY(db);
        changeLog(**db);
        files.arm(fault, at);
        committed = (*db)->commit();
        if (fault != Fault::Crash) {
            // The connection carries on, once the disk works again, with what the file holds.
            files.disarm();
            QCOMPARE(test::scanAll(**db, u"Log"_s), committed ? m_newRows : m_oldRows);
        }
    }
    QCOMPARE(committed.isOk(), fault == Fault::None);
    const QList<Row> &expected = committed ? m_newRows : m_oldRows;
    if (fault == Fault::Crash) {
        // The file is not touched before the journal is complete, and once it is, the journal
        // stays until the file is whole again.
        if (at <= m_journalWrites)
            QCOMPARE(fileBytes(m_path), fileBytes(m_base));
        else
            QVERIFY(QFile::exists(journal));
    }
    if (QFile::exists(journal)) {
        // A read-only open sees the rolled-back state without touching the file.
        auto ro = Database::open(m_path, Database::OpenMode::ReadOnly);
        QVERIFY(ro);
        QCOMPARE(test::scanAll(**ro, u"Log"_s), expected);
        QVERIFY(QFile::exists(journal));
    }
    auto db = Database::open(m_path);
    QVERIFY2(db, qPrintable(db.status().toString()));
    QCOMPARE(test::scanAll(**db, u"Log"_s), expected);
    QVERIFY(!QFile::exists(journal));
    db->reset();
    const test::OracleResult check = test::jetCheck(m_path, true);
    QVERIFY2(check.ok, qPrintable(check.output));
}

void TstJetTransaction::killedWriterLeavesWholeTransactions()
{
    constexpr int kRows = 40;
    QRandomGenerator rng(7);
    int lastSeq = 0;
    int hotJournals = 0;
    // A connection open all along, as another window is: its next transaction starts from
    // whatever the killed writer left, once the lock the writer held is free.
    auto survivor = Database::open(m_path);
    QVERIFY(survivor);
    for (int round = 0; round < 12; ++round) {
        QProcess helper;
        helper.start(QStringLiteral(JET_KILL_HELPER), { m_path, QString::number(kRows) });
        QVERIFY(helper.waitForStarted());
        // Let it commit a few transactions, then kill it in the middle of whatever it does.
        QVERIFY(helper.waitForReadyRead(30000));
        QTest::qSleep(int(rng.bounded(20, 400)));
        helper.kill();
        QVERIFY(helper.waitForFinished());
        int confirmed = 0;
        for (const QByteArray &line : helper.readAllStandardOutput().split('\n'))
            if (line.startsWith("committed "))
                confirmed = line.mid(10).toInt();
        QVERIFY2(confirmed > 0, helper.readAllStandardError().constData());

        // A commit cut short leaves a journal that the next writer rolls back.
        const bool hot = QFile::exists(internal::PageStore::journalPath(m_path));
        hotJournals += hot ? 1 : 0;
        if (round % 2 == 0) {
            QVERIFY((*survivor)->beginTransaction());
            QVERIFY(!QFile::exists(internal::PageStore::journalPath(m_path)));
            const QMap<int, int> seen = sequences(**survivor);
            QVERIFY(seen.lastKey() == confirmed || seen.lastKey() == confirmed + 1);
            QCOMPARE(seen.size(), seen.lastKey());
            (*survivor)->rollback();
        }
        auto db = Database::open(m_path);
        QVERIFY2(db, qPrintable(db.status().toString()));
        const QMap<int, int> seqs = sequences(**db);
        QVERIFY(!seqs.isEmpty());
        const int maxSeq = seqs.lastKey();
        QVERIFY2(maxSeq == confirmed || maxSeq == confirmed + 1,
            qPrintable(u"stored %1, confirmed %2"_s.arg(maxSeq).arg(confirmed)));
        QCOMPARE(seqs.size(), maxSeq);
        for (auto it = seqs.cbegin(); it != seqs.cend(); ++it)
            QCOMPARE(it.value(), kRows);
        QCOMPARE((*db)->tableInfo(u"Log"_s)->rowCount, qint64(maxSeq) * kRows);
        QVERIFY(maxSeq >= lastSeq);
        lastSeq = maxSeq;
        db->reset();
        const test::OracleResult after = test::jetCheck(m_path, true);
        QVERIFY2(after.ok, qPrintable(after.output));
    }
    qInfo("%d transactions survived 12 kills; %d kills left a journal to roll back", lastSeq, hotJournals);
    JET_VERIFY_ORACLES(m_path);
}

void TstJetTransaction::twoConnectionsSeeEachOthersCommits()
{
    auto a = Database::open(m_path);
    auto b = Database::open(m_path);
    QVERIFY(a && b);
    QVERIFY((*b)->insertRow(u"Log"_s, Row { 1, 1, u"from b"_s, QVariant() }));
    QCOMPARE(sequences(**a), (QMap<int, int> { { 1, 1 } }));
    QVERIFY((*a)->insertRow(u"Log"_s, Row { 2, 1, u"from a"_s, QVariant() }));
    QVERIFY((*b)->beginTransaction());
    QVERIFY((*b)->insertRow(u"Log"_s, Row { 3, 1, u"from b again"_s, QVariant() }));
    QVERIFY((*b)->commit());
    QCOMPARE((*a)->tableInfo(u"Log"_s)->rowCount, 3);

    // One writer at a time: while b's transaction is open, a waits for the busy timeout, asks
    // its handler each time, and gives up when told; a's reads go on meanwhile.
    QVERIFY((*b)->beginTransaction());
    QVERIFY((*b)->insertRow(u"Log"_s, Row { 4, 1, u"b, not yet committed"_s, QVariant() }));
    (*a)->setBusyTimeout(50);
    int asked = 0;
    (*a)->setBusyHandler([&] { return ++asked < 3; });
    QCOMPARE((*a)->insertRow(u"Log"_s, Row { 5, 1, u"a"_s, QVariant() }).status().code(), Status::Code::Busy);
    QCOMPARE(asked, 3);
    QCOMPARE((*a)->beginTransaction().code(), Status::Code::Busy);
    QCOMPARE(sequences(**a), (QMap<int, int> { { 1, 1 }, { 2, 1 }, { 3, 1 } }));
    // Once b is done, a starts from b's commit and writes after it.
    QVERIFY((*b)->commit());
    QVERIFY((*a)->beginTransaction());
    QVERIFY((*a)->insertRow(u"Log"_s, Row { 5, 1, u"a"_s, QVariant() }));
    QVERIFY((*a)->commit());
    a->reset();
    b->reset();
    auto c = Database::open(m_path);
    QCOMPARE(sequences(**c), (QMap<int, int> { { 1, 1 }, { 2, 1 }, { 3, 1 }, { 4, 1 }, { 5, 1 } }));
}

void TstJetTransaction::locksExcludeOtherProcesses()
{
    // The helper holds bytes 0-99 exclusively and 100-199 shared until it is killed.
    QProcess holder;
    holder.start(QStringLiteral(JET_KILL_HELPER), { u"--lock"_s, m_path });
    QVERIFY(holder.waitForReadyRead(30000));
    QCOMPARE(holder.readAllStandardOutput().trimmed(), QByteArray("locked"));
    internal::DiskFileAccess disk;
    auto file = disk.open(m_path, internal::FileAccess::OpenMode::ReadWrite);
    QVERIFY(file);
    using Kind = internal::File::LockKind;
    auto lock = [&](Kind kind, qint64 offset) {
        Result<bool> taken = (*file)->tryLock(kind, offset, 10);
        return taken.isOk() && *taken;
    };
    QVERIFY(!lock(Kind::Shared, 50));
    QVERIFY(lock(Kind::Shared, 150));
    QVERIFY(!lock(Kind::Exclusive, 160));
    QVERIFY(lock(Kind::Exclusive, 300));
    QVERIFY((*file)->unlock(300, 10));
    holder.kill();
    QVERIFY(holder.waitForFinished());
    QVERIFY(lock(Kind::Exclusive, 50));
}

QTEST_GUILESS_MAIN(TstJetTransaction)
#include "tst_jettransaction.moc"

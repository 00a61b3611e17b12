// Transactions: commit and rollback, the journal that makes a commit atomic, and a writer
// killed at random moments always leaving the file as it was before or after a transaction.
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include "jetfixtures.h"
#include "platform/jet/internal/engine.h"
#include "platform/jet/internal/pagestore.h"

using namespace tolvane;
using namespace tolvane::jet;
using namespace Qt::StringLiterals;

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

} // namespace

class TstJetTransaction : public QObject {
    Q_OBJECT

private slots:
    void init();
    void commitAndRollback();
    void interruptedCommitIsRolledBackAtOpen_data();
    void interruptedCommitIsRolledBackAtOpen();
    void tornJournalIsIgnored();
    void killedWriterLeavesWholeTransactions();
    void twoConnectionsSeeEachOthersCommits();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_path;
};

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

void TstJetTransaction::interruptedCommitIsRolledBackAtOpen_data()
{
    QTest::addColumn<int>("pagesWritten");
    QTest::newRow("journal only") << 0;
    QTest::newRow("one page written") << 1;
    QTest::newRow("most pages written") << 6;
}

void TstJetTransaction::interruptedCommitIsRolledBackAtOpen()
{
    QFETCH(int, pagesWritten);
    {
        auto db = Database::open(m_path);
        for (int i = 0; i < 300; ++i)
            QVERIFY((*db)->insertRow(u"Log"_s, Row { 1, i, u"first"_s, QVariant() }));
    }
    const QByteArray before = fileBytes(m_path);
    {
        auto engine = Engine::open(m_path, false);
        QVERIFY(engine);
        QVERIFY((*engine)->beginTransaction());
        QList<RowId> ids;
        (*engine)->scan(u"Log"_s, [&](RowId id, const Row &) {
            ids << id;
            return true;
        });
        for (int i = 0; i < 2000; ++i)
            QVERIFY((*engine)->insertRow(u"Log"_s, Row { 2, i, u"second"_s, QVariant() }));
        for (int i = 0; i < 100; ++i)
            QVERIFY((*engine)->updateRow(u"Log"_s, ids[i], Row { 1, i, QString(120, u'x'), QVariant() }));
        (*engine)->storeForTesting().setCrashAfterPagesForTesting(pagesWritten);
        QCOMPARE((*engine)->commit().code(), Status::Code::IOError);
    }
    QVERIFY(QFile::exists(internal::PageStore::journalPath(m_path)));
    QVERIFY(fileBytes(m_path) != before || pagesWritten == 0);

    // A read-only open sees the old state without touching the file.
    {
        auto ro = Database::open(m_path, Database::OpenMode::ReadOnly);
        QVERIFY(ro);
        QCOMPARE(sequences(**ro), (QMap<int, int> { { 1, 300 } }));
        QVERIFY(QFile::exists(internal::PageStore::journalPath(m_path)));
    }
    auto db = Database::open(m_path);
    QVERIFY(db);
    QVERIFY(!QFile::exists(internal::PageStore::journalPath(m_path)));
    QCOMPARE(fileBytes(m_path), before);
    QCOMPARE(sequences(**db), (QMap<int, int> { { 1, 300 } }));
    db->reset();
    JET_VERIFY_ORACLES(m_path);
}

void TstJetTransaction::tornJournalIsIgnored()
{
    {
        auto db = Database::open(m_path);
        QVERIFY((*db)->insertRow(u"Log"_s, Row { 1, 1, u"kept"_s, QVariant() }));
    }
    const QByteArray before = fileBytes(m_path);
    // A journal cut short while being written: the file was never touched after it.
    const QString journal = internal::PageStore::journalPath(m_path);
    QFile j(journal);
    QVERIFY(j.open(QIODevice::WriteOnly));
    j.write(QByteArray("TolvJnl1") + QByteArray(4096 + 40, '\x07'));
    j.close();
    auto db = Database::open(m_path);
    QVERIFY(db);
    QVERIFY(!QFile::exists(journal));
    QCOMPARE(fileBytes(m_path), before);
    QCOMPARE(sequences(**db), (QMap<int, int> { { 1, 1 } }));
}

void TstJetTransaction::killedWriterLeavesWholeTransactions()
{
    constexpr int kRows = 40;
    QRandomGenerator rng(7);
    int lastSeq = 0;
    int hotJournals = 0;
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

        // A commit cut short leaves a journal that the next open rolls back.
        hotJournals += QFile::exists(internal::PageStore::journalPath(m_path)) ? 1 : 0;
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
    a->reset();
    b->reset();
    auto c = Database::open(m_path);
    QCOMPARE(sequences(**c), (QMap<int, int> { { 1, 1 }, { 2, 1 }, { 3, 1 } }));
}

QTEST_GUILESS_MAIN(TstJetTransaction)
#include "tst_jettransaction.moc"

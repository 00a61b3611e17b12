// The binder rules on real catalogue files: renaming, binders and filings with the gapped
// numbers years of use leave, renumbering by the displayed order, deleting, and a write whose
// commit fails.
#include <QTemporaryDir>
#include <QTest>

#include "../browser/testfolders.h"
#include "../jet/failingfileaccess.h"
#include "binders/binders.h"
#include "binders/bindertexts.h"
#include "catalog/schema.h"
#include "storedrows.h"
#include "support/oracles.h"
#include "support/scriptedprompter.h"

using namespace tolvane;
using namespace tolvane::binders;
using namespace Qt::StringLiterals;
using tolvane::test::ScriptedPrompter;

namespace {

QList<QStringList> stored(const QString &path, const QString &table)
{
    return test::storedRows(path, table);
}

QStringList cells(const char *text)
{
    return QString::fromUtf8(text).split(QLatin1Char('|'));
}

QStringList names(jet::Recordset &rs, const char *column)
{
    QStringList out;
    for (rs.moveFirst(); !rs.eof(); rs.moveNext())
        out << rs.field(QString::fromLatin1(column)).toString();
    return out;
}

} // namespace

class TestBinders : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp;
    int m_serial = 0;
    QString m_path;
    std::unique_ptr<jet::Database> m_db;

    void freshCatalogue()
    {
        m_db.reset();
        const QString name = QStringLiteral("b%1").arg(++m_serial);
        m_db = test::newCatalogue(m_tmp.path(), name);
        QVERIFY(m_db);
        m_path = m_tmp.filePath(name + QStringLiteral(".mdb"));
    }

    void addBinder(int bdID, const QString &name, int bdNo)
    {
        QVERIFY(m_db->insertRow(catalog::kBinderNameTable, { bdID, name, bdNo }));
    }
    void addFiling(int bdID, const QString &file, int pnID, int docNo)
    {
        QVERIFY(m_db->insertRow(catalog::kBinderTable, { bdID, file, pnID, docNo }));
    }

private slots:
    void initTestCase() { QVERIFY(m_tmp.isValid()); }
    void init() { freshCatalogue(); }
    void cleanup() { QVERIFY2(test::jetCheck(m_path).ok, qPrintable(test::jetCheck(m_path).output)); }

    // Creation's refusals and counters are shown through the window; here what it cannot reach.
    void renamingAndABrokenCounter()
    {
        addBinder(1, QStringLiteral("請求書"), 1);
        addBinder(3, QStringLiteral("見積"), 3);
        ScriptedPrompter prompter;
        // Another binder's name and the binder's own are refused alike; case and width count.
        RecordsetSlot list;
        QCOMPARE(RenameBinder(*m_db, prompter, list, 3, QStringLiteral(" 請求書")), Outcome::Refused);
        QCOMPARE(RenameBinder(*m_db, prompter, list, 3, QStringLiteral("見積")), Outcome::Refused);
        QCOMPARE(prompter.lastMessage().text, kDuplicateNameMessage);
        QCOMPARE(RenameBinder(*m_db, prompter, list, 3, QStringLiteral(" ｍｉｔｓｕ ")), Outcome::Done);
        QCOMPARE(RenameBinder(*m_db, prompter, list, 3, QStringLiteral("MITSU")), Outcome::Done);
        QCOMPARE(stored(m_path, catalog::kBinderNameTable),
            (QList<QStringList> { cells("1|請求書|1"), cells("3|MITSU|3") }));

        // A catalogue whose counter row is gone: the counter's message, nothing created.
        QVERIFY(m_db->scan(catalog::kIdNoTable,
            [&](jet::RowId row, const jet::Row &) { return m_db->deleteRow(catalog::kIdNoTable, row).isOk(); }));
        QCOMPARE(CreateBinder(*m_db, prompter, QStringLiteral("新")), Outcome::Failed);
        QCOMPARE(prompter.lastMessage().text, QStringLiteral("Critical Error DB broken ->IDno.bdID"));
        QCOMPARE(stored(m_path, catalog::kBinderNameTable).size(), 2);
    }

    // Rows as years of reordering and other writers leave them: BdNo and DocNo with gaps and
    // out of storage order, a name with blanks around it. They list in number order; saving the
    // displayed order makes them 1..n, and a binder the list did not show gets 0.
    void gappedNumbersListInOrderAndSavingRenumbers()
    {
        addBinder(7, QStringLiteral("B"), 40);
        addBinder(2, QStringLiteral("A"), 7);
        addBinder(9, QStringLiteral("C"), 1000);
        addBinder(4, QStringLiteral(" D "), 300); // another writer's blanks
        addFiling(2, QStringLiteral("x.txt"), 1, 90);
        addFiling(2, QStringLiteral("y.txt"), 1, 5);
        addFiling(7, QStringLiteral("y.txt"), 1, 12);
        addFiling(2, QStringLiteral("z.txt"), 2, 33);

        RecordsetSlot list;
        QVERIFY(OpenBinderList(*m_db, list).value());
        QCOMPARE(names(*list, "bName"), (QStringList { u"A"_s, u"B"_s, u" D "_s, u"C"_s }));

        ScriptedPrompter prompter;
        QCOMPARE(SaveBinderOrder(*m_db, prompter, list, { 9, 2, 4 }), Outcome::Done);
        QCOMPARE(prompter.lastMessage().text, kOrderSavedMessage);
        QVERIFY(!list);
        QCOMPARE(stored(m_path, catalog::kBinderNameTable),
            (QList<QStringList> { cells("7|B|0"), cells("2|A|2"), cells("9|C|1"), cells("4| D |3") }));

        RecordsetSlot files;
        QVERIFY(OpenBinderContents(*m_db, files, 2).value());
        QCOMPARE(names(*files, "fName"), (QStringList { u"y.txt"_s, u"z.txt"_s, u"x.txt"_s }));
        QCOMPARE(SaveFileOrder(*m_db, prompter, files, { 90, 5, 33 }), Outcome::Done);
        QCOMPARE(stored(m_path, catalog::kBinderTable),
            (QList<QStringList> {
                cells("2|x.txt|1|1"), cells("2|y.txt|1|2"), cells("7|y.txt|1|12"), cells("2|z.txt|2|3") }));

        // An empty binder has no order to save.
        RecordsetSlot empty;
        QVERIFY(!OpenBinderContents(*m_db, empty, 9).value());
        QCOMPARE(SaveFileOrder(*m_db, prompter, empty, {}), Outcome::Refused);
        QCOMPARE(prompter.lastMessage().text, kNoFilesToOrderMessage);
        QCOMPARE(prompter.lastMessage().icon, Prompter::Icon::Warning);
    }

    // Deleting a binder takes its filings and nothing else: the other binder's filing of the same
    // file and the file's record stay. (Filing and detaching are checked in the main window.)
    void deletingABinderTakesOnlyItsFilings()
    {
        addBinder(1, QStringLiteral("A"), 1);
        addBinder(2, QStringLiteral("B"), 5);
        QVERIFY(m_db->insertRow(catalog::kFileAtrTable,
            { QString(), u"報告.doc"_s, QDateTime(QDate(2024, 5, 1), QTime()), QString(), 1, 0, QString() }));
        addFiling(1, u"報告.doc"_s, 1, 1);
        addFiling(1, u"報告.doc"_s, 1, 2);
        addFiling(2, u"報告.doc"_s, 1, 3);
        addFiling(1, u"図面.p21"_s, 2, 4);
        ScriptedPrompter prompter;
        RecordsetSlot list;
        QCOMPARE(DeleteBinderRows(*m_db, prompter, list, 1), Outcome::Done);
        QCOMPARE(stored(m_path, catalog::kBinderNameTable), (QList<QStringList> { cells("2|B|5") }));
        QCOMPARE(stored(m_path, catalog::kBinderTable), (QList<QStringList> { cells("2|報告.doc|1|3") }));
        QCOMPARE(stored(m_path, catalog::kFileAtrTable).size(), 1);
    }

    // A reorder whose commit fails: the binders stay as they were and the user is told.
    void failedWriteLeavesTheBindersAsTheyWere()
    {
        addBinder(1, QStringLiteral("A"), 10);
        addBinder(2, QStringLiteral("B"), 20);
        m_db.reset();
        test::FailingFileAccess files;
        auto opened = jet::Database::open(files, m_path);
        QVERIFY(opened);
        std::unique_ptr<jet::Database> db = opened.take();
        ScriptedPrompter prompter;
        RecordsetSlot list;
        files.arm(test::FailingFileAccess::Fault::FailedSync, 1);
        QCOMPARE(SaveBinderOrder(*db, prompter, list, { 2, 1 }), Outcome::Failed);
        QCOMPARE(prompter.messages().size(), 1);
        QVERIFY(prompter.lastMessage().text.startsWith(kWriteFailedMessage + QStringLiteral("\r\n")));
        files.disarm();
        db.reset();
        QCOMPARE(stored(m_path, catalog::kBinderNameTable), (QList<QStringList> { cells("1|A|10"), cells("2|B|20") }));
    }
};

QTEST_GUILESS_MAIN(TestBinders)
#include "tst_binders.moc"

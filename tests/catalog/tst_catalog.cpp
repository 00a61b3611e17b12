// A new catalogue file on disk: its tables and first rows, and the identifier counters drawn
// from it. (Refusing to overwrite an existing file is checked through the main window.)
#include <limits>

#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include "../browser/testfolders.h"
#include "catalog/counters.h"
#include "catalog/creation.h"
#include "catalog/schema.h"
#include "platform/jet/database.h"
#include "platform/jet/recordset.h"
#include "support/scriptedprompter.h"

using namespace tolvane;
using tolvane::test::ScriptedPrompter;

namespace {

using Counter = Result<int> (*)(jet::Database &, Prompter &);

QList<jet::Row> rowsOf(jet::Database &db, const QString &table)
{
    return test::tableRows(&db, table);
}

// The value drawn, or -1 when the draw failed.
int drawn(const Result<int> &value)
{
    return value ? value.value() : -1;
}

} // namespace

class TestCatalog : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    int m_serial = 0;

    // A freshly built catalogue; returns its path.
    QString newCatalog() { return test::newCatalogueFile(m_dir.path(), QStringLiteral("cat%1").arg(++m_serial)); }

    std::unique_ptr<jet::Database> openDb(const QString &path)
    {
        auto db = jet::Database::open(path);
        if (!db) {
            qWarning("open: %s", qPrintable(db.status().toString()));
            return nullptr;
        }
        return db.take();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
    }

    void newCatalogHoldsTheNineTablesAndFirstRows()
    {
        const QString path = newCatalog();
        QVERIFY(!path.isEmpty());
        auto db = openDb(path);
        QVERIFY(db);

        // The columns of each table are read back against the file creator's own tests.
        QStringList names = db->tableNames();
        names.sort();
        QCOMPARE(names,
            QString::fromLatin1("BINDER BINDER_NAME ClassN DBID FILE_ATR FILE_REV FontSize IDno PATH_NAME")
                .split(QLatin1Char(' ')));

        QVERIFY(rowsOf(*db, catalog::kIdNoTable) == (QList<jet::Row> { { 0, 0, 0, 0, 0, 0, 0 } }));
        QVERIFY(rowsOf(*db, catalog::kDbidTable) == (QList<jet::Row> { { 11 } }));
        QVERIFY(rowsOf(*db, catalog::kFontSizeTable).isEmpty());
        for (const QString &empty : { catalog::kFileAtrTable, catalog::kBinderTable, catalog::kBinderNameTable,
                 catalog::kPathNameTable, catalog::kFileRevTable })
            QVERIFY2(rowsOf(*db, empty).isEmpty(), qPrintable(empty));

        // The three sample classes are checked by tst_classlist, which reads them back.
    }

    void columnSizesAreEnforced()
    {
        const QString path = newCatalog();
        auto db = openDb(path);
        QVERIFY(db);
        const QDateTime when(QDate(2024, 5, 1), QTime(9, 30));
        auto fits = db->insertRow(
            catalog::kFileAtrTable, { QString(), QString(120, QLatin1Char('a')), when, QString(), 1, 0, QString() });
        QVERIFY(fits);
        auto tooLong = db->insertRow(
            catalog::kFileAtrTable, { QString(), QString(121, QLatin1Char('a')), when, QString(), 1, 0, QString() });
        QVERIFY(!tooLong);
        QCOMPARE(rowsOf(*db, catalog::kFileAtrTable).size(), 1);
    }

    void counters_data()
    {
        QTest::addColumn<void *>("counter");
        QTest::addColumn<int>("column"); // position in IDno
        QTest::addColumn<QString>("brokenMessage");
        const auto row = [](const char *name, Counter c, int column, const char *message) {
            QTest::newRow(name) << reinterpret_cast<void *>(c) << column << QString::fromLatin1(message);
        };
        row("NextPnID", &catalog::NextPnID, 0, "Critical Error DB broken ->IDno");
        row("NextHsID", &catalog::NextHsID, 2, "Critical Error DB broken ->IDno.DocNo");
        row("NextBdID", &catalog::NextBdID, 3, "Critical Error DB broken ->IDno.bdID");
        row("NextDocNo", &catalog::NextDocNo, 4, "Critical Error DB broken ->IDno.DocNo");
        row("NextBndNo", &catalog::NextBndNo, 5, "Critical Error DB broken ->IDno.bdNo");
    }

    // Consecutive values that survive closing the file; an emptied IDno table is reported.
    void counters()
    {
        QFETCH(void *, counter);
        QFETCH(int, column);
        QFETCH(QString, brokenMessage);
        const auto next = reinterpret_cast<Counter>(counter);
        const QString path = newCatalog();
        auto db = openDb(path);
        QVERIFY(db);
        ScriptedPrompter prompter;
        QCOMPARE(drawn(next(*db, prompter)), 1);
        QCOMPARE(drawn(next(*db, prompter)), 2);
        QVERIFY(prompter.calls().isEmpty());

        jet::Row expected { 0, 0, 0, 0, 0, 0, 0 };
        expected[column] = 2;
        QVERIFY(rowsOf(*db, catalog::kIdNoTable) == QList<jet::Row> { expected });
        db.reset();
        db = openDb(path);
        QCOMPARE(drawn(next(*db, prompter)), 3);

        QList<jet::RowId> ids;
        QVERIFY(db->scan(catalog::kIdNoTable, [&](jet::RowId id, const jet::Row &) {
            ids << id;
            return true;
        }));
        for (const auto &id : ids)
            QVERIFY(db->deleteRow(catalog::kIdNoTable, id));
        QCOMPARE(next(*db, prompter).status().code(), Status::Code::Corruption);
        QCOMPARE(prompter.messages().size(), 1);
        const auto &m = prompter.lastMessage();
        QCOMPARE(m.title, QStringLiteral("Almaren Tolvane"));
        QCOMPARE(m.text, brokenMessage);
        QCOMPARE(m.icon, Prompter::Icon::Critical);
        QCOMPARE(m.buttons, Prompter::Buttons::Ok);
        QVERIFY(rowsOf(*db, catalog::kIdNoTable).isEmpty());
    }

    // A counter at its largest value is not wrapped round: the draw fails without a message and
    // the row keeps its value.
    void exhaustedCounterFailsQuietly()
    {
        const QString path = newCatalog();
        auto db = openDb(path);
        QVERIFY(db);
        auto idno = db->openTable(catalog::kIdNoTable);
        QVERIFY(idno);
        QVERIFY((*idno)->setField(QStringLiteral("pnID"), std::numeric_limits<int>::max()));
        QVERIFY((*idno)->update());
        idno->reset();
        ScriptedPrompter prompter;
        QCOMPARE(catalog::NextPnID(*db, prompter).status().code(), Status::Code::Corruption);
        QVERIFY(prompter.calls().isEmpty());
        QCOMPARE(rowsOf(*db, catalog::kIdNoTable).at(0).at(0).toInt(), std::numeric_limits<int>::max());
    }
};

QTEST_GUILESS_MAIN(TestCatalog)
#include "tst_catalog.moc"

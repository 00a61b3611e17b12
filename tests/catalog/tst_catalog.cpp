// A new catalogue file on disk: its tables and first rows, and the identifier counters drawn
// from it.
#include "catalog/counters.h"
#include "catalog/creation.h"
#include "catalog/schema.h"
#include "platform/jet/database.h"
#include "platform/jet/recordset.h"
#include "support/scriptedprompter.h"

#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace tolvane;
using tolvane::test::ScriptedPrompter;

namespace {

using Counter = int (*)(jet::Database *, Prompter &);

QList<jet::Row> rowsOf(jet::Database &db, const QString &table)
{
    QList<jet::Row> rows;
    const Status st = db.scan(table, [&](jet::RowId, const jet::Row &r) {
        rows << r;
        return true;
    });
    if (!st)
        qWarning("scan %s: %s", qPrintable(table), qPrintable(st.toString()));
    return rows;
}

} // namespace

class TestCatalog : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    int m_serial = 0;

    // A freshly built catalogue; returns its base path (without ".mdb").
    QString newCatalog()
    {
        const QString base = m_dir.filePath(QStringLiteral("cat%1").arg(++m_serial));
        if (!catalog::CreateCatalogFile(base) || !catalog::PutIDno(base) || !catalog::PutDBID(base) ||
            !catalog::PutItemN(base))
            return {};
        return base;
    }

    std::unique_ptr<jet::Database> openDb(const QString &base)
    {
        auto db = jet::Database::open(base + QStringLiteral(".mdb"));
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
        const QString base = newCatalog();
        QVERIFY(!base.isEmpty());
        auto db = openDb(base);
        QVERIFY(db);

        const QList<jet::TableSpec> tables = catalog::catalogTables();
        QStringList expectedNames;
        for (const auto &t : tables)
            expectedNames << t.name;
        QCOMPARE(db->tableNames(), expectedNames);
        for (const auto &wanted : tables) {
            auto info = db->tableInfo(wanted.name);
            QVERIFY2(info, qPrintable(wanted.name));
            QCOMPARE(info->columns.size(), wanted.columns.size());
            for (int i = 0; i < wanted.columns.size(); ++i) {
                QCOMPARE(info->columns[i].name, wanted.columns[i].name);
                QCOMPARE(info->columns[i].type, wanted.columns[i].type);
                if (wanted.columns[i].type == jet::ColumnType::Text)
                    QCOMPARE(info->columns[i].maxLength, wanted.columns[i].textLength);
            }
        }

        QVERIFY(rowsOf(*db, catalog::kIdNoTable) == (QList<jet::Row>{{0, 0, 0, 0, 0, 0, 0}}));
        QVERIFY(rowsOf(*db, catalog::kDbidTable) == (QList<jet::Row>{{11}}));
        QVERIFY(rowsOf(*db, catalog::kFontSizeTable).isEmpty());
        for (const QString &empty : {catalog::kFileAtrTable, catalog::kBinderTable, catalog::kBinderNameTable,
                                     catalog::kPathNameTable, catalog::kFileRevTable})
            QVERIFY2(rowsOf(*db, empty).isEmpty(), qPrintable(empty));

        auto classes = db->select(jet::Query(catalog::kClassNTable).order(QStringLiteral("a03")));
        QVERIFY(classes);
        QStringList items;
        while (!(*classes)->eof()) {
            items << (*classes)->field(0).toString() + QLatin1Char('|') + (*classes)->field(1).toString() +
                         QLatin1Char('|') + (*classes)->field(2).toString();
            (*classes)->moveNext();
        }
        QCOMPARE(items, (QStringList{QString::fromUtf8("朝霧　凪|&HFFFFC0|1"), QString::fromUtf8("水無瀬　灯|&HC0FFFF|2"),
                                     QString::fromUtf8("霜月　柊|&HFFC0C0|3")}));
    }

    void columnSizesAreEnforced()
    {
        const QString base = newCatalog();
        auto db = openDb(base);
        QVERIFY(db);
        const QDateTime when(QDate(2024, 5, 1), QTime(9, 30));
        auto fits = db->insertRow(catalog::kFileAtrTable,
                                  {QString(), QString(120, QLatin1Char('a')), when, QString(), 1, 0, QString()});
        QVERIFY(fits);
        auto tooLong = db->insertRow(catalog::kFileAtrTable,
                                     {QString(), QString(121, QLatin1Char('a')), when, QString(), 1, 0, QString()});
        QVERIFY(!tooLong);
        QCOMPARE(rowsOf(*db, catalog::kFileAtrTable).size(), 1);
    }

    void existingFileIsNeverOverwritten()
    {
        const QString base = m_dir.filePath(QStringLiteral("existing"));
        QFile f(base + QStringLiteral(".mdb"));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("not a catalogue");
        f.close();
        QVERIFY(!catalog::CreateCatalogFile(base));
        QVERIFY(f.open(QIODevice::ReadOnly));
        QCOMPARE(f.readAll(), QByteArray("not a catalogue"));
    }

    void countersDrawConsecutiveValues_data()
    {
        QTest::addColumn<void *>("counter");
        QTest::addColumn<int>("column"); // position in IDno
        QTest::newRow("NextPnID") << reinterpret_cast<void *>(&catalog::NextPnID) << 0;
        QTest::newRow("NextHsID") << reinterpret_cast<void *>(&catalog::NextHsID) << 2;
        QTest::newRow("NextBdID") << reinterpret_cast<void *>(&catalog::NextBdID) << 3;
        QTest::newRow("NextDocNo") << reinterpret_cast<void *>(&catalog::NextDocNo) << 4;
        QTest::newRow("NextBndNo") << reinterpret_cast<void *>(&catalog::NextBndNo) << 5;
    }

    void countersDrawConsecutiveValues()
    {
        QFETCH(void *, counter);
        QFETCH(int, column);
        const auto next = reinterpret_cast<Counter>(counter);
        const QString base = newCatalog();
        auto db = openDb(base);
        QVERIFY(db);
        ScriptedPrompter prompter;
        QCOMPARE(next(db.get(), prompter), 1);
        QCOMPARE(next(db.get(), prompter), 2);
        QVERIFY(prompter.calls().isEmpty());

        jet::Row expected{0, 0, 0, 0, 0, 0, 0};
        expected[column] = 2;
        QVERIFY(rowsOf(*db, catalog::kIdNoTable) == QList<jet::Row>{expected});
        // The count survives closing the file.
        db.reset();
        db = openDb(base);
        QCOMPARE(next(db.get(), prompter), 3);
    }

    void countersOnAnEmptiedIdnoTable_data()
    {
        QTest::addColumn<void *>("counter");
        QTest::addColumn<QString>("message");
        QTest::newRow("NextPnID") << reinterpret_cast<void *>(&catalog::NextPnID)
                                  << QStringLiteral("Critical Error DB broken ->IDno");
        QTest::newRow("NextHsID") << reinterpret_cast<void *>(&catalog::NextHsID)
                                  << QStringLiteral("Critical Error DB broken ->IDno.DocNo");
        QTest::newRow("NextDocNo") << reinterpret_cast<void *>(&catalog::NextDocNo)
                                   << QStringLiteral("Critical Error DB broken ->IDno.DocNo");
        QTest::newRow("NextBdID") << reinterpret_cast<void *>(&catalog::NextBdID)
                                  << QStringLiteral("Critical Error DB broken ->IDno.bdID");
        QTest::newRow("NextBndNo") << reinterpret_cast<void *>(&catalog::NextBndNo)
                                   << QStringLiteral("Critical Error DB broken ->IDno.bdNo");
    }

    void countersOnAnEmptiedIdnoTable()
    {
        QFETCH(void *, counter);
        QFETCH(QString, message);
        const auto next = reinterpret_cast<Counter>(counter);
        const QString base = newCatalog();
        auto db = openDb(base);
        QVERIFY(db);
        QList<jet::RowId> ids;
        QVERIFY(db->scan(catalog::kIdNoTable, [&](jet::RowId id, const jet::Row &) {
            ids << id;
            return true;
        }));
        for (const auto &id : ids)
            QVERIFY(db->deleteRow(catalog::kIdNoTable, id));

        ScriptedPrompter prompter;
        QCOMPARE(next(db.get(), prompter), -1);
        QCOMPARE(prompter.messages().size(), 1);
        const auto &m = prompter.lastMessage();
        QCOMPARE(m.title, QStringLiteral("Almaren Tolvane"));
        QCOMPARE(m.text, message);
        QCOMPARE(m.icon, Prompter::Icon::Critical);
        QCOMPARE(m.buttons, Prompter::Buttons::Ok);
        QVERIFY(rowsOf(*db, catalog::kIdNoTable).isEmpty());
    }

    void counterWithoutCatalogueFailsQuietly()
    {
        ScriptedPrompter prompter;
        QCOMPARE(catalog::NextPnID(nullptr, prompter), 0);
        QVERIFY(prompter.calls().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestCatalog)
#include "tst_catalog.moc"

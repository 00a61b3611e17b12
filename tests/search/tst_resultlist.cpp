// The result list `fs` filled from a real catalogue, its columns and colours.
#include <QTemporaryDir>
#include <QTest>

#include "catalog/schema.h"
#include "platform/bgrcolor.h"
#include "platform/jet/recordset.h"
#include "search/resultlist.h"
#include "search/ui/autofitgrid.h"
#include "search/ui/resultlistview.h"
#include "searchcatalogue.h"

using namespace tolvane;
using namespace tolvane::search;
using tolvane::search::ui::ResultListView;

class TestResultList : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp;
    std::unique_ptr<jet::Database> m_db;

    static QColor back(const ResultListModel &fs, int row, int col)
    {
        return fs.data(fs.index(row - 1, col), Qt::BackgroundRole).value<QBrush>().color();
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_tmp.isValid());
        test::SearchCatalogue catalogue;
        QVERIFY(catalogue.create(m_tmp.path() + QStringLiteral("/cat.mdb")));
        m_db = catalogue.release();
        const QDateTime d1(QDate(2023, 5, 6), QTime());
        const QDateTime d2(QDate(2024, 7, 8), QTime(13, 14, 15));
        const QList<jet::Row> rows = {
            { QStringLiteral("朝霧　凪"), QStringLiteral("O'Neil.doc"), d1, QStringLiteral("見積 2023"), 1, 0,
                QStringLiteral("&HFFFFC0") },
            { QString(), QStringLiteral("plan.pdf"), d2, QString(), 1, 5, QString() },
            { QStringLiteral("霜月　柊"), QStringLiteral("報告書.txt"), d1, QString(), 2, 0,
                QStringLiteral("&HC0FFFF") },
        };
        for (const jet::Row &r : rows)
            QVERIFY(m_db->insertRow(catalog::kFileAtrTable, r));
    }

    void prepareAndFill()
    {
        ResultListModel fs;
        ResultListView view(&fs);
        QCOMPARE(view.objectName(), QStringLiteral("fs"));
        int broughtToFront = 0;
        PrepShow2FS(fs, [&](int panel) { broughtToFront = panel; });
        QCOMPARE(broughtToFront, 11);
        QCOMPARE(fs.rows(), 1);
        QCOMPARE(fs.cols(), 8);
        QCOMPARE(fs.text(0, 0), QString());
        QStringList headings;
        for (int c = 1; c < 8; ++c)
            headings.append(fs.headerData(c, Qt::Horizontal).toString());
        QCOMPARE(headings,
            QStringList({ QStringLiteral("分類"), QStringLiteral("ファイル名"), QStringLiteral("更新年月日"),
                QStringLiteral("キーワード"), QStringLiteral("ファイル所在"), QStringLiteral("History"),
                QStringLiteral("BackCo") }));

        auto rs = m_db->openTable(catalog::kFileAtrTable);
        QVERIFY(rs);
        (*rs)->moveLast(); // the fill starts from the first record wherever the cursor is
        QCOMPARE(FillCatalogRows(fs, **rs, 12), 3);
        QVERIFY((*rs)->eof());
        QCOMPARE(fs.rows(), 4);
        QCOMPARE(fs.fontSize(), 12);
        QCOMPARE(view.font().pointSize(), 12);
        for (int r = 1; r <= 3; ++r)
            QCOMPARE(fs.text(r, 0), QString::number(r));
        QCOMPARE(fs.text(1, 1), QStringLiteral("朝霧　凪"));
        QCOMPARE(fs.text(1, 2), QStringLiteral("O'Neil.doc"));
        QCOMPARE(fs.text(1, 3), QStringLiteral("2023/05/06"));
        QCOMPARE(fs.text(2, 3), QStringLiteral("2024/07/08 13:14:15"));
        QCOMPARE(fs.text(1, 4), QStringLiteral("見積 2023"));
        QCOMPARE(fs.text(3, 5), QStringLiteral("2"));
        QCOMPARE(fs.text(2, 6), QStringLiteral("5"));
        QCOMPARE(fs.text(1, 7), QStringLiteral("&HFFFFC0"));
        // Column 1 takes the row's stored colour (BGR text): &HFFFFC0 is red C0, green FF, blue FF.
        QCOMPARE(back(fs, 1, 1), QColor(0xC0, 0xFF, 0xFF));
        QCOMPARE(back(fs, 3, 1), QColor(0xFF, 0xFF, 0xC0));
        QVERIFY(!fs.data(fs.index(1, 1), Qt::BackgroundRole).isValid());
        QVERIFY(!fs.data(fs.index(0, 2), Qt::BackgroundRole).isValid());

        // An empty result writes nothing.
        auto none
            = m_db->select(jet::Query(catalog::kFileAtrTable).where(jet::Condition::equal(QStringLiteral("pnID"), 99)));
        QVERIFY(none);
        QCOMPARE(FillCatalogRows(fs, **none), 0);
        QCOMPARE(fs.rows(), 4);

        // A new preparation empties the list again.
        PrepShow2FS(fs);
        QCOMPARE(fs.rows(), 1);
        QCOMPARE(fs.rowCount(), 0);
    }

    void columnVisibility()
    {
        ResultListModel fs;
        ResultListView view(&fs);
        PrepShow2FS(fs);
        SetResultColumns(fs, 1, true);
        for (int c = 0; c < 8; ++c)
            QCOMPARE(view.isColumnHidden(c), c >= 5);
        SetResultColumns(fs, 1, false);
        for (int c = 0; c < 8; ++c)
            QVERIFY(!view.isColumnHidden(c));

        PrepShow2FS_Binder(fs);
        QCOMPARE(fs.cols(), 5);
        QCOMPARE(fs.headerData(3, Qt::Horizontal).toString(), QStringLiteral("PathNameID"));
        SetResultColumns(fs, 2, true);
        QCOMPARE(view.isColumnHidden(1), true);
        QCOMPARE(view.isColumnHidden(2), false);
        QCOMPARE(view.isColumnHidden(3), true);
        QCOMPARE(view.isColumnHidden(4), true);
        // Resetting for catalogue rows shows column 1 again; the new columns come back visible.
        PrepShow2FS(fs);
        QVERIFY(!view.isColumnHidden(1));
        QVERIFY(!view.isColumnHidden(6));
    }

    void binderRows()
    {
        QVERIFY(m_db->insertRow(catalog::kBinderTable, { 4, QStringLiteral("O'Neil.doc"), 1, 2 }));
        QVERIFY(m_db->insertRow(catalog::kBinderTable, { 4, QStringLiteral("報告書.txt"), 2, 1 }));
        auto rs = m_db->select(jet::Query(catalog::kBinderTable).order(QStringLiteral("DocNo")));
        QVERIFY(rs);
        ResultListModel fs;
        PrepShow2FS_Binder(fs);
        QCOMPARE(FillBinderRows(fs, **rs), 2);
        QCOMPARE(fs.text(1, 0), QStringLiteral("1"));
        QCOMPARE(fs.text(1, 2), QStringLiteral("報告書.txt"));
        QCOMPARE(fs.text(2, 2), QStringLiteral("O'Neil.doc"));
        QCOMPARE(fs.text(2, 4), QStringLiteral("2"));
        QCOMPARE(fs.text(0, 1), QStringLiteral("BinderID"));
        QVERIFY(!fs.cellBackColor(1, 1).isValid());
    }

    void notRegisteredAndAutoFit()
    {
        ResultListModel fs;
        ResultListView view(&fs);
        view.resize(600, 300);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        PrepShow2FS(fs);
        ShowNotRegisteredFolder(fs, QStringLiteral("C:\\未登録"));
        QCOMPARE(fs.rows(), 2);
        QCOMPARE(fs.text(1, 1), QStringLiteral("フォルダ：C:\\未登録　内のファイル情報は登録されていません。 "));
        const int before0 = view.columnWidth(0);
        ui::AutoFitGrid(&view);
        QCOMPARE(view.columnWidth(0), before0); // column 0 is not sized
        QVERIFY(view.columnWidth(1) >= view.fontMetrics().horizontalAdvance(fs.text(1, 1)));
    }

    void colourTexts_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QColor>("color");
        QTest::newRow("hex") << QStringLiteral("&HFFC0C0") << QColor(0xC0, 0xC0, 0xFF);
        QTest::newRow("green") << QStringLiteral("&H00C000") << QColor(0, 0xC0, 0);
        QTest::newRow("lower") << QStringLiteral("&hff") << QColor(0xFF, 0, 0);
        QTest::newRow("decimal") << QStringLiteral("16777215") << QColor(255, 255, 255);
        QTest::newRow("empty") << QString() << QColor();
        QTest::newRow("junk") << QStringLiteral("&Hxyz") << QColor();
    }

    void colourTexts()
    {
        QFETCH(QString, text);
        QFETCH(QColor, color);
        QCOMPARE(colorFromBgrText(text), color);
        if (color.isValid())
            QCOMPARE(colorFromBgrText(bgrText(color)), color);
    }
};

QTEST_MAIN(TestResultList)
#include "tst_resultlist.moc"

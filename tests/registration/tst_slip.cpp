// The management slip and revision history: saving and reading back on a real catalogue file,
// the first history save drawing an hsID, refused saves writing nothing, and the slip in the
// real main window (offscreen) with its editing rules, calendar, line deletion and saving when
// the record is left.
#include <QCalendarWidget>
#include <QClipboard>
#include <QComboBox>
#include <QImage>
#include <QLineEdit>
#include <QLinearGradient>
#include <QPainter>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>

#include "../browser/testfolders.h"
#include "catalog/records.h"
#include "catalog/schema.h"
#include "platform/jet/recordset.h"
#include "registration/history.h"
#include "registration/pathrecords.h"
#include "registration/slip.h"
#include "registration/ui/calendarpicker.h"
#include "registration/ui/historygrid.h"
#include "registration/ui/registrationcontroller.h"
#include "registration/ui/slipgrid.h"
#include "search/ui/searchcontroller.h"
#include "shell/ui/form1.h"
#include "support/oracles.h"
#include "support/scriptedprompter.h"
#include "viewer/fontsizestore.h"
#include "viewer/ui/pictureview.h"
#include "viewer/ui/viewercontroller.h"

using namespace tolvane;
using namespace tolvane::catalog;
using namespace tolvane::registration;
using tolvane::shell::Form1;
using tolvane::shell::LayoutState;
using tolvane::shell::Mode;
using tolvane::test::ScriptedPrompter;

namespace {

const QDateTime kFileDay(QDate(2023, 4, 10), QTime(0, 0));

struct Stored {
    QString Class, fName, kStr, backC;
    QDateTime fDate;
    int pnID = 0, hsID = 0;
};

Stored storedFile(jet::Database *db, const QString &name)
{
    for (const jet::Row &r : test::tableRows(db, catalog::kFileAtrTable)) {
        if (r[FName].toString() == name)
            return { r[FClass].toString(), r[FName].toString(), r[FKStr].toString(), r[FBackC].toString(),
                r[FDate].toDateTime(), r[FPnID].toInt(), r[FHsID].toInt() };
    }
    return {};
}

// FILE_REV rows of hsID as (date text, note), in storage order.
QList<HistoryLine> storedLines(jet::Database *db, int hsID)
{
    QList<HistoryLine> out;
    for (const jet::Row &r : test::tableRows(db, catalog::kFileRevTable))
        if (r[2].toInt() == hsID)
            out.append({ historyDateText(r[0]), r[1].toString() });
    return out;
}

int counter(jet::Database *db, const char *column)
{
    const QList<jet::Row> rows = test::tableRows(db, catalog::kIdNoTable);
    auto info = db->tableInfo(catalog::kIdNoTable);
    if (rows.size() != 1 || !info)
        return -1;
    return rows[0][info->columnIndex(QString::fromLatin1(column))].toInt();
}

// A recordset positioned on the FILE_ATR row of name.
std::unique_ptr<jet::Recordset> fileRecord(jet::Database *db, const QString &name)
{
    auto rs
        = db->select(jet::Query(catalog::kFileAtrTable).where(jet::Condition::equal(QStringLiteral("fName"), name)));
    return rs ? rs.take() : nullptr;
}

} // namespace

class TestSlip : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp;
    QString m_dir;
    QString m_docs;
    QString m_catalogue;
    std::unique_ptr<jet::Database> m_db;

    // Three registered files in one folder; "memo.txt" already has two history lines (hsID 5),
    // the others none.
    void fillCatalogue()
    {
        QVERIFY(AddPathName(*m_db, m_docs, 1));
        const auto add = [&](const char *cls, const char *name, const char *kStr, int hsID, const char *backC) {
            const jet::Row row { QString::fromUtf8(cls), QString::fromUtf8(name), kFileDay, QString::fromUtf8(kStr), 1,
                hsID, QString::fromUtf8(backC) };
            QVERIFY(m_db->insertRow(catalog::kFileAtrTable, row));
        };
        add("朝霧　凪", "photo.png", "写真", 0, "&HFFFFC0");
        add("", "memo.txt", "メモ", 5, "");
        add("", "plan.p21", "", 0, "");
        const auto line = [&](int y, int m, int d, const char *note, int hsID) {
            QVERIFY(m_db->insertRow(
                catalog::kFileRevTable, { QDateTime(QDate(y, m, d), QTime(0, 0)), QString::fromUtf8(note), hsID }));
        };
        line(2022, 5, 1, "第2版", 5);
        line(2021, 3, 9, "初版", 5);
        // The IDno counter already handed out hsID 5.
        auto idno = m_db->openTable(catalog::kIdNoTable);
        QVERIFY(idno);
        QVERIFY((*idno)->setField(QStringLiteral("hsID"), 5));
        QVERIFY((*idno)->update());

        // A small landscape: sky, hills and a sun.
        QImage image(480, 300, QImage::Format_RGB32);
        {
            QPainter p(&image);
            QLinearGradient sky(0, 0, 0, 300);
            sky.setColorAt(0, QColor(70, 130, 180));
            sky.setColorAt(1, QColor(200, 225, 245));
            p.fillRect(image.rect(), sky);
            p.setRenderHint(QPainter::Antialiasing);
            p.setPen(Qt::NoPen);
            p.setBrush(QColor(250, 210, 80));
            p.drawEllipse(QPointF(370, 80), 36, 36);
            p.setBrush(QColor(80, 140, 70));
            p.drawEllipse(QRectF(-120, 190, 420, 240));
            p.setBrush(QColor(60, 115, 60));
            p.drawEllipse(QRectF(180, 210, 420, 220));
        }
        QVERIFY(image.save(m_docs + QStringLiteral("/photo.png")));
        QVERIFY(test::writeFile(m_docs + QStringLiteral("/memo.txt"), 20, kFileDay));
        QVERIFY(test::writeFile(m_docs + QStringLiteral("/plan.p21"), 20, kFileDay));
    }

    void reopen()
    {
        m_db.reset();
        auto db = jet::Database::open(m_catalogue);
        QVERIFY2(db, qPrintable(db.status().toString()));
        m_db = db.take();
    }

    // The main window, shown, with the catalogue opened through its own command and a keyword
    // search for "%" run from the search menu: the result list holds every file.
    std::unique_ptr<Form1> openForm(ScriptedPrompter &prompter)
    {
        m_db.reset();
        auto form = std::make_unique<Form1>(prompter);
        form->resize(1200, 760);
        form->show();
        prompter.planOpenFile(m_catalogue);
        form->Toolbar_ButtonClick(QStringLiteral("DBopen"));
        if (!form->catalog().db())
            return nullptr;
        for (const char *key : { "Search", "DBKeyword" }) {
            if (!form->toolbarKeys().contains(QString::fromLatin1(key)))
                return nullptr;
            form->Toolbar_ButtonClick(QString::fromLatin1(key));
        }
        auto *word = form->findChild<QLineEdit *>(QStringLiteral("Text1(0)"));
        if (form->mode() != Mode::KeywordSearch || !word || word->isHidden())
            return nullptr;
        word->setText(QStringLiteral("%"));
        form->Toolbar_ButtonClick(QStringLiteral("DurSeek"));
        if (form->search().resultCount() != 3 || resultList(*form)->model()->rowCount() != 3)
            return nullptr;
        return form;
    }

    static QTableView *view(const Form1 &form, const char *name)
    {
        return form.findChild<QTableView *>(QString::fromLatin1(name));
    }
    static QTableView *resultList(const Form1 &form) { return view(form, "fs"); }
    static QWidget *widget(const Form1 &form, const char *name)
    {
        return form.findChild<QWidget *>(QString::fromLatin1(name));
    }
    static bool slipDirty(const Form1 &form) { return form.registration().slipGrid()->isDirty(); }
    static bool historyDirty(const Form1 &form) { return form.registration().historyGrid()->isDirty(); }

    // The grid row (1 for the first) of fileName in the result list; 0 when it is not listed.
    static int resultRow(const Form1 &form, const QString &fileName)
    {
        const QAbstractItemModel *list = resultList(form)->model();
        for (int r = 0; r < list->rowCount(); ++r)
            if (list->index(r, 2).data().toString() == fileName)
                return r + 1;
        return 0;
    }

    // Clicks the row of fileName in the shown result list, as the user opens a record; returns
    // its grid row (0 when the list is not shown or does not hold it).
    static int openRecord(Form1 &form, const QString &fileName)
    {
        QTableView *fs = resultList(form);
        const int row = resultRow(form, fileName);
        if (!fs->isVisible() || row == 0)
            return 0;
        const QRect rect = fs->visualRect(fs->model()->index(row - 1, 2));
        QTest::mouseClick(fs->viewport(), Qt::LeftButton, {}, rect.center());
        return row;
    }

    // The line editor open in view (closed editors linger hidden until deleted).
    static QLineEdit *openLineEditor(QTableView *view)
    {
        for (QLineEdit *e : view->viewport()->findChildren<QLineEdit *>())
            if (!e->isHidden())
                return e;
        return nullptr;
    }

    // Opens the editor of cell (row, col) as the user does, the cell made current first.
    static QLineEdit *openEditor(QTableView *view, int row, int col)
    {
        view->setCurrentIndex(view->model()->index(row, col));
        view->edit(view->currentIndex());
        return openLineEditor(view);
    }

    static QRect cellRect(QTableView *view, int row, int col)
    {
        return view->visualRect(view->model()->index(row, col));
    }

private slots:
    void initTestCase() { QVERIFY(m_tmp.isValid()); }

    void init()
    {
        m_dir = m_tmp.path() + QLatin1Char('/') + QString::fromLatin1(QTest::currentTestFunction());
        if (QTest::currentDataTag())
            m_dir += QLatin1Char('-') + QString::number(qHash(QByteArray(QTest::currentDataTag())));
        m_docs = m_dir + QStringLiteral("/docs");
        QVERIFY(QDir().mkpath(m_docs));
        m_db = test::newCatalogue(m_dir);
        QVERIFY(m_db);
        m_catalogue = m_dir + QStringLiteral("/cat.mdb");
        fillCatalogue();
    }

    void cleanup() { m_db.reset(); }

    // The colour as the slip shows it; the classification list is checked in the window's drop-down.
    void colourNumbers()
    {
        QCOMPARE(colourNumberText(QStringLiteral("&HFFFFC0")), QStringLiteral("16777152"));
        QCOMPARE(colourNumberText(QStringLiteral("255")), QStringLiteral("255"));
        QCOMPARE(colourNumberText(QStringLiteral("blue")), QString());
    }

    void slipFieldsAreSavedAndReadBack()
    {
        auto rs = fileRecord(m_db.get(), QStringLiteral("memo.txt"));
        QVERIFY(rs && !rs->eof());
        const QString keywords = QStringLiteral("見積 O'Neil \"改訂\"");
        QVERIFY(SaveSlipFields(*m_db, *rs, { QStringLiteral("水無瀬　灯"), keywords, QStringLiteral("12648447") }));
        reopen();
        const Stored s = storedFile(m_db.get(), QStringLiteral("memo.txt"));
        QCOMPARE(s.Class, QStringLiteral("水無瀬　灯"));
        QCOMPARE(s.kStr, keywords);
        QCOMPARE(s.backC, QStringLiteral("12648447"));
        // The managed fields are never written.
        QCOMPARE(s.fDate, kFileDay);
        QCOMPARE(s.pnID, 1);
        QCOMPARE(s.hsID, 5);
        QCOMPARE(storedFile(m_db.get(), QStringLiteral("photo.png")).kStr, QStringLiteral("写真"));

        // Another reader of the file sees the same row.
        if (test::mdbToolsAvailable()) {
            m_db.reset();
            bool found = false;
            for (const QStringList &row : test::mdbExport(m_catalogue, catalog::kFileAtrTable))
                found = found || (row.value(1) == QStringLiteral("memo.txt") && row.value(3) == keywords);
            QVERIFY(found);
        }
    }

    // Keywords longer than the record holds, or a read-only catalogue: nothing is written.
    void refusedSavesWriteNothing()
    {
        auto rs = fileRecord(m_db.get(), QStringLiteral("memo.txt"));
        QVERIFY(rs);
        QVERIFY(!SaveSlipFields(*m_db, *rs, { QStringLiteral("霜月　柊"), QString(201, QLatin1Char('x')), {} }));
        QCOMPARE(rs->field(QStringLiteral("Class")).toString(), QString());
        reopen();
        QCOMPARE(storedFile(m_db.get(), QStringLiteral("memo.txt")).Class, QString());
        QCOMPARE(storedFile(m_db.get(), QStringLiteral("memo.txt")).kStr, QStringLiteral("メモ"));

        m_db.reset();
        auto db = jet::Database::open(m_catalogue, jet::Database::OpenMode::ReadOnly);
        QVERIFY(db);
        rs = fileRecord(db->get(), QStringLiteral("photo.png"));
        QVERIFY(rs);
        QVERIFY(!SaveSlipFields(**db, *rs, { QStringLiteral("x"), QStringLiteral("y"), QStringLiteral("z") }));
        ScriptedPrompter prompter;
        QVERIFY(!SaveHistory(**db, *rs, { { QStringLiteral("2010-01-05"), QStringLiteral("n") } }, prompter));
        QCOMPARE(rs->field(QStringLiteral("kStr")).toString(), QStringLiteral("写真"));
        QCOMPARE(rs->field(QStringLiteral("hsID")).toInt(), 0);
    }

    void firstHistorySaveDrawsAnHsID()
    {
        // Lines come back in date order (see below); no key or an unknown one has none.
        QVERIFY(LoadHistory(*m_db, 0)->isEmpty());
        QVERIFY(LoadHistory(*m_db, 77)->isEmpty());
        auto rs = fileRecord(m_db.get(), QStringLiteral("photo.png"));
        QVERIFY(rs);
        ScriptedPrompter prompter;
        Result<int> hsID
            = SaveHistory(*m_db, *rs, { { QStringLiteral("2010-01-05"), QStringLiteral("撮影") } }, prompter);
        QVERIFY2(hsID, qPrintable(hsID.status().toString()));
        QCOMPARE(*hsID, 6); // the counter stood at 5
        QCOMPARE(rs->field(QStringLiteral("hsID")).toInt(), 6);
        reopen();
        QCOMPARE(counter(m_db.get(), "hsID"), 6);
        QCOMPARE(storedFile(m_db.get(), QStringLiteral("photo.png")).hsID, 6);
        QCOMPARE(storedLines(m_db.get(), 6),
            (QList<HistoryLine> { { QStringLiteral("2010-01-05"), QStringLiteral("撮影") } }));
        QCOMPARE(storedLines(m_db.get(), 5).size(), 2); // the other file's lines stay

        // Saving again replaces the lines and keeps the key; so does saving no line at all.
        rs = fileRecord(m_db.get(), QStringLiteral("photo.png"));
        const QList<HistoryLine> two { { QStringLiteral("2012/7/1"), QStringLiteral("再撮影") },
            { QStringLiteral("2011-02-03"), QString() } };
        QCOMPARE(*SaveHistory(*m_db, *rs, two, prompter), 6);
        QCOMPARE(*LoadHistory(*m_db, 6),
            (QList<HistoryLine> { { QStringLiteral("2011-02-03"), QString() },
                { QStringLiteral("2012-07-01"), QStringLiteral("再撮影") } }));
        QCOMPARE(*SaveHistory(*m_db, *rs, {}, prompter), 6);
        QVERIFY(LoadHistory(*m_db, 6)->isEmpty());
        QCOMPARE(counter(m_db.get(), "hsID"), 6);
        reopen();
        QCOMPARE(storedFile(m_db.get(), QStringLiteral("photo.png")).hsID, 6);

        // An empty line is kept, its date stored as null.
        rs = fileRecord(m_db.get(), QStringLiteral("photo.png"));
        QVERIFY(SaveHistory(*m_db, *rs, { { QString(), QString() } }, prompter));
        QCOMPARE(storedLines(m_db.get(), 6), (QList<HistoryLine> { { QString(), QString() } }));
        QVERIFY(prompter.messages().isEmpty());
    }

    void refusedHistorySaveWritesNothing_data()
    {
        QTest::addColumn<QString>("date");
        QTest::addColumn<QString>("note");
        QTest::newRow("not a date") << QStringLiteral("昨日") << QStringLiteral("x");
        QTest::newRow("no such day") << QStringLiteral("2010-02-30") << QStringLiteral("x");
        QTest::newRow("note too long") << QStringLiteral("2010-01-05") << QString(256, QLatin1Char('n'));
    }

    void refusedHistorySaveWritesNothing()
    {
        QFETCH(QString, date);
        QFETCH(QString, note);
        auto rs = fileRecord(m_db.get(), QStringLiteral("plan.p21"));
        QVERIFY(rs);
        ScriptedPrompter prompter;
        const QList<HistoryLine> lines { { QStringLiteral("2009-12-31"), QStringLiteral("ok") }, { date, note } };
        QVERIFY(!SaveHistory(*m_db, *rs, lines, prompter));
        QCOMPARE(rs->field(QStringLiteral("hsID")).toInt(), 0);
        reopen();
        QCOMPARE(storedFile(m_db.get(), QStringLiteral("plan.p21")).hsID, 0);
        QCOMPARE(counter(m_db.get(), "hsID"), 5);
        QCOMPARE(test::tableRows(m_db.get(), catalog::kFileRevTable).size(), 2);
    }

    void textSizeIsStored()
    {
        QCOMPARE(*viewer::ReadFontSize(m_db.get()), 10);
        QVERIFY(viewer::SaveFontSize(m_db.get(), 14)); // first change: the row starts with 10
        QCOMPARE(test::tableRows(m_db.get(), catalog::kFontSizeTable).size(), 1);
        QCOMPARE(*viewer::ReadFontSize(m_db.get()), 10);
        QVERIFY(viewer::SaveFontSize(m_db.get(), 16));
        reopen();
        QCOMPARE(test::tableRows(m_db.get(), catalog::kFontSizeTable).size(), 1);
        QCOMPARE(*viewer::ReadFontSize(m_db.get()), 16);
    }

    // The whole road through the window: a keyword search, a click on a row, the record's slip,
    // history and file; back to the list, into another record, and back.
    void openedRecordShowsItsSlip()
    {
        ScriptedPrompter prompter;
        auto form = openForm(prompter);
        QVERIFY(form);
        const int memoRow = openRecord(*form, QStringLiteral("memo.txt"));
        QVERIFY(memoRow > 0);
        QCOMPARE(form->layoutState(), LayoutState::RecordShown);

        SlipGrid *slip = form->registration().slipGrid();
        QVERIFY(!view(*form, "fg2")->isHidden());
        QVERIFY(!view(*form, "vs")->isHidden());
        QCOMPARE(slip->cellText(0, 1), QStringLiteral("管理票　%1/3").arg(memoRow));
        QVERIFY(slip->model()->item(0, 1)->font().bold());
        const QStringList labels { QStringLiteral("分類"), QStringLiteral("ファイル名"), QStringLiteral("更新年月日"),
            QStringLiteral("キーワード"), QStringLiteral("ファイル所在"), QStringLiteral("History"),
            QStringLiteral("BackCo") };
        for (int r = 1; r <= 7; ++r)
            QCOMPARE(slip->cellText(r, 1), labels[r - 1]);
        QCOMPARE(slip->cellText(2), QStringLiteral("memo.txt"));
        QCOMPARE(slip->cellText(3), QStringLiteral("2023/04/10"));
        QCOMPARE(slip->cellText(4), QStringLiteral("メモ"));
        QCOMPARE(slip->cellText(5), QDir::toNativeSeparators(m_docs));
        QCOMPARE(slip->cellText(6), QStringLiteral("5"));

        HistoryGrid *history = form->registration().historyGrid();
        QCOMPARE(history->model()->item(0, 1)->text(), QStringLiteral("改訂履歴"));
        QCOMPARE(history->model()->item(1, 1)->text(), QStringLiteral("改訂日付"));
        QCOMPARE(history->model()->item(1, 2)->text(), QStringLiteral("記事"));
        QCOMPARE(history->lines(),
            (QList<HistoryLine> { { QStringLiteral("2021-03-09"), QStringLiteral("初版") },
                { QStringLiteral("2022-05-01"), QStringLiteral("第2版") } }));

        // The text file, read from the record's folder, is shown beside the slip, with the record
        // display's buttons.
        auto *mData = form->findChild<QTextEdit *>(QStringLiteral("mData"));
        QVERIFY(mData);
        QVERIFY(!mData->isHidden());
        QCOMPARE(mData->toPlainText(), QString(20, QLatin1Char('x')));
        for (const char *key : { "BackTo", "Prev", "Next", "AddLine", "DelLine", "apri" })
            QVERIFY2(form->toolbarKeys().contains(QString::fromLatin1(key)), key);

        // Back to the list and into another record: both grids are rebuilt, nothing of memo.txt
        // stays.
        form->Toolbar_ButtonClick(QStringLiteral("BackTo"));
        const int photoRow = openRecord(*form, QStringLiteral("photo.png")); // no history
        QVERIFY(photoRow > 0);
        QCOMPARE(form->layoutState(), LayoutState::RecordShown);
        QCOMPARE(slip->cellText(0, 1), QStringLiteral("管理票　%1/3").arg(photoRow));
        QCOMPARE(slip->cellText(1), QStringLiteral("朝霧　凪"));
        QCOMPARE(slip->cellText(2), QStringLiteral("photo.png"));
        QCOMPARE(slip->model()->item(1, 2)->background().color(), QColor(0xC0, 0xFF, 0xFF));
        QCOMPARE(history->lineCount(), 0);
        QVERIFY(form->viewer().pictureView()->hasImage());
        QVERIFY(!widget(*form, "imk")->isHidden());

        // Back to the list: the whole list is there (edits written on leaving: slipEditingRules).
        form->Toolbar_ButtonClick(QStringLiteral("BackTo"));
        QVERIFY(!resultList(*form)->isHidden());
        QCOMPARE(resultList(*form)->model()->rowCount(), 3);
        QVERIFY(prompter.messages().isEmpty());
    }

    void slipEditingRules()
    {
        ScriptedPrompter prompter;
        auto form = openForm(prompter);
        QVERIFY(form);
        QVERIFY(openRecord(*form, QStringLiteral("plan.p21")));
        QTableView *fg2 = view(*form, "fg2");
        SlipGrid *slip = form->registration().slipGrid();

        // A managed value is refused; labels and the title do nothing.
        QTest::mouseClick(fg2->viewport(), Qt::LeftButton, {}, cellRect(fg2, 2, 2).center());
        QCOMPARE(prompter.messages().size(), 1);
        QCOMPARE(prompter.lastMessage().text, QStringLiteral("Tolvane が管理する項目は編集できません。"));
        QCOMPARE(prompter.lastMessage().icon, Prompter::Icon::Warning);
        QTest::mouseClick(fg2->viewport(), Qt::LeftButton, {}, cellRect(fg2, 2, 1).center());
        QTest::mouseClick(fg2->viewport(), Qt::LeftButton, {}, cellRect(fg2, 4, 2).center());
        QCOMPARE(prompter.messages().size(), 1);
        QVERIFY(!slipDirty(*form));

        // Keywords are typed; a classification is chosen from the drop-down.
        QVERIFY(slip->model()->item(4, 2)->isEditable());
        QVERIFY(!slip->model()->item(2, 2)->isEditable());
        QLineEdit *keywords = openEditor(fg2, 4, 2);
        QVERIFY(keywords);
        // What the record can store stands in the box; a longer paste is cut with a warning.
        QCOMPARE(keywords->placeholderText(), QStringLiteral("キーワード（200文字まで）"));
        QCOMPARE(keywords->toolTip(), keywords->placeholderText());
        const int before = int(prompter.messages().size());
        const QString original = keywords->text();
        QApplication::clipboard()->setText(QString(250, QChar(u'語')));
        keywords->selectAll();
        keywords->paste();
        QCOMPARE(keywords->text(), QString(kKeywordsMaxLength, QChar(u'語')));
        QCOMPARE(prompter.messages().size(), before + 1);
        QCOMPARE(prompter.lastMessage().text,
            QStringLiteral("キーワードは200文字までです。　入力された250文字のうち、201文字目から後は入りません。"));
        QCOMPARE(prompter.lastMessage().icon, Prompter::Icon::Warning);
        keywords->setText(original);
        slip->finishEdit();
        QVERIFY(!slipDirty(*form));
        prompter.clear();
        slip->editCell(4, QStringLiteral("橋梁 図面"));
        QVERIFY(slipDirty(*form));
        openEditor(fg2, 1, 2);
        auto *combo = fg2->findChild<QComboBox *>(QStringLiteral("fg2ClassList"));
        QVERIFY(combo);
        QStringList items;
        for (int i = 0; i < combo->count(); ++i)
            items << combo->itemText(i);
        QCOMPARE(items,
            (QStringList { QStringLiteral("朝霧　凪"), QStringLiteral("水無瀬　灯"), QStringLiteral("霜月　柊") }));
        combo->setCurrentIndex(1);
        slip->finishEdit();
        QCOMPARE(slip->cellText(1), QStringLiteral("水無瀬　灯"));
        QCOMPARE(slip->cellText(7), QStringLiteral("12648447")); // &HC0FFFF
        QCOMPARE(slip->model()->item(1, 2)->background().color(), QColor(0xFF, 0xFF, 0xC0));

        // Left and Right step to the previous and next record.
        QSignalSpy steps(slip, &SlipGrid::stepRequested);
        fg2->setCurrentIndex(fg2->model()->index(2, 2));
        QTest::keyClick(fg2, Qt::Key_Right);
        fg2->setCurrentIndex(fg2->model()->index(2, 2)); // the step filled the slip anew
        QTest::keyClick(fg2, Qt::Key_Left);
        QCOMPARE(steps.size(), 2);
        QCOMPARE(steps[0][0].toBool(), true);
        QCOMPARE(steps[1][0].toBool(), false);

        // "BackTo" writes the slip back.
        form->Toolbar_ButtonClick(QStringLiteral("BackTo"));
        QVERIFY(!slipDirty(*form));
        const Stored s = storedFile(form->catalog().db(), QStringLiteral("plan.p21"));
        QCOMPARE(s.Class, QStringLiteral("水無瀬　灯"));
        QCOMPARE(s.kStr, QStringLiteral("橋梁 図面"));
        QCOMPARE(s.backC, QStringLiteral("12648447"));
    }

    // No edit is dropped on the way out: what can be saved is saved, a refused revision date is
    // asked about before the window closes, and a failed save is named and keeps the edits.
    void editsAreNeverDroppedOnLeaving()
    {
        ScriptedPrompter prompter;
        auto form = openForm(prompter);
        QVERIFY(form);
        QVERIFY(openRecord(*form, QStringLiteral("memo.txt")));
        form->registration().slipGrid()->editCell(4, QStringLiteral("閉じる前の記入"));
        QTableView *vs = view(*form, "vs");
        QLineEdit *editor = openEditor(vs, 2, 1);
        QVERIFY(editor);
        editor->setText(QStringLiteral("2021-02-30"));

        // Cancel keeps the window; the slip is written all the same, the history is not.
        prompter.planAnswer(Prompter::Answer::Cancel);
        QVERIFY(!form->close());
        QVERIFY(form->isVisible());
        QCOMPARE(prompter.lastMessage().buttons, Prompter::Buttons::OkCancel);
        QVERIFY(prompter.lastMessage().text.startsWith(QStringLiteral("改訂日付「2021-02-30」は日付ではありません。")));
        QVERIFY(prompter.lastMessage().text.endsWith(QStringLiteral("この記入は保存されません。　続けますか？")));
        auto stored = [&](const QString &name) {
            auto db = jet::Database::open(m_catalogue, jet::Database::OpenMode::ReadOnly);
            return db ? storedFile(db->get(), name) : Stored {};
        };
        QCOMPARE(stored(QStringLiteral("memo.txt")).kStr, QStringLiteral("閉じる前の記入"));
        QVERIFY(!slipDirty(*form));

        // A note typed afterwards and OK: the window closes with the history written.
        form->registration().historyGrid()->editCell(2, 2, QStringLiteral("初版（訂正）"));
        QVERIFY(form->close());
        QCOMPARE(prompter.messages().size(), 1);
        auto db = jet::Database::open(m_catalogue);
        QVERIFY(db);
        QCOMPARE(storedLines(db->get(), 5).value(0),
            (HistoryLine { QStringLiteral("2021-03-09"), QStringLiteral("初版（訂正）") }));
        db->reset();

        // A save the catalogue refuses is named with its reason; "No" keeps the record and the
        // edit, and the next "BackTo" tries again.
        form = openForm(prompter);
        QVERIFY(form);
        QVERIFY(openRecord(*form, QStringLiteral("photo.png")));
        form->registration().slipGrid()->editCell(4, QString(kKeywordsMaxLength + 1, QLatin1Char('k')));
        prompter.planAnswer(Prompter::Answer::No);
        form->Toolbar_ButtonClick(QStringLiteral("BackTo"));
        QCOMPARE(prompter.lastMessage().icon, Prompter::Icon::Critical);
        QCOMPARE(prompter.lastMessage().buttons, Prompter::Buttons::YesNo);
        QVERIFY(prompter.lastMessage().text.startsWith(
            QStringLiteral("次の変更を保存できませんでした。\r\n管理票（分類・キーワード・背景色）：記入された値は")));
        QCOMPARE(form->layoutState(), LayoutState::RecordShown);
        QVERIFY(slipDirty(*form));
        form->registration().slipGrid()->editCell(4, QStringLiteral("風景"));
        form->Toolbar_ButtonClick(QStringLiteral("BackTo"));
        QVERIFY(form->layoutState() != LayoutState::RecordShown);
        QCOMPARE(storedFile(form->catalog().db(), QStringLiteral("photo.png")).kStr, QStringLiteral("風景"));

        // Another user saved the same record since the list was read: this edit does not
        // overwrite theirs; the reason is named, "No" keeps the edit, "Yes" leaves it unsaved.
        QVERIFY(openRecord(*form, QStringLiteral("plan.p21")));
        form->registration().slipGrid()->editCell(4, QStringLiteral("こちらの記入"));
        {
            auto other = jet::Database::open(m_catalogue);
            QVERIFY(other);
            auto rs = (*other)->select(
                jet::Query(catalog::kFileAtrTable)
                    .where(jet::Condition::equal(QStringLiteral("fName"), QStringLiteral("plan.p21"))));
            QVERIFY(rs && !(*rs)->eof());
            QVERIFY(SaveSlipFields(**other, **rs, { QString(), QStringLiteral("あちらの記入"), QString() }));
        }
        prompter.planAnswer(Prompter::Answer::No);
        form->Toolbar_ButtonClick(QStringLiteral("BackTo"));
        QVERIFY2(prompter.lastMessage().text.contains(
                     QStringLiteral("管理票（分類・キーワード・背景色）：このレコードは、表示した後にほかの利用者")),
            qPrintable(prompter.lastMessage().text));
        QCOMPARE(form->layoutState(), LayoutState::RecordShown);
        QVERIFY(slipDirty(*form));
        prompter.planAnswer(Prompter::Answer::Yes);
        form->Toolbar_ButtonClick(QStringLiteral("BackTo"));
        QVERIFY(form->layoutState() != LayoutState::RecordShown);
        QCOMPARE(storedFile(form->catalog().db(), QStringLiteral("plan.p21")).kStr, QStringLiteral("あちらの記入"));
        QCOMPARE(prompter.unusedAnswers(), 0);
        const test::OracleResult checked = test::jetCheck(m_catalogue);
        QVERIFY2(checked.ok, qPrintable(checked.output));
    }

    void archiveCatalogueCannotBeEdited()
    {
        auto dbid = m_db->openTable(catalog::kDbidTable);
        QVERIFY(dbid);
        QVERIFY((*dbid)->setField(0, -11));
        QVERIFY((*dbid)->update());
        dbid->reset();
        ScriptedPrompter prompter;
        auto form = openForm(prompter);
        QVERIFY(form);
        QCOMPARE(form->catalog().CatalogMark, -11);
        QVERIFY(openRecord(*form, QStringLiteral("memo.txt")));
        QTableView *fg2 = view(*form, "fg2");
        QTest::mouseClick(fg2->viewport(), Qt::LeftButton, {}, cellRect(fg2, 2, 2).center());
        QTest::mouseDClick(fg2->viewport(), Qt::LeftButton, {}, cellRect(fg2, 4, 2).center());
        QVERIFY(prompter.messages().isEmpty());
        QCOMPARE(fg2->editTriggers(), QAbstractItemView::NoEditTriggers);
        form->registration().slipGrid()->editCell(4, QStringLiteral("x"));
        QCOMPARE(form->registration().slipGrid()->cellText(4), QStringLiteral("メモ"));
        QVERIFY(!slipDirty(*form));
    }

    void historyEditingAndSavingOnLeaving()
    {
        ScriptedPrompter prompter;
        auto form = openForm(prompter);
        QVERIFY(form);
        QVERIFY(openRecord(*form, QStringLiteral("photo.png"))); // hsID 0
        HistoryGrid *history = form->registration().historyGrid();
        QTableView *vs = view(*form, "vs");
        QWidget *calendar = widget(*form, "Calendar");
        QVERIFY(calendar);

        // "DelLine" on an empty history does nothing.
        form->Toolbar_ButtonClick(QStringLiteral("DelLine"));
        QVERIFY(prompter.messages().isEmpty());

        form->Toolbar_ButtonClick(QStringLiteral("AddLine"));
        QCOMPARE(history->lineCount(), 1);
        QVERIFY(!historyDirty(*form));

        // Entering the date cell shows the calendar; a picked day is written and hides it.
        QVERIFY(calendar->isHidden());
        QTest::mouseClick(vs->viewport(), Qt::LeftButton, {}, cellRect(vs, 2, 1).center());
        QCOMPARE(history->HistoryRow, 2);
        QVERIFY(!calendar->isHidden());
        form->registration().calendarPicker()->pick(QDate(2010, 1, 5));
        QVERIFY(calendar->isHidden());
        QCOMPARE(history->lines().first().date, QStringLiteral("2010-01-05"));
        QVERIFY(historyDirty(*form));
        QTest::mouseClick(vs->viewport(), Qt::LeftButton, {}, cellRect(vs, 2, 2).center());
        QVERIFY(calendar->isHidden());
        history->editCell(2, 2, QStringLiteral("撮影"));
        // The calendar goes with the history grid.
        QTest::mouseClick(vs->viewport(), Qt::LeftButton, {}, cellRect(vs, 2, 1).center());
        QVERIFY(!calendar->isHidden());
        vs->hide();
        QVERIFY(calendar->isHidden());
        vs->show();

        // Nothing is written while the record is shown; leaving it saves: the file gets a new
        // hsID and its line.
        jet::Database *db = form->catalog().db();
        QCOMPARE(storedFile(db, QStringLiteral("photo.png")).hsID, 0);
        form->Toolbar_ButtonClick(QStringLiteral("BackTo"));
        QVERIFY(!historyDirty(*form));
        QCOMPARE(storedFile(db, QStringLiteral("photo.png")).hsID, 6);
        QCOMPARE(storedLines(db, 6), (QList<HistoryLine> { { QStringLiteral("2010-01-05"), QStringLiteral("撮影") } }));

        // Deleting: a press outside the lines asks for one; the question names line and date.
        QVERIFY(openRecord(*form, QStringLiteral("photo.png")));
        QCOMPARE(history->lineCount(), 1);
        QCOMPARE(form->registration().slipGrid()->cellText(6), QStringLiteral("6"));
        QTest::mouseClick(vs->viewport(), Qt::LeftButton, {}, cellRect(vs, 1, 1).center());
        form->Toolbar_ButtonClick(QStringLiteral("DelLine"));
        QCOMPARE(prompter.lastMessage().text, QStringLiteral("削除行を選択してください。"));
        QCOMPARE(prompter.lastMessage().icon, Prompter::Icon::Warning);

        QTest::mouseClick(vs->viewport(), Qt::LeftButton, {}, cellRect(vs, 2, 2).center());
        prompter.planAnswer(Prompter::Answer::No);
        form->Toolbar_ButtonClick(QStringLiteral("DelLine"));
        QCOMPARE(history->lineCount(), 1);
        QVERIFY(!historyDirty(*form));

        QTest::mouseClick(vs->viewport(), Qt::LeftButton, {}, cellRect(vs, 2, 2).center());
        prompter.planAnswer(Prompter::Answer::Yes);
        form->Toolbar_ButtonClick(QStringLiteral("DelLine"));
        const auto question = prompter.lastMessage();
        QCOMPARE(question.text,
            QStringLiteral("1行目（改訂日付：2010-01-05）を削除します。　削除後は復活できません。　実行しますか？"));
        QCOMPARE(question.icon, Prompter::Icon::Question);
        QCOMPARE(question.buttons, Prompter::Buttons::YesNo);
        QCOMPARE(history->lineCount(), 0);
        QVERIFY(historyDirty(*form));

        // The history is written only when the record is left; the file keeps its hsID without
        // lines.
        QCOMPARE(storedLines(db, 6).size(), 1);
        form->Toolbar_ButtonClick(QStringLiteral("BackTo"));
        QVERIFY(storedLines(db, 6).isEmpty());
        QCOMPARE(storedFile(db, QStringLiteral("photo.png")).hsID, 6);
    }

    void typedRevisionDateThatIsNoDateIsRefused()
    {
        ScriptedPrompter prompter;
        auto form = openForm(prompter);
        QVERIFY(form);
        QVERIFY(openRecord(*form, QStringLiteral("photo.png"))); // hsID 0
        HistoryGrid *history = form->registration().historyGrid();
        QTableView *vs = view(*form, "vs");
        form->Toolbar_ButtonClick(QStringLiteral("AddLine"));
        for (const char *date : { "2010/1/5", "2010-01-05 09:30", "２０１０年１月５日", "20100105", "" })
            QVERIFY2(isHistoryDateText(QString::fromUtf8(date)), date);
        for (const char *date : { "2010-02-30", "昨日", "1/5/2010", "2010-01-05 25:00" })
            QVERIFY2(!isHistoryDateText(QString::fromUtf8(date)), date);

        // Typed and committed in the cell: the cell keeps its former text, the user is told,
        // and the date cell is current with the calendar at hand.
        QTest::mouseClick(vs->viewport(), Qt::LeftButton, {}, cellRect(vs, 2, 2).center());
        history->editCell(2, 1, QStringLiteral("昨日"));
        QCoreApplication::processEvents();
        QCOMPARE(prompter.messages().size(), 1);
        QCOMPARE(prompter.lastMessage().text,
            QStringLiteral(
                "改訂日付「昨日」は日付ではありません。　カレンダーから選ぶか、2009-12-31 の形で記入してください。"));
        QCOMPARE(prompter.lastMessage().icon, Prompter::Icon::Warning);
        QCOMPARE(history->lines().first().date, QString());
        QVERIFY(!historyDirty(*form));
        QCOMPARE(vs->currentIndex(), vs->model()->index(2, 1));
        QVERIFY(!widget(*form, "Calendar")->isHidden());

        // Typed into the cell's editor and ended with Enter: told once, after the editor closed.
        vs->edit(vs->model()->index(2, 1));
        QLineEdit *typing = openLineEditor(vs);
        QVERIFY(typing);
        QTest::keyClicks(typing, QStringLiteral("2010-1"));
        QTest::keyClick(typing, Qt::Key_Return);
        // The view ends the edit from its event queue, and the message follows from there.
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
        QCOMPARE(prompter.messages().size(), 2);
        QVERIFY(prompter.lastMessage().text.startsWith(QStringLiteral("改訂日付「2010-1」")));
        QVERIFY(!openLineEditor(vs));
        QCOMPARE(history->lines().first().date, QString());
        QVERIFY(!historyDirty(*form));

        history->editCell(2, 1, QStringLiteral("2010/1/5"));
        history->editCell(2, 2, QStringLiteral("撮影"));
        QVERIFY(historyDirty(*form));

        // Still being typed when the record is left: the record stays, nothing is written, and
        // the accepted date is back in the cell.
        QLineEdit *editor = openEditor(vs, 2, 1);
        QVERIFY(editor);
        editor->setText(QStringLiteral("2010-13-40"));
        form->Toolbar_ButtonClick(QStringLiteral("BackTo"));
        QCOMPARE(prompter.messages().size(), 3);
        QVERIFY(prompter.lastMessage().text.startsWith(QStringLiteral("改訂日付「2010-13-40」")));
        QCOMPARE(form->layoutState(), LayoutState::RecordShown);
        QCOMPARE(history->lines().first().date, QStringLiteral("2010/1/5"));
        jet::Database *db = form->catalog().db();
        QCOMPARE(storedFile(db, QStringLiteral("photo.png")).hsID, 0);

        // A note still open in its cell is part of what is saved on leaving.
        editor = openEditor(vs, 2, 2);
        QVERIFY(editor);
        QCOMPARE(editor->placeholderText(), QStringLiteral("記事（255文字まで）"));
        editor->setText(QStringLiteral("撮影（晴天）"));
        form->Toolbar_ButtonClick(QStringLiteral("BackTo"));
        QVERIFY(form->layoutState() != LayoutState::RecordShown);
        QCOMPARE(storedFile(db, QStringLiteral("photo.png")).hsID, 6);
        QCOMPARE(storedLines(db, 6),
            (QList<HistoryLine> { { QStringLiteral("2010-01-05"), QStringLiteral("撮影（晴天）") } }));
        QCOMPARE(prompter.messages().size(), 3);
    }

    void screenshotOfAnOpenedRecord()
    {
        ScriptedPrompter prompter;
        auto form = openForm(prompter);
        QVERIFY(form);
        QVERIFY(openRecord(*form, QStringLiteral("photo.png")));
        form->registration().historyGrid()->showLines({ { QStringLiteral("2010-01-05"), QStringLiteral("撮影") },
            { QStringLiteral("2012-07-01"), QStringLiteral("再撮影（色調補正）") } });
        QCoreApplication::processEvents();
        const QImage shot = form->grab().toImage();
        QVERIFY(!shot.isNull());
        // The documentation's picture is refreshed on request only: TOLVANE_SCREENSHOTS=1.
        const QString dir = qEnvironmentVariableIsSet("TOLVANE_SCREENSHOTS")
            ? QStringLiteral(TOLVANE_SOURCE_DIR) + QStringLiteral("/docs/screenshots")
            : m_dir;
        QVERIFY(QDir().mkpath(dir));
        QVERIFY(shot.save(dir + QStringLiteral("/record-slip.png")));

        // The same record with a new history line whose date is being picked.
        form->Toolbar_ButtonClick(QStringLiteral("AddLine"));
        QTableView *vs = view(*form, "vs");
        QTest::mouseClick(vs->viewport(), Qt::LeftButton, {}, cellRect(vs, 4, 1).center());
        QVERIFY(!widget(*form, "Calendar")->isHidden());
        QCoreApplication::processEvents();
        QVERIFY(form->grab().toImage().save(dir + QStringLiteral("/record-calendar.png")));
    }
};

QTEST_MAIN(TestSlip)
#include "tst_slip.moc"

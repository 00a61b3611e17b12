// Form3, the classification editor, offscreen on real catalogue files with a scripted
// prompter: its toolbar and grid, what is written and what is not, a store that fails, and the
// main window's class table after a store.
#include <QApplication>
#include <QDir>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>

#include "../browser/testfolders.h"
#include "classes/classlistmodel.h"
#include "classes/ui/form3.h"
#include "shell/ui/form1.h"
#include "support/oracles.h"
#include "support/scriptedprompter.h"

using namespace tolvane;
using classes::ClassRow;
using classes::ui::Form3;

namespace {

const QString kTitle = QStringLiteral("Almaren Tolvane");

QStringList names(const QList<ClassRow> &rows)
{
    QStringList out;
    for (const ClassRow &r : rows)
        out.append(r.name);
    return out;
}

bool clickTool(Form3 &dlg, const char *key)
{
    QAction *a = dlg.toolAction(QString::fromLatin1(key));
    QWidget *b = a ? dlg.toolbar()->widgetForAction(a) : nullptr;
    if (!b || !b->isVisible() || !b->isEnabled())
        return false;
    QTest::mouseClick(b, Qt::LeftButton);
    return true;
}

// A press on the grid cell of data row (1..) and grid column (1 name, 2 colour, 3 position).
void clickCell(Form3 &dlg, int gridRow, int gridCol)
{
    QTableView *fg = dlg.grid();
    const QRect r = fg->visualRect(fg->model()->index(gridRow - 1, gridCol - 1));
    QTest::mouseClick(fg->viewport(), Qt::LeftButton, {}, r.center());
}

// Opens the name editor of a data row and types text into it, leaving the editor open.
void typeName(Form3 &dlg, int gridRow, const QString &text)
{
    QTableView *fg = dlg.grid();
    fg->setCurrentIndex(fg->model()->index(gridRow - 1, 0));
    fg->edit(fg->currentIndex());
    auto *editor = qobject_cast<QLineEdit *>(fg->indexWidget(fg->currentIndex()));
    QVERIFY(editor);
    editor->selectAll();
    // Key by key; characters beyond ASCII come as the text of a key an input method would send.
    for (const QChar c : text) {
        if (c.unicode() < 0x80)
            QTest::keyClick(editor, char(c.unicode()));
        else
            QTest::sendKeyEvent(QTest::Click, editor, Qt::Key_unknown, QString(c), Qt::NoModifier);
    }
}

} // namespace

class TestForm3 : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    int m_serial = 0;

    QString makeCatalogue() { return test::newCatalogueFile(m_dir.path(), QStringLiteral("台帳%1").arg(++m_serial)); }

    const QStringList kSampleNames
        = { QStringLiteral("朝霧　凪"), QStringLiteral("水無瀬　灯"), QStringLiteral("霜月　柊") };

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
    }

    void dialogAsOpened()
    {
        const QString path = makeCatalogue();
        auto db = jet::Database::open(path);
        QVERIFY(db);
        test::ScriptedPrompter prompter;
        Form3 dlg(prompter, **db, 14);
        dlg.show();
        QCOMPARE(dlg.windowTitle(), QStringLiteral("分類項目"));
        QCOMPARE(
            dlg.findChild<QLabel *>(QStringLiteral("StatusBar1Panel1"))->text(), QStringLiteral("ヘルプ：　F1キー"));
        QStringList keys, captions, tips;
        for (QAction *a : dlg.toolbar()->actions()) {
            keys.append(a->objectName());
            captions.append(a->iconText());
            tips.append(a->whatsThis()); // the description, also the tool tip where there is one
            QVERIFY(a->whatsThis().isEmpty() || a->toolTip() == a->whatsThis());
        }
        QCOMPARE(keys.join(QLatin1Char(' ')), QStringLiteral("ph1 add del up down backC reg cancel"));
        QCOMPARE(
            captions.join(QLatin1Char(' ')), QStringLiteral(" 行追加 行削除 行移動 行移動 背景色 登録 キャンセル"));
        QCOMPARE(tips.join(QLatin1Char('|')), QStringLiteral("|最下段に１行追加|選択行を削除||||編集結果を登録|"));
        QCOMPARE(dlg.toolbar()->findChild<QWidget *>(QStringLiteral("ph1"))->width(), 200 * dlg.logicalDpiX() / 1440);

        QTableView *fg = dlg.grid();
        QCOMPARE(fg->font().pointSize(), 14);
        QAbstractItemModel *m = fg->model();
        QCOMPARE(m->headerData(0, Qt::Horizontal).toString() + m->headerData(1, Qt::Horizontal).toString()
                + m->headerData(2, Qt::Horizontal).toString(),
            QStringLiteral("名前背景色"));
        QCOMPARE(names(dlg.model().rows()), kSampleNames);
        QCOMPARE(m->index(1, 1).data().toString() + m->index(1, 2).data().toString(), QStringLiteral("&HC0FFFF2"));
        // Each class is shown on its colour (&HC0FFFF: blue C0, green FF, red FF).
        QCOMPARE(m->index(1, 0).data(Qt::BackgroundRole).value<QBrush>().color(), QColor(0xFF, 0xFF, 0xC0));
        QCOMPARE(fg->columnWidth(0), 2000 * dlg.logicalDpiX() / 1440);
        // Only names can be typed, and only as long as ClassN.a01 holds them.
        QVERIFY(!(m->flags(m->index(0, 1)) & Qt::ItemIsEditable));
        typeName(dlg, 1, QString(70, QLatin1Char('x')));
        QCOMPARE(qobject_cast<QLineEdit *>(fg->indexWidget(fg->currentIndex()))->text().size(), 60);

        // With TOLVANE_SCREENSHOT_DIR set: the dialog with a few classes on palette tints.
        if (const QString dir = qEnvironmentVariable("TOLVANE_SCREENSHOT_DIR"); !dir.isEmpty()) {
            fg->closePersistentEditor(fg->currentIndex());
            classes::ClassListModel &model = dlg.model();
            QVERIFY(model.addRow());
            model.setData(model.index(3, 0), QStringLiteral("O'Neil 図面"));
            QVERIFY(model.addRow());
            model.setData(model.index(4, 0), QStringLiteral("見積書　控"));
            const QList<QColor> palette = classes::colourBlindSafePalette();
            for (int row = 0; row < 5; ++row)
                model.setRowColour(row, palette[1 + 2 * (row + 1)]);
            fg->clearSelection();
            fg->setCurrentIndex({});
            QVERIFY(dlg.grab().save(QDir(dir).filePath(QStringLiteral("form3.png"))));
        }
    }

    // Adding empty rows, moving past either end and cancelling change nothing in the file.
    void nothingIsWrittenWithoutEdits()
    {
        const QString path = makeCatalogue();
        const QByteArray before = test::bytesOf(path);
        auto db = jet::Database::open(path);
        test::ScriptedPrompter prompter;
        {
            Form3 dlg(prompter, **db, 10);
            dlg.show();
            QVERIFY(clickTool(dlg, "add"));
            QCOMPARE(dlg.model().rowCount(), 4);
            QVERIFY(clickTool(dlg, "add"));
            QCOMPARE(dlg.model().rowCount(), 4);
            QCOMPARE(prompter.messages().size(), 1);
            QCOMPARE(prompter.lastMessage().title, kTitle);
            QCOMPARE(prompter.lastMessage().text, QStringLiteral("追加済みです。　空白を埋めてから追加してください。"));
            QCOMPARE(prompter.lastMessage().icon, Prompter::Icon::Warning);

            QVERIFY(clickTool(dlg, "up")); // nothing selected yet
            clickCell(dlg, 1, 1);
            QVERIFY(clickTool(dlg, "up"));
            clickCell(dlg, 4, 2);
            QVERIFY(clickTool(dlg, "down"));
            QCOMPARE(names(dlg.model().rows()), kSampleNames + QStringList { QString() });
            QVERIFY(!dlg.model().isEdited());
            QVERIFY(clickTool(dlg, "reg"));
            QCOMPARE(dlg.result(), int(QDialog::Accepted));
        }
        QCOMPARE(test::bytesOf(path), before);
        {
            Form3 dlg(prompter, **db, 10);
            dlg.show();
            clickCell(dlg, 2, 1);
            QVERIFY(clickTool(dlg, "del"));
            QVERIFY(clickTool(dlg, "cancel"));
            QCOMPARE(dlg.result(), int(QDialog::Rejected));
        }
        QCOMPARE(test::bytesOf(path), before);
    }

    // Names typed, a colour chosen, rows moved and deleted are stored in grid order, numbered
    // 1..n, the colour as decimal blue-green-red text.
    void editsAreStoredInGridOrder()
    {
        const QString path = makeCatalogue();
        auto db = jet::Database::open(path);
        test::ScriptedPrompter prompter;
        Form3 dlg(prompter, **db, 10);
        QSignalSpy stored(&dlg, &Form3::classesStored);
        dlg.show();

        QVERIFY(clickTool(dlg, "backC"));
        QCOMPARE(prompter.lastMessage().text, QStringLiteral("背景色を変更する行を選択してください。"));
        QCOMPARE(prompter.lastMessage().icon, Prompter::Icon::Warning);

        QVERIFY(clickTool(dlg, "add"));
        typeName(dlg, 4, QStringLiteral("O'Neil　図面"));
        clickCell(dlg, 4, 2);
        prompter.planColor(QColor(0xFF, 0xFF, 0xC0));
        QVERIFY(clickTool(dlg, "backC"));
        QCOMPARE(prompter.lastColourInitial(), QColor(Qt::white));
        QCOMPARE(prompter.lastCustomColours(), classes::colourBlindSafePalette());
        QCOMPARE(dlg.model().rows()[3].colour, QStringLiteral("12648447"));
        // The dialog starts on the row's colour; cancelling it changes nothing.
        clickCell(dlg, 1, 2);
        prompter.planColor(QColor());
        QVERIFY(clickTool(dlg, "backC"));
        QCOMPARE(prompter.lastColourInitial(), QColor(0xC0, 0xFF, 0xFF));
        QCOMPARE(dlg.model().rows()[0].colour, QStringLiteral("&HFFFFC0"));

        clickCell(dlg, 4, 1);
        QVERIFY(clickTool(dlg, "up"));
        QVERIFY(clickTool(dlg, "up")); // the selection goes with the row
        clickCell(dlg, 1, 1);
        QVERIFY(clickTool(dlg, "del"));
        QCOMPARE(names(dlg.model().rows()),
            QStringList({ QStringLiteral("O'Neil　図面"), QStringLiteral("水無瀬　灯"), QStringLiteral("霜月　柊") }));
        // A name still in its editor is taken when "reg" is pressed.
        typeName(dlg, 3, QStringLiteral("霜月'改'"));
        QVERIFY(clickTool(dlg, "reg"));
        QCOMPARE(stored.size(), 1);
        QCOMPARE(dlg.result(), int(QDialog::Accepted));
        QCOMPARE(classes::ReadClassList(**db).value(),
            QList<ClassRow>({ { QStringLiteral("O'Neil　図面"), QStringLiteral("12648447"), QStringLiteral("1") },
                { QStringLiteral("水無瀬　灯"), QStringLiteral("&HC0FFFF"), QStringLiteral("2") },
                { QStringLiteral("霜月'改'"), QStringLiteral("&HFFC0C0"), QStringLiteral("3") } }));
        db->reset();
        const test::OracleResult check = test::jetCheck(path);
        QVERIFY2(check.ok, qPrintable(check.output));
    }

    // A store the catalogue refuses (here a read-only one, as an archive edition is opened):
    // the message with the reason, the file untouched, the dialog still open with its edits.
    void refusedStoreKeepsTheDialogOpen()
    {
        const QString path = makeCatalogue();
        const QByteArray before = test::bytesOf(path);
        auto readOnly = jet::Database::open(path, jet::Database::OpenMode::ReadOnly);
        QVERIFY(readOnly);
        test::ScriptedPrompter prompter;
        Form3 dlg(prompter, **readOnly, 10);
        QSignalSpy stored(&dlg, &Form3::classesStored);
        dlg.show();
        QVERIFY(clickTool(dlg, "add"));
        typeName(dlg, 4, QStringLiteral("新規"));
        QVERIFY(clickTool(dlg, "reg"));
        QCOMPARE(prompter.lastMessage().text,
            QStringLiteral("分類項目を登録できませんでした。元の分類項目はそのまま残っています。\r\n"
                           "このデータベースには書き込めません。"));
        QVERIFY(dlg.isVisible());
        QCOMPARE(stored.size(), 0);
        QVERIFY(dlg.model().isEdited());
        QCOMPARE(test::bytesOf(path), before);

        // A list that cannot be read is said so, and cannot be stored over.
        const QString noClasses = m_dir.filePath(QStringLiteral("no-classes.mdb"));
        QVERIFY(jet::Database::create(noClasses, { { QStringLiteral("DBID"), { { QStringLiteral("dbid") } } } }));
        auto other = jet::Database::open(noClasses);
        Form3 unread(prompter, **other, 10);
        QCOMPARE(prompter.lastMessage().text, QStringLiteral("分類項目を読み込めませんでした。"));
        QVERIFY(!unread.toolAction(QStringLiteral("reg"))->isEnabled());
    }

    // Opened from the menu item, a store reloads the main window's class table. (F1 in the dialog
    // is checked with the manual, tst_help.)
    void mainWindowReloadsItsClassTable()
    {
        const QString path = makeCatalogue();
        test::ScriptedPrompter prompter;
        shell::Form1 w(prompter);
        w.show();
        prompter.planOpenFile(path);
        QTest::mouseClick(w.toolButton(QStringLiteral("DBopen")), Qt::LeftButton);
        QVERIFY(w.catalog().isOpen());
        w.GetClassArr();
        QCOMPARE(w.classArr().size(), 3);

        bool sawDialog = false;
        QTimer::singleShot(0, this, [&] {
            auto *dlg = qobject_cast<Form3 *>(QApplication::activeModalWidget());
            if (!dlg)
                return;
            sawDialog = true;
            clickCell(*dlg, 2, 1);
            clickTool(*dlg, "del");
            dlg->model().setData(dlg->model().index(0, 0), QStringLiteral("O'Neil　図面"));
            clickTool(*dlg, "reg");
        });
        w.menuItem(QStringLiteral("mAidCombo"))->trigger();
        QVERIFY(sawDialog);
        QCOMPARE(w.classArr().size(), 2);
        QCOMPARE(w.classArr()[0].name, QStringLiteral("O'Neil　図面"));
        QCOMPARE(w.classArr()[1].name, QStringLiteral("霜月　柊"));
        QCOMPARE(w.classArr()[1].colour, QStringLiteral("&HFFC0C0"));
    }
};

QTEST_MAIN(TestForm3)
#include "tst_form3.moc"

// Binders and one-by-one browsing in the real main window, offscreen, on a real catalogue whose
// folder holds real files: the binder panels driven by menu items, clicks in fg3 and fs and the
// toolbar; the name form and the binder chooser answered by the scripted prompter; what was
// written checked by reading the catalogue file through a second connection.
#include <QLineEdit>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>

#include "../browser/testfolders.h"
#include "../shell/form1harness.h"
#include "binders/bindertexts.h"
#include "catalog/schema.h"
#include "registration/slip.h"
#include "search/resultlistmodel.h"
#include "search/ui/searchcontroller.h"
#include "shell/modes.h"
#include "shell/ui/form1.h"
#include "storedrows.h"
#include "viewer/fontsizestore.h"

using namespace tolvane;
using namespace Qt::StringLiterals;
using shell::Form1;
using shell::LayoutState;
using shell::Mode;

namespace {

const QString kFiled = u"表示中のファイルを、バインダ「請求書」　に登録しました。"_s;

struct Harness : test::Form1Harness {
    QTreeWidget *fg3() const { return w->findChild<QTreeWidget *>(u"fg3"_s); }
    QTableView *fs() const { return w->findChild<QTableView *>(u"fs"_s); }
    QTableView *fg2() const { return w->findChild<QTableView *>(u"fg2"_s); }
    QTableView *vs() const { return w->findChild<QTableView *>(u"vs"_s); }
    const search::ResultListModel &list() const { return w->search().resultModel(); }

    void menu(const char *item)
    {
        QAction *a = w->menuItem(QString::fromLatin1(item));
        QVERIFY2(a && a->isEnabled(), item);
        a->trigger();
    }
    // The binders listed under the root row "バインダ".
    QStringList binders() const
    {
        QStringList names;
        QTreeWidgetItem *root = fg3()->topLevelItem(0);
        if (!root || root->text(0) != u"バインダ"_s)
            return { u"(no root)"_s };
        for (int i = 0; i < root->childCount(); ++i)
            names << root->child(i)->text(0);
        return names;
    }
    // A click on row r of fg3 (0 the root), as the user makes it.
    void clickBinder(int r)
    {
        QTreeWidgetItem *root = fg3()->topLevelItem(0);
        QTreeWidgetItem *item = r == 0 ? root : root->child(r - 1);
        QTest::mouseClick(fg3()->viewport(), Qt::LeftButton, {}, fg3()->visualItemRect(item).center());
    }
    // A click on data row r (1 the first) of fs.
    void clickRow(int r)
    {
        QTest::mouseClick(
            fs()->viewport(), Qt::LeftButton, {}, fs()->visualRect(fs()->model()->index(r - 1, 2)).center());
    }
    QStringList listed() const
    {
        QStringList names;
        for (int r = 1; r < list().rows(); ++r)
            names << list().text(r, 2);
        return names;
    }
    QString slipTitle() const { return fg2()->model()->index(registration::SlipRow::Title, 1).data().toString(); }
    QString slipFile() const { return fg2()->model()->index(registration::SlipRow::FileName, 2).data().toString(); }
    bool visibleTool(const char *key) const
    {
        QAction *a = w->toolAction(QString::fromLatin1(key));
        return a && a->isVisible();
    }
    // Types text into cell (row, col) of view through its editor, left open.
    static void type(QTableView *view, int row, int col, const QString &text)
    {
        const QModelIndex cell = view->model()->index(row, col);
        view->setCurrentIndex(cell);
        view->edit(cell);
        for (QLineEdit *e : view->viewport()->findChildren<QLineEdit *>())
            if (!e->isHidden()) {
                e->selectAll();
                e->insert(text); // typed (keyClicks takes Latin-1 only)
                return;
            }
        QFAIL("no editor open");
    }
};

QList<QStringList> stored(const QString &path, const QString &table)
{
    return test::storedRows(path, table);
}

QStringList storedColumn(const QString &path, const QString &table, int col)
{
    QStringList out;
    for (const QStringList &row : stored(path, table))
        out << row.value(col);
    return out;
}

} // namespace

class TestForm1Binders : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_folder;
    int m_serial = 0;

    // A catalogue with three registered text files of a real folder, and optionally binders
    // (names with BdNo 1..n).
    QString catalogue(const QStringList &binderNames = {})
    {
        const QString name = u"c%1"_s.arg(++m_serial);
        auto db = test::newCatalogue(m_dir.path(), name);
        if (!db)
            return {};
        const QDateTime day(QDate(2024, 5, 1), QTime(0, 0));
        bool ok = db->insertRow(catalog::kPathNameTable, { 1, QDir::toNativeSeparators(m_folder) }).isOk();
        for (const char *file : { "a.txt", "b.txt", "c.txt" })
            ok = ok
                && db->insertRow(catalog::kFileAtrTable,
                         { QString(), QString::fromLatin1(file), day, QString(), 1, 0, QString() })
                       .isOk();
        for (int i = 0; i < binderNames.size(); ++i)
            ok = ok && db->insertRow(catalog::kBinderNameTable, { i + 1, binderNames[i], i + 1 }).isOk();
        // The counters stand where the rows above leave them.
        auto idno = db->openTable(catalog::kIdNoTable);
        ok = ok && idno && (*idno)->setField(u"bdID"_s, int(binderNames.size()))
            && (*idno)->setField(u"BndNo"_s, int(binderNames.size())) && (*idno)->update();
        return ok ? m_dir.filePath(name + u".mdb"_s) : QString();
    }

    // A keyword search for every file.
    static bool searchAll(Harness &h)
    {
        h.menu("mSearch5");
        h.w->findChild<QLineEdit *>(u"Text1(0)"_s)->setText(u"%"_s);
        return h.click(u"DurSeek"_s) && h.w->search().resultCount() == 3;
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
        m_folder = m_dir.filePath(u"書類"_s);
        QVERIFY(QDir().mkpath(m_folder));
        for (const char *file : { "a.txt", "b.txt", "c.txt" })
            QVERIFY(test::writeFile(QDir(m_folder).filePath(QString::fromLatin1(file)), 20));
    }

    void binderMaintenance()
    {
        const QString path = catalogue();
        Harness h;
        QVERIFY(h.open(path));

        // Creating: the name form opens at once. An empty name and a taken one are refused and
        // the form stays open with what was typed.
        h.prompter.planText(u"請求書"_s);
        h.menu("mBinderFolder");
        QCOMPARE(h.prompter.calls().last().title, u"バインダ　作成"_s);
        QCOMPARE(h.prompter.calls().last().text, u"「バインダ」 の名前を記入してください。"_s);
        QCOMPARE(h.prompter.forms().last().okCaption, u"作成"_s);
        QCOMPARE(h.w->statusPanelText(1), u"バインダ作成モード"_s);
        for (const char *key : { "up", "down", "del", "reg" })
            QVERIFY2(!h.visibleTool(key), key);
        h.prompter.clear();
        for (const QString &typed : { QString(), u" 請求書"_s, u"見積"_s })
            h.prompter.planText(typed);
        h.menu("mBinderFolder");
        QCOMPARE(h.prompter.messages().size(), 2);
        QCOMPARE(h.prompter.messages()[0].text, binders::kEmptyNameMessage);
        QCOMPARE(h.prompter.messages()[1].text, binders::kDuplicateNameMessage);
        QCOMPARE(h.prompter.forms().last().initial, u" 請求書"_s);
        h.prompter.planText(u"図面"_s);
        h.menu("mBinderFolder");
        QCOMPARE(h.binders(), (QStringList { u"請求書"_s, u"見積"_s, u"図面"_s }));
        // bdID 2 went to the refused name.
        QCOMPARE(storedColumn(path, catalog::kBinderNameTable, 0), (QStringList { u"1"_s, u"3"_s, u"4"_s }));

        // Deleting: nothing or the root chosen is refused; No keeps the binder.
        h.menu("mBinderDel");
        QVERIFY(h.visibleTool("del") && !h.visibleTool("up") && !h.visibleTool("reg"));
        h.prompter.clear();
        QVERIFY(h.click(u"del"_s));
        h.clickBinder(0);
        QVERIFY(h.click(u"del"_s));
        QCOMPARE(h.prompter.messages().size(), 2);
        QCOMPARE(h.prompter.lastMessage().text, binders::kChooseToDeleteMessage);
        h.clickBinder(2);
        h.prompter.planAnswer(Prompter::Answer::No);
        QVERIFY(h.click(u"del"_s));
        QCOMPARE(h.prompter.lastMessage().text,
            u"バインダ：「見積」　を削除します。　削除後は復活できません。　実行しますか？"_s);
        QCOMPARE(h.binders().size(), 3);
        h.prompter.planAnswer(Prompter::Answer::Yes);
        QVERIFY(h.click(u"del"_s));
        QCOMPARE(h.binders(), (QStringList { u"請求書"_s, u"図面"_s }));

        // Renaming: a click opens the form with the binder's name.
        h.menu("mBinderRename");
        h.prompter.clear();
        h.prompter.planText(u"図面集"_s);
        h.clickBinder(2);
        QCOMPARE(h.prompter.calls().last().title, u"バインダ名　変更"_s);
        QCOMPARE(h.prompter.calls().last().text, u"変更後のバインダ名を記入してください。"_s);
        QCOMPARE(h.prompter.forms().last().initial, u"図面"_s);
        QCOMPARE(h.prompter.forms().last().okCaption, u"変更"_s);
        QCOMPARE(h.binders(), (QStringList { u"請求書"_s, u"図面集"_s }));

        // Reordering: "up" on the first row does nothing; "reg" stores 1..n.
        h.menu("mSort2");
        QVERIFY(h.visibleTool("up") && h.visibleTool("down") && h.visibleTool("reg") && !h.visibleTool("del"));
        h.clickBinder(2);
        QVERIFY(h.click(u"up"_s));
        QVERIFY(h.click(u"up"_s));
        QCOMPARE(h.binders(), (QStringList { u"図面集"_s, u"請求書"_s }));
        QCOMPARE(storedColumn(path, catalog::kBinderNameTable, 2), (QStringList { u"1"_s, u"4"_s }));
        QVERIFY(h.click(u"reg"_s));
        QCOMPARE(h.prompter.lastMessage().text, binders::kOrderSavedMessage);
        QCOMPARE(stored(path, catalog::kBinderNameTable),
            (QList<QStringList> { { u"1"_s, u"請求書"_s, u"2"_s }, { u"4"_s, u"図面集"_s, u"1"_s } }));

        // The splitter dropped on the list beside the binders moves the binder list's edge.
        QWidget *fg3 = h.fg3();
        QCOMPARE(fg3->width(), h.w->twipsToPixels(3000));
        auto *bar = h.w->findChild<QWidget *>(u"picDrag"_s);
        QTest::mousePress(bar, Qt::LeftButton, {}, QPoint(1, 5));
        QTest::mouseRelease(bar, Qt::LeftButton, {}, bar->mapFromGlobal(h.fs()->mapToGlobal(QPoint(40, 40))));
        QCOMPARE(fg3->x() + fg3->width(), h.fs()->x() - 4);
        QVERIFY(fg3->width() > h.w->twipsToPixels(3000));
        // A resize keeps the binder list leading.
        const int listWidth = fg3->width();
        h.w->resize(h.w->width() + 120, h.w->height());
        QCoreApplication::processEvents();
        QCOMPARE(fg3->width(), listWidth);
        QCOMPARE(h.fs()->x(), fg3->x() + fg3->width() + 4);
        QVERIFY(!h.w->findChild<QWidget *>(u"fg"_s)->isVisible());
    }

    void filingAndSteppingThroughAResult()
    {
        const QString path = catalogue({ u"請求書"_s, u"空"_s });
        Harness h;
        QVERIFY(h.open(path));
        QVERIFY(searchAll(h));
        h.clickRow(1);
        QCOMPARE(h.slipTitle(), u"管理票　1/3"_s);

        // The chooser: cancel files nothing; OK without a pick asks for one.
        h.prompter.clear();
        h.prompter.planChoice(0, false);
        QVERIFY(h.click(u"Rec2Binder"_s));
        QVERIFY(h.prompter.messages().isEmpty());
        QCOMPARE(h.prompter.forms().last().items, (QStringList { u"請求書"_s, u"空"_s }));
        QCOMPARE(h.prompter.forms().last().initial, u"バインダ選択"_s);
        h.prompter.planChoice(-1);
        QVERIFY(h.click(u"Rec2Binder"_s));
        QCOMPARE(h.prompter.lastMessage().text, binders::kChooseBinderMessage);
        QVERIFY(stored(path, catalog::kBinderTable).isEmpty());
        h.prompter.planChoice(0);
        QVERIFY(h.click(u"Rec2Binder"_s));
        QCOMPARE(h.prompter.lastMessage().text, kFiled);
        QCOMPARE(h.prompter.lastMessage().icon, Prompter::Icon::Information);

        // The walk is circular, with the position in the slip's title.
        QVERIFY(h.click(u"Prev"_s));
        QCOMPARE(h.slipTitle(), u"管理票　3/3"_s);
        QCOMPARE(h.slipFile(), u"c.txt"_s);
        QVERIFY(h.click(u"Next"_s));
        QCOMPARE(h.slipTitle(), u"管理票　1/3"_s);
        QVERIFY(h.click(u"Next"_s));
        QCOMPARE(h.slipFile(), u"b.txt"_s);
        h.prompter.planChoice(0);
        QVERIFY(h.click(u"Rec2Binder"_s));
        h.prompter.planChoice(0);
        QVERIFY(h.click(u"Rec2Binder"_s)); // the same file twice
        QCOMPARE(storedColumn(path, catalog::kBinderTable, 1), (QStringList { u"a.txt"_s, u"b.txt"_s, u"b.txt"_s }));
        QCOMPARE(storedColumn(path, catalog::kBinderTable, 3), (QStringList { u"1"_s, u"2"_s, u"3"_s }));

        // A keyword and a history line typed, editors still open, then "Next": both are in
        // the file before the next record shows.
        Harness::type(h.fg2(), 4, 2, u"請求 2024"_s);
        QVERIFY(h.click(u"AddLine"_s));
        Harness::type(h.vs(), 2, 2, u"再発行"_s);
        QVERIFY(h.click(u"Next"_s));
        QCOMPARE(h.slipFile(), u"c.txt"_s);
        const QList<QStringList> files = stored(path, catalog::kFileAtrTable);
        QCOMPARE(files[1].value(1), u"b.txt"_s);
        QCOMPARE(files[1].value(3), u"請求 2024"_s);
        QVERIFY(files[1].value(5).toInt() > 0);
        QCOMPARE(storedColumn(path, catalog::kFileRevTable, 1), QStringList { u"再発行"_s });

        // The arrow keys in the slip step the same way, saving first.
        Harness::type(h.fg2(), 4, 2, u"最後"_s);
        QTest::keyClick(h.fg2(), Qt::Key_Return);
        h.fg2()->setCurrentIndex(h.fg2()->model()->index(2, 2));
        QTest::keyClick(h.fg2(), Qt::Key_Right);
        QCOMPARE(h.slipTitle(), u"管理票　1/3"_s);
        QCOMPARE(stored(path, catalog::kFileAtrTable)[2].value(3), u"最後"_s);
        h.fg2()->setCurrentIndex(h.fg2()->model()->index(2, 2));
        QTest::keyClick(h.fg2(), Qt::Key_Left);
        QCOMPARE(h.slipTitle(), u"管理票　3/3"_s);

        // Leaving the record through a menu writes its edits too.
        Harness::type(h.fg2(), 4, 2, u"綴じる前"_s);
        h.menu("mSearch7");
        QCOMPARE(stored(path, catalog::kFileAtrTable)[2].value(3), u"綴じる前"_s);
        h.clickBinder(1);
        h.clickRow(1);
        Harness::type(h.fg2(), 4, 2, u"並べ替え前"_s);
        h.menu("mSort2");
        QCOMPARE(stored(path, catalog::kFileAtrTable)[0].value(3), u"並べ替え前"_s);
    }

    void browsingReorderingAndDetachingABinder()
    {
        const QString path = catalogue({ u"請求書"_s, u"空"_s });
        {
            // Filings with gapped numbers, one file twice, and one of a file no longer registered.
            auto db = jet::Database::open(path);
            QVERIFY(db);
            for (const auto &[file, docNo] :
                { std::pair { "c.txt", 70 }, { "a.txt", 9 }, { "c.txt", 31 }, { "gone.txt", 50 } })
                QVERIFY((*db)->insertRow(catalog::kBinderTable, { 1, QString::fromLatin1(file), 1, docNo }));
        }
        Harness h;
        QVERIFY(h.open(path));
        QVERIFY(searchAll(h));

        // Entering binder browsing leaves no search rows beside the binder list.
        h.menu("mSearch7");
        QCOMPARE(h.list().rows(), 1);
        QVERIFY(h.fg3()->isVisible());
        QCOMPARE(h.binders(), (QStringList { u"請求書"_s, u"空"_s }));
        h.clickBinder(2);
        QCOMPARE(h.prompter.lastMessage().text, u"空\r\n上記バインダーにはファイルは登録されていません。"_s);
        QCOMPARE(h.prompter.lastMessage().icon, Prompter::Icon::Information);
        h.clickBinder(1);
        const QStringList filed { u"a.txt"_s, u"c.txt"_s, u"gone.txt"_s, u"c.txt"_s };
        QCOMPARE(h.listed(), filed);

        // Each row opens its catalogue record; the walk covers the binder's rows, the file filed
        // twice at both positions, and passes the filing that has no record.
        h.clickRow(2);
        QCOMPARE(h.slipFile(), u"c.txt"_s);
        QCOMPARE(h.slipTitle(), u"管理票　2/4"_s);
        QCOMPARE(h.fg2()->width(), h.w->twipsToPixels(4000));
        QVERIFY(!h.w->toolAction(u"Rec2Binder"_s)->isEnabled());
        QVERIFY(h.click(u"Next"_s));
        QCOMPARE(h.slipTitle(), u"管理票　4/4"_s);
        QCOMPARE(h.slipFile(), u"c.txt"_s);
        QVERIFY(h.click(u"Next"_s));
        QCOMPARE(h.slipTitle(), u"管理票　1/4"_s);
        QCOMPARE(h.slipFile(), u"a.txt"_s);
        QVERIFY(h.click(u"BackTo"_s));
        QCOMPARE(h.w->toolbarKeys(), (QStringList { u"ph1"_s, u"BackToSearch"_s, u"FullTextSearchDB"_s }));
        QCOMPARE(h.listed(), filed);
        QVERIFY(h.fg3()->isVisible() && h.fs()->isVisible() && !h.fg2()->isVisible());

        // Reordering the files: a click only chooses; "reg" stores 1..n in the order shown.
        h.menu("mSort3");
        h.clickBinder(1);
        QCOMPARE(h.w->statusPanelText(2), *shell::statusTexts(shell::ModeStatus::RowsMoving).panel2);
        h.clickRow(4);
        QCOMPARE(h.w->layoutState(), LayoutState::Lists);
        for (int i = 0; i < 4; ++i)
            QVERIFY(h.click(u"up"_s));
        QCOMPARE(h.list().text(1, 4), u"70"_s);
        QVERIFY(h.click(u"reg"_s));
        QCOMPARE(h.prompter.lastMessage().text, binders::kOrderSavedMessage);
        QCOMPARE(stored(path, catalog::kBinderTable),
            (QList<QStringList> { { u"1"_s, u"c.txt"_s, u"1"_s, u"1"_s }, { u"1"_s, u"a.txt"_s, u"1"_s, u"2"_s },
                { u"1"_s, u"c.txt"_s, u"1"_s, u"3"_s }, { u"1"_s, u"gone.txt"_s, u"1"_s, u"4"_s } }));

        // Detaching: nothing clicked does nothing; No keeps the file; a row taken out leaves the
        // others their numbers; then row by row to an empty binder.
        h.menu("mSort4");
        QCOMPARE(h.w->toolButton(u"del"_s)->text(), u"取り外し"_s);
        h.clickBinder(1);
        h.prompter.clear();
        QVERIFY(h.click(u"del"_s));
        QVERIFY(h.prompter.calls().isEmpty());
        h.clickRow(2);
        h.prompter.planAnswer(Prompter::Answer::No);
        QVERIFY(h.click(u"del"_s));
        QCOMPARE(h.prompter.lastMessage().text, u"a.txt　を「請求書」バインダから取り外します。　実行しますか？"_s);
        QCOMPARE(h.prompter.lastMessage().buttons, Prompter::Buttons::YesNo);
        QCOMPARE(stored(path, catalog::kBinderTable).size(), 4);
        h.clickRow(2);
        h.prompter.planAnswer(Prompter::Answer::Yes);
        QVERIFY(h.click(u"del"_s));
        QCOMPARE(storedColumn(path, catalog::kBinderTable, 3), (QStringList { u"1"_s, u"3"_s, u"4"_s }));
        for (int left = 3; left > 0; --left) {
            h.clickRow(1);
            h.prompter.planAnswer(Prompter::Answer::Yes);
            QVERIFY(h.click(u"del"_s));
            QCOMPARE(stored(path, catalog::kBinderTable).size(), left - 1);
        }
        QCOMPARE(h.prompter.lastMessage().text, u"請求書\r\n上記バインダーにはファイルは登録されていません。"_s);
        QCOMPARE(stored(path, catalog::kFileAtrTable).size(), 3);
    }

    // An archive catalogue: browsing works, every binder write is refused.
    void archiveCatalogueRefusesBinderWrites()
    {
        const QString path = catalogue({ u"請求書"_s });
        {
            auto db = jet::Database::open(path);
            QVERIFY(db);
            QVERIFY((*db)->insertRow(catalog::kBinderTable, { 1, u"a.txt"_s, 1, 1 }));
            auto dbid = (*db)->openTable(catalog::kDbidTable);
            QVERIFY(dbid && (*dbid)->setField(0, -11) && (*dbid)->update());
        }
        Harness h;
        QVERIFY(h.open(path));
        QVERIFY(h.w->catalog().isArchive());
        QVERIFY(!h.w->menuItem(u"mBinder"_s)->isEnabled());
        QVERIFY(h.click(u"Search"_s));
        QVERIFY(h.click(u"BDRsearch"_s));
        for (const char *key : { "up", "down", "del", "reg" })
            QVERIFY2(!h.visibleTool(key), key);
        h.clickBinder(1);
        h.clickRow(1);
        QCOMPARE(h.slipFile(), u"a.txt"_s);
        QVERIFY(!h.w->toolAction(u"Rec2Binder"_s)->isEnabled());

        // Even reached directly, the commands write nothing.
        h.w->EnterBinderMaintenanceMode(shell::BinderOp::Delete);
        h.clickBinder(1);
        h.w->Toolbar_ButtonClick(u"del"_s);
        h.w->EnterBinderMaintenanceMode(shell::BinderOp::Create);
        h.w->EnterBinderFilesMode(shell::BinderOp::Detach);
        h.clickBinder(1);
        h.clickRow(1);
        h.w->Toolbar_ButtonClick(u"del"_s);
        QCOMPARE(stored(path, catalog::kBinderNameTable).size(), 1);
        QCOMPARE(stored(path, catalog::kBinderTable).size(), 1);
    }

    void textSizeComesBackWithTheCatalogue()
    {
        const QString path = catalogue();
        {
            Harness h;
            QVERIFY(h.open(path));
            // A catalogue's first stored size is the start-up size; the next choice is kept.
            h.menu("m12");
            h.menu("m14");
        }
        Harness h;
        QCOMPARE(h.w->textFontSize(), 10);
        QVERIFY(h.open(path));
        QCOMPARE(h.w->textFontSize(), 14);
        QVERIFY(h.w->menuItem(u"m14"_s)->isChecked());
        QVERIFY(!h.w->menuItem(u"m10"_s)->isChecked());
    }
};

QTEST_MAIN(TestForm1Binders)
#include "tst_form1binders.moc"

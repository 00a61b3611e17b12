// The searches end to end in the real main window, offscreen, on a real catalogue whose folders
// hold real files: toolbar clicks, typing into the search panel, the result list, narrowing by
// a pick in Combo1, opening a row and coming back, and the messages through the scripted
// prompter. Set TOLVANE_SCREENSHOT_DIR to keep a picture of the narrowed result list.
#include <algorithm>

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>

#include "../shell/form1harness.h"
#include "registration/slip.h"
#include "search/resultlistmodel.h"
#include "search/searchtexts.h"
#include "search/ui/searchcontroller.h"
#include "search/ui/searchpanel.h"
#include "searchcatalogue.h"
#include "shell/modes.h"
#include "shell/ui/form1.h"
#include "support/scriptedprompter.h"

using namespace tolvane;
using namespace Qt::StringLiterals;
using shell::Form1;
using tolvane::test::ScriptedPrompter;

namespace {

const QString kResultHint
    = QStringLiteral(u"任意行クリックで、選択行ファイルから各個表示を開始します。\u3000ヘルプ：F1キー");
const QString kShimotsuki = QStringLiteral(u"霜月\u3000柊");
const QString kMinase = QStringLiteral(u"水無瀬\u3000灯");

struct Harness : test::Form1Harness {
    QLineEdit *text1(int i) const { return w->findChild<QLineEdit *>(QStringLiteral("Text1(%1)").arg(i)); }
    QComboBox *combo1() const { return w->findChild<QComboBox *>(u"Combo1"_s); }
    QTableView *fsView() const { return w->findChild<QTableView *>(u"fs"_s); }
    search::ResultListModel *fs() const { return qobject_cast<search::ResultListModel *>(fsView()->model()); }
    QTreeView *fg() const { return w->findChild<QTreeView *>(u"fg"_s); }
    QString slipCell(int row, int col) const
    {
        const QTableView *fg2 = w->findChild<QTableView *>(u"fg2"_s);
        return fg2->model()->index(row, col).data().toString();
    }
    // A click on the data row of the list (0 = the first), as the user makes it.
    void clickRow(int row)
    {
        QTableView *list = fsView();
        QTest::mouseClick(
            list->viewport(), Qt::LeftButton, {}, list->visualRect(list->model()->index(row, 2)).center());
    }
    // A click on the node of folder in the folder panel.
    bool clickFolder(const QString &folder)
    {
        QTreeView *panel = fg();
        const QModelIndexList hits = panel->model()->match(
            panel->model()->index(0, 0), Qt::DisplayRole, folder, 1, Qt::MatchExactly | Qt::MatchRecursive);
        if (hits.isEmpty() || !panel->isVisible())
            return false;
        panel->scrollTo(hits.first());
        QTest::mouseClick(panel->viewport(), Qt::LeftButton, {}, panel->visualRect(hits.first()).center());
        return panel->currentIndex() == hits.first();
    }
    QStringList listed() const
    {
        QStringList names;
        for (int r = 1; r < fs()->rows(); ++r)
            names.append(fs()->text(r, 2));
        return names;
    }
    void pick(const QString &text)
    {
        QComboBox *c = combo1();
        const int i = c->findText(text);
        QVERIFY2(i >= 0, qPrintable(text));
        c->setCurrentIndex(i);
        emit c->activated(i);
    }
    int px(int twips) const { return search::ui::twipsToPixels(w->findChild<QToolBar *>(u"Toolbar"_s), twips); }
};

} // namespace

class TestForm1Search : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void keywordSearchNarrowOpenAndReturn();
    void periodSearch();
    void classificationSearch();
    void folderSearch();
    void emptyWord();

private:
    bool openCatalogue(Harness &h);

    QTemporaryDir m_dir;
    QString m_path;
    QString m_docs;
    QString m_photos;
};

void TestForm1Search::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(m_dir.isValid());
    m_docs = QDir::toNativeSeparators(m_dir.filePath(u"書類"_s));
    m_photos = QDir::toNativeSeparators(m_dir.filePath(u"写真"_s));
    QVERIFY(QDir().mkpath(m_docs) && QDir().mkpath(m_photos));
    for (const QString &name : { u"O'Brien.txt"_s, u"a_c.txt"_s, u"memo.txt"_s, u"[draft].txt"_s }) {
        QFile f(QDir(m_photos).filePath(name));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("sample text\n");
    }
    m_path = m_dir.filePath(u"search.mdb"_s);
    test::SearchCatalogue cat;
    QVERIFY(cat.create(m_path, m_docs, m_photos));
    cat.addSampleFiles();
}

bool TestForm1Search::openCatalogue(Harness &h)
{
    h.prompter.planOpenFile(m_path);
    if (!h.click(u"DBopen"_s) || !h.w->catalog().isOpen())
        return false;
    h.prompter.clear();
    return h.click(u"Search"_s);
}

void TestForm1Search::keywordSearchNarrowOpenAndReturn()
{
    Harness h;
    QVERIFY(openCatalogue(h));
    QVERIFY(h.click(u"DBKeyword"_s));
    QCOMPARE(h.w->mode(), shell::Mode::KeywordSearch);
    QVERIFY(h.text1(0)->isVisible());
    QVERIFY(!h.text1(1)->isVisible());
    QVERIFY(!h.combo1()->isVisible());
    // At its place unless that covers the back button: then just after it.
    QCOMPARE(h.text1(0)->x(), std::max(h.px(2000), h.w->toolButton(u"BackToSearch"_s)->geometry().right() + 2));
    QCOMPARE(h.text1(0)->width(), h.px(3000));
    QCOMPARE(h.text1(0)->toolTip(), search::kWordToolTip);
    QVERIFY(!h.w->toolButton(u"FullTextSearchDB"_s)->isEnabled());

    QTest::keyClicks(h.text1(0), u"%"_s);
    QVERIFY(h.click(u"DurSeek"_s));
    QVERIFY(h.prompter.calls().isEmpty());
    QCOMPARE(h.listed(),
        (QStringList { u"report.doc"_s, u"plan_a.pdf"_s, u"planXa.pdf"_s, u"O'Brien.txt"_s, u"[draft].txt"_s,
            u"a_c.txt"_s, u"memo.txt"_s }));
    QCOMPARE(h.w->search().resultCount(), 7);
    QCOMPARE(h.w->statusPanelText(2), kResultHint);
    QVERIFY(h.w->toolButton(u"FullTextSearchDB"_s)->isEnabled());
    QVERIFY(h.combo1()->isVisible());
    QCOMPARE(h.combo1()->x(), h.px(8000));
    QCOMPARE(h.combo1()->currentText(), search::kNarrowCaption);
    if (const QString dir = qEnvironmentVariable("TOLVANE_SCREENSHOT_DIR"); !dir.isEmpty()) {
        QDir().mkpath(dir);
        QVERIFY(h.w->grab().save(QDir(dir).filePath(u"result-list.png"_s)));
    }

    h.pick(kShimotsuki);
    QCOMPARE(h.listed(), (QStringList { u"O'Brien.txt"_s, u"a_c.txt"_s }));
    QCOMPARE(h.w->search().resultCount(), 2);
    QVERIFY(h.fsView()->isColumnHidden(5));

    // Open the second row, then come back: the narrowed list and the word are there again.
    h.clickRow(1);
    QCOMPARE(h.w->layoutState(), shell::LayoutState::RecordShown);
    QCOMPARE(h.slipCell(registration::SlipRow::Title, 1), QStringLiteral(u"管理票\u30002/2"));
    QCOMPARE(h.slipCell(registration::SlipRow::FileName, 2), u"a_c.txt"_s);
    QVERIFY(!h.text1(0)->isVisible());
    QVERIFY(h.w->toolbarKeys().contains(u"BackTo"_s));
    QVERIFY(h.click(u"BackTo"_s));
    QCOMPARE(h.listed(), (QStringList { u"O'Brien.txt"_s, u"a_c.txt"_s }));
    QCOMPARE(h.text1(0)->text(), u"%"_s);
    QVERIFY(h.text1(0)->isVisible());
    QVERIFY(h.combo1()->isVisible());
    QCOMPARE(h.combo1()->itemText(0), search::kNoNarrowingItem);
    QCOMPARE(h.w->statusPanelText(2), kResultHint);

    // Undo the narrowing on the still-open result.
    h.pick(search::kNoNarrowingItem);
    QCOMPARE(h.w->search().resultCount(), 7);
    QVERIFY(h.prompter.messages().isEmpty());

    // A narrowing that leaves nothing: the notice, an empty list, and from then on every pick,
    // the no-narrowing item included, does nothing until a new search.
    h.text1(0)->setText(u"ab%"_s);
    QVERIFY(h.click(u"DurSeek"_s));
    QCOMPARE(h.w->search().resultCount(), 3);
    h.pick(kShimotsuki);
    QCOMPARE(h.prompter.messages().size(), 1);
    QCOMPARE(h.prompter.lastMessage().icon, Prompter::Icon::Warning);
    QCOMPARE(h.prompter.lastMessage().text,
        QStringLiteral(u"分類「霜月\u3000柊」で絞込みしましたが、該当ファイル情報はありません。\n"
                       u"一覧表は一掃されますから、再度同一条件で検索してください。\n"
                       u"フォルダ検索の場合は、二重検索しないよう無能化されていますから、"
                       u"一旦別フォルダをクリックした後、戻って再度クリックしてください。"));
    QCOMPARE(h.fs()->rows(), 1);
    h.pick(search::kNoNarrowingItem);
    h.pick(kMinase);
    QCOMPARE(h.fs()->rows(), 1);
    QCOMPARE(h.prompter.messages().size(), 1);
    QVERIFY(h.click(u"DurSeek"_s));
    QCOMPARE(h.w->search().resultCount(), 3);
}

void TestForm1Search::periodSearch()
{
    Harness h;
    QVERIFY(openCatalogue(h));
    QVERIFY(h.click(u"DBDate"_s));
    QCOMPARE(h.w->mode(), shell::Mode::PeriodSearch);
    QCOMPARE(h.text1(0)->text(), search::kStartDateText);
    QCOMPARE(h.text1(1)->text(), search::kUntilText);
    QCOMPARE(h.text1(0)->x(), h.px(2200));
    QCOMPARE(h.text1(0)->width(), h.px(2000));
    QCOMPARE(h.text1(1)->x(), h.text1(0)->x() + h.text1(0)->width());
    QCOMPARE(h.text1(1)->width(), h.px(2000));
    QVERIFY(!h.combo1()->isVisible());
    // The dates that have files are offered as choices.
    QCOMPARE(h.combo1()->count(), 8);
    QCOMPARE(h.combo1()->itemText(3), u"2009/12/31"_s);
    QVERIFY(h.text1(0)->completer() && h.text1(1)->completer());

    // The untouched texts are no dates: nothing is listed, and the warning says which box.
    QVERIFY(h.click(u"DurSeek"_s));
    QCOMPARE(h.prompter.messages().size(), 1);
    QCOMPARE(h.prompter.lastMessage().text, search::notADateMessage(search::kStartDateText, true));
    QVERIFY(h.prompter.lastMessage().text.startsWith(u"開始日付を入力"_s));
    QCOMPARE(h.prompter.lastMessage().icon, Prompter::Icon::Warning);
    QCOMPARE(h.fs()->rows(), 1);
    QVERIFY(!h.w->toolButton(u"FullTextSearchDB"_s)->isEnabled());
    h.text1(0)->setText(u"2009/12/31"_s);
    h.text1(1)->setText(u"12月末"_s);
    QVERIFY(h.click(u"DurSeek"_s));
    QCOMPARE(h.prompter.lastMessage().text,
        u"最終日付「12月末」は日付として読めません。\u30002024/04/01 のように日付を入力してください。"_s);
    QCOMPARE(h.fs()->rows(), 1);
    h.prompter.clear();

    h.text1(0)->clear();
    QTest::keyClicks(h.text1(0), u"2009/12/31"_s);
    h.text1(1)->clear();
    QTest::keyClicks(h.text1(1), u"2009/12/31"_s);
    QVERIFY(h.click(u"DurSeek"_s));
    QCOMPARE(h.listed(), (QStringList { u"plan_a.pdf"_s, u"O'Brien.txt"_s }));
    QCOMPARE(h.combo1()->x(), h.px(9600));
    QVERIFY(h.w->toolButton(u"FullTextSearchDB"_s)->isEnabled());

    // Open the file of row 2 and come back: both dates are written back.
    h.text1(0)->setText(u"--"_s);
    h.clickRow(1);
    QCOMPARE(h.slipCell(registration::SlipRow::FileName, 2), u"O'Brien.txt"_s);
    QVERIFY(h.click(u"BackTo"_s));
    QCOMPARE(h.text1(0)->text(), u"2009/12/31"_s);
    QCOMPARE(h.text1(1)->text(), u"2009/12/31"_s);
    QVERIFY(h.text1(1)->isVisible());
    QCOMPARE(h.listed(), (QStringList { u"plan_a.pdf"_s, u"O'Brien.txt"_s }));

    h.text1(0)->setText(u"2010/01/02"_s);
    // Behind the zero-result message, the hidden columns stay hidden.
    QList<bool> hiddenBehindMessage;
    h.prompter.onPrompt = [&](const test::ScriptedPrompter::Call &) {
        auto *fs = h.w->findChild<QTableView *>(u"fs"_s);
        for (int c : { 5, 6, 7 })
            hiddenBehindMessage.append(fs->isColumnHidden(c));
    };
    QVERIFY(h.click(u"DurSeek"_s));
    h.prompter.onPrompt = nullptr;
    QCOMPARE(hiddenBehindMessage, (QList<bool> { true, true, true }));
    QCOMPARE(h.prompter.messages().size(), 1);
    QCOMPARE(h.prompter.lastMessage().text, search::kZeroResultMessage);
    QCOMPARE(h.prompter.lastMessage().icon, Prompter::Icon::Information);
    QVERIFY(!h.combo1()->isVisible());
}

void TestForm1Search::classificationSearch()
{
    Harness h;
    QVERIFY(openCatalogue(h));
    QVERIFY(h.click(u"DBClass"_s));
    QVERIFY(h.combo1()->isVisible());
    QCOMPARE(h.combo1()->currentText(), search::kChooseClassCaption);
    QCOMPARE(h.combo1()->x(), std::max(h.px(2000), h.w->toolButton(u"BackToSearch"_s)->geometry().right() + 2));

    // A pick only chooses; "DurSeek" searches.
    h.pick(kMinase);
    QCOMPARE(h.fs()->rows(), 1);
    QVERIFY(h.click(u"DurSeek"_s));
    QCOMPARE(h.listed(), (QStringList { u"memo.txt"_s, u"plan_a.pdf"_s }));
    QCOMPARE(h.combo1()->count(), 3);
    QVERIFY(h.prompter.calls().isEmpty());

    h.combo1()->setEditText(u"O'Neil"_s);
    QVERIFY(h.click(u"DurSeek"_s));
    QCOMPARE(h.prompter.lastMessage().text, search::kZeroResultMessage);
    QVERIFY(h.combo1()->isVisible());
    QCOMPARE(h.combo1()->count(), 3);
}

void TestForm1Search::folderSearch()
{
    Harness h;
    QVERIFY(openCatalogue(h));
    h.prompter.planFolder(m_photos);
    QVERIFY(h.click(u"DBsearch"_s));
    QCOMPARE(h.w->mode(), shell::Mode::FolderSearch);
    QCOMPARE(h.listed(), (QStringList { u"O'Brien.txt"_s, u"[draft].txt"_s, u"a_c.txt"_s, u"memo.txt"_s }));
    QCOMPARE(h.fg()->currentIndex().data().toString(), m_photos);
    QCOMPARE(h.combo1()->x(), h.px(3700));
    QVERIFY(h.combo1()->isVisible());
    QVERIFY(!h.text1(0)->isVisible());
    QCOMPARE(h.w->statusPanelText(2), kResultHint);

    h.pick(kMinase);
    QCOMPARE(h.listed(), QStringList { u"memo.txt"_s });

    // A folder the catalogue does not know (the panel lists only known ones): one
    // explanatory row.
    const QString other = QDir::toNativeSeparators(m_dir.path());
    h.w->search().RunFolderPanelSearch(other);
    QCOMPARE(h.fs()->rows(), 2);
    QCOMPARE(h.fs()->text(1, 1),
        QStringLiteral(u"フォルダ：") + other + QStringLiteral(u"\u3000内のファイル情報は登録されていません。 "));
    QVERIFY(h.clickFolder(m_docs));
    QCOMPARE(h.listed(), (QStringList { u"report.doc"_s, u"plan_a.pdf"_s, u"planXa.pdf"_s, u"scan.tif"_s }));
    QCOMPARE(h.w->search().resultCount(), 4);
    QVERIFY(h.prompter.messages().isEmpty());
}

void TestForm1Search::emptyWord()
{
    Harness h;
    QVERIFY(openCatalogue(h));
    QVERIFY(h.click(u"DBFiles"_s));
    QVERIFY(h.click(u"DurSeek"_s));
    QCOMPARE(h.prompter.messages().size(), 1);
    QCOMPARE(h.prompter.lastMessage().text,
        QStringLiteral(u"検索語句を記入して下さい。\u3000ワイルドカードは「%」を使用してください。"));
    QCOMPARE(h.prompter.lastMessage().icon, Prompter::Icon::Warning);
    QCOMPARE(h.prompter.lastMessage().title, u"Almaren Tolvane"_s);

    // Blanks pass the check and search the empty name: nothing has it.
    QTest::keyClicks(h.text1(0), u"  "_s);
    QVERIFY(h.click(u"DurSeek"_s));
    QCOMPARE(h.prompter.lastMessage().text, search::kZeroResultMessage);

    h.text1(0)->clear();
    QTest::keyClicks(h.text1(0), u"[draft].txt"_s);
    QVERIFY(h.click(u"DurSeek"_s));
    QCOMPARE(h.listed(), QStringList { u"[draft].txt"_s });
    QCOMPARE(h.combo1()->x(), h.px(7800));
}

QTEST_MAIN(TestForm1Search)
#include "tst_form1search.moc"

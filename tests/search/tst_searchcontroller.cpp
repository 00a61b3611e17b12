// The searches as the user runs them, on a real catalogue file: the search panel's layouts,
// the messages (through the scripted prompter), the result list and the narrowing box,
// narrowing by picking in Combo1, and rebuilding the list on return.
#include "browser/resultlistmodel.h"
#include "search/searchtexts.h"
#include "search/ui/searchcontroller.h"
#include "search/ui/searchpanel.h"
#include "searchcatalogue.h"
#include "support/scriptedprompter.h"

#include <QComboBox>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

using namespace tolvane;
using namespace tolvane::search;
using namespace tolvane::search::ui;
using namespace Qt::StringLiterals;
using Outcome = SearchController::Outcome;

namespace {
const QString kMinase = QStringLiteral(u"水無瀬\u3000灯");
const QString kShimotsuki = QStringLiteral(u"霜月\u3000柊");
const QString kAsagiri = QStringLiteral(u"朝霧\u3000凪");
} // namespace

class TestSearchController : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void panelLayouts_data();
    void panelLayouts();
    void emptyWordIsRefused_data();
    void emptyWordIsRefused();
    void blanksSearchTheEmptyKeyword();
    void zeroResult_data();
    void zeroResult();
    void resultFillsListAndOffersNarrowing_data();
    void resultFillsListAndOffersNarrowing();
    void narrowingByPick();
    void periodPanel();
    void classificationSearch();
    void folderSearch();
    void returnRebuildsTheList();

private:
    QStringList listedNames() const;
    int px(int twips) const { return twipsToPixels(m_host.get(), twips); }

    QTemporaryDir m_dir;
    catalog::CatalogState m_catalog;
    std::unique_ptr<QWidget> m_host;
    std::unique_ptr<test::ScriptedPrompter> m_prompter;
    std::unique_ptr<browser::ResultListModel> m_fs;
    std::unique_ptr<SearchPanel> m_panel;
    std::unique_ptr<SearchController> m_search;
    RecordsetSlot m_result;
    int m_count = 0;
    int m_tidied = 0;
};

void TestSearchController::initTestCase()
{
    QVERIFY(m_dir.isValid());
    test::SearchCatalogue cat;
    QVERIFY(cat.create(m_dir.filePath(QStringLiteral("panel.mdb"))));
    cat.addSampleFiles();
    m_catalog.CatalogConnection = cat.release();
    m_catalog.CatalogMark = 11;
}

void TestSearchController::init()
{
    m_host = std::make_unique<QWidget>();
    m_host->resize(1200, 40);
    m_prompter = std::make_unique<test::ScriptedPrompter>();
    m_fs = std::make_unique<browser::ResultListModel>();
    m_panel = std::make_unique<SearchPanel>(m_host.get());
    m_result.reset();
    m_count = -1;
    m_tidied = 0;
    SearchController::Hooks hooks;
    hooks.tidy = [this] { ++m_tidied; };
    hooks.fontSize = [] { return 12; };
    m_search = std::make_unique<SearchController>(
        SearchController::Shared{*m_prompter, m_catalog, m_result, m_count, *m_fs}, *m_panel, hooks);
    // The main window narrows on a pick in the narrowing modes.
    connect(m_panel.get(), &SearchPanel::classPicked, m_search.get(),
            [this](const QString &text) { m_search->NarrowByClass(text); });
    m_host->show();
}

void TestSearchController::cleanup()
{
    m_search.reset();
    m_panel.reset();
    m_fs.reset();
    m_prompter.reset(); // fails the test on planned answers left unused
    m_host.reset();
}

QStringList TestSearchController::listedNames() const
{
    QStringList names;
    for (int r = 1; r < m_fs->rows(); ++r)
        names.append(m_fs->text(r, 2));
    return names;
}

void TestSearchController::panelLayouts_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<bool>("text0Shown");
    QTest::addColumn<bool>("text1Shown");
    QTest::addColumn<bool>("comboShown");
    QTest::addColumn<int>("left");  // of the first shown control, twips
    QTest::addColumn<int>("width"); // twips
    QTest::addColumn<QString>("text0");
    QTest::addColumn<QString>("text1");
    QTest::addColumn<QString>("comboText");

    QTest::newRow("file name") << int(SearchKind::FileName) << true << false << false << 2000 << 3000 << QString()
                               << QString() << QString();
    QTest::newRow("keyword") << int(SearchKind::Keyword) << true << false << false << 2000 << 3000 << QString()
                             << QString() << QString();
    QTest::newRow("classification") << int(SearchKind::Class) << false << false << true << 2000 << 3000 << QString()
                                    << QString() << kChooseClassCaption;
    QTest::newRow("period") << int(SearchKind::Period) << true << true << false << 2200 << 2000 << kStartDateText
                            << kUntilText << kFromText;
    QTest::newRow("folder") << int(SearchKind::Folder) << false << false << false << 0 << 0 << QString()
                            << QString() << QString();
}

void TestSearchController::panelLayouts()
{
    QFETCH(int, kind);
    QFETCH(bool, text0Shown);
    QFETCH(bool, text1Shown);
    QFETCH(bool, comboShown);
    QFETCH(int, left);
    QFETCH(int, width);
    QFETCH(QString, text0);
    QFETCH(QString, text1);
    QFETCH(QString, comboText);

    // Leftovers of an earlier search must not survive entering a mode.
    m_panel->Text1(0)->setText(u"old"_s);
    m_panel->Combo1()->addItem(u"old"_s);
    m_search->EnterSearchPanel(SearchKind(kind));

    QLineEdit *t0 = m_host->findChild<QLineEdit *>(u"Text1(0)"_s);
    QLineEdit *t1 = m_host->findChild<QLineEdit *>(u"Text1(1)"_s);
    QComboBox *combo = m_host->findChild<QComboBox *>(u"Combo1"_s);
    QVERIFY(t0 && t1 && combo);
    QCOMPARE(t0->isVisible(), text0Shown);
    QCOMPARE(t1->isVisible(), text1Shown);
    QCOMPARE(combo->isVisible(), comboShown);
    if (text0Shown || comboShown) {
        QWidget *first = text0Shown ? static_cast<QWidget *>(t0) : combo;
        QCOMPARE(first->x(), px(left));
        QCOMPARE(first->width(), px(width));
    }
    if (text0Shown)
        QCOMPARE(t0->text(), text0);
    if (text1Shown) {
        QCOMPARE(t1->text(), text1);
        QCOMPARE(t1->x(), t0->x() + t0->width());
        QCOMPARE(t1->width(), px(2000));
    }
    if (SearchKind(kind) == SearchKind::FileName || SearchKind(kind) == SearchKind::Keyword)
        QCOMPARE(t0->toolTip(), kWordToolTip);
    // Hidden boxes of the folder search keep whatever they held; they are refilled when shown.
    if (SearchKind(kind) != SearchKind::Folder)
        QCOMPARE(combo->currentText(), comboText);
    if (SearchKind(kind) == SearchKind::Class)
        QCOMPARE(combo->count(), 3);
    // The period panel keeps the dates that have files as its hidden list.
    if (SearchKind(kind) == SearchKind::Period) {
        QCOMPARE(combo->count(), 8);
        QCOMPARE(combo->itemText(0), u"2009/06/15"_s);
        QVERIFY(t0->completer());
    }
    if (SearchKind(kind) == SearchKind::FileName || SearchKind(kind) == SearchKind::Keyword)
        QCOMPARE(combo->count(), 0);
    // The list is emptied and keeps its headings.
    QCOMPARE(m_fs->rows(), 1);
    QCOMPARE(m_fs->cols(), 8);
    QCOMPARE(m_fs->text(0, 1), QStringLiteral(u"分類"));
    QVERIFY(m_prompter->calls().isEmpty());
}

void TestSearchController::emptyWordIsRefused_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("keyword") << int(SearchKind::Keyword);
    QTest::newRow("file name") << int(SearchKind::FileName);
}

void TestSearchController::emptyWordIsRefused()
{
    QFETCH(int, kind);
    m_search->EnterSearchPanel(SearchKind(kind));
    QCOMPARE(m_search->run(SearchKind(kind)), Outcome::Refused);
    QCOMPARE(m_prompter->messages().size(), 1);
    const auto &msg = m_prompter->lastMessage();
    QCOMPARE(msg.title, u"Almaren Tolvane"_s);
    QCOMPARE(msg.text, QStringLiteral(u"検索語句を記入して下さい。\u3000ワイルドカードは「%」を使用してください。"));
    QCOMPARE(msg.icon, Prompter::Icon::Warning);
    QCOMPARE(msg.buttons, Prompter::Buttons::Ok);
    QVERIFY(!m_result);
    QVERIFY(!m_search->listHasRows());
}

void TestSearchController::blanksSearchTheEmptyKeyword()
{
    m_search->EnterSearchPanel(SearchKind::Keyword);
    QTest::keyClicks(m_panel->Text1(0), u"   "_s);
    QCOMPARE(m_search->RunKeywordSearch(), Outcome::Found);
    QVERIFY(m_prompter->calls().isEmpty());
    QCOMPARE(listedNames(), QStringList{u"memo.txt"_s});
    QCOMPARE(m_search->state().SavedSearchWord, QString());
}

void TestSearchController::zeroResult_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("word");
    QTest::newRow("keyword") << int(SearchKind::Keyword) << u"zzz"_s;
    QTest::newRow("file name with quote and bracket") << int(SearchKind::FileName) << u"x'[y]%"_s;
}

void TestSearchController::zeroResult()
{
    QFETCH(int, kind);
    QFETCH(QString, word);
    // An earlier result with its narrowing box.
    m_search->EnterSearchPanel(SearchKind::Keyword);
    QTest::keyClicks(m_panel->Text1(0), u"%"_s);
    QCOMPARE(m_search->RunKeywordSearch(), Outcome::Found);
    QVERIFY(m_panel->Combo1()->isVisible());

    m_search->EnterSearchPanel(SearchKind(kind));
    QTest::keyClicks(m_panel->Text1(0), word);
    QCOMPARE(m_search->run(SearchKind(kind)), Outcome::NotFound);
    QCOMPARE(m_prompter->messages().size(), 1);
    QCOMPARE(m_prompter->lastMessage().text, u"検索結果はゼロです。"_s);
    QCOMPARE(m_prompter->lastMessage().icon, Prompter::Icon::Information);
    QVERIFY(!m_panel->Combo1()->isVisible());
    QCOMPARE(m_panel->Combo1()->count(), 0);
    QCOMPARE(m_fs->rows(), 1);
    QCOMPARE(m_count, 0);
    QVERIFY(!m_search->listHasRows());
}

void TestSearchController::resultFillsListAndOffersNarrowing_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("end");
    QTest::addColumn<int>("comboLeft");
    QTest::addColumn<QStringList>("names");

    QTest::newRow("keyword") << int(SearchKind::Keyword) << u"ab%"_s << QString() << 8000
                             << QStringList{u"report.doc"_s, u"plan_a.pdf"_s, u"planXa.pdf"_s};
    QTest::newRow("file name") << int(SearchKind::FileName) << u"%.pdf"_s << QString() << 7800
                               << QStringList{u"plan_a.pdf"_s, u"planXa.pdf"_s};
    QTest::newRow("period") << int(SearchKind::Period) << u"2009/12/30"_s << u"2009/12/31"_s << 9600
                            << QStringList{u"report.doc"_s, u"plan_a.pdf"_s, u"O'Brien.txt"_s};
}

void TestSearchController::resultFillsListAndOffersNarrowing()
{
    QFETCH(int, kind);
    QFETCH(QString, start);
    QFETCH(QString, end);
    QFETCH(int, comboLeft);
    QFETCH(QStringList, names);

    m_search->EnterSearchPanel(SearchKind(kind));
    m_panel->Text1(0)->setText(start);
    m_panel->Text1(1)->setText(end);
    QCOMPARE(m_search->run(SearchKind(kind)), Outcome::Found);
    QVERIFY(m_prompter->calls().isEmpty());

    QCOMPARE(listedNames(), names);
    QCOMPARE(m_count, names.size());
    QVERIFY(m_search->listHasRows());
    QCOMPARE(m_fs->text(1, 0), u"1"_s);
    QCOMPARE(m_fs->fontSize(), 12);
    QVERIFY(m_tidied > 0);
    // The internal columns are hidden again after the fill.
    QVERIFY(!m_fs->isColumnHidden(1));
    QVERIFY(m_fs->isColumnHidden(5) && m_fs->isColumnHidden(6) && m_fs->isColumnHidden(7));

    QComboBox *combo = m_panel->Combo1();
    QVERIFY(combo->isVisible());
    QCOMPARE(combo->x(), px(comboLeft));
    QCOMPARE(combo->currentText(), kNarrowCaption);
    QCOMPARE(combo->count(), 4);
    QCOMPARE(combo->itemText(0), kNoNarrowingItem);
    QCOMPARE(m_search->state().SavedSearchWord, start.trimmed());
}

void TestSearchController::narrowingByPick()
{
    m_search->EnterSearchPanel(SearchKind::Keyword);
    QTest::keyClicks(m_panel->Text1(0), u"%"_s);
    QCOMPARE(m_search->RunKeywordSearch(), Outcome::Found);
    QCOMPARE(m_count, 7);
    QComboBox *combo = m_panel->Combo1();
    auto pick = [combo](const QString &text) {
        const int i = combo->findText(text);
        QVERIFY2(i >= 0, qPrintable(text));
        combo->setCurrentIndex(i);
        emit combo->activated(i);
    };

    pick(kMinase);
    QCOMPARE(listedNames(), (QStringList{u"plan_a.pdf"_s, u"memo.txt"_s}));
    QCOMPARE(m_count, 2);
    QVERIFY(m_result->filtered());
    pick(kNoNarrowingItem);
    QCOMPARE(m_count, 7);

    // A classification that no listed file has: the notice, then an empty list.
    combo->insertItem(1, u"O'Neil [x]"_s);
    pick(u"O'Neil [x]"_s);
    QCOMPARE(m_prompter->messages().size(), 1);
    const auto &msg = m_prompter->lastMessage();
    QCOMPARE(msg.icon, Prompter::Icon::Warning);
    QCOMPARE(msg.title, u"Almaren Tolvane"_s);
    QCOMPARE(msg.text, QStringLiteral(u"分類「O'Neil [x]」で絞込みしましたが、該当ファイル情報はありません。\n"
                                      u"一覧表は一掃されますから、再度同一条件で検索してください。\n"
                                      u"フォルダ検索の場合は、二重検索しないよう無能化されていますから、"
                                      u"一旦別フォルダをクリックした後、戻って再度クリックしてください。"));
    QCOMPARE(m_fs->rows(), 1);
    QCOMPARE(m_count, 0);

    // From then on every pick does nothing, the no-narrowing item included.
    pick(kNoNarrowingItem);
    pick(kShimotsuki);
    QCOMPARE(m_prompter->messages().size(), 1);
    QCOMPARE(m_fs->rows(), 1);

    // A new search fills the list again.
    QCOMPARE(m_search->RunKeywordSearch(), Outcome::Found);
    QCOMPARE(m_count, 7);
}

void TestSearchController::periodPanel()
{
    m_search->EnterSearchPanel(SearchKind::Period);
    // The untouched panel texts are no dates: the search ends quietly with an empty list.
    QCOMPARE(m_search->RunPeriodSearch(), Outcome::Failed);
    QVERIFY(m_prompter->calls().isEmpty());
    QCOMPARE(m_fs->rows(), 1);
    QVERIFY(!m_result);
    QVERIFY(!m_search->listHasRows());

    // Typed over the texts, as the user does.
    m_panel->Text1(0)->clear();
    QTest::keyClicks(m_panel->Text1(0), u" 2009/12/31 "_s);
    m_panel->Text1(1)->clear();
    QTest::keyClicks(m_panel->Text1(1), u"2010-01-01"_s);
    QCOMPARE(m_search->RunPeriodSearch(), Outcome::Found);
    QCOMPARE(listedNames(), (QStringList{u"plan_a.pdf"_s, u"O'Brien.txt"_s, u"planXa.pdf"_s}));
    QCOMPARE(m_search->state().SavedSearchWord, u"2009/12/31"_s);
    QCOMPARE(m_search->state().SavedEndDate, u"2010-01-01"_s);

    // A start after the end finds nothing.
    m_panel->Text1(0)->setText(u"2010/01/01"_s);
    m_panel->Text1(1)->setText(u"2009/12/30"_s);
    QCOMPARE(m_search->RunPeriodSearch(), Outcome::NotFound);
    QCOMPARE(m_prompter->lastMessage().text, u"検索結果はゼロです。"_s);
    QCOMPARE(m_prompter->lastMessage().icon, Prompter::Icon::Information);
}

void TestSearchController::classificationSearch()
{
    m_search->EnterSearchPanel(SearchKind::Class);
    QComboBox *combo = m_panel->Combo1();
    combo->setCurrentIndex(combo->findText(kShimotsuki));
    QCOMPARE(m_search->RunClassSearch(), Outcome::Found);
    QCOMPARE(listedNames(), (QStringList{u"a_c.txt"_s, u"O'Brien.txt"_s}));
    // No narrowing box after a classification search: the chooser stays as it was.
    QCOMPARE(combo->count(), 3);
    QCOMPARE(combo->findText(kNoNarrowingItem), -1);
    QCOMPARE(combo->x(), px(2000));

    combo->setEditText(u"O'Neil"_s);
    QCOMPARE(m_search->RunClassSearch(), Outcome::NotFound);
    QCOMPARE(m_prompter->lastMessage().text, u"検索結果はゼロです。"_s);
    QVERIFY(combo->isVisible());
    QCOMPARE(combo->count(), 3);
}

void TestSearchController::folderSearch()
{
    m_search->EnterSearchPanel(SearchKind::Folder);
    QCOMPARE(m_search->RunFolderSearch(u"C:\\docs"_s), Outcome::Found);
    QCOMPARE(listedNames(), (QStringList{u"report.doc"_s, u"plan_a.pdf"_s, u"planXa.pdf"_s, u"scan.tif"_s}));
    QCOMPARE(m_panel->Combo1()->x(), px(3700));
    QVERIFY(m_panel->Combo1()->isVisible());

    // A folder without registered files: silently empty.
    QCOMPARE(m_search->RunFolderSearch(u"C:\\none"_s), Outcome::NotFound);
    QVERIFY(m_prompter->calls().isEmpty());
    QCOMPARE(m_fs->rows(), 1);

    // Picked in the folder panel: the explanatory row.
    QCOMPARE(m_search->RunFolderPanelSearch(u"C:\\none"_s), Outcome::NotFound);
    QCOMPARE(m_fs->rows(), 2);
    QCOMPARE(m_fs->text(1, 1), QStringLiteral(u"フォルダ：C:\\none\u3000内のファイル情報は登録されていません。 "));
    QCOMPARE(m_search->RunFolderPanelSearch(u"C:\\photos"_s), Outcome::Found);
    QCOMPARE(m_count, 4);
}

void TestSearchController::returnRebuildsTheList()
{
    m_search->EnterSearchPanel(SearchKind::Keyword);
    QTest::keyClicks(m_panel->Text1(0), u"%"_s);
    QCOMPARE(m_search->RunKeywordSearch(), Outcome::Found);
    QVERIFY(m_search->NarrowByClass(kAsagiri) == NarrowOutcome::Narrowed);

    // The one-by-one display hides the panel and moves the cursor.
    m_panel->hideAll();
    m_panel->Text1(0)->clear();
    m_result->moveLast();
    m_fs->setRows(1);

    m_search->RestoreResultList(SearchKind::Keyword);
    QCOMPARE(listedNames(), (QStringList{u"report.doc"_s, u"planXa.pdf"_s}));
    QCOMPARE(m_count, 2);
    QCOMPARE(m_panel->Text1(0)->text(), u"%"_s);
    QVERIFY(m_panel->Text1(0)->isVisible());
    QVERIFY(m_panel->Combo1()->isVisible());
    QCOMPARE(m_panel->Combo1()->currentText(), kNarrowCaption);

    // The period search writes both dates back.
    m_search->EnterSearchPanel(SearchKind::Period);
    m_panel->Text1(0)->setText(u"2009/12/29"_s);
    m_panel->Text1(1)->setText(u"2009/12/30"_s);
    QCOMPARE(m_search->RunPeriodSearch(), Outcome::Found);
    m_panel->hideAll();
    m_search->RestoreResultList(SearchKind::Period);
    QCOMPARE(m_panel->Text1(0)->text(), u"2009/12/29"_s);
    QCOMPARE(m_panel->Text1(1)->text(), u"2009/12/30"_s);
    QVERIFY(m_panel->Text1(1)->isVisible());
    QCOMPARE(listedNames(), (QStringList{u"memo.txt"_s, u"report.doc"_s}));
}

QTEST_MAIN(TestSearchController)
#include "tst_searchcontroller.moc"

// The main window offscreen with a scripted prompter: a folder chosen and listed in fr, its
// files shown and stepped through with the highlight following, registration from the toolbar,
// and the folder search over the registered folders of fg.
#include <QApplication>
#include <QHeaderView>
#include <QProgressDialog>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include "../shell/form1harness.h"
#include "browser/filelistmodel.h"
#include "browser/ui/browsercontroller.h"
#include "browser/ui/folderpanel.h"
#include "catalog/lifecycle.h"
#include "catalog/schema.h"
#include "search/resultlistmodel.h"
#include "search/ui/searchcontroller.h"
#include "shell/modes.h"
#include "shell/ui/form1.h"
#include "support/scriptedprompter.h"
#include "testfolders.h"

using namespace tolvane;
using tolvane::test::clickTool;
using tolvane::test::ScriptedPrompter;

namespace {

QTableView *grid(shell::Form1 &w, const char *name)
{
    return w.findChild<QTableView *>(QString::fromLatin1(name));
}

browser::FileListModel *files(shell::Form1 &w)
{
    return qobject_cast<browser::FileListModel *>(grid(w, "fr")->model());
}

void clickFileRow(shell::Form1 &w, int gridRow)
{
    QCoreApplication::processEvents();
    QTableView *fr = grid(w, "fr");
    const QRect r = fr->visualRect(fr->model()->index(gridRow - 1, 0));
    QTest::mouseClick(fr->viewport(), Qt::LeftButton, {}, r.center());
}

// The start folder of the last folder dialog (the folder chosen last).
QString lastFolderDialogStart(const test::ScriptedPrompter &prompter)
{
    for (qsizetype i = prompter.calls().size() - 1; i >= 0; --i)
        if (prompter.calls().at(i).kind == QLatin1String("folder"))
            return prompter.calls().at(i).text;
    return QStringLiteral("(no folder dialog)");
}

bool isGreen(shell::Form1 &w, int gridRow)
{
    return files(w)->rowBackColor(gridRow) == QColor(0, 192, 0);
}

} // namespace

class TestForm1Browser : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp;
    QString m_docs;
    QString m_mdb;

    struct Harness : test::Form1Harness {
        Harness() { w->resize(1200, 800); }
    };

private slots:
    void initTestCase()
    {
        QVERIFY(m_tmp.isValid());
        m_docs = QDir::toNativeSeparators(m_tmp.path() + QStringLiteral("/書類"));
        QVERIFY(QDir().mkpath(m_docs));
        const QDateTime when(QDate(2024, 2, 3), QTime(4, 5, 6));
        for (const char *n : { "a.txt", "b.txt", "c.txt" })
            QVERIFY(test::writeFile(m_docs + QLatin1Char('/') + QString::fromLatin1(n), 2048, when));
        QVERIFY(test::newCatalogue(m_tmp.path(), QStringLiteral("台帳")));
        m_mdb = m_tmp.path() + QStringLiteral("/台帳.mdb");
    }

    void fileDisplay()
    {
        Harness h;
        shell::Form1 &w = *h.w;
        QVERIFY(clickTool(w, "StartShowFile"));
        // Entered from the start: the list's starting widths and the folder panel's.
        auto *fr = w.findChild<QTableView *>(QStringLiteral("fr"));
        QVERIFY(fr && fr->isVisible());
        QCOMPARE(fr->columnWidth(0), w.twipsToPixels(1400));
        QCOMPARE(fr->columnWidth(1), w.twipsToPixels(600));
        QCOMPARE(w.findChild<QWidget *>(QStringLiteral("fg"))->width(), w.twipsToPixels(3000));
        h.prompter.planFolder(m_docs);
        QVERIFY(clickTool(w, "View"));
        const browser::ui::BrowserController &browsing = w.browser();
        QCOMPARE(browsing.listedFolder(), m_docs);
        QCOMPARE(files(w)->names(),
            QStringList({ QStringLiteral("a.txt"), QStringLiteral("b.txt"), QStringLiteral("c.txt") }));
        QCOMPARE(browsing.names(), files(w)->names());
        QCOMPARE(files(w)->data(files(w)->index(0, 1)).toString(), QStringLiteral("2"));
        // The first file is shown and marked, its folder in the status bar.
        QCOMPARE(browsing.currentRow(), 1);
        QCOMPARE(browsing.currentFileName(), QStringLiteral("a.txt"));
        QCOMPARE(browsing.currentFileDate(), QStringLiteral("2024-02-03"));
        QCOMPARE(w.layoutState(), shell::LayoutState::FolderFileShown);
        QVERIFY(isGreen(w, 1));
        QCOMPARE(w.statusPanelText(1), QStringLiteral("ファイル表示モード"));
        QCOMPARE(w.statusPanelText(2), m_docs);

        clickFileRow(w, 3);
        QCOMPARE(browsing.currentFileName(), QStringLiteral("c.txt"));
        QVERIFY(isGreen(w, 3));
        QVERIFY(!isGreen(w, 1));
        QVERIFY(clickTool(w, "Next"));
        QCOMPARE(h.prompter.lastMessage().text, QStringLiteral("最後のファイルに到達しました。"));
        QCOMPARE(h.prompter.lastMessage().icon, Prompter::Icon::Warning);
        QVERIFY(clickTool(w, "Prev"));
        QCOMPARE(browsing.currentFileName(), QStringLiteral("b.txt"));
        QVERIFY(isGreen(w, 2));
        QVERIFY(!isGreen(w, 3));
        QVERIFY(clickTool(w, "Prev"));
        QVERIFY(clickTool(w, "Prev"));
        QCOMPARE(browsing.currentFileName(), QStringLiteral("a.txt"));
        QCOMPARE(h.prompter.lastMessage().text, QStringLiteral("最初のファイルに到達しました。"));

        // Back to the folder screen: the list is emptied; a cancelled choice lists nothing and
        // keeps the folder chosen last, where the next dialog starts.
        QVERIFY(clickTool(w, "BackTo"));
        QCOMPARE(files(w)->rows(), 1);
        h.prompter.planFolder(QString());
        QVERIFY(clickTool(w, "View"));
        QCOMPARE(lastFolderDialogStart(h.prompter), m_docs);
        QCOMPARE(files(w)->rows(), 1);
        QCOMPARE(browsing.fileCount(), 0);
        QCOMPARE(w.layoutState(), shell::LayoutState::Lists);
        h.prompter.planFolder(QString());
        QVERIFY(clickTool(w, "View"));
        QCOMPARE(lastFolderDialogStart(h.prompter), m_docs);
        QCOMPARE(files(w)->rows(), 1);
    }

    // A folder of long Japanese names: sizes, dates and headings are whole, names share the rest
    // of the pane (elided in the middle, whole in the tool tip) and follow the pane, a width the
    // user drags is kept, and clicking through the files never changes the window's size.
    void longNamesInTheFileList()
    {
        const QString dir = m_tmp.path() + QStringLiteral("/二十九の書類");
        QVERIFY(QDir().mkpath(dir));
        const char *const kinds[] = { "txt", "pdf", "docx", "png", "xls", "rtf", "p21" };
        for (int i = 0; i < 29; ++i)
            QVERIFY(test::writeFile(dir
                    + QStringLiteral("/お知らせ　令和%1年度の定例会議資料（改訂版）.%2")
                          .arg(i + 1)
                          .arg(QString::fromLatin1(kinds[i % 7])),
                // Large sizes, but text files small: the viewer lays out what it shows.
                i % 7 == 0 || i % 7 == 5 ? 2048 : (i + 1) * 100 * 1024, QDateTime::currentDateTime()));
        Harness h;
        shell::Form1 &w = *h.w;
        QVERIFY(h.showFolder(dir));
        QCoreApplication::processEvents();
        QTableView *fr = grid(w, "fr");
        QHeaderView *header = fr->horizontalHeader();
        const QFontMetrics fm(fr->font());
        auto checkWhole = [&] {
            for (int c = 0; c < 3; ++c)
                QVERIFY2(fr->columnWidth(c) >= header->sectionSizeHint(c), qPrintable(QString::number(c)));
            for (int r = 0; r < files(w)->rowCount(); ++r)
                for (int c : { 1, 2 })
                    QVERIFY(fr->columnWidth(c) > fm.horizontalAdvance(files(w)->index(r, c).data().toString()));
        };
        checkWhole();
        const int names = fr->columnWidth(0);
        QCOMPARE(fr->textElideMode(), Qt::ElideMiddle);
        QCOMPARE(files(w)->index(3, 0).data(Qt::ToolTipRole).toString(), files(w)->names().at(3));

        // A wider pane widens the names only.
        const int size = fr->columnWidth(1);
        const int paneWidth = fr->width();
        auto *bar = w.findChild<QWidget *>(QStringLiteral("picDrag"));
        QVERIFY(bar);
        QTest::mousePress(bar, Qt::LeftButton, {}, QPoint(1, 5));
        QTest::mouseRelease(bar, Qt::LeftButton, {}, QPoint(500, 5));
        QCoreApplication::processEvents();
        QVERIFY(fr->width() > paneWidth);
        QVERIFY(fr->columnWidth(0) > names);
        QCOMPARE(fr->columnWidth(1), size);
        QCOMPARE(fr->columnWidth(0) + fr->columnWidth(1) + fr->columnWidth(2),
            fr->contentsRect().width() - fr->verticalScrollBar()->sizeHint().width());
        checkWhole();

        // The user drags the size column wider: kept when the folder is listed again.
        const int edge = header->sectionViewportPosition(1) + header->sectionSize(1) - 1;
        const int y = header->height() / 2;
        QTest::mousePress(header->viewport(), Qt::LeftButton, {}, QPoint(edge, y));
        QTest::mouseMove(header->viewport(), QPoint(edge + 40, y));
        QTest::mouseRelease(header->viewport(), Qt::LeftButton, {}, QPoint(edge + 40, y));
        const int dragged = fr->columnWidth(1);
        QVERIFY(dragged > size);
        QVERIFY(clickTool(w, "BackTo"));
        h.prompter.planFolder(dir);
        QVERIFY(clickTool(w, "View"));
        QCoreApplication::processEvents();
        QCOMPARE(fr->columnWidth(1), dragged);

        const QSize windowSize = w.size();
        for (int i = 0; i < 50; ++i) {
            clickFileRow(w, 1 + (i * 7) % 29);
            QCoreApplication::processEvents();
            QCOMPARE(w.size(), windowSize);
        }
    }

    void registerAndSearchFolders()
    {
        Harness h;
        shell::Form1 &w = *h.w;
        QVERIFY(h.open(m_mdb));

        h.prompter.planFolder(m_docs);
        QVERIFY(clickTool(w, "DBrec"));
        QCOMPARE(w.mode(), shell::Mode::Record);
        QCOMPARE(files(w)->rows(), 4);
        h.prompter.planAnswer(Prompter::Answer::Yes);
        QVERIFY(clickTool(w, "RecAll"));
        QCOMPARE(h.prompter.lastMessage().text, QStringLiteral("3件のファイル情報を登録しました。"));
        QCOMPARE(test::tableRows(w.catalog().db(), catalog::kFileAtrTable).size(), 3);
        h.prompter.planAnswer(Prompter::Answer::No);
        QVERIFY(clickTool(w, "RecAll"));
        QCOMPARE(h.prompter.messages().size(), 3);

        // A second registered folder, inside the first one.
        const QString sub = m_docs + QStringLiteral("/2024");
        QVERIFY(QDir().mkpath(sub));
        QVERIFY(test::writeFile(sub + QStringLiteral("/O'Neil.doc"), 1));
        QVERIFY(clickTool(w, "BackTo"));
        h.prompter.planFolder(sub);
        QVERIFY(clickTool(w, "DBrec"));
        h.prompter.planAnswer(Prompter::Answer::Yes);
        QVERIFY(clickTool(w, "RecAll"));
        QCOMPARE(h.prompter.lastMessage().text, QStringLiteral("1件のファイル情報を登録しました。"));

        // The folder search lists the registered folders in fg, the chosen one open.
        h.prompter.planFolder(m_docs);
        w.EnterFolderSearchMode();
        auto *panel = w.findChild<browser::ui::FolderPanel *>(QStringLiteral("fg"));
        QVERIFY(panel);
        QVERIFY(panel->isVisible());
        QCOMPARE(panel->folderPaths(), QStringList({ m_docs, sub }));
        QVERIFY(panel->isOpenPicture(0));
        QTableView *fs = grid(w, "fs");
        auto *results = qobject_cast<search::ResultListModel *>(fs->model());
        QVERIFY(results);
        QCOMPARE(results->rows(), 4);
        QCOMPARE(w.search().resultCount(), 3);

        // Choosing the other node searches that folder.
        QSignalSpy chosen(&w.browser(), &browser::ui::BrowserController::folderChosen);
        panel->setCurrentRow(1);
        QCOMPARE(chosen.size(), 1);
        QCOMPARE(chosen.at(0).at(0).toInt(), 1);
        QCOMPARE(chosen.at(0).at(1).toString(), sub);
        QCOMPARE(panel->currentRow(), 1);
        QVERIFY(panel->isOpenPicture(1));
        QVERIFY(!panel->isOpenPicture(0));
        QCOMPARE(results->rows(), 2);
        QCOMPARE(results->text(1, 2), QStringLiteral("O'Neil.doc"));
        QCOMPARE(results->text(0, 2), QStringLiteral("ファイル名"));
        QVERIFY(fs->isColumnHidden(5));
        w.mOptCol_Click();
        QVERIFY(!fs->isColumnHidden(5));
    }

    void cancelledRegistrationLeavesCatalogue()
    {
        const QString big = QDir::toNativeSeparators(m_tmp.path() + QStringLiteral("/big"));
        QVERIFY(QDir().mkpath(big));
        for (int i = 0; i < 1500; ++i)
            QVERIFY(test::writeFile(big + QStringLiteral("/p%1.dat").arg(i), 0));
        Harness h;
        shell::Form1 &w = *h.w;
        QVERIFY(h.open(m_mdb));
        const auto filesBefore = test::tableRows(w.catalog().db(), catalog::kFileAtrTable).size();
        const auto pathsBefore = test::tableRows(w.catalog().db(), catalog::kPathNameTable).size();
        h.prompter.planFolder(big);
        QVERIFY(clickTool(w, "DBrec"));
        QCOMPARE(files(w)->rows(), 1501);

        // The progress dialog's Cancel, pressed as soon as the work reports progress.
        bool cancelled = false;
        QTimer poll;
        poll.setInterval(0);
        QObject::connect(&poll, &QTimer::timeout, &w, [&] {
            if (auto *dialog = w.findChild<QProgressDialog *>(QStringLiteral("RegistrationProgress"))) {
                dialog->cancel();
                cancelled = true;
                poll.stop();
            }
        });
        poll.start();
        h.prompter.planAnswer(Prompter::Answer::Yes);
        QVERIFY(clickTool(w, "RecAll"));
        QVERIFY(cancelled);
        QCOMPARE(h.prompter.messages().size(), 1); // the confirmation only
        QCOMPARE(test::tableRows(w.catalog().db(), catalog::kFileAtrTable).size(), filesBefore);
        QCOMPARE(test::tableRows(w.catalog().db(), catalog::kPathNameTable).size(), pathsBefore);

        // Run to the end, the same folder registers completely.
        h.prompter.planAnswer(Prompter::Answer::Yes);
        QVERIFY(clickTool(w, "RecAll"));
        QCOMPARE(h.prompter.lastMessage().text, QStringLiteral("1500件のファイル情報を登録しました。"));
        QCOMPARE(test::tableRows(w.catalog().db(), catalog::kFileAtrTable).size(), filesBefore + 1500);
    }

    // Another window (or user) is writing: the window asks whether to go on waiting, and when
    // told no, the registration fails as a whole and says so; once the other writer is done
    // it goes through.
    void registrationMeetsAnotherWriter()
    {
        const QString mdb = m_tmp.path() + QStringLiteral("/busy.mdb");
        QVERIFY(test::newCatalogue(m_tmp.path(), QStringLiteral("busy")));
        auto other = jet::Database::open(mdb);
        QVERIFY(other);
        QVERIFY((*other)->beginTransaction());
        Harness h;
        shell::Form1 &w = *h.w;
        QVERIFY(h.open(mdb));
        w.catalog().db()->setBusyTimeout(100);
        h.prompter.planFolder(m_docs);
        QVERIFY(clickTool(w, "DBrec"));
        h.prompter.planAnswer(Prompter::Answer::Yes); // register
        h.prompter.planAnswer(Prompter::Answer::Yes); // wait once more
        h.prompter.planAnswer(Prompter::Answer::No); // give up
        QVERIFY(clickTool(w, "RecAll"));
        const auto asked = h.prompter.messages();
        QCOMPARE(asked.size(), 4);
        for (int i : { 1, 2 }) {
            QCOMPARE(asked[i].text, catalog::CatalogBusyQuestion());
            QCOMPARE(asked[i].buttons, Prompter::Buttons::YesNo);
        }
        QCOMPARE(asked[3].text, QStringLiteral("DB登録に失敗しました。　RecordFILE_ATR"));
        QVERIFY(test::tableRows(w.catalog().db(), catalog::kPathNameTable).isEmpty());

        (*other)->rollback();
        h.prompter.planAnswer(Prompter::Answer::Yes);
        QVERIFY(clickTool(w, "RecAll"));
        QCOMPARE(h.prompter.lastMessage().text, QStringLiteral("3件のファイル情報を登録しました。"));
        QCOMPARE(test::tableRows(other->get(), catalog::kFileAtrTable).size(), 3);
    }
};

QTEST_MAIN(TestForm1Browser)
#include "tst_form1browser.moc"

// The main window offscreen with a scripted prompter: a folder chosen and listed in fr, its
// files shown and stepped through with the highlight following, registration from the toolbar,
// and the folder search over the registered folders of fg.
#include <QApplication>
#include <QProgressDialog>
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

    void registerAndSearchFolders()
    {
        Harness h;
        shell::Form1 &w = *h.w;
        h.prompter.planOpenFile(m_mdb);
        QVERIFY(clickTool(w, "DBopen"));
        QVERIFY(w.catalog().isOpen());

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
        h.prompter.planOpenFile(m_mdb);
        QVERIFY(clickTool(w, "DBopen"));
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
        h.prompter.planOpenFile(mdb);
        QVERIFY(clickTool(w, "DBopen"));
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

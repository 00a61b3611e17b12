// The main window offscreen with a scripted prompter: a folder chosen and listed in fr, its
// files shown and stepped through with the highlight following, registration from the toolbar,
// and the folder search over the registered folders of fg.
#include <QApplication>
#include <QProgressDialog>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include "../shell/form1harness.h"
#include "browser/filelistmodel.h"
#include "search/resultlistmodel.h"
#include "browser/ui/folderpanel.h"
#include "catalog/schema.h"
#include "shell/modes.h"
#include "shell/ui/form1.h"
#include "support/scriptedprompter.h"
#include "testfolders.h"

using namespace tolvane;
using tolvane::test::clickTool;
using tolvane::test::ScriptedPrompter;

namespace {

browser::FileListModel *files(shell::Form1 &w)
{
    return qobject_cast<browser::FileListModel *>(w.fr->model());
}

void clickFileRow(shell::Form1 &w, int gridRow)
{
    QCoreApplication::processEvents();
    const QRect r = w.fr->visualRect(w.fr->model()->index(gridRow - 1, 0));
    QTest::mouseClick(w.fr->viewport(), Qt::LeftButton, {}, r.center());
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
        QCOMPARE(w.CurrentFolder, m_docs);
        QCOMPARE(w.LastChosenFolder, m_docs);
        QCOMPARE(files(w)->names(),
            QStringList({ QStringLiteral("a.txt"), QStringLiteral("b.txt"), QStringLiteral("c.txt") }));
        QCOMPARE(w.fr->model()->data(w.fr->model()->index(0, 1)).toString(), QStringLiteral("2"));
        // The first file is shown and marked.
        QCOMPARE(w.CurrentResultRow, 1);
        QCOMPARE(w.CurrentFileName, QStringLiteral("a.txt"));
        QCOMPARE(w.CurrentFileDate, QStringLiteral("2024-02-03"));
        QCOMPARE(w.LayoutState, int(shell::Layout::FolderFileShown));
        QVERIFY(isGreen(w, 1));
        QCOMPARE(w.statusPanelText(1), QStringLiteral("ファイル表示モード"));

        clickFileRow(w, 3);
        QCOMPARE(w.CurrentFileName, QStringLiteral("c.txt"));
        QVERIFY(isGreen(w, 3));
        QVERIFY(!isGreen(w, 1));
        QVERIFY(clickTool(w, "Next"));
        QCOMPARE(h.prompter.lastMessage().text, QStringLiteral("最後のファイルに到達しました。"));
        QCOMPARE(h.prompter.lastMessage().icon, Prompter::Icon::Warning);
        QVERIFY(clickTool(w, "Prev"));
        QCOMPARE(w.CurrentFileName, QStringLiteral("b.txt"));
        QVERIFY(isGreen(w, 2));
        QVERIFY(!isGreen(w, 3));
        QVERIFY(clickTool(w, "Prev"));
        QVERIFY(clickTool(w, "Prev"));
        QCOMPARE(w.CurrentFileName, QStringLiteral("a.txt"));
        QCOMPARE(h.prompter.lastMessage().text, QStringLiteral("最初のファイルに到達しました。"));

        // Back to the folder screen: the list is emptied; a cancelled choice keeps the folder
        // chosen last, and "Canceled" is the current folder until the next choice.
        QVERIFY(clickTool(w, "BackTo"));
        QCOMPARE(files(w)->rows(), 1);
        h.prompter.planFolder(QString());
        QVERIFY(clickTool(w, "View"));
        QCOMPARE(files(w)->rows(), 1);
        QCOMPARE(w.CurrentFolder, QStringLiteral("Canceled"));
        QCOMPARE(w.LastChosenFolder, m_docs);
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
        QCOMPARE(w.ModeNo, int(shell::Mode::Record));
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
        auto *panel = qobject_cast<browser::ui::FolderPanel *>(w.fg);
        QVERIFY(panel);
        QCOMPARE(panel->folderPaths(), QStringList({ m_docs, sub }));
        QVERIFY(panel->isOpenPicture(0));
        auto *results = qobject_cast<browser::ResultListModel *>(w.fs->model());
        QVERIFY(results);
        QCOMPARE(results->rows(), 4);

        // Choosing the other node searches that folder.
        panel->setCurrentRow(1);
        QCOMPARE(w.FolderPanelRow, 1);
        QVERIFY(panel->isOpenPicture(1));
        QVERIFY(!panel->isOpenPicture(0));
        QCOMPARE(results->rows(), 2);
        QCOMPARE(results->text(1, 2), QStringLiteral("O'Neil.doc"));
        QCOMPARE(results->text(0, 2), QStringLiteral("ファイル名"));
        QVERIFY(w.fs->isColumnHidden(5));
        w.mOptCol_Click();
        QVERIFY(!w.fs->isColumnHidden(5));
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
};

QTEST_MAIN(TestForm1Browser)
#include "tst_form1browser.moc"

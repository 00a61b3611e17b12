// The file list `fr` on real folders: rows, the size and date columns, the current file clicked
// as the user does and its highlight; the folder panel `fg` showing a real catalogue's registered
// folders. (Its start widths are checked in the main window.)
#include <QHeaderView>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "browser/filelist.h"
#include "browser/ui/browsercontroller.h"
#include "browser/ui/filelistview.h"
#include "browser/ui/folderpanel.h"
#include "catalog/schema.h"
#include "platform/paths.h"
#include "support/scriptedprompter.h"
#include "testfolders.h"

using namespace tolvane;
using namespace tolvane::browser;
using namespace tolvane::browser::ui;

class TestFileList : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp;

    QString folder(const char *name)
    {
        const QString p = m_tmp.path() + QLatin1Char('/') + QString::fromUtf8(name);
        QDir().mkpath(p);
        return p;
    }

    static QString cell(const FileListModel &m, int gridRow, int col)
    {
        return m.data(m.index(gridRow - 1, col)).toString();
    }

private slots:
    void headingsAndEmptyFolders()
    {
        FileListModel fr;
        QCOMPARE(fr.headerData(0, Qt::Horizontal).toString(), QStringLiteral("ファイル名"));
        QCOMPARE(fr.headerData(1, Qt::Horizontal).toString(), QStringLiteral("サイズﾞ KB"));
        QCOMPARE(fr.headerData(2, Qt::Horizontal).toString(), QStringLiteral("更新日時"));

        // An empty folder, a folder with only a sub-folder, and a folder that does not exist all
        // leave the heading row only.
        const QString empty = folder("empty");
        QCOMPARE(ListFolderFiles(fr, empty), 0);
        QCOMPARE(fr.rows(), 1);
        QDir().mkpath(folder("onlysub") + QStringLiteral("/child"));
        QVERIFY(test::writeFile(folder("onlysub") + QStringLiteral("/child/inner.txt"), 3));
        QCOMPARE(ListFolderFiles(fr, folder("onlysub")), 0);
        QCOMPARE(ListFolderFiles(fr, m_tmp.path() + QStringLiteral("/missing")), 0);
        QCOMPARE(fr.rows(), 1);
    }

    void sizeAndDateColumns_data()
    {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<QString>("shown");
        QTest::newRow("0") << qint64(0) << QStringLiteral("0");
        QTest::newRow("100") << qint64(100) << QStringLiteral("0.1");
        QTest::newRow("1024") << qint64(1024) << QStringLiteral("1");
        QTest::newRow("1536") << qint64(1536) << QStringLiteral("1.5");
        QTest::newRow("1 MiB") << qint64(1048576) << QStringLiteral("1,024");
        QTest::newRow("2.5 MiB+") << qint64(2621440 + 300) << QStringLiteral("2,560.3");
    }

    void sizeAndDateColumns()
    {
        QFETCH(qint64, bytes);
        QFETCH(QString, shown);
        const QString dir = folder(QTest::currentDataTag());
        const QDateTime when(QDate(2021, 11, 30), QTime(23, 59, 58));
        QVERIFY(test::writeFile(dir + QStringLiteral("/file.bin"), bytes, when));
        FileListModel fr;
        QCOMPARE(ListFolderFiles(fr, dir), 1);
        QCOMPARE(cell(fr, 1, 0), QStringLiteral("file.bin"));
        QCOMPARE(cell(fr, 1, 1), shown);
        QCOMPARE(cell(fr, 1, 2), QStringLiteral("2021/11/30 23:59:58"));
        QCOMPARE(fr.data(fr.index(0, 2), Qt::EditRole).toDateTime(), when);
    }

    void orderAndCurrentFile()
    {
        const QString dir = folder("docs");
        const QDateTime when(QDate(2020, 2, 29), QTime(12, 0));
        for (const char *n :
            { "b.txt", "A.txt", "c d.txt", "報告書.doc", "O'Neil.doc", ".hidden", "a_b.txt", "ab.txt" })
            QVERIFY(test::writeFile(dir + QLatin1Char('/') + QString::fromUtf8(n), 1, when));
        FileListModel fr;
        QCOMPARE(ListFolderFiles(fr, dir), 8);
        // By the upper-cased name: "AB" before "A_B" ('_' comes after the capitals).
        QCOMPARE(fr.names(),
            QStringList({ QStringLiteral(".hidden"), QStringLiteral("A.txt"), QStringLiteral("ab.txt"),
                QStringLiteral("a_b.txt"), QStringLiteral("b.txt"), QStringLiteral("c d.txt"),
                QStringLiteral("O'Neil.doc"), QStringLiteral("報告書.doc") }));

        // The current file through the browser, clicked in its list as the user does.
        test::ScriptedPrompter prompter;
        QWidget frame;
        frame.resize(600, 500);
        BrowserController browsing(prompter, &frame);
        browsing.InitControls();
        browsing.ListFolderFiles(dir);
        QTableView *list = browsing.fileList();
        QCOMPARE(list, frame.findChild<QTableView *>(QStringLiteral("fr")));
        list->setGeometry(frame.rect());
        list->show();
        frame.show();
        QVERIFY(QTest::qWaitForWindowExposed(&frame));
        QCOMPARE(browsing.listedFolder(), dir);
        QCOMPARE(browsing.names(), fr.names());
        QCOMPARE(browsing.fileCount(), 8);
        QSignalSpy clicked(&browsing, &BrowserController::fileClicked);
        auto clickRow = [&](int gridRow) {
            const QRect r = list->visualRect(list->model()->index(gridRow - 1, 0));
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, r.center());
        };

        // A click below the last file takes no file.
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, QPoint(5, list->viewport()->height() - 3));
        QCOMPARE(browsing.currentRow(), -1);
        QCOMPARE(clicked.size(), 0);
        browsing.ShowListedFile(browsing.previousRow());
        QCOMPARE(browsing.currentFileName(), QString());
        QCOMPARE(browsing.currentFileDate(), QString());

        clickRow(8);
        QCOMPARE(clicked.size(), 1);
        QCOMPARE(browsing.currentRow(), 8);
        browsing.ShowListedFile(browsing.previousRow());
        QCOMPARE(browsing.currentFileName(), QStringLiteral("報告書.doc"));
        QCOMPARE(browsing.currentFileDate(), QStringLiteral("2020-02-29"));
        // The date is asked of the disk again, not read from the list.
        QVERIFY(test::setModified(dir + QStringLiteral("/O'Neil.doc"), QDateTime(QDate(2019, 1, 2), QTime(1, 2))));
        QVERIFY(browsing.StepFolderFile(false));
        QCOMPARE(browsing.currentRow(), 7);
        QCOMPARE(browsing.currentFileName(), QStringLiteral("O'Neil.doc"));
        QCOMPARE(browsing.currentFileDate(), QStringLiteral("2019-01-02"));
        QCOMPARE(joinPath(browsing.listedFolder(), browsing.currentFileName()), dir + QStringLiteral("/O'Neil.doc"));
        QVERIFY(prompter.calls().isEmpty());
    }

    void highlight()
    {
        const QString dir = folder("hl");
        for (int i = 0; i < 4; ++i)
            QVERIFY(test::writeFile(dir + QStringLiteral("/f%1").arg(i), 1));
        FileListModel fr;
        ListFolderFiles(fr, dir);
        auto back = [&](int gridRow) {
            return fr.data(fr.index(gridRow - 1, 2), Qt::BackgroundRole).value<QBrush>().color();
        };
        auto text = [&](int gridRow) {
            return fr.data(fr.index(gridRow - 1, 0), Qt::ForegroundRole).value<QBrush>().color();
        };

        PutGreen_frList(fr, 0, 2);
        QCOMPARE(back(2), QColor(0, 192, 0));
        QCOMPARE(text(2), QColor(255, 255, 255));
        PutGreen_frList(fr, 2, 4);
        QCOMPARE(back(2), QColor(255, 255, 255));
        QCOMPARE(text(2), QColor(0, 0, 0));
        QCOMPARE(back(4), QColor(0, 192, 0));
        PutWhite_frList(fr, 4);
        QCOMPARE(back(4), QColor(255, 255, 255));
        QCOMPARE(text(4), QColor(0, 0, 0));
        // A relisting starts without colours.
        ListFolderFiles(fr, dir);
        QVERIFY(!fr.data(fr.index(3, 0), Qt::BackgroundRole).isValid());
    }

    void folderPanel()
    {
        auto db = test::newCatalogue(m_tmp.path());
        QVERIFY(db);
        int id = 0;
        for (const char *p : { "C:\\Docs\\2024", "C:\\Docs", "D:\\O'Neil", "C:\\Docs2", "C:\\Docs\\2024\\写真" })
            QVERIFY(db->insertRow(catalog::kPathNameTable, { ++id, QString::fromUtf8(p) }));
        FolderPanel fg;
        QCOMPARE(fg.objectName(), QStringLiteral("fg"));
        fg.fillRegisteredFolders(db.get());
        // Depth first: a registered folder inside another sits under it; every node is the full path.
        QCOMPARE(fg.folderPaths(),
            QStringList({ QStringLiteral("C:\\Docs"), QStringLiteral("C:\\Docs\\2024"),
                QStringLiteral("C:\\Docs\\2024\\写真"), QStringLiteral("C:\\Docs2"), QStringLiteral("D:\\O'Neil") }));
        QCOMPARE(fg.currentRow(), -1);

        QSignalSpy chosen(&fg, &FolderPanel::folderChosen);
        fg.setCurrentRow(4);
        QCOMPARE(chosen.size(), 1);
        QCOMPARE(chosen.at(0).at(1).toString(), QStringLiteral("D:\\O'Neil"));
        QVERIFY(fg.isOpenPicture(4));
        fg.setCurrentRow(1);
        QVERIFY(!fg.isOpenPicture(4));
        QVERIFY(fg.isOpenPicture(1));
        fg.setCurrentRow(1); // the same node again: no change, still open
        QCOMPARE(chosen.size(), 2);
        QVERIFY(fg.isOpenPicture(1));

        QVERIFY(fg.markFolder(QStringLiteral("C:\\Docs2")));
        QCOMPARE(chosen.size(), 2);
        QVERIFY(fg.isOpenPicture(3));
        QVERIFY(!fg.isOpenPicture(1));
        QVERIFY(!fg.markFolder(QStringLiteral("c:\\docs2")));

        // Left folds and Right unfolds the current node; neither chooses another folder.
        fg.setCurrentRow(0);
        const int before = int(chosen.size());
        const QModelIndex docs = fg.currentIndex();
        QVERIFY(fg.isExpanded(docs));
        QTest::keyClick(&fg, Qt::Key_Left);
        QTest::keyClick(&fg, Qt::Key_Left);
        QVERIFY(!fg.isExpanded(docs));
        QCOMPARE(fg.currentRow(), 0);
        QTest::keyClick(&fg, Qt::Key_Right);
        QTest::keyClick(&fg, Qt::Key_Right);
        QVERIFY(fg.isExpanded(docs));
        QCOMPARE(fg.currentRow(), 0);
        QCOMPARE(chosen.size(), before);

        fg.clearFolders();
        QCOMPARE(fg.folderCount(), 0);
    }

    void largeFolder()
    {
        // Ten thousand files list into one model reset, without a widget per cell.
        const QString dir = folder("large");
        for (int i = 0; i < 10000; ++i)
            QVERIFY(test::writeFile(dir + QStringLiteral("/file%1.txt").arg(i, 5, 10, QLatin1Char('0')), 0));
        FileListModel fr;
        FileListView view(&fr);
        view.resize(400, 300);
        view.show();
        QSignalSpy resets(&fr, &QAbstractItemModel::modelReset);
        QCOMPARE(ListFolderFiles(fr, dir), 10000);
        QCOMPARE(resets.size(), 1);
        QCOMPARE(fr.name(10000), QStringLiteral("file09999.txt"));
    }
};

QTEST_MAIN(TestFileList)
#include "tst_filelist.moc"

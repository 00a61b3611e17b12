// The main window, offscreen, with every dialog answered by the scripted prompter: start-up,
// the mode transitions driven by toolbar clicks and menu items, the catalogue commands on real
// files, the status bar, the text size, help and the splitter.
#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>

#include "../browser/testfolders.h"
#include "catalog/schema.h"
#include "form1harness.h"
#include "platform/jet/database.h"
#include "platform/utf8.h"
#include "shell/modes.h"
#include "shell/ui/form1.h"
#include "shell/ui/splitterhandle.h"
#include "support/scriptedprompter.h"

using namespace tolvane;
using namespace tolvane::shell;
using tolvane::test::clickTool;
using tolvane::test::ScriptedPrompter;

namespace {

const QString kTitle = QStringLiteral("Almaren Tolvane");
const QString kNotCatalog = QString::fromUtf8("Tolvane 用データベースを選択してください。");

QStringList split(const char *s)
{
    return QString::fromLatin1(s).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

using Harness = test::Form1Harness;

QStringList checkedSizes(Form1 &w)
{
    QStringList on;
    for (const char *n : { "m9", "m10", "m11", "m12", "m14", "m16" })
        if (w.menuItem(QString::fromLatin1(n))->isChecked())
            on << QString::fromLatin1(n);
    return on;
}

void dragSplitter(Form1 &w, const QPoint &globalTarget)
{
    auto *bar = w.findChild<SplitterHandle *>(QStringLiteral("picDrag"));
    QTest::mousePress(bar, Qt::LeftButton, {}, QPoint(1, 5));
    QTest::mouseRelease(bar, Qt::LeftButton, {}, bar->mapFromGlobal(globalTarget));
}

bool catalogueMenusEnabled(Form1 &w)
{
    for (const char *n : { "mRec", "mSearch", "mBinder", "mOpt" })
        if (!w.menuItem(QString::fromLatin1(n))->isEnabled())
            return false;
    return true;
}

} // namespace

class TestForm1 : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_folder; // a real folder with a few files
    int m_serial = 0;

    QString makeCatalogue(const QString &name = {})
    {
        return test::newCatalogueFile(m_dir.path(), name.isEmpty() ? QStringLiteral("cat%1").arg(++m_serial) : name);
    }

    // Rewrites the DBID table of a catalogue: no row when value is empty.
    bool setDbid(const QString &path, const QVariant &value)
    {
        auto db = jet::Database::open(path);
        if (!db)
            return false;
        QList<jet::RowId> ids;
        (*db)->scan(catalog::kDbidTable, [&](jet::RowId id, const jet::Row &) {
            ids << id;
            return true;
        });
        for (const auto &id : ids)
            if (!(*db)->deleteRow(catalog::kDbidTable, id))
                return false;
        return !value.isValid() || (*db)->insertRow(catalog::kDbidTable, { value }).isOk();
    }

    bool openThroughToolbar(Harness &h, const QString &path)
    {
        h.prompter.planOpenFile(path);
        return clickTool(*h.w, QStringLiteral("DBopen"));
    }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QLocale::setDefault(QLocale(QLocale::Japanese, QLocale::Japan));
        QVERIFY(m_dir.isValid());
        m_folder = m_dir.filePath(QStringLiteral("書類"));
        QVERIFY(QDir().mkpath(m_folder));
        for (const char *name : { "a.txt", "b.txt" }) {
            QFile f(QDir(m_folder).filePath(QString::fromLatin1(name)));
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("text\n");
        }
    }

    void startUp()
    {
        Harness h;
        Form1 &w = *h.w;
        QCOMPARE(w.windowTitle(), kTitle);
        QCOMPARE(w.width(), w.twipsToPixels(16000));
        QCOMPARE(w.height(), w.twipsToPixels(9000));
        QCOMPARE(w.mode(), Mode::Start);
        QCOMPARE(w.helpContextId(), 1000);
        QVERIFY(w.helpFile().endsWith(QStringLiteral("/manual/index.html")));
        QCOMPARE(w.statusPanelCount(), 2);
        QCOMPARE(w.statusPanelText(1), u("スタートモード"));
        QCOMPARE(
            w.statusPanelText(2), u("これから行う作業を、ボタン又はメニューから選択してください。　　ヘルプ：F1キー"));
        QCOMPARE(w.toolbarKeys(), split("ph1 StartShowFile DBopen"));
        QVERIFY(w.menuItem(QStringLiteral("mFileDBCreate"))->isEnabled());
        for (const char *n : { "mRec", "mSearch", "mBinder", "mOpt" })
            QVERIFY2(!w.menuItem(QString::fromLatin1(n))->isEnabled(), n);
        QCOMPARE(w.textFontSize(), 10);
        QCOMPARE(checkedSizes(w), QStringList { QStringLiteral("m10") });
        QVERIFY(!w.catalog().isOpen());
        QVERIFY(h.prompter.calls().isEmpty());

        // A placeholder's key or an unknown one does nothing.
        w.Toolbar_ButtonClick(QStringLiteral("ph1"));
        w.Toolbar_ButtonClick(QStringLiteral("NoSuchKey"));
        QCOMPARE(w.toolbarKeys(), split("ph1 StartShowFile DBopen"));
        QCOMPARE(w.statusPanelText(1), u("スタートモード"));

        // The text size, without a catalogue: one size checked at a time.
        for (int size : { 12, 9 }) {
            w.menuItem(QStringLiteral("m%1").arg(size))->trigger();
            QCOMPARE(w.textFontSize(), size);
            QCOMPARE(checkedSizes(w), QStringList { QStringLiteral("m%1").arg(size) });
        }
    }

    void menusCarryTheirCaptions()
    {
        Harness h;
        const QList<QPair<const char *, const char *>> items { { "mFile", "ファイル" },
            { "mFileDBOpen", "データベースを開く" }, { "mFileDBCreate", "データベース新規作成" },
            { "mFileCompact", "データベースの最適化" }, { "mFileRepair", "データベースの修復" },
            { "mFileExportList", "検索結果を書き出す" }, { "mFileQuit", "終了" }, { "mRec", "登録" },
            { "mRecFile", "登録" }, { "mSearch", "各種検索" }, { "mSearch1", "フォルダ検索" },
            { "mSearch2", "ファイル名検索" }, { "mSearch3", "分類検索" }, { "mSearch4", "期間検索" },
            { "mSearch5", "キーワード検索" }, { "mSearch7", "バインダ閲覧" }, { "mBinder", "バインダ" },
            { "mBinderFolder", "バインダ作成" }, { "mBinderDel", "バインダ削除" },
            { "mBinderRename", "バインダ名変更" }, { "mSort2", "バインダ並べ替え" },
            { "mSort3", "バインダ内ファイル並べ替え" }, { "mSort4", "バインダ内ファイル取り外し" },
            { "mOpt", "オプション" }, { "mAidCombo", "分類・コンボボックス項目編集" }, { "mOptSize", "文字サイズ" },
            { "m9", "9" }, { "m16", "16" }, { "mOptCol", "Column" }, { "mHelp", "ヘルプ" }, { "mHelpHelp", "ヘルプ" },
            { "mHelpReadMe", "ReadMe" }, { "mHelpVer", "バージョン情報" } };
        for (const auto &[name, caption] : items) {
            QAction *a = h.w->menuItem(QString::fromLatin1(name));
            QVERIFY2(a, name);
            QCOMPARE(a->text(), u(caption));
        }
        // Separators stand where the menus group their items.
        auto shape = [&](const char *menu) {
            QStringList s;
            const auto actions = h.w->findChild<QMenu *>(QString::fromLatin1(menu))->actions();
            for (const QAction *a : actions)
                s << (a->isSeparator() ? QStringLiteral("-") : a->objectName());
            return s;
        };
        QCOMPARE(shape("mFile"),
            split("mFileDBOpen - mFileDBCreate - mFileCompact mFileRepair - mFileExportList - mFileQuit"));
        QCOMPARE(shape("mSearch"), split("mSearch1 mSearch2 mSearch3 mSearch4 mSearch5 - mSearch7"));
        QCOMPARE(shape("mBinder"), split("mBinderFolder - mBinderDel mBinderRename mSort2 - mSort3 mSort4"));
        QCOMPARE(shape("mOpt"), split("mAidCombo - mOptSize mOptCol"));
        QCOMPARE(shape("mHelp"), split("mHelpHelp - mHelpReadMe mHelpVer"));
    }

    // The buttons of the start screen and of an open catalogue: caption, tool tip and picture.
    void toolbarButtonsAsShown()
    {
        Harness h;
        const auto check = [&](const char *key, const char *caption, const char *toolTip) {
            QToolButton *b = h.w->toolButton(QString::fromLatin1(key));
            QVERIFY2(b && b->isEnabled() && !b->icon().isNull(), key);
            QCOMPARE(b->text(), u(caption));
            QCOMPARE(b->toolTip(), u(toolTip));
        };
        check("StartShowFile", "DB不使用", "DBを使用せず、単にファイル内容を表示");
        check("DBopen", "DBオープン", "データベースをオープン");
        QCOMPARE(
            h.w->findChild<QToolBar *>(QStringLiteral("Toolbar"))->findChild<QWidget *>(QStringLiteral("ph1"))->width(),
            h.w->twipsToPixels(800));
        QVERIFY(openThroughToolbar(h, makeCatalogue()));
        check("BackToStart", "　　戻る　　", "スタートモードに戻る");
        check("DBrec", "DB登録", "ファイル情報をDBに登録");
        check("Search", "DB検索各種", "DBによる各種検索");
    }

    void transitions_data()
    {
        QTest::addColumn<bool>("withCatalogue");
        QTest::addColumn<QStringList>("steps"); // toolbar keys; "m:<item>" menu item; "open"; "viewer"
        QTest::addColumn<QStringList>("folders"); // answers of the folder dialog: "" cancel, "dir" the test folder
        QTest::addColumn<QStringList>("toolbar"); // empty: not checked
        QTest::addColumn<int>("modeNo");
        QTest::addColumn<QString>("panel1");
        QTest::addColumn<int>("panel2Code"); // status code whose panel 2 text is shown; -1: not checked
        QTest::addColumn<int>("help");

        const QStringList start = split("ph1 StartShowFile DBopen");
        const QStringList fileShow = split("ph1 BackToStart View");
        const QStringList dbUse = split("ph1 BackToStart DBrec Search");
        const QStringList menu = split("ph1 Back2DB DBsearch DBFiles DBClass DBDate DBKeyword BDRsearch");
        const QStringList seek = split("ph1 BackToSearch ph2 DurSeek FullTextSearchDB");
        const QStringList list = split("ph1 BackToSearch FullTextSearchDB");
        const QStringList binder = split("ph1 BackToINI up down del reg");
        const QString startText = u("スタートモード");

        QTest::newRow("start -> file show") << false << split("StartShowFile") << QStringList() << fileShow << 1
                                            << u("ファイル表示モード") << 1 << 10019;
        QTest::newRow("file show -> back to start")
            << false << split("StartShowFile BackToStart") << QStringList() << start << 1 << startText << 0 << 10019;
        QTest::newRow("file show, folder dialog cancelled")
            << false << split("StartShowFile View") << QStringList { QString() } << fileShow << 1
            << u("ファイル表示モード") << 1 << 10019;
        QTest::newRow("file show, viewer, back") << false << split("StartShowFile viewer BackTo") << QStringList()
                                                 << fileShow << 1 << u("ファイル表示モード") << 1 << 10019;
        QTest::newRow("open") << true << split("open") << QStringList() << dbUse << 0 << u("DB使用モード") << 11
                              << 10038;
        QTest::newRow("open keeps ModeNo") << true << split("StartShowFile BackToStart open") << QStringList() << dbUse
                                           << 1 << u("DB使用モード") << 11 << 10038;
        QTest::newRow("db -> back to start")
            << true << split("open BackToStart") << QStringList() << start << 0 << startText << 0 << 10038;
        QTest::newRow("db -> search menu")
            << true << split("open Search") << QStringList() << menu << 0 << u("各種検索モード") << 4 << 10038;
        QTest::newRow("search menu -> db")
            << true << split("open Search Back2DB") << QStringList() << dbUse << 0 << u("DB使用モード") << 11 << 10038;
        QTest::newRow("file-name search") << true << split("open Search DBFiles") << QStringList() << seek << 10
                                          << u("ファイル検索モード") << 6 << 10022;
        QTest::newRow("class search") << true << split("open Search DBClass") << QStringList() << seek << 7
                                      << u("分類検索モード") << 7 << 10006;
        QTest::newRow("period search") << true << split("open Search DBDate") << QStringList() << seek << 6
                                       << u("期間検索モード") << 8 << 10007;
        QTest::newRow("keyword search") << true << split("open Search DBKeyword") << QStringList() << seek << 8
                                        << u("キーワード検索モード") << 9 << 10008;
        QTest::newRow("search -> back to search menu")
            << true << split("open Search DBKeyword BackToSearch") << QStringList() << menu << 0 << u("各種検索モード")
            << 4 << 10008;
        QTest::newRow("keyword record -> back to list")
            << true << split("open Search DBKeyword viewer BackTo") << QStringList() << seek << 8
            << u("キーワード検索モード") << 51 << 10008;
        QTest::newRow("folder search cancelled") << true << split("open Search DBsearch") << QStringList { QString() }
                                                 << menu << 3 << u("フォルダ検索モード") << 5 << 10038;
        QTest::newRow("folder search") << true << split("open Search DBsearch") << QStringList { QStringLiteral("dir") }
                                       << list << 3 << u("フォルダ検索モード") << -1 << 10005;
        QTest::newRow("folder record -> back to list")
            << true << split("open Search DBsearch viewer BackTo") << QStringList { QStringLiteral("dir") } << list << 3
            << u("フォルダ検索モード") << 51 << 10005;
        QTest::newRow("binder browse") << true << split("open Search BDRsearch") << QStringList() << binder << 5
                                       << u("バインダ閲覧モード") << 106 << 10010;
        QTest::newRow("db register, folder chosen")
            << true << split("open DBrec") << QStringList { QStringLiteral("dir") } << QStringList() << 2
            << u("DB登録モード") << -1 << 10019;
        QTest::newRow("db register, cancelled") << true << split("open DBrec") << QStringList { QString() } << dbUse
                                                << 2 << u("DB登録モード") << 1 << 10019;
        QTest::newRow("menu: record") << true << split("open m:mRecFile") << QStringList()
                                      << split("ph1 BackToINI DBrec") << 2 << u("登録モード") << 2 << 10018;
        QTest::newRow("record -> back to start")
            << true << split("open m:mRecFile BackToINI") << QStringList() << fileShow << 0 << startText << 0 << 10018;
        QTest::newRow("record, viewer, back") << true << split("open m:mRecFile viewer BackTo") << QStringList()
                                              << dbUse << 2 << u("ファイル表示モード") << 1 << 10019;
        QTest::newRow("menu: file-name search")
            << true << split("open m:mSearch2") << QStringList() << seek << 10 << u("ファイル検索モード") << 6 << 10022;
        QTest::newRow("menu: period search")
            << true << split("open m:mSearch4") << QStringList() << seek << 6 << u("期間検索モード") << 8 << 10007;
        QTest::newRow("menu: binder browse")
            << true << split("open m:mSearch7") << QStringList() << split("ph1 BackToINI up down del reg") << 5
            << u("バインダ閲覧モード") << 106 << 10010;
        QTest::newRow("menu: binder create") << true << split("open m:mBinderFolder") << QStringList() << binder << 0
                                             << u("バインダ作成モード") << 101 << 10014;
        QTest::newRow("menu: binder delete") << true << split("open m:mBinderDel") << QStringList() << binder << 0
                                             << u("バインダ削除モード") << 102 << 10023;
        QTest::newRow("menu: binder rename") << true << split("open m:mBinderRename") << QStringList() << binder << 0
                                             << u("バインダ名変更モード") << 103 << 10024;
        QTest::newRow("menu: binder order") << true << split("open m:mSort2") << QStringList() << binder << 0
                                            << u("バインダ並べ替えモード") << 104 << 10017;
        QTest::newRow("binder maintenance -> back")
            << true << split("open m:mSort2 BackToINI") << QStringList() << fileShow << 0 << startText << 0 << 10017;
        QTest::newRow("menu: file order") << true << split("open m:mSort3") << QStringList() << binder << 5
                                          << u("ファイル並べ替えモード") << 100 << 10016;
        QTest::newRow("menu: detach") << true << split("open m:mSort4") << QStringList() << binder << 5
                                      << u("ファイル取り外しモード") << 105 << 10026;
    }

    void transitions()
    {
        QFETCH(bool, withCatalogue);
        QFETCH(QStringList, steps);
        QFETCH(QStringList, folders);
        QFETCH(QStringList, toolbar);
        QFETCH(int, modeNo);
        QFETCH(QString, panel1);
        QFETCH(int, panel2Code);
        QFETCH(int, help);

        Harness h;
        Form1 &w = *h.w;
        const QString path = withCatalogue ? makeCatalogue() : QString();
        for (const QString &f : folders)
            h.prompter.planFolder(f == QStringLiteral("dir") ? m_folder : f);
        // Creating a binder opens the name form at once; here it is cancelled.
        if (steps.contains(QStringLiteral("m:mBinderFolder")))
            h.prompter.planText(QString(), false);
        bool fromViewer = false;
        for (const QString &step : steps) {
            if (step == QStringLiteral("open")) {
                QVERIFY(openThroughToolbar(h, path));
            } else if (step.startsWith(QStringLiteral("m:"))) {
                QAction *a = w.menuItem(step.mid(2));
                QVERIFY2(a && a->isEnabled(), qPrintable(step));
                a->trigger();
            } else if (step == QStringLiteral("viewer")) {
                // A file shown from the current list: the next key comes from the viewer's buttons.
                fromViewer = true;
            } else if (fromViewer) {
                fromViewer = false;
                w.Toolbar_ButtonClick(step);
            } else {
                QVERIFY(clickTool(w, step));
            }
        }
        if (!toolbar.isEmpty())
            QCOMPARE(w.toolbarKeys(), toolbar);
        QCOMPARE(int(w.mode()), modeNo);
        if (!panel1.isNull())
            QCOMPARE(w.statusPanelText(1), panel1);
        if (panel2Code >= 0)
            QCOMPARE(w.statusPanelText(2), *statusTexts(ModeStatus(panel2Code)).panel2);
        QCOMPARE(w.helpContextId(), help);
        // The state shows its own widgets and nothing left from an earlier one.
        QVERIFY2(test::tableMismatch(w).isEmpty(), qPrintable(test::tableMismatch(w)));
        // Only an open changes the menus; nothing closes the catalogue.
        QCOMPARE(catalogueMenusEnabled(w), withCatalogue);
        QCOMPARE(w.catalog().isOpen(), withCatalogue);
        // The folder dialog starts from the folder chosen last.
        if (folders.contains(QStringLiteral("dir")) || folders.contains(QString())) {
            h.prompter.planFolder(QString());
            if (withCatalogue)
                w.EnterFolderSearchMode();
            else
                w.Toolbar_ButtonClick(QStringLiteral("View"));
            const QString start = h.prompter.calls().last().text;
            if (folders.contains(QStringLiteral("dir")))
                QCOMPARE(start, QDir::toNativeSeparators(m_folder));
            else
                QVERIFY(start.isEmpty());
        }
    }

    void createThenOpen_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::newRow("with extension") << QStringLiteral("書類.mdb");
        QTest::newRow("without extension") << QStringLiteral("書類2");
    }

    void createThenOpen()
    {
        QFETCH(QString, typed);
        Harness h;
        Form1 &w = *h.w;
        const QString chosen = m_dir.filePath(QStringLiteral("new-%1/").arg(++m_serial));
        QVERIFY(QDir().mkpath(chosen));
        h.prompter.planSaveFile(chosen + typed);
        w.menuItem(QStringLiteral("mFileDBCreate"))->trigger();

        QString base = chosen + typed;
        if (base.endsWith(QStringLiteral(".mdb")))
            base.chop(4);
        QCOMPARE(h.prompter.calls().size(), 2);
        QCOMPARE(h.prompter.calls()[0].kind, QStringLiteral("saveFile"));
        QCOMPARE(h.prompter.calls()[0].title, u("データベース新規作成"));
        QVERIFY(h.prompter.calls()[0].text.contains(QStringLiteral("*.mdb")));
        const auto &done = h.prompter.lastMessage();
        QCOMPARE(done.title, kTitle);
        QCOMPARE(done.icon, Prompter::Icon::Information);
        QCOMPARE(done.text,
            base + u(".mdb が使えるようになりました。") + QStringLiteral("\r\n")
                + u("DBオープンボタンで使用開始します。"));
        QVERIFY(QFileInfo::exists(base + QStringLiteral(".mdb")));
        QCOMPARE(w.catalog().CatalogPath, base);
        QCOMPARE(w.catalog().CatalogName, QFileInfo(base).fileName());
        // Creating does not open, nor change the mode.
        QVERIFY(!w.catalog().isOpen());
        QCOMPARE(w.toolbarKeys(), split("ph1 StartShowFile DBopen"));
        QCOMPARE(w.windowTitle(), kTitle);

        h.prompter.clear();
        QVERIFY(openThroughToolbar(h, base + QStringLiteral(".mdb")));
        QCOMPARE(h.prompter.calls().size(), 1);
        QCOMPARE(h.prompter.calls()[0].title, u("データベースオープン"));
        QVERIFY(w.catalog().isOpen());
        QCOMPARE(w.catalog().CatalogMark, 11);
        QCOMPARE(w.windowTitle(), QFileInfo(base).fileName());
        QCOMPARE(w.toolbarKeys(), split("ph1 BackToStart DBrec Search"));
        QVERIFY(!w.menuItem(QStringLiteral("mFileDBCreate"))->isEnabled());
        QVERIFY(catalogueMenusEnabled(w));
        QCOMPARE(w.statusPanelText(1), u("DB使用モード"));
        QCOMPARE(w.helpContextId(), 10038);

        // Opening the same file again works: the first connection is closed first.
        h.prompter.planOpenFile(base + QStringLiteral(".mdb"));
        w.menuItem(QStringLiteral("mFileDBOpen"))->trigger();
        QVERIFY(w.catalog().isOpen());
        QCOMPARE(w.catalog().CatalogMark, 11);

        // Cancelling a later open leaves no catalogue connected, the window as it was.
        h.prompter.planOpenFile(QString());
        w.menuItem(QStringLiteral("mFileDBOpen"))->trigger();
        QVERIFY(!w.catalog().isOpen());
        QCOMPARE(w.toolbarKeys(), split("ph1 BackToStart DBrec Search"));

        // Closing the window closes the catalogue.
        h.prompter.planOpenFile(base + QStringLiteral(".mdb"));
        w.menuItem(QStringLiteral("mFileDBOpen"))->trigger();
        QVERIFY(w.catalog().isOpen());
        w.menuItem(QStringLiteral("mFileQuit"))->trigger();
        QVERIFY(!w.catalog().isOpen());
    }

    void createNeverOverwritesAndCancelDoesNothing()
    {
        Harness h;
        h.prompter.planSaveFile(QString());
        h.w->menuItem(QStringLiteral("mFileDBCreate"))->trigger();
        QVERIFY(h.prompter.messages().isEmpty());

        const QString existing = m_dir.filePath(QStringLiteral("keep.mdb"));
        QFile f(existing);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("precious");
        f.close();
        h.prompter.planSaveFile(existing);
        h.w->menuItem(QStringLiteral("mFileDBCreate"))->trigger();
        const auto &m = h.prompter.lastMessage();
        QCOMPARE(m.text, u("データベース作成に失敗しました。"));
        QCOMPARE(m.icon, Prompter::Icon::Critical);
        QCOMPARE(m.title, kTitle);
        QVERIFY(f.open(QIODevice::ReadOnly));
        QCOMPARE(f.readAll(), QByteArray("precious"));

        // A name whose bytes could not be read (shown with U+FFFD) would be created under other
        // bytes: refused.
        const QString garbled = m_dir.filePath(QStringLiteral("caf\uFFFD"));
        h.prompter.planSaveFile(garbled);
        h.w->menuItem(QStringLiteral("mFileDBCreate"))->trigger();
        QCOMPARE(h.prompter.lastMessage().icon, Prompter::Icon::Critical);
        QVERIFY(h.prompter.lastMessage().text.startsWith(u("ファイル名に読み取れない文字が含まれています。")));
        QVERIFY(!QFile::exists(garbled + QStringLiteral(".mdb")));
    }

    void refusals_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("refusal"); // after the file's name; empty: the catalogue refusal
        QTest::newRow("not a database") << "text" << u("はデータベースファイルではないため、開けません。");
        QTest::newRow("empty file") << "empty" << u("は空のファイルです。　データベースとして開けません。");
        QTest::newRow("database without DBID") << "noDbid" << QString();
        QTest::newRow("empty DBID") << "emptyDbid" << QString();
        QTest::newRow("foreign DBID value") << "dbid5" << QString();
    }

    void refusals()
    {
        QFETCH(QString, kind);
        QFETCH(QString, refusal);
        QString path;
        if (kind == QStringLiteral("text") || kind == QStringLiteral("empty")) {
            path = m_dir.filePath(kind + QStringLiteral("メモ.mdb"));
            QFile f(path);
            QVERIFY(f.open(QIODevice::WriteOnly));
            if (kind == QStringLiteral("text"))
                f.write("This is not a database, just some words.\n");
        } else if (kind == QStringLiteral("noDbid")) {
            path = m_dir.filePath(QStringLiteral("other%1.mdb").arg(++m_serial));
            QVERIFY(jet::Database::create(
                path, { { QStringLiteral("Things"), { { QStringLiteral("id"), jet::ColumnType::Long, 0 } } } }));
        } else {
            path = makeCatalogue();
            QVERIFY(setDbid(path, kind == QStringLiteral("dbid5") ? QVariant(5) : QVariant()));
        }
        Harness h;
        Form1 &w = *h.w;
        QVERIFY(openThroughToolbar(h, path));
        QCOMPARE(h.prompter.messages().size(), 1);
        const auto &m = h.prompter.lastMessage();
        QCOMPARE(m.text,
            refusal.isEmpty() ? kNotCatalog : QStringLiteral("「%1」").arg(QDir::toNativeSeparators(path)) + refusal);
        QCOMPARE(m.icon, Prompter::Icon::Critical);
        QCOMPARE(m.buttons, Prompter::Buttons::Ok);
        QCOMPARE(m.title, kTitle);
        // Nothing of the window changes.
        QCOMPARE(w.toolbarKeys(), split("ph1 StartShowFile DBopen"));
        QCOMPARE(w.windowTitle(), kTitle);
        QCOMPARE(w.statusPanelText(1), u("スタートモード"));
        QVERIFY(!catalogueMenusEnabled(w));
        QCOMPARE(w.helpContextId(), 1000);
    }

    void archiveCatalogue()
    {
        const QString path = makeCatalogue(QStringLiteral("保存"));
        QVERIFY(!path.isEmpty());
        QVERIFY(setDbid(path, -11));
        Harness h;
        Form1 &w = *h.w;
        QVERIFY(openThroughToolbar(h, path));
        QCOMPARE(w.catalog().CatalogMark, -11);
        QVERIFY(w.catalog().isArchive());
        QVERIFY(w.catalog().db()->isReadOnly());
        QCOMPARE(w.windowTitle(), u("保存 （保存版）"));
        QCOMPARE(w.toolbarKeys(), split("ph1 BackToStart DBrec Search"));
        QVERIFY(!w.toolButton(QStringLiteral("DBrec"))->isEnabled());
        QVERIFY(w.toolButton(QStringLiteral("Search"))->isEnabled());
        // Menus and status bar stay as they were.
        QVERIFY(w.menuItem(QStringLiteral("mFileDBCreate"))->isEnabled());
        QVERIFY(!catalogueMenusEnabled(w));
        QCOMPARE(w.statusPanelText(1), u("スタートモード"));
        QCOMPARE(w.helpContextId(), 10038); // the viewer's buttons in an archive: tst_toolbarlayouts
    }

    // A catalogue another program holds, or one found damaged, opens read-only and says why.
    void opensReadOnly_data()
    {
        QTest::addColumn<bool>("damaged");
        QTest::addColumn<int>("icon");
        QTest::addColumn<QString>("said");
        QTest::newRow("in use elsewhere")
            << false << int(Prompter::Icon::Warning) << u("データベースは読み取り専用で開かれました。");
        QTest::newRow("damaged") << true << int(Prompter::Icon::Critical)
                                 << u("データベースが損傷しているため、読み取り専用で開きました。");
    }

    void opensReadOnly()
    {
        QFETCH(bool, damaged);
        QFETCH(int, icon);
        QFETCH(QString, said);
        const QString path = makeCatalogue();
        QFile other(damaged ? path : path.left(path.size() - 4) + QStringLiteral(".ldb"));
        QVERIFY(other.open(QIODevice::ReadWrite));
        if (damaged)
            QVERIFY(other.resize(other.size() + 100)); // a partial page at the end
        other.close();
        Harness h;
        QVERIFY(openThroughToolbar(h, path));
        QVERIFY(h.w->catalog().db()->isReadOnly());
        QCOMPARE(h.prompter.messages().size(), 1);
        QCOMPARE(int(h.prompter.lastMessage().icon), icon);
        const QString text = h.prompter.lastMessage().text;
        QVERIFY2(text.startsWith(said), qPrintable(text));
        QVERIFY(
            text.contains(damaged ? u("ページの途中で終わっています") : QDir::toNativeSeparators(other.fileName())));
        QCOMPARE(h.w->toolbarKeys(), split("ph1 BackToStart DBrec Search"));
        if (!damaged)
            QFile::remove(other.fileName());
    }

    void compactAndRepairFromTheFileMenu()
    {
        const QString path = makeCatalogue(QStringLiteral("最適化"));
        QVERIFY(!path.isEmpty());
        {
            // Rows registered and then deleted leave room that compaction gives back.
            auto db = jet::Database::open(path);
            QVERIFY(db);
            QVERIFY((*db)->beginTransaction());
            QList<jet::RowId> ids;
            for (int i = 0; i < 2000; ++i)
                ids << *(*db)->insertRow(catalog::kFileAtrTable,
                    { QString(), QStringLiteral("%1.txt").arg(i, 100, 10, QLatin1Char('0')), QVariant(), QString(), 1,
                        0, QString() });
            for (int i = 0; i < 1900; ++i)
                QVERIFY((*db)->deleteRow(catalog::kFileAtrTable, ids[i]));
            QVERIFY((*db)->commit());
        }
        const qint64 before = QFileInfo(path).size();
        Harness h;
        Form1 &w = *h.w;
        QVERIFY(openThroughToolbar(h, path));

        // Declined: nothing happens, the catalogue stays open.
        h.prompter.planAnswer(Prompter::Answer::No);
        w.menuItem(QStringLiteral("mFileCompact"))->trigger();
        QVERIFY(w.catalog().isOpen());
        QCOMPARE(QFileInfo(path).size(), before);

        // Another connection has the file open: refused, and the window's catalogue is back.
        auto other = jet::Database::open(path, jet::Database::OpenMode::ReadOnly);
        QVERIFY(other);
        h.prompter.planAnswer(Prompter::Answer::Yes);
        w.menuItem(QStringLiteral("mFileCompact"))->trigger();
        QCOMPARE(h.prompter.lastMessage().icon, Prompter::Icon::Warning);
        QVERIFY(h.prompter.lastMessage().text.contains(u("ほかの接続がこのカタログを開いている")));
        QVERIFY(w.catalog().isOpen());
        other->reset();

        h.prompter.planAnswer(Prompter::Answer::Yes);
        w.menuItem(QStringLiteral("mFileCompact"))->trigger();
        QVERIFY2(h.prompter.lastMessage().text.startsWith(u("データベースの最適化が終わりました。")),
            qPrintable(h.prompter.lastMessage().text));
        QVERIFY(QFileInfo(path).size() < before / 2);
        QVERIFY(w.catalog().isOpen() && !w.catalog().db()->isReadOnly());
        QCOMPARE(w.catalog().db()->tableInfo(catalog::kFileAtrTable)->rowCount, 100);
        QCOMPARE(w.toolbarKeys(), split("ph1 BackToStart DBrec Search"));
        QVERIFY(catalogueMenusEnabled(w));

        // Repair of a copy cut short: the rows before the cut come back, the copy stays as it is.
        const QString damaged = m_dir.filePath(QStringLiteral("壊れた.mdb"));
        QFile::remove(damaged);
        QVERIFY(QFile::copy(path, damaged));
        QVERIFY(QFile::resize(damaged, QFileInfo(damaged).size() - 4096 - 100));
        const QByteArray bytes = test::bytesOf(damaged);
        h.prompter.planOpenFile(damaged);
        w.menuItem(QStringLiteral("mFileRepair"))->trigger();
        const QString report = h.prompter.lastMessage().text;
        QVERIFY2(report.contains(u("FILE_ATR：")) && report.contains(u("行を救出")), qPrintable(report));
        QVERIFY(QFile::exists(m_dir.filePath(QStringLiteral("壊れた_修復.mdb"))));
        QCOMPARE(test::bytesOf(damaged), bytes);

        // Repair of the catalogue in use: the window lets go of it for the repair, which needs
        // the file to itself, and has it open again afterwards.
        h.prompter.planOpenFile(path);
        w.menuItem(QStringLiteral("mFileRepair"))->trigger();
        QVERIFY2(h.prompter.lastMessage().text.contains(u("FILE_ATR：100 行を救出、0 行を失いました。")),
            qPrintable(h.prompter.lastMessage().text));
        QVERIFY(QFile::exists(m_dir.filePath(QStringLiteral("最適化_修復.mdb"))));
        QVERIFY(w.catalog().isOpen() && !w.catalog().db()->isReadOnly());
        QCOMPARE(w.toolbarKeys(), split("ph1 BackToStart DBrec Search"));
    }

    void statusBarForms()
    {
        Harness h;
        Form1 &w = *h.w;
        // A shown file: three panels, the folder in the middle one.
        h.prompter.planFolder(m_folder);
        QVERIFY(clickTool(w, QStringLiteral("StartShowFile")));
        QVERIFY(clickTool(w, QStringLiteral("View")));
        QCOMPARE(w.statusPanelCount(), 3);
        QCOMPARE(w.statusPanelText(1), u("ファイル表示モード"));
        QCOMPARE(w.statusPanelText(2), QDir::toNativeSeparators(m_folder));
        QCOMPARE(w.statusPanelText(3), u("「次へ」「戻る」ボタンでファイルを次々と表示します。　ヘルプ：F1キー"));

        // Back to the folder screen: two panels again, the first of its fixed width.
        w.Toolbar_ButtonClick(QStringLiteral("BackTo"));
        QCOMPARE(w.statusPanelCount(), 2);
        QCOMPARE(w.statusPanelText(1), u("ファイル表示モード"));
        QCOMPARE(w.findChild<QLabel *>(QStringLiteral("Panel1"))->width(), w.twipsToPixels(2000));

        // An empty folder chosen: panel 2 says so.
        const QString empty = m_dir.filePath(QStringLiteral("空"));
        QVERIFY(QDir().mkpath(empty));
        h.prompter.planFolder(empty);
        QVERIFY(clickTool(w, QStringLiteral("View")));
        QCOMPARE(w.statusPanelText(2),
            u("フォルダ「%1」にはファイルがありません。　別のフォルダを選択してください。　ヘルプ：F1キー")
                .arg(QDir::toNativeSeparators(empty)));
    }

    void versionDialog()
    {
        Harness h;
        // The dialog itself is checked in tst_frmabout; here the menu item opens it, modal.
        QString caption;
        QTimer::singleShot(0, this, [&] {
            if (auto *dlg = qobject_cast<QDialog *>(QApplication::activeModalWidget())) {
                caption = dlg->windowTitle();
                dlg->close();
            }
        });
        h.w->menuItem(QStringLiteral("mHelpVer"))->trigger();
        QCOMPARE(caption, u("Almaren Tolvaneのﾊﾞｰｼﾞｮﾝ情報"));
    }

    void resizingReArrangesThePanes()
    {
        Harness h;
        Form1 &w = *h.w;
        const QString path = makeCatalogue();
        QVERIFY(openThroughToolbar(h, path));
        w.menuItem(QStringLiteral("mSearch2"))->trigger();
        QCOMPARE(w.layoutState(), LayoutState::SearchPanel);
        QWidget *fs = w.findChild<QWidget *>(QStringLiteral("fs"));
        QWidget *fg = w.findChild<QWidget *>(QStringLiteral("fg"));
        QWidget *area = w.centralWidget();
        // The result list spans the frame, less the margins, whatever the window's width.
        for (int width : { 900, 1300 }) {
            w.resize(width, 700);
            QCoreApplication::processEvents();
            QCOMPARE(fs->width(), area->width() - w.twipsToPixels(200));
            QCOMPARE(fs->x(), w.twipsToPixels(50));
        }
        // In the lists arrangement the right area follows the folder panel.
        w.Toolbar_ButtonClick(QStringLiteral("BackToSearch"));
        w.resize(1000, 700);
        QCoreApplication::processEvents();
        QCOMPARE(fs->x(), fg->x() + fg->width() + 4);
        QCOMPARE(fs->x() + fs->width(), area->width() - w.twipsToPixels(200));
    }

    void closingTheMainWindowClosesTheOthers()
    {
        Harness h;
        QWidget other;
        other.show();
        h.w->close();
        QVERIFY(!other.isVisible());
    }

    void splitterWidthOfTheSlipIsBounded_data()
    {
        QTest::addColumn<int>("dropX");
        QTest::addColumn<int>("width");
        QTest::newRow("too narrow") << 1500 << 2000;
        QTest::newRow("within") << 3000 << 3000;
    }

    void splitterWidthOfTheSlipIsBounded()
    {
        QFETCH(int, dropX);
        QFETCH(int, width);
        Harness h;
        Form1 &w = *h.w;
        // A registered file's record: registration of the test folder, a file-name search, a
        // click on the first row.
        QVERIFY(openThroughToolbar(h, makeCatalogue()));
        h.prompter.planFolder(m_folder);
        QVERIFY(clickTool(w, QStringLiteral("DBrec")));
        h.prompter.planAnswer(Prompter::Answer::Yes);
        QVERIFY(clickTool(w, QStringLiteral("RecAll")));
        w.menuItem(QStringLiteral("mSearch2"))->trigger();
        QTest::keyClicks(w.findChild<QLineEdit *>(QStringLiteral("Text1(0)")), QStringLiteral("%"));
        QVERIFY(clickTool(w, QStringLiteral("DurSeek")));
        auto *fs = w.findChild<QTableView *>(QStringLiteral("fs"));
        QTest::mouseClick(fs->viewport(), Qt::LeftButton, {}, fs->visualRect(fs->model()->index(0, 1)).center());
        QCOMPARE(w.layoutState(), LayoutState::RecordShown);

        QWidget *fg2 = w.findChild<QWidget *>(QStringLiteral("fg2"));
        QWidget *vs = w.findChild<QWidget *>(QStringLiteral("vs"));
        QVERIFY(fg2->isVisible());
        dragSplitter(w, fg2->mapToGlobal(QPoint(w.twipsToPixels(dropX), fg2->height() / 2)));
        QCOMPARE(fg2->width(), w.twipsToPixels(width));
        QCOMPARE(vs->width(), w.twipsToPixels(width));
        QCOMPARE(w.findChild<QWidget *>(QStringLiteral("picDrag"))->x(), fg2->x() + fg2->width());
    }

    void splitterDroppedOnTheListWidensTheFolderPanel()
    {
        Harness h;
        Form1 &w = *h.w;
        // The folder search: folder panel and result list side by side.
        QVERIFY(openThroughToolbar(h, makeCatalogue()));
        h.prompter.planFolder(m_folder);
        w.menuItem(QStringLiteral("mSearch1"))->trigger();
        QCOMPARE(w.layoutState(), LayoutState::Lists);
        QWidget *fg = w.findChild<QWidget *>(QStringLiteral("fg"));
        QWidget *fs = w.findChild<QWidget *>(QStringLiteral("fs"));
        QVERIFY(fs->isVisible());
        const int before = fg->width();
        const int dropX = 120;
        dragSplitter(w, fs->mapToGlobal(QPoint(dropX, fs->height() / 2)));
        // left of fg + width of fg + the drop point in the list
        QCOMPARE(fg->width(), w.twipsToPixels(50) + before + dropX);
        QCOMPARE(fs->x(), fg->x() + fg->width() + 4);
        QCOMPARE(w.findChild<QWidget *>(QStringLiteral("picDrag"))->x(), fg->x() + fg->width());
    }
};

QTEST_MAIN(TestForm1)
#include "tst_form1.moc"

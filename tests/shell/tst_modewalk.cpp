// A user's walk through every mode of the main window, in one run: files shown, registered,
// found by each search, opened and left again, binders browsed and maintained. After every step
// the window is still its starting size and shows exactly the widgets its state's table names.
// Runs offscreen, and under a real X server (with a window manager where one is installed) from
// the test command; with TOLVANE_WALK_SHOTS set to a folder, each step is saved there as a PNG.
#include <functional>

#include <QAbstractItemView>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>

#include "../browser/testfolders.h"
#include "form1harness.h"
#include "platform/utf8.h"
#include "shell/panes.h"

using namespace tolvane;
using namespace tolvane::shell;
using tolvane::test::clickTool;

namespace {

void clickRow(QAbstractItemView *view, int row)
{
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(view->model()->index(row, 1)).center());
}

} // namespace

class TestModeWalk : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyModeShowsItsOwnWidgetsAndTheWindowKeepsItsSize()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString folder = dir.filePath(QStringLiteral("書類"));
        QVERIFY(QDir().mkpath(folder));
        for (const char *name : { "議事録.txt", "見積.txt" }) {
            QFile f(QDir(folder).filePath(QString::fromUtf8(name)));
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("text\n");
        }
        QImage photo(64, 48, QImage::Format_RGB32);
        photo.fill(Qt::darkCyan);
        QVERIFY(photo.save(QDir(folder).filePath(QStringLiteral("現場.png"))));
        const QString catalogue = test::newCatalogueFile(dir.path(), QStringLiteral("walk"));
        QVERIFY(!catalogue.isEmpty());

        test::Form1Harness h;
        Form1 &w = *h.w;
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        QTest::qWait(200); // a window manager places and decorates the window
        const QSize size = w.size();
        const QString shots = qEnvironmentVariable("TOLVANE_WALK_SHOTS");
        auto *fr = w.findChild<QAbstractItemView *>(QStringLiteral("fr"));
        auto *fs = w.findChild<QAbstractItemView *>(QStringLiteral("fs"));
        auto *word = w.findChild<QLineEdit *>(QStringLiteral("Text1(0)"));

        int n = 0;
        auto step = [&](const char *what, const std::function<bool()> &act) {
            const bool done = act();
            QCoreApplication::processEvents();
            QTest::qWait(20);
            if (!shots.isEmpty())
                w.grab().save(QDir(shots).filePath(
                    QStringLiteral("%1-%2.png").arg(++n, 2, 10, QLatin1Char('0')).arg(QString::fromLatin1(what))));
            const QString mismatch = test::tableMismatch(w);
            if (!done || !mismatch.isEmpty() || w.size() != size)
                return QString::fromLatin1("%1: %2 %3 (%4x%5, was %6x%7)")
                    .arg(QString::fromLatin1(what), done ? QString() : QStringLiteral("could not be done;"), mismatch)
                    .arg(w.width())
                    .arg(w.height())
                    .arg(size.width())
                    .arg(size.height());
            return QString();
        };
        auto tool = [&](const char *key) { return [&w, key] { return clickTool(w, key); }; };
        auto menu = [&](const char *name) {
            return [&w, name] {
                QAction *a = w.menuItem(QString::fromLatin1(name));
                if (!a || !a->isEnabled())
                    return false;
                a->trigger();
                return true;
            };
        };
        auto folderThen = [&](const char *key) {
            return [&h, &w, folder, key] {
                h.prompter.planFolder(folder);
                return clickTool(w, key);
            };
        };
        auto search = [&](const char *item, const QString &text) {
            return [&w, word, item, text, menu] {
                if (!menu(item)())
                    return false;
                if (!text.isNull()) {
                    word->selectAll();
                    QTest::keyClicks(word, text);
                }
                return clickTool(w, "DurSeek");
            };
        };
        auto rowOf = [&](QAbstractItemView *view, int row) {
            return [view, row] {
                if (!view->isVisible() || view->model()->rowCount() <= row)
                    return false;
                clickRow(view, row);
                return true;
            };
        };

        const std::pair<const char *, std::function<bool()>> walk[] = {
            { "start", [] { return true; } },
            { "file-show", tool("StartShowFile") },
            { "folder-listed", folderThen("View") },
            { "file-clicked", rowOf(fr, 2) },
            { "file-clicked-again", rowOf(fr, 1) },
            { "next", tool("Next") },
            { "back-to-list", tool("BackTo") },
            { "back-to-start", tool("BackToStart") },
            { "catalogue-opened",
                [&] {
                    h.prompter.planOpenFile(catalogue);
                    return clickTool(w, "DBopen");
                } },
            { "register-folder", folderThen("DBrec") },
            { "register-all",
                [&] {
                    h.prompter.planAnswer(Prompter::Answer::Yes);
                    return clickTool(w, "RecAll");
                } },
            { "register-back", tool("BackTo") },
            { "search-menu", tool("Search") },
            { "folder-search", folderThen("DBsearch") },
            { "folder-search-record", rowOf(fs, 0) },
            { "folder-search-back", tool("BackTo") },
            // Registration straight after a folder search: its narrowing box must not follow.
            { "record-after-folder-search", menu("mRecFile") },
            { "record-folder", folderThen("DBrec") },
            { "record-next", tool("Next") },
            { "record-back", tool("BackTo") },
            { "search-menu-again", tool("Search") },
            { "back-to-db", tool("Back2DB") },
            { "register-after-search",
                [&] {
                    h.prompter.planFolder(QString());
                    return clickTool(w, "DBrec");
                } },
            { "file-name-search", search("mSearch2", QStringLiteral("%")) },
            { "file-name-record", rowOf(fs, 1) },
            { "file-name-next", tool("Next") },
            { "file-name-back", tool("BackTo") },
            { "period-search", search("mSearch4", QString()) },
            { "class-search", menu("mSearch3") },
            { "keyword-search", menu("mSearch5") },
            { "binder-browse", menu("mSearch7") },
            { "binder-order", menu("mSort2") },
            { "binder-delete", menu("mBinderDel") },
            { "record-menu", menu("mRecFile") },
            { "record-to-start", tool("BackToINI") },
        };
        QStringList failures;
        for (const auto &[what, act] : walk)
            if (const QString failure = step(what, act); !failure.isEmpty())
                failures << failure;
        QVERIFY2(failures.isEmpty(), qPrintable(failures.join(QLatin1Char('\n'))));
    }
};

QTEST_MAIN(TestModeWalk)
#include "tst_modewalk.moc"

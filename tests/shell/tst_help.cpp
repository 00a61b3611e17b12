// The user manual: F1 through the real window opens the page of the mode in the help window,
// a missing manual is reported, and every help id the program sets has a page whose links and
// pictures are there.
#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>

#include "../browser/testfolders.h"
#include "classes/ui/form3.h"
#include "form1harness.h"
#include "shell/helptopics.h"
#include "shell/modes.h"

using namespace tolvane;
using namespace tolvane::shell;

namespace {
const QDir kManual(QStringLiteral(TOLVANE_MANUAL_DIR));
}

class TestHelp : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;

    // The page F1 shows now, as "page.html" or "page.html#anchor"; empty when nothing is shown.
    static QString pageAfterF1(test::Form1Harness &h)
    {
        QApplication::setActiveWindow(h.w.get()); // the user is back in the main window
        QTest::keyClick(h.w.get(), Qt::Key_F1);
        auto *browser = h.w->findChild<QTextBrowser *>(QStringLiteral("HelpBrowser"));
        if (!browser || !browser->window()->isVisible())
            return {};
        const QUrl source = browser->source();
        const QString page = QFileInfo(source.toLocalFile()).fileName();
        return source.hasFragment() ? page + QLatin1Char('#') + source.fragment() : page;
    }

private Q_SLOTS:
    void f1OpensThePageOfTheMode()
    {
        const QString catalogue = test::newCatalogueFile(m_dir.path(), QStringLiteral("書類"));
        QVERIFY(!catalogue.isEmpty());
        test::Form1Harness h;
        h.w->setHelpFile(kManual.filePath(QStringLiteral("index.html")));

        QCOMPARE(pageAfterF1(h), QStringLiteral("index.html"));
        QVERIFY(test::clickTool(*h.w, "StartShowFile"));
        QCOMPARE(pageAfterF1(h), QStringLiteral("fileshow.html"));
        QVERIFY(test::clickTool(*h.w, "BackToStart"));
        h.prompter.planOpenFile(catalogue);
        QVERIFY(test::clickTool(*h.w, "DBopen"));
        QCOMPARE(pageAfterF1(h), QStringLiteral("catalog.html"));
        QVERIFY(test::clickTool(*h.w, "Search"));
        QVERIFY(test::clickTool(*h.w, "DBDate"));
        QCOMPARE(pageAfterF1(h), QStringLiteral("search-period.html"));
        h.w->menuItem(QStringLiteral("mSort2"))->trigger();
        QCOMPARE(pageAfterF1(h), QStringLiteral("binder-sort.html"));
        QVERIFY(h.prompter.messages().isEmpty());

        // The help window is one window, titled after its page; the read-me item opens the
        // first page.
        auto *browser = h.w->findChild<QTextBrowser *>(QStringLiteral("HelpBrowser"));
        QVERIFY(browser->window()->windowTitle().endsWith(QStringLiteral("バインダ並べ替え")));
        h.w->menuItem(QStringLiteral("mHelpReadMe"))->trigger();
        QCOMPARE(QFileInfo(browser->source().toLocalFile()).fileName(), QStringLiteral("index.html"));
        QCOMPARE(h.w->findChildren<QTextBrowser *>().size(), 1);

        // F1 in the classification editor: its page, in a window the dialog does not block,
        // which stays the main window's after the dialog closes.
        bool blocked = true;
        QString page;
        QTimer::singleShot(0, this, [&] {
            QWidget *dialog = QApplication::activeModalWidget();
            if (!dialog)
                return;
            QApplication::setActiveWindow(dialog);
            QTest::keyClick(dialog, Qt::Key_F1);
            page = QFileInfo(browser->source().toLocalFile()).fileName();
            blocked = QApplication::activeModalWidget() != dialog || browser->window()->isHidden()
                || browser->window()->parentWidget() != dialog;
            dialog->close();
        });
        h.w->menuItem(QStringLiteral("mAidCombo"))->trigger();
        QCOMPARE(page, QStringLiteral("classes.html"));
        QVERIFY(!blocked);
        QVERIFY(browser->window()->parentWidget() == h.w.get() && browser->window()->isVisible());
        QCOMPARE(pageAfterF1(h), QStringLiteral("binder-sort.html")); // the mode's page again
    }

    void missingManualIsReported()
    {
        test::Form1Harness h;
        h.w->setHelpFile(m_dir.filePath(QStringLiteral("manual/index.html")));
        QCOMPARE(pageAfterF1(h), QString());
        h.w->menuItem(QStringLiteral("mHelpReadMe"))->trigger();
        QCOMPARE(h.prompter.messages().size(), 2);
        for (const auto &m : h.prompter.messages()) {
            QCOMPARE(m.title, QStringLiteral("Almaren Tolvane"));
            QVERIFY(m.text.startsWith(QStringLiteral("ヘルプファイルが見つかりません。")));
            QVERIFY(m.text.contains(QDir::toNativeSeparators(h.w->helpFile())));
        }
    }

    // Every id the window and its dialogs set has a page; every page's links and pictures are
    // in the manual.
    void everyHelpIdHasAPage()
    {
        const int used[] = { Help::StartUp, Help::CatalogOpened, Help::FileShow, Help::FileShown, Help::Record,
            Help::RecordShown, Help::FolderSearch, Help::ClassSearch, Help::PeriodSearch, Help::KeywordSearch,
            Help::BinderBrowse, Help::BinderCreate, Help::FileSort, Help::BinderSort, Help::FileSearch,
            Help::BinderDelete, Help::BinderRename, Help::FileDetach, classes::ui::Form3::kHelpContextId };
        const auto topics = helpTopics();
        for (int id : used)
            QVERIFY2(
                std::ranges::find(topics, id, &HelpTopic::contextId) != topics.end(), qPrintable(QString::number(id)));

        const QRegularExpression ref(QStringLiteral("(?:href|src)=\"([^\"#:]+)(?:#([^\"]*))?\""));
        QStringList pages = kManual.entryList({ QStringLiteral("*.html") });
        for (const HelpTopic &t : topics)
            QVERIFY2(pages.contains(helpPage(t.contextId).section(QLatin1Char('#'), 0, 0)), t.page);
        for (const QString &page : pages) {
            QFile f(kManual.filePath(page));
            QVERIFY(f.open(QIODevice::ReadOnly));
            const QString html = QString::fromUtf8(f.readAll());
            QVERIFY2(html.contains(QStringLiteral("<title>")), qPrintable(page));
            for (const auto &m : ref.globalMatch(html)) {
                const QString target = m.captured(1);
                QVERIFY2(kManual.exists(target), qPrintable(page + QStringLiteral(" → ") + target));
                if (!m.captured(2).isEmpty()) {
                    QFile t(kManual.filePath(target));
                    QVERIFY(t.open(QIODevice::ReadOnly));
                    QVERIFY2(t.readAll().contains(QStringLiteral("id=\"%1\"").arg(m.captured(2)).toUtf8()),
                        qPrintable(page + QStringLiteral(" → #") + m.captured(2)));
                }
            }
        }
    }
};

QTEST_MAIN(TestHelp)
#include "tst_help.moc"

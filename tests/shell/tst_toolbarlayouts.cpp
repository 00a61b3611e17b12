// The button sets whose rows depend on the mode, the viewer kind and the catalogue kind, and
// the status codes that write only some panels.
#include <QSet>
#include <QTest>

#include "shell/commands.h"
#include "shell/modes.h"
#include "shell/toolbarlayouts.h"

using namespace tolvane::shell;

namespace {

QStringList keys(const ToolbarLayout &l)
{
    QStringList k;
    for (const auto &b : l)
        k << b.key;
    return k;
}

const ToolButtonSpec *find(const ToolbarLayout &l, const QString &key)
{
    for (const auto &b : l)
        if (b.key == key)
            return &b;
    return nullptr;
}

QStringList split(const char *s)
{
    return QString::fromLatin1(s).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

} // namespace

class TestToolbarLayouts : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void viewerLayout_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("modeNo");
        QTest::addColumn<int>("layoutState");
        QTest::addColumn<bool>("archive");
        QTest::addColumn<QStringList>("expectedKeys");
        QTest::addColumn<QString>("prevImage");
        QTest::addColumn<bool>("rec2BinderEnabled");
        QTest::addColumn<bool>("fullTextVisible");

        QTest::newRow("folder file, application")
            << 1 << 1 << 1 << false << split("ph1 BackTo Prev Next ph2 apri WordSeek FullTextSearch Rec2Binder") << "up"
            << false << true;
        QTest::newRow("registration, picture")
            << 2 << 2 << 1 << false
            << split("ph1 BackTo RecAll Prev Next ph2 left90 right90 enlarge size excel FullTextSearch Rec2Binder")
            << "arw6lt" << false << true;
        QTest::newRow("archive registration, picture")
            << 2 << 2 << 1 << true
            << split("ph1 BackTo RecAll Prev Next ph2 left90 right90 enlarge size excel FullTextSearch Rec2Binder")
            << "arw6lt" << false << true;
        QTest::newRow("search record, multi-page") << 3 << 8 << 2 << false
                                                   << split("ph1 BackTo Prev Next ph2 AddLine DelLine left90 right90 "
                                                            "enlarge size Gprev Gnext FullTextSearch Rec2Binder")
                                                   << "arw6lt" << true << false;
        QTest::newRow("binder record, drawing")
            << 4 << 5 << 2 << false
            << split("ph1 BackTo Prev Next ph2 AddLine DelLine enlarge size sxf BackColor FullTextSearch Rec2Binder")
            << "arw6lt" << false << false;
        QTest::newRow("archive search record, none")
            << 0 << 3 << 2 << true << split("ph1 BackTo Prev Next ph2 AddLine DelLine FullTextSearch Rec2Binder")
            << "arw6lt" << false << false;
        QTest::newRow("search record in list layout")
            << 0 << 10 << 0 << false << split("ph1 BackTo Prev Next ph2 AddLine DelLine FullTextSearch Rec2Binder")
            << "arw6lt" << true << true;
    }

    void viewerLayout()
    {
        QFETCH(int, kind);
        QFETCH(int, modeNo);
        QFETCH(int, layoutState);
        QFETCH(bool, archive);
        QFETCH(QStringList, expectedKeys);
        QFETCH(QString, prevImage);
        QFETCH(bool, rec2BinderEnabled);
        QFETCH(bool, fullTextVisible);

        const ToolbarLayout l = ViewerLayout(ViewerKind(kind), Mode(modeNo), LayoutState(layoutState), archive);
        QCOMPARE(keys(l), expectedKeys);
        QCOMPARE(find(l, QStringLiteral("Prev"))->image, prevImage);
        QCOMPARE(find(l, QStringLiteral("Rec2Binder"))->enabled, rec2BinderEnabled);
        QCOMPARE(find(l, QStringLiteral("FullTextSearch"))->visible, fullTextVisible);
        QCOMPARE(find(l, QStringLiteral("ph1"))->widthTwips, 200);
        QCOMPARE(find(l, QStringLiteral("ph2"))->widthTwips, 200);
        if (const auto *recAll = find(l, QStringLiteral("RecAll")))
            QCOMPARE(recAll->enabled, !archive);
    }

    void registeringIsDisabledInAnArchive()
    {
        // The start-up and viewer layouts are checked in the main window; the record layout here.
        for (bool archive : { false, true })
            QCOMPARE(find(RecordLayout(archive), QStringLiteral("DBrec"))->enabled, !archive);
    }

    void searchListDependsOnTheMode_data()
    {
        QTest::addColumn<int>("modeNo");
        QTest::addColumn<QStringList>("expectedKeys");
        QTest::addColumn<int>("gapTwips");
        QTest::addColumn<QString>("seekTip");
        QTest::newRow("folder search") << 3 << split("ph1 BackToSearch FullTextSearchDB") << 0 << QString();
        QTest::newRow("binder files") << 5 << split("ph1 BackToSearch FullTextSearchDB") << 0 << QString();
        QTest::newRow("period") << 6 << split("ph1 BackToSearch ph2 DurSeek FullTextSearchDB") << 4800
                                << QString::fromUtf8("左のコンボボックス条件で検索");
        for (int mode : { 7, 8, 10 })
            QTest::addRow("mode %d", mode) << mode << split("ph1 BackToSearch ph2 DurSeek FullTextSearchDB") << 3400
                                           << QString::fromUtf8("左の条件で検索開始");
    }

    void searchListDependsOnTheMode()
    {
        QFETCH(int, modeNo);
        QFETCH(QStringList, expectedKeys);
        QFETCH(int, gapTwips);
        QFETCH(QString, seekTip);
        const ToolbarLayout l = SearchListLayout(Mode(modeNo));
        QCOMPARE(keys(l), expectedKeys);
        if (gapTwips) {
            QCOMPARE(find(l, QStringLiteral("ph2"))->widthTwips, gapTwips);
            QCOMPARE(find(l, QStringLiteral("DurSeek"))->toolTip, seekTip);
        }
    }

    void binderListNamesItsDeleteButtonByOperation()
    {
        QCOMPARE(find(BinderListLayout(BinderOp::Delete), QStringLiteral("del"))->caption, QString::fromUtf8("削除"));
        QCOMPARE(
            find(BinderListLayout(BinderOp::Detach), QStringLiteral("del"))->caption, QString::fromUtf8("取り外し"));
    }

    // Every layout the window can build: each button's key names a command of the dispatch and
    // a known picture, and every command is reachable from some layout.
    void everyLayoutKeyIsDispatchedAndEveryCommandReachable()
    {
        QList<ToolbarLayout> all { StartLayout(), FileShowLayout(), SearchMenuLayout() };
        for (bool archive : { false, true }) {
            all << DBUseLayout(archive) << RecordLayout(archive);
            for (Mode mode : kModes)
                for (LayoutState state : { LayoutState::Lists, LayoutState::FolderFileShown, LayoutState::RecordShown,
                         LayoutState::SearchPanel })
                    for (int kind = 0; kind <= 4; ++kind)
                        all << ViewerLayout(ViewerKind(kind), mode, state, archive);
        }
        for (Mode mode : kModes)
            all << SearchListLayout(mode);
        for (BinderOp op : { BinderOp::Create, BinderOp::Delete, BinderOp::ReorderBinders, BinderOp::ReorderFiles,
                 BinderOp::Rename, BinderOp::Browse, BinderOp::Detach })
            all << BinderListLayout(op);

        const QStringList known = toolbarImageKeys();
        QSet<Command> reached;
        for (const auto &l : all) {
            for (const auto &b : l) {
                if (b.style == ToolButtonSpec::Style::Placeholder)
                    continue;
                QVERIFY2(known.contains(b.image), qPrintable(b.image));
                const auto command = commandForKey(b.key);
                QVERIFY2(command, qPrintable(b.key));
                QCOMPARE(commandKey(*command), b.key);
                reached.insert(*command);
            }
        }
        for (Command c : allCommands())
            QVERIFY2(reached.contains(c), qPrintable(commandKey(c)));
    }

    void hintsWriteOnlyPanel2()
    {
        for (ModeStatus code :
            { ModeStatus::ResultListed, ModeStatus::Stepping, ModeStatus::RowsMoving, ModeStatus::RowsDetaching }) {
            const StatusTexts t = statusTexts(code);
            QVERIFY(t.panel2 && !t.panel1 && !t.panel3 && !t.threePanels);
        }
        QCOMPARE(*statusTexts(ModeStatus::RowsDetaching).panel2,
            QString::fromUtf8("削除行クリック選択。　「取り外し」ボタンで削除。　ヘルプ：F1キー"));
        QVERIFY(!binderStatusCode(BinderOp::None));
    }

    // Without a catalogue the window only moves between the start screen and the file display;
    // the catalogue modes are entered from anywhere by the menus and left for the start screen.
    void modeTransitions()
    {
        QVERIFY(modeTransitionAllowed(Mode::Start, Mode::FileShow));
        QVERIFY(modeTransitionAllowed(Mode::FileShow, Mode::Start));
        QVERIFY(modeTransitionAllowed(Mode::FileShow, Mode::KeywordSearch));
        QVERIFY(modeTransitionAllowed(Mode::KeywordSearch, Mode::Start));
        QVERIFY(modeTransitionAllowed(Mode::BinderFiles, Mode::Record));
        QVERIFY(!modeTransitionAllowed(Mode::KeywordSearch, Mode::FileShow));
        QVERIFY(!modeTransitionAllowed(Mode::BinderFiles, Mode::FileShow));
    }
};

QTEST_APPLESS_MAIN(TestToolbarLayouts)
#include "tst_toolbarlayouts.moc"

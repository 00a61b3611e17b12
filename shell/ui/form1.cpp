#include "shell/ui/form1.h"

#include <algorithm>

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCalendarWidget>
#include <QCloseEvent>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QMenuBar>
#include <QShortcut>
#include <QStatusBar>
#include <QTableView>
#include <QTextEdit>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>
#include <QWidgetAction>

#include "catalog/lifecycle.h"
#include "platform/apptitle.h"
#include "shell/browseforfolder.h"
#include "shell/modes.h"
#include "shell/ui/desktophelplauncher.h"
#include "shell/ui/frmabout.h"
#include "shell/ui/splitterhandle.h"
#include "shell/ui/toolbaricons.h"

namespace tolvane::shell {

namespace {
QString u(const char *s)
{
    return QString::fromUtf8(s);
}
const char *const kChooseFolder = "フォルダを指定してください";
constexpr int kFrameMargin = 50; // twips between the window edge and the panes
constexpr int kRightMargin = 200; // twips kept free right of the right area
constexpr int kStatusPanel1 = 2000; // twips
constexpr int kStatusPanel2Of3 = 5000; // twips
} // namespace

Form1::Form1(Prompter &prompter, HelpLauncher *helpLauncher, QWidget *parent)
    : QMainWindow(parent)
    , m_prompter(prompter)
    , m_helpLauncher(helpLauncher)
{
    setObjectName(QStringLiteral("Form1"));
    if (!m_helpLauncher) {
        m_ownHelpLauncher = std::make_unique<DesktopHelpLauncher>();
        m_helpLauncher = m_ownHelpLauncher.get();
    }

    createControls();
    createMenus();
    createToolbar();
    createShortcuts();

    SetupBrowser();
    SetupRegistration();
    SetupSearch();
    SetupSlip();
    SetupViewer();
    SetupBinders();
    SetupClasses();

    // Start-up: no catalogue is opened and nothing of a previous run is restored.
    ModeNo = Mode::Start;
    resize(twipsToPixels(16000), twipsToPixels(9000));
    setWindowTitle(appTitle());
    setWindowIcon(toolbarIcon(QStringLiteral("Binder")));
    InitStatusBar();
    ShowModeStatus(0);
    EnableMenus(0);
    SetTextFontSize(10);
    ResetToStartScreen();
    ShowLayout(StartLayout());
    HelpFile = QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("TolvaneHelp.chm"));
    HelpContextID = Help::StartUp;
}

Form1::~Form1()
{
    shutdown();
}

// ---------------------------------------------------------------- controls

void Form1::createControls()
{
    m_area = new QWidget(this);
    m_area->setObjectName(QStringLiteral("area"));
    setCentralWidget(m_area);
    m_area->installEventFilter(this);

    auto table = [this](const char *name) {
        auto *t = new QTableView(m_area);
        t->setObjectName(QString::fromLatin1(name));
        t->hide();
        return t;
    };
    fg = new QTreeView(m_area);
    fg->setObjectName(QStringLiteral("fg"));
    fg->setHeaderHidden(true);
    fg->hide();
    fr = table("fr");
    fs = table("fs");
    fg2 = table("fg2");
    vs = table("vs");
    fg3 = table("fg3");
    imk = new QWidget(m_area);
    imk->setObjectName(QStringLiteral("imk"));
    imk->hide();
    mData = new QTextEdit(m_area);
    mData->setObjectName(QStringLiteral("mData"));
    mData->setReadOnly(true);
    mData->hide();
    Calendar = new QCalendarWidget(m_area);
    Calendar->setObjectName(QStringLiteral("Calendar"));
    Calendar->hide();

    // The width of the left panel lives in the width of the grid leading the layout.
    fg->resize(twipsToPixels(3000), fg->height());
    fg2->resize(twipsToPixels(4600), fg2->height());
    vs->resize(twipsToPixels(4600), vs->height());
    fg3->resize(twipsToPixels(3000), fg3->height());

    picDrag = new SplitterHandle(Qt::Vertical, m_area);
    picDrag->setObjectName(QStringLiteral("picDrag"));
    connect(picDrag, &SplitterHandle::dropped, this, &Form1::picDragDropped);
    udDrag = new SplitterHandle(Qt::Horizontal, m_area);
    udDrag->setObjectName(QStringLiteral("udDrag"));
    udDrag->hide();
    connect(udDrag, &SplitterHandle::dropped, this, &Form1::udDragDropped);

    StatusBar1 = new QStatusBar(this);
    StatusBar1->setObjectName(QStringLiteral("StatusBar1"));
    StatusBar1->setSizeGripEnabled(false);
    setStatusBar(StatusBar1);
}

void Form1::createMenus()
{
    QMenuBar *bar = menuBar();
    auto menu = [this](QMenuBar *parentBar, QMenu *parentMenu, const char *name, const char *caption) {
        QMenu *m = parentBar ? parentBar->addMenu(u(caption)) : parentMenu->addMenu(u(caption));
        m->setObjectName(QString::fromLatin1(name));
        m->menuAction()->setObjectName(QString::fromLatin1(name));
        m_menuItems.insert(QString::fromLatin1(name), m->menuAction());
        return m;
    };
    auto item = [this](QMenu *m, const char *name, const char *caption, auto handler) {
        QAction *a = m->addAction(u(caption));
        a->setObjectName(QString::fromLatin1(name));
        m_menuItems.insert(QString::fromLatin1(name), a);
        connect(a, &QAction::triggered, this, handler);
        return a;
    };

    QMenu *mFile = menu(bar, nullptr, "mFile", "ファイル");
    item(mFile, "mFileDBOpen", "データベースを開く", [this] { OpenCatalog(); });
    mFile->addSeparator();
    item(mFile, "mFileDBCreate", "データベース新規作成", [this] { mFileDBCreate_Click(); });
    item(mFile, "mFileQuit", "終了", [this] { close(); });

    QMenu *mRec = menu(bar, nullptr, "mRec", "登録");
    item(mRec, "mRecFile", "登録", [this] { EnterRecordMode(); });

    QMenu *mSearch = menu(bar, nullptr, "mSearch", "各種検索");
    item(mSearch, "mSearch1", "フォルダ検索", [this] { EnterFolderSearchMode(); });
    item(mSearch, "mSearch2", "ファイル名検索", [this] { EnterFileSearchMode(); });
    item(mSearch, "mSearch3", "分類検索", [this] { EnterClassSearchMode(); });
    item(mSearch, "mSearch4", "期間検索", [this] { EnterPeriodSearchMode(); });
    item(mSearch, "mSearch5", "キーワード検索", [this] { EnterKeywordSearchMode(); });
    mSearch->addSeparator();
    item(mSearch, "mSearch7", "バインダ閲覧", [this] { EnterBinderBrowseMode(); });

    QMenu *mBinder = menu(bar, nullptr, "mBinder", "バインダ");
    item(mBinder, "mBinderFolder", "バインダ作成", [this] { EnterBinderMaintenanceMode(BinderOp::Create); });
    mBinder->addSeparator();
    item(mBinder, "mBinderDel", "バインダ削除", [this] { EnterBinderMaintenanceMode(BinderOp::Delete); });
    item(mBinder, "mBinderRename", "バインダ名変更", [this] { EnterBinderMaintenanceMode(BinderOp::Rename); });
    item(mBinder, "mSort2", "バインダ並べ替え", [this] { EnterBinderMaintenanceMode(BinderOp::ReorderBinders); });
    mBinder->addSeparator();
    item(mBinder, "mSort3", "バインダ内ファイル並べ替え", [this] { EnterBinderFilesMode(BinderOp::ReorderFiles); });
    item(mBinder, "mSort4", "バインダ内ファイル取り外し", [this] { EnterBinderFilesMode(BinderOp::Detach); });

    QMenu *mOpt = menu(bar, nullptr, "mOpt", "オプション");
    item(mOpt, "mAidCombo", "分類・コンボボックス項目編集", [this] { mAidCombo_Click(); });
    mOpt->addSeparator();
    QMenu *mOptSize = menu(nullptr, mOpt, "mOptSize", "文字サイズ");
    m_sizeGroup = new QActionGroup(this);
    m_sizeGroup->setExclusive(true);
    for (int points : { 9, 10, 11, 12, 14, 16 }) {
        const QByteArray name = "m" + QByteArray::number(points);
        QAction *a = item(mOptSize, name.constData(), QByteArray::number(points).constData(),
            [this, points] { SetTextFontSize(points); });
        a->setCheckable(true);
        m_sizeGroup->addAction(a);
    }
    item(mOpt, "mOptCol", "Column", [this] { mOptCol_Click(); });

    QMenu *mHelp = menu(bar, nullptr, "mHelp", "ヘルプ");
    item(mHelp, "mHelpHelp", "ヘルプ", [this] { mHelpHelp_Click(); });
    mHelp->addSeparator();
    item(mHelp, "mHelpReadMe", "ReadMe", [this] { mHelpReadMe_Click(); });
    item(mHelp, "mHelpVer", "バージョン情報", [this] { mHelpVer_Click(); });
}

void Form1::createToolbar()
{
    Toolbar = new QToolBar(this);
    Toolbar->setObjectName(QStringLiteral("Toolbar"));
    Toolbar->setMovable(false);
    Toolbar->setFloatable(false);
    Toolbar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    Toolbar->setIconSize(QSize(24, 24));
    Toolbar->toggleViewAction()->setEnabled(false);
    addToolBar(Qt::TopToolBarArea, Toolbar);
    connect(Toolbar, &QToolBar::actionTriggered, this, [this](QAction *a) { Toolbar_ButtonClick(a->objectName()); });
}

void Form1::createShortcuts()
{
    auto *f1 = new QShortcut(QKeySequence(Qt::Key_F1), this);
    f1->setContext(Qt::WindowShortcut);
    connect(f1, &QShortcut::activated, this, &Form1::ShowHelp);
}

// ---------------------------------------------------------------- toolbar

void Form1::ClearToolbar()
{
    const QList<QAction *> actions = Toolbar->actions();
    for (QAction *a : actions) {
        // The action may be the one whose click is being handled: it goes once the click is done.
        // Until then nothing may find it, or its button, by its key.
        if (QWidget *w = Toolbar->widgetForAction(a))
            w->setObjectName(QString());
        if (auto *wa = qobject_cast<QWidgetAction *>(a); wa && wa->defaultWidget())
            wa->defaultWidget()->setObjectName(QString());
        a->setObjectName(QString());
        Toolbar->removeAction(a);
        a->deleteLater();
    }
}

bool Form1::AppendLayout(const ToolbarLayout &layout)
{
    const QStringList present = toolbarKeys();
    for (const ToolButtonSpec &b : layout)
        if (present.contains(b.key))
            return false; // keys are unique within the toolbar
    for (const ToolButtonSpec &b : layout) {
        QAction *a = nullptr;
        if (b.style == ToolButtonSpec::Style::Placeholder) {
            auto *gap = new QWidget(Toolbar);
            gap->setObjectName(b.key);
            gap->setFixedWidth(twipsToPixels(b.widthTwips));
            a = Toolbar->addWidget(gap);
        } else {
            a = new QAction(toolbarIcon(b.image), b.caption, Toolbar);
            a->setIconText(b.caption); // captions keep their blanks
            a->setToolTip(b.toolTip.isEmpty() ? QString() : b.toolTip);
            a->setStatusTip(QString()); // the status bar carries the mode texts only
            a->setWhatsThis(b.toolTip);
            Toolbar->addAction(a);
            if (QWidget *w = Toolbar->widgetForAction(a)) {
                w->setObjectName(b.key);
                if (b.toolTip.isEmpty())
                    w->installEventFilter(this); // no tooltip at all, not the caption
            }
        }
        a->setObjectName(b.key);
        a->setEnabled(b.enabled);
        a->setVisible(b.visible);
    }
    return true;
}

void Form1::ShowLayout(const ToolbarLayout &layout)
{
    ClearToolbar();
    AppendLayout(layout);
}

QStringList Form1::toolbarKeys() const
{
    QStringList keys;
    const QList<QAction *> actions = Toolbar->actions();
    for (const QAction *a : actions)
        keys << a->objectName();
    return keys;
}

QAction *Form1::toolAction(const QString &key) const
{
    const QList<QAction *> actions = Toolbar->actions();
    for (QAction *a : actions)
        if (a->objectName() == key)
            return a;
    return nullptr;
}

QToolButton *Form1::toolButton(const QString &key) const
{
    QAction *a = toolAction(key);
    return a ? qobject_cast<QToolButton *>(Toolbar->widgetForAction(a)) : nullptr;
}

void Form1::setToolEnabled(const QString &key, bool enabled)
{
    if (QAction *a = toolAction(key))
        a->setEnabled(enabled);
}

void Form1::setToolVisible(const QString &key, bool visible)
{
    if (QAction *a = toolAction(key))
        a->setVisible(visible);
}

// The folder dialog, then the chosen folder's files listed in fr with the first one shown.
// False when the dialog was cancelled (CurrentFolder then holds "Canceled").
bool Form1::ChooseAndListFolder()
{
    CurrentFolder = BrowseForFolder(m_prompter, u(kChooseFolder), LastChosenFolder);
    if (CurrentFolder == canceledFolder())
        return false;
    LastChosenFolder = CurrentFolder;
    ListFolderFiles();
    ShowFirstFile();
    return true;
}

void Form1::Toolbar_ButtonClick(const QString &key)
{
    const bool archive = m_catalog.isArchive();
    if (key == u("StartShowFile")) {
        ShowLayout(FileShowLayout());
        ModeNo = Mode::FileShow;
        ResetToFolderScreen();
    } else if (key == u("DBopen")) {
        OpenCatalog();
    } else if (key == u("View")) {
        ModeNo = Mode::FileShow;
        if (!ChooseAndListFolder())
            return;
        HelpContextID = Help::FileShow;
    } else if (key == u("BackToStart")) {
        ShowLayout(StartLayout());
        InitStatusBar();
        ShowModeStatus(0);
    } else if (key == u("Search")) {
        LoadClassItems();
        ShowLayout(SearchMenuLayout());
        ShowModeStatus(4);
    } else if (key == u("DBrec")) {
        ModeNo = Mode::Record;
        ResetToFolderScreen();
        setStatusPanelText(1, u("DB登録モード"));
        if (!ChooseAndListFolder())
            return;
        setStatusPanelText(1, u("DB登録モード"));
    } else if (key == u("RecAll")) {
        if (!archive)
            RegisterShownFolder();
    } else if (key == u("Back2DB")) {
        ShowLayout(DBUseLayout(archive));
        ShowModeStatus(11);
    } else if (key == u("DBsearch")) {
        EnterFolderSearchMode();
    } else if (key == u("DBFiles")) {
        EnterFileSearchMode();
    } else if (key == u("DBClass")) {
        EnterClassSearchMode();
    } else if (key == u("DBDate")) {
        EnterPeriodSearchMode();
    } else if (key == u("DBKeyword")) {
        EnterKeywordSearchMode();
    } else if (key == u("BDRsearch")) {
        EnterBinderBrowseMode();
    } else if (key == u("DurSeek")) {
        DurSeek();
    } else if (key == u("WordSeek")) {
        WordSeek();
    } else if (key == u("FullTextSearch")) {
        FullTextSearch();
    } else if (key == u("FullTextSearchDB")) {
        FullTextSearchDB();
    } else if (key == u("BackTo")) {
        dispatchBackTo();
    } else if (key == u("BackToINI")) {
        ModeNo = Mode::Start;
        ResetToStartScreen();
        ShowLayout(FileShowLayout());
        ShowModeStatus(0);
    } else if (key == u("BackToSearch")) {
        ModeNo = Mode::Start;
        ResetToStartScreen();
        ShowLayout(SearchMenuLayout());
        ShowModeStatus(4);
    } else if (key == u("Prev") || key == u("Next")) {
        const bool next = key == u("Next");
        if (ModeNo == Mode::FileShow || ModeNo == Mode::Record)
            StepFolderFile(next);
        else
            StepResultFile(next);
    } else if (key == u("Rec2Binder")) {
        if (!archive)
            Rec2Binder();
    } else if (key == u("AddLine")) {
        AddLine();
    } else if (key == u("DelLine")) {
        DelLine();
    } else if (key == u("up") || key == u("down")) {
        MoveListRow(key == u("up"));
    } else if (key == u("reg")) {
        SaveNewOrder();
    } else if (key == u("apri")) {
        OpenInApplication();
    } else if (key == u("del")) {
        if (BinderOperation == BinderOp::Delete || BinderOperation == BinderOp::Detach)
            DeleteOrDetach();
    } else if (key == u("size") || key == u("left90") || key == u("right90") || key == u("enlarge") || key == u("Gprev")
        || key == u("Gnext") || key == u("sxf") || key == u("BackColor")) {
        PictureCommand(key);
    } else if (key == u("excel")) {
        ExportToExcel();
    }
    // any other key (placeholders) does nothing
}

void Form1::dispatchBackTo()
{
    const bool archive = m_catalog.isArchive();
    switch (ModeNo) {
    case Mode::FileShow:
        ShowLayout(FileShowLayout());
        PutViewerAway();
        ResetToFolderScreen();
        break;
    case Mode::Record:
        ShowLayout(DBUseLayout(archive));
        PutViewerAway();
        ResetToFolderScreen();
        break;
    case Mode::FolderSearch:
        if (!SaveSlipIfDirty())
            break;
        RestoreSearchList();
        LayoutState = Layout::Lists;
        ShowLeftPane(0);
        UpdateLayout();
        ShowLayout(SearchListLayout(ModeNo));
        ShowModeStatus(51);
        break;
    case Mode::BinderFiles:
        if (!SaveSlipIfDirty())
            break;
        PutViewerAway();
        RestoreBinderPanel();
        ShowLayout(SearchListLayout(ModeNo));
        ShowModeStatus(51);
        break;
    case Mode::PeriodSearch:
    case Mode::ClassSearch:
    case Mode::KeywordSearch:
    case Mode::FileSearch:
        if (!SaveSlipIfDirty())
            break;
        ShowLayout(SearchListLayout(ModeNo));
        RestoreSearchList();
        ShowModeStatus(51);
        ShowLeftPane(0);
        LayoutState = Layout::SearchPanel;
        UpdateLayout5();
        break;
    default:
        break;
    }
}

// ---------------------------------------------------------------- status bar

void Form1::rebuildStatusBar(const QList<int> &widthsTwips)
{
    for (QLabel *l : std::as_const(m_panels)) {
        StatusBar1->removeWidget(l);
        delete l;
    }
    m_panels.clear();
    // Widths are computed once, when the bar is built; the last panel takes what is left.
    const int barWidth = StatusBar1->width() > 0 && isVisible() ? StatusBar1->width() : width();
    int used = 0;
    for (int i = 0; i <= widthsTwips.size(); ++i) {
        auto *l = new QLabel(StatusBar1);
        l->setObjectName(QStringLiteral("Panel%1").arg(i + 1));
        l->setFrameStyle(QFrame::Panel | QFrame::Sunken);
        l->setTextFormat(Qt::PlainText);
        int w;
        if (i < widthsTwips.size()) {
            w = twipsToPixels(widthsTwips[i]);
            used += w;
        } else {
            w = std::max(barWidth - used - 8, twipsToPixels(1000));
        }
        l->setFixedWidth(w);
        StatusBar1->addWidget(l);
        m_panels << l;
    }
}

void Form1::InitStatusBar()
{
    rebuildStatusBar({ kStatusPanel1 });
}

void Form1::InitStatusBar3()
{
    rebuildStatusBar({ kStatusPanel1, kStatusPanel2Of3 });
}

void Form1::ShowModeStatus(int code)
{
    const auto texts = statusTexts(code, CurrentFolder);
    if (!texts)
        return;
    if (texts->threePanels)
        InitStatusBar3();
    if (texts->panel1)
        setStatusPanelText(1, *texts->panel1);
    if (texts->panel2)
        setStatusPanelText(2, *texts->panel2);
    if (texts->panel3)
        setStatusPanelText(3, *texts->panel3);
}

QString Form1::statusPanelText(int panel) const
{
    if (panel < 1 || panel > m_panels.size())
        return {};
    return m_panels[panel - 1]->text();
}

void Form1::setStatusPanelText(int panel, const QString &text)
{
    if (panel < 1 || panel > m_panels.size())
        return;
    m_panels[panel - 1]->setText(text);
    m_panels[panel - 1]->setToolTip(text);
}

// ---------------------------------------------------------------- menus

void Form1::EnableMenus(int state)
{
    const auto s = menuState(state);
    if (!s)
        return;
    m_menuItems.value(QStringLiteral("mFileDBCreate"))->setEnabled(s->dbCreateEnabled);
    for (const char *name : { "mRec", "mSearch", "mBinder", "mOpt" })
        m_menuItems.value(QString::fromLatin1(name))->setEnabled(s->catalogMenusEnabled);
}

QAction *Form1::menuItem(const QString &name) const
{
    return m_menuItems.value(name);
}

// ---------------------------------------------------------------- modes

void Form1::ResetToStartScreen()
{
    ClearPicTxt();
    HideSearchPanel();
    LayoutState = Layout::Lists;
    ShowLeftPane(0);
    UpdateLayout();
}

void Form1::ResetToFolderScreen()
{
    LayoutState = Layout::Lists;
    fg->resize(twipsToPixels(3000), fg->height());
    InitControls();
    InitStatusBar();
    ShowModeStatus(1);
    HelpContextID = Help::FileShow;
    ShowLeftPane(0);
    BringPanelToFront(1);
    UpdateLayout();
}

void Form1::EnterRecordMode()
{
    ModeNo = Mode::Record;
    ResetToFolderScreen();
    ShowLayout(RecordLayout(m_catalog.isArchive()));
    ShowModeStatus(2);
    HelpContextID = Help::Record;
}

void Form1::EnterFolderSearchMode()
{
    ModeNo = Mode::FolderSearch;
    LayoutState = Layout::Lists;
    ResetToStartScreen();
    ShowModeStatus(5);
    const QString folder = BrowseForFolder(m_prompter, u(kChooseFolder), LastChosenFolder);
    if (folder == canceledFolder())
        return;
    LastChosenFolder = folder;
    FillFolderPanel(folder);
    ShowLayout(SearchListLayout(ModeNo));
    HelpContextID = Help::FolderSearch;
    RunFolderSearch(folder);
}

void Form1::enterSearchMode(int modeNo, int statusCode, int helpId)
{
    ModeNo = modeNo;
    ResetToStartScreen();
    ShowLayout(SearchListLayout(ModeNo));
    setToolEnabled(QStringLiteral("FullTextSearchDB"), false);
    PrepareSearchPanel();
    ShowModeStatus(statusCode);
    LayoutState = Layout::SearchPanel;
    UpdateLayout5();
    HelpContextID = helpId;
}

void Form1::EnterFileSearchMode()
{
    enterSearchMode(Mode::FileSearch, 6, Help::FileSearch);
}

void Form1::EnterClassSearchMode()
{
    enterSearchMode(Mode::ClassSearch, 7, Help::ClassSearch);
}

void Form1::EnterPeriodSearchMode()
{
    enterSearchMode(Mode::PeriodSearch, 8, Help::PeriodSearch);
}

void Form1::EnterKeywordSearchMode()
{
    enterSearchMode(Mode::KeywordSearch, 9, Help::KeywordSearch);
}

void Form1::EnterBinderBrowseMode()
{
    ModeNo = Mode::BinderFiles;
    BinderOperation = BinderOp::Browse;
    ResetToStartScreen();
    EnterBinderContentsPanel();
    HelpContextID = Help::BinderBrowse;
}

void Form1::EnterBinderMaintenanceMode(int binderOperation)
{
    ModeNo = Mode::Start;
    LayoutState = Layout::Lists;
    BinderOperation = binderOperation;
    HideSearchPanel();
    EnterBinderMaintenance();
    if (const auto code = binderStatusCode(binderOperation))
        ShowModeStatus(*code);
    if (const auto help = binderHelpContext(binderOperation))
        HelpContextID = *help;
}

void Form1::EnterBinderFilesMode(int binderOperation)
{
    ModeNo = Mode::BinderFiles;
    BinderOperation = binderOperation;
    HideSearchPanel();
    EnterBinderContentsPanel();
    if (const auto help = binderHelpContext(binderOperation))
        HelpContextID = *help;
}

// ---------------------------------------------------------------- catalogue

void Form1::OpenCatalog()
{
    Q_EMIT catalogAboutToClose();
    const auto outcome = catalog::OpenCatalogFile(m_prompter, m_catalog, SearchResultSet, BinderSet);
    switch (outcome) {
    case catalog::OpenOutcome::Ordinary:
        setWindowTitle(m_catalog.CatalogName);
        ShowLayout(DBUseLayout(false));
        EnableMenus(1);
        InitStatusBar();
        ShowModeStatus(11);
        break;
    case catalog::OpenOutcome::Archive:
        setWindowTitle(m_catalog.CatalogName + u(" （保存版）"));
        ShowLayout(DBUseLayout(true));
        break;
    default:
        return;
    }
    HelpContextID = Help::CatalogOpened;
    Q_EMIT catalogOpened();
}

void Form1::mFileDBCreate_Click()
{
    catalog::CreateCatalog(m_prompter, m_catalog);
}

void Form1::shutdown()
{
    if (m_shutDown)
        return;
    m_shutDown = true;
    Q_EMIT catalogAboutToClose();
    catalog::CloseCatalog(m_catalog, SearchResultSet, BinderSet);
    // Every other window of the program goes with the main window.
    const QList<QWidget *> tops = QApplication::topLevelWidgets();
    for (QWidget *w : tops)
        if (w != this && w->isWindow() && w->isVisible() && !isAncestorOf(w))
            w->close();
}

void Form1::closeEvent(QCloseEvent *event)
{
    shutdown();
    event->accept();
}

// ---------------------------------------------------------------- layout

int Form1::twipsToPixels(int twips) const
{
    return qRound(twips * logicalDpiX() / 1440.0);
}

int Form1::pixelsToTwips(int pixels) const
{
    return qRound(pixels * 1440.0 / logicalDpiX());
}

int Form1::frameHeight() const
{
    // The toolbar and the status bar lie outside the frame.
    return std::max(m_area->height() - twipsToPixels(20), 1);
}

QRect Form1::leftRect(int leftWidth) const
{
    return { twipsToPixels(kFrameMargin), 0, leftWidth, frameHeight() };
}

QRect Form1::rightRect(int leftWidth) const
{
    const int g = 4; // the splitter: four screen pixels
    const int left = twipsToPixels(kFrameMargin) + leftWidth + g;
    const int w = std::max(m_area->width() - left - twipsToPixels(kRightMargin), 1);
    return { left, 0, w, frameHeight() };
}

void Form1::placeRightPanes(const QRect &r)
{
    for (QWidget *c : { static_cast<QWidget *>(fr), static_cast<QWidget *>(mData), imk, static_cast<QWidget *>(fs) })
        c->setGeometry(r);
}

void Form1::placeSplitter(int x, int height)
{
    // The splitter is four screen pixels wide and stays above the panes it divides.
    picDrag->setGeometry(x, 0, 4, height);
    picDrag->show();
    picDrag->raise();
}

void Form1::placeBesideList(QWidget *list)
{
    const int w = list->width();
    list->setGeometry(leftRect(w));
    placeRightPanes(rightRect(w));
    placeSplitter(twipsToPixels(kFrameMargin) + w, frameHeight());
}

void Form1::UpdateLayout()
{
    placeBesideList(fg);
}

void Form1::UpdateLayout2()
{
    const int w = fg->width();
    const QRect l = leftRect(w);
    fg->setGeometry(l);
    fr->setGeometry(l);
    const QRect r = rightRect(w);
    mData->setGeometry(r);
    imk->setGeometry(r);
    placeSplitter(twipsToPixels(kFrameMargin) + w, frameHeight());
}

void Form1::UpdateLayout3()
{
    const int w = fg2->width();
    const int h = frameHeight();
    const int left = twipsToPixels(kFrameMargin);
    const int slipHeight = int(h * 0.7);
    fg2->setGeometry(left, 0, w, slipHeight);
    const int gap = twipsToPixels(50);
    vs->setGeometry(left, slipHeight + gap, w, int(h * 0.3));
    udDrag->setGeometry(left, slipHeight, w, gap);
    udDrag->show();
    udDrag->raise();
    const QRect r = rightRect(w);
    placeRightPanes(r);
    Calendar->move(r.left(), h - Calendar->height());
    placeSplitter(left + w, h);
}

void Form1::UpdateLayout4()
{
    placeBesideList(fg3);
}

void Form1::UpdateLayout5()
{
    const int left = twipsToPixels(kFrameMargin);
    fg3->move(left, fg3->y());
    fg->setGeometry(left, 0, twipsToPixels(200), twipsToPixels(200));
    fs->setGeometry(left, 0, std::max(m_area->width() - twipsToPixels(200), 1), frameHeight());
    fs->show();
    fs->raise();
    picDrag->hide();
    udDrag->hide();
}

void Form1::ShowLeftPane(int selector)
{
    auto front = [](QWidget *w) {
        w->show();
        w->raise();
    };
    auto back = [](QWidget *w) {
        w->hide();
        w->lower();
    };
    switch (selector) {
    case 0:
        front(fg);
        back(vs), back(fg2), back(fg3);
        udDrag->hide();
        break;
    case 1:
        front(fg2), front(vs);
        back(fg), back(fg3);
        break;
    case 2:
        front(fr);
        back(vs), back(fg), back(fg2), back(fg3);
        udDrag->hide();
        break;
    case 3:
        front(fg3);
        back(vs), back(fg), back(fg2);
        udDrag->hide();
        break;
    default:
        break;
    }
}

void Form1::ArrangeForLayoutState()
{
    switch (LayoutState) {
    case Layout::Lists:
        UpdateLayout();
        break;
    case Layout::FolderFileShown:
        UpdateLayout2();
        break;
    case Layout::RecordShown:
        UpdateLayout3();
        break;
    case Layout::SearchPanel:
        UpdateLayout5();
        break;
    default:
        break;
    }
}

bool Form1::eventFilter(QObject *watched, QEvent *event)
{
    // The panes follow the frame: a resize re-runs the current arrangement.
    if (watched == m_area && event->type() == QEvent::Resize)
        ArrangeForLayoutState();
    // Buttons laid out without a tooltip show none (Qt would fall back to the caption).
    if (event->type() == QEvent::ToolTip) {
        if (auto *b = qobject_cast<QToolButton *>(watched); b && b->parent() == Toolbar)
            return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

void Form1::picDragDropped(const QPoint &globalPos)
{
    QWidget *target = nullptr;
    for (QWidget *c : { static_cast<QWidget *>(fg2), static_cast<QWidget *>(vs), static_cast<QWidget *>(fg),
             static_cast<QWidget *>(fr), static_cast<QWidget *>(fs), static_cast<QWidget *>(mData), imk }) {
        if (c->isVisible() && c->rect().contains(c->mapFromGlobal(globalPos))) {
            target = c;
            break;
        }
    }
    if (!target)
        return;
    const int x = target->mapFromGlobal(globalPos).x();
    if (target == fg) {
        fg->resize(std::max(x, 1), fg->height());
        UpdateLayout();
    } else if (target == fg2 || target == vs) {
        const int w = std::clamp(x, twipsToPixels(2000), twipsToPixels(6000));
        fg2->resize(w, fg2->height());
        vs->resize(w, vs->height());
        if (LayoutState == Layout::FolderFileShown)
            UpdateLayout2();
        else if (LayoutState == Layout::RecordShown)
            UpdateLayout3();
    } else if (LayoutState == Layout::Lists) {
        // The new width is the left of fg plus its width plus the drop point in the list.
        fg->resize(std::max(fg->x() + fg->width() + x, 1), fg->height());
        UpdateLayout();
    } else if (LayoutState == Layout::FolderFileShown) {
        fg->resize(std::max(target->x() + x - twipsToPixels(kFrameMargin), 1), fg->height());
        UpdateLayout2();
    }
}

void Form1::udDragDropped(const QPoint &globalPos)
{
    QWidget *target = nullptr;
    for (QWidget *c : { static_cast<QWidget *>(fg2), static_cast<QWidget *>(vs) })
        if (c->isVisible() && c->rect().contains(c->mapFromGlobal(globalPos)))
            target = c;
    if (!target)
        return;
    const int y = m_area->mapFromGlobal(globalPos).y() - fg2->y();
    if (y <= 0)
        return;
    fg2->setGeometry(fg2->x(), 0, fg2->width(), y);
    const int gap = twipsToPixels(90);
    vs->setGeometry(fg2->x(), y + gap, fg2->width(), std::max(frameHeight() - y - gap, 1));
    udDrag->setGeometry(fg2->x(), y, fg2->width(), gap);
}

// ---------------------------------------------------------------- text size and help

void Form1::SetTextFontSize(int points)
{
    static const int sizes[] = { 9, 10, 11, 12, 14, 16 };
    if (std::find(std::begin(sizes), std::end(sizes), points) == std::end(sizes))
        return;
    TextFontSize = points;
    for (int s : sizes)
        m_menuItems.value(QStringLiteral("m%1").arg(s))->setChecked(s == points);
    if (m_catalog.isOpen())
        SaveFontSize();
}

void Form1::ShowHelp()
{
    if (!QFileInfo::exists(HelpFile)) {
        m_prompter.inform(appTitle(),
            u("ヘルプファイルが見つかりません。") + QStringLiteral("\r\n") + QDir::toNativeSeparators(HelpFile),
            Prompter::Icon::Warning);
        return;
    }
    if (!m_helpLauncher->showHelp(HelpFile, HelpContextID))
        helpViewerMissing();
}

void Form1::helpViewerMissing()
{
    m_prompter.inform(appTitle(),
        u("ヘルプを表示できるアプリケーションが見つかりません。") + QStringLiteral("\r\n")
            + QDir::toNativeSeparators(HelpFile),
        Prompter::Icon::Warning);
}

void Form1::mHelpHelp_Click()
{
    if (!QFileInfo::exists(HelpFile)) {
        ShowHelp();
    } else if (!m_helpLauncher->showHelp(HelpFile, 0)) {
        helpViewerMissing();
    }
    HelpContextID = Help::StartUp;
}

void Form1::mHelpReadMe_Click()
{
    const QString readMe = QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("ReadMe.txt"));
    if (!QFileInfo::exists(readMe)) {
        m_prompter.inform(appTitle(),
            u("ReadMe ファイルが見つかりません。") + QStringLiteral("\r\n") + QDir::toNativeSeparators(readMe),
            Prompter::Icon::Warning);
        return;
    }
    m_helpLauncher->showText(readMe);
}

void Form1::mHelpVer_Click()
{
    frmAbout about(m_prompter, this);
    about.exec();
}

} // namespace tolvane::shell

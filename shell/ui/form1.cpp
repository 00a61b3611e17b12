#include "shell/ui/form1.h"

#include <algorithm>
#include <utility>

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCalendarWidget>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMenuBar>
#include <QShortcut>
#include <QStatusBar>
#include <QTableView>
#include <QTextEdit>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>
#include <QTreeWidget>
#include <QWidgetAction>

#include "binders/binders.h"
#include "binders/bindertexts.h"
#include "binders/ui/bindercontroller.h"
#include "browser/ui/browsercontroller.h"
#include "catalog/lifecycle.h"
#include "catalog/maintenance.h"
#include "catalog/schema.h"
#include "classes/ui/form3.h"
#include "platform/apptitle.h"
#include "platform/tableexport.h"
#include "platform/ui/gridview.h"
#include "platform/utf8.h"
#include "registration/ui/registrationcontroller.h"
#include "registration/ui/slipgrid.h"
#include "search/resultlistmodel.h"
#include "search/ui/searchcontroller.h"
#include "search/ui/searchpanel.h"
#include "shell/browseforfolder.h"
#include "shell/helptopics.h"
#include "shell/panes.h"
#include "shell/ui/frmabout.h"
#include "shell/ui/helpwindow.h"
#include "shell/ui/maintenanceprogressdialog.h"
#include "shell/ui/splitterhandle.h"
#include "shell/ui/toolbaricons.h"
#include "viewer/dispatch.h"
#include "viewer/fontsizestore.h"
#include "viewer/ui/pictureview.h"
#include "viewer/ui/viewercontroller.h"

namespace tolvane::shell {

namespace {
const char *const kChooseFolder = "フォルダを指定してください";
constexpr int kFrameMargin = 50; // twips between the window edge and the panes
constexpr int kRightMargin = 200; // twips kept free right of the right area
constexpr int kStatusPanel1 = 2000; // twips
constexpr int kStatusPanel2Of3 = 5000; // twips
constexpr int kFolderPanelTwips = 3000;
constexpr int kMinLeftTwips = 200; // the binder list never shrinks away
constexpr int kSlipTwips = 4600;
constexpr int kBinderSlipTwips = 4000;
constexpr int kFileListFirstColumnTwips = 800;
// Panel selectors of BringPanelToFront.
constexpr int kPanelPicture = 2;
constexpr int kPanelText = 4;
constexpr int kPanelResultList = 11;

// The search of each search mode; nullopt for the other modes.
std::optional<search::SearchKind> searchKindOf(Mode mode)
{
    using search::SearchKind;
    switch (mode) {
    case Mode::FolderSearch:
        return SearchKind::Folder;
    case Mode::FileSearch:
        return SearchKind::FileName;
    case Mode::ClassSearch:
        return SearchKind::Class;
    case Mode::PeriodSearch:
        return SearchKind::Period;
    case Mode::KeywordSearch:
        return SearchKind::Keyword;
    default:
        return std::nullopt;
    }
}

// The modes in which a pick in Combo1 narrows the shown result (in the classification search it
// only chooses what "DurSeek" will search).
bool narrowsOnPick(Mode mode)
{
    return mode == Mode::FolderSearch || mode == Mode::FileSearch || mode == Mode::PeriodSearch
        || mode == Mode::KeywordSearch;
}
} // namespace

Form1::Form1(Prompter &prompter, HelpLauncher *helpLauncher, QWidget *parent)
    : QMainWindow(parent)
    , m_prompter(prompter)
    , m_helpLauncher(helpLauncher)
{
    setObjectName(QStringLiteral("Form1"));
    if (!m_helpLauncher)
        m_helpLauncher = new HelpWindow(this);

    createToolbar();
    createControllers();
    createMenus();
    createShortcuts();
    connectControllers();

    // Start-up: no catalogue is opened and nothing of a previous run is restored.
    resize(twipsToPixels(16000), twipsToPixels(9000));
    setWindowTitle(appTitle());
    setWindowIcon(toolbarIcon(QStringLiteral("Binder")));
    InitStatusBar();
    ShowModeStatus(ModeStatus::Start);
    EnableMenus(MenuSet::NoCatalog);
    SetTextFontSize(10);
    ResetToStartScreen();
    ShowLayout(StartLayout());
    m_helpFile
        = QDir(QCoreApplication::applicationDirPath())
              .filePath(QString::fromLatin1(kManualFolder) + QLatin1Char('/') + QString::fromLatin1(kManualFirstPage));
    m_helpContextId = Help::StartUp;
}

Form1::~Form1()
{
    shutdown();
}

// ---------------------------------------------------------------- construction

void Form1::createControllers()
{
    m_area = new QWidget(this);
    m_area->setObjectName(QStringLiteral("area"));
    setCentralWidget(m_area);
    m_area->installEventFilter(this);

    m_browser = new browser::ui::BrowserController(m_prompter, m_area, this);
    m_search = new search::ui::SearchController(m_prompter, m_catalog, m_searchResultSet, Toolbar, m_area, this);
    m_registration = new registration::ui::RegistrationController(m_prompter, m_area, this);
    m_viewer = new viewer::ui::ViewerController(m_prompter, m_area, this);
    m_binders = new binders::ui::BinderController(m_prompter, m_catalog, m_binderSet, m_area, this);

    fg = m_browser->folderPanel();
    fr = m_browser->fileList();
    fs = m_search->resultList();
    fg2 = m_registration->slipView();
    vs = m_registration->historyView();
    Calendar = m_registration->calendar();
    imk = m_viewer->pictureView();
    mData = m_viewer->textView();
    fg3 = m_binders->binderList();

    // The width of the left panel lives in the width of the grid leading the layout.
    fg->resize(twipsToPixels(kFolderPanelTwips), fg->height());
    fg2->resize(twipsToPixels(kSlipTwips), fg2->height());
    vs->resize(twipsToPixels(kSlipTwips), vs->height());
    fg3->resize(twipsToPixels(kFolderPanelTwips), fg3->height());

    picDrag = new SplitterHandle(Qt::Vertical, m_area);
    picDrag->setObjectName(QStringLiteral("picDrag"));
    connect(picDrag, &SplitterHandle::dropped, this, &Form1::picDragDropped);
    udDrag = new SplitterHandle(Qt::Horizontal, m_area);
    udDrag->setObjectName(QStringLiteral("udDrag"));
    udDrag->hide();
    connect(udDrag, &SplitterHandle::dropped, this, &Form1::udDragDropped);

    const std::pair<Widget, QWidget *> table[]
        = { { Widget::fg, fg }, { Widget::fr, fr }, { Widget::fs, fs }, { Widget::fg2, fg2 }, { Widget::vs, vs },
              { Widget::fg3, fg3 }, { Widget::imk, imk }, { Widget::mData, mData }, { Widget::Calendar, Calendar },
              { Widget::picDrag, picDrag }, { Widget::udDrag, udDrag }, { Widget::Text1_0, m_search->panel().Text1(0) },
              { Widget::Text1_1, m_search->panel().Text1(1) }, { Widget::Combo1, m_search->panel().Combo1() } };
    for (const auto &[name, widget] : table) {
        Q_ASSERT(widget->objectName() == widgetName(name));
        m_tableWidgets[std::size_t(name)] = widget;
    }

    StatusBar1 = new QStatusBar(this);
    StatusBar1->setObjectName(QStringLiteral("StatusBar1"));
    StatusBar1->setSizeGripEnabled(false);
    setStatusBar(StatusBar1);
}

void Form1::connectControllers()
{
    connect(m_browser, &browser::ui::BrowserController::folderChosen, this, [this](int, const QString &path) {
        SelectFolderNode(path);
        HideOtherModesWidgets();
    });
    connect(m_browser, &browser::ui::BrowserController::fileClicked, this, [this] {
        OpenListedFile();
        HideOtherModesWidgets();
    });

    connect(
        m_search, &search::ui::SearchController::listPrepared, this, [this] { BringPanelToFront(kPanelResultList); });
    connect(m_search, &search::ui::SearchController::recordRowClicked, this, [this](int row) {
        OpenResultRow(row);
        HideOtherModesWidgets();
    });
    connect(m_search, &search::ui::SearchController::classPicked, this, [this](const QString &text) {
        Combo1_Click(text);
        HideOtherModesWidgets();
    });

    connect(m_binders, &binders::ui::BinderController::binderChosen, this, [this](int) {
        ShowBinderContents();
        HideOtherModesWidgets();
    });

    connect(m_registration, &registration::ui::RegistrationController::stepRequested, this, [this](bool next) {
        if (m_layoutState == LayoutState::RecordShown)
            run(next ? Command::Next : Command::Prev);
    });

    connect(m_viewer, &viewer::ui::ViewerController::paneWanted, this, [this](viewer::ui::ViewerController::Pane pane) {
        BringPanelToFront(pane == viewer::ui::ViewerController::Pane::Picture ? kPanelPicture : kPanelText);
    });
    connect(m_viewer, &viewer::ui::ViewerController::pageChanged, this,
        [this](int page, int count) { setStatusPanelText(2, viewer::multiPageStatusText(page, count)); });

    // Edits of the record still on screen are written before its catalogue goes away. The
    // window's own paths (open, close) have asked already; what reaches here unasked (the window
    // destroyed without closing) is saved as far as it can be. The marks are cleared either way:
    // they must not reach the current record of the next catalogue.
    connect(this, &Form1::catalogAboutToClose, this, [this] {
        if (m_registration->hasUnsavedEdits())
            ReleaseShownRecord();
        m_registration->discardEdits();
    });
}

// ---------------------------------------------------------------- menus

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
        connect(a, &QAction::triggered, this, [this, handler] {
            handler();
            HideOtherModesWidgets();
        });
        return a;
    };

    QMenu *mFile = menu(bar, nullptr, "mFile", "ファイル");
    item(mFile, "mFileDBOpen", "データベースを開く", [this] { OpenCatalog(); });
    mFile->addSeparator();
    item(mFile, "mFileDBCreate", "データベース新規作成", [this] { mFileDBCreate_Click(); });
    mFile->addSeparator();
    item(mFile, "mFileCompact", "データベースの最適化", [this] { mFileCompact_Click(); });
    item(mFile, "mFileRepair", "データベースの修復", [this] { mFileRepair_Click(); });
    mFile->addSeparator();
    item(mFile, "mFileExportList", "検索結果を書き出す", [this] { ExportResultList(); });
    mFile->addSeparator();
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

// ---------------------------------------------------------------- dispatch and modes

void Form1::Toolbar_ButtonClick(const QString &key)
{
    if (const std::optional<Command> command = commandForKey(key))
        run(*command);
}

// One handler per command. The switch names every command (the build refuses a missing one),
// and every layout's keys name a command (AppendLayout checks), so no click goes nowhere.
void Form1::run(Command command)
{
    const bool archive = m_catalog.isArchive();
    switch (command) {
    case Command::StartShowFile:
        ShowLayout(FileShowLayout());
        setMode(Mode::FileShow);
        ResetToFolderScreen();
        break;
    case Command::DBopen:
        OpenCatalog();
        break;
    case Command::View:
        setMode(Mode::FileShow);
        if (ChooseAndListFolder())
            m_helpContextId = Help::FileShow;
        break;
    case Command::BackToStart:
        ShowLayout(StartLayout());
        InitStatusBar();
        ShowModeStatus(ModeStatus::Start);
        break;
    case Command::Search:
        LoadClassItems();
        ShowLayout(SearchMenuLayout());
        ShowModeStatus(ModeStatus::SearchMenu);
        break;
    case Command::DBrec:
        setMode(Mode::Record);
        ResetToFolderScreen();
        setStatusPanelText(1, u("DB登録モード"));
        if (ChooseAndListFolder())
            setStatusPanelText(1, u("DB登録モード"));
        break;
    case Command::RecAll:
        if (!archive)
            RegisterShownFolder();
        break;
    case Command::Back2DB:
        ShowLayout(DBUseLayout(archive));
        ShowModeStatus(ModeStatus::CatalogOpened);
        break;
    case Command::DBsearch:
        EnterFolderSearchMode();
        break;
    case Command::DBFiles:
        EnterFileSearchMode();
        break;
    case Command::DBClass:
        EnterClassSearchMode();
        break;
    case Command::DBDate:
        EnterPeriodSearchMode();
        break;
    case Command::DBKeyword:
        EnterKeywordSearchMode();
        break;
    case Command::BDRsearch:
        EnterBinderBrowseMode();
        break;
    case Command::DurSeek:
        DurSeek();
        break;
    case Command::WordSeek:
        if (m_search->Form5(search::SearchPurpose::PhraseInFile))
            m_viewer->SearchStrFunc(m_search->fullTextWord());
        break;
    case Command::FullTextSearch:
        m_search->FullTextSearch(m_browser->listedFolder(), m_browser->names(),
            [this](const QList<bool> &hits) { m_browser->MarkFullTextHits(hits); });
        break;
    case Command::FullTextSearchDB:
        // In a binder's list row n is record n of BinderSet.
        m_search->FullTextSearchDB(m_mode == Mode::BinderFiles ? m_binderSet.get() : m_searchResultSet.get());
        break;
    case Command::BackTo:
        dispatchBackTo();
        break;
    case Command::BackToINI:
        setMode(Mode::Start);
        ResetToStartScreen();
        ShowLayout(FileShowLayout());
        ShowModeStatus(ModeStatus::Start);
        break;
    case Command::BackToSearch:
        setMode(Mode::Start);
        ResetToStartScreen();
        ShowLayout(SearchMenuLayout());
        ShowModeStatus(ModeStatus::SearchMenu);
        break;
    case Command::Prev:
    case Command::Next:
        if (m_mode == Mode::FileShow || m_mode == Mode::Record)
            StepFolderFile(command == Command::Next);
        else
            StepResultFile(command == Command::Next);
        break;
    case Command::Rec2Binder:
        Rec2Binder();
        break;
    case Command::AddLine:
    case Command::DelLine:
        EditHistoryLine(command);
        break;
    case Command::Up:
    case Command::Down:
        if (m_binderOperation == BinderOp::ReorderBinders && m_mode == Mode::Start)
            m_binders->MoveListRow(command == Command::Up);
        else if (m_binderOperation == BinderOp::ReorderFiles && m_mode == Mode::BinderFiles)
            m_search->MoveListRow(command == Command::Up);
        break;
    case Command::Reg:
        if (m_binderOperation == BinderOp::ReorderBinders && m_mode == Mode::Start)
            m_binders->SaveNewOrder();
        else if (m_binderOperation == BinderOp::ReorderFiles && m_mode == Mode::BinderFiles)
            SaveFileOrder();
        break;
    case Command::Apri:
        m_viewer->OpenInApplication();
        break;
    case Command::Del:
        if (m_binderOperation == BinderOp::Delete && m_mode == Mode::Start)
            m_binders->DeleteBinder();
        else if (m_binderOperation == BinderOp::Detach && m_mode == Mode::BinderFiles
            && m_binders->DetachFromBinder(m_currentResultRow))
            ShowBinderContents();
        break;
    case Command::Size:
        if (QAction *size = toolAction(QStringLiteral("size"))) {
            const viewer::SizeButton next = m_viewer->ToggleSizeCaption(size->iconText());
            size->setIcon(toolbarIcon(next.image));
            size->setText(next.caption);
            size->setIconText(next.caption);
            size->setToolTip(next.toolTip);
            size->setWhatsThis(next.toolTip);
        }
        break;
    case Command::Left90:
    case Command::Right90:
        m_viewer->Rotate(command == Command::Left90);
        break;
    case Command::Enlarge:
        m_viewer->Magnify();
        break;
    case Command::Gprev:
    case Command::Gnext:
        m_viewer->StepPage(command == Command::Gnext);
        break;
    case Command::Sxf:
        m_viewer->ShowDrawing();
        break;
    case Command::BackColor:
        m_viewer->ChooseBackColor();
        break;
    case Command::Excel:
        m_viewer->ExportToExcel(pictureSheet());
        break;
    }
    HideOtherModesWidgets();
}

void Form1::setMode(Mode mode)
{
    Q_ASSERT_X(modeTransitionAllowed(m_mode, mode), "Form1::setMode", "a mode change missing from the table");
    m_mode = mode;
}

void Form1::dispatchBackTo()
{
    const bool archive = m_catalog.isArchive();
    switch (m_mode) {
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
        if (!SaveRecordIfDirty())
            break;
        RestoreSearchList();
        m_layoutState = LayoutState::Lists;
        m_binderList = false;
        ArrangePanes();
        ShowLayout(SearchListLayout(m_mode));
        ShowModeStatus(ModeStatus::ResultListed);
        break;
    case Mode::BinderFiles:
        if (!SaveRecordIfDirty())
            break;
        // The binder's file list is still on screen under the viewer: it is not read again.
        PutViewerAway();
        m_layoutState = LayoutState::Lists;
        ShowBinderPanel();
        BringPanelToFront(kPanelResultList);
        ShowLayout(SearchListLayout(m_mode));
        ShowModeStatus(ModeStatus::ResultListed);
        break;
    case Mode::PeriodSearch:
    case Mode::ClassSearch:
    case Mode::KeywordSearch:
    case Mode::FileSearch:
        if (!SaveRecordIfDirty())
            break;
        ShowLayout(SearchListLayout(m_mode));
        RestoreSearchList();
        ShowModeStatus(ModeStatus::ResultListed);
        m_layoutState = LayoutState::SearchPanel;
        ArrangePanes();
        break;
    case Mode::Start:
        break;
    }
}

void Form1::ResetToStartScreen()
{
    SaveShownRecord();
    PutViewerAway();
    m_search->HideSearchPanel();
    m_layoutState = LayoutState::Lists;
    m_binderList = false;
    ArrangePanes();
}

void Form1::ResetToFolderScreen()
{
    SaveShownRecord();
    m_layoutState = LayoutState::Lists;
    fg->resize(twipsToPixels(kFolderPanelTwips), fg->height());
    InitStatusBar();
    ShowModeStatus(ModeStatus::FileShow);
    m_helpContextId = Help::FileShow;
    m_binderList = false;
    BringPanelToFront(1);
    // After the list is in front: its re-applied look must not undo the starting widths.
    m_browser->InitControls();
    ArrangePanes();
}

// The folder dialog, then the chosen folder's files listed in fr with the first one shown.
// False when the dialog was cancelled (the current folder then holds "Canceled").
bool Form1::ChooseAndListFolder()
{
    m_currentFolder = BrowseForFolder(m_prompter, u(kChooseFolder), m_lastChosenFolder);
    if (m_currentFolder == canceledFolder())
        return false;
    m_lastChosenFolder = m_currentFolder;
    m_browser->ListFolderFiles(m_currentFolder);
    ShowFirstFile();
    return true;
}

void Form1::EnterRecordMode()
{
    setMode(Mode::Record);
    ResetToFolderScreen();
    ShowLayout(RecordLayout(m_catalog.isArchive()));
    ShowModeStatus(ModeStatus::Record);
    m_helpContextId = Help::Record;
}

void Form1::EnterFolderSearchMode()
{
    SaveShownRecord();
    setMode(Mode::FolderSearch);
    m_layoutState = LayoutState::Lists;
    ResetToStartScreen();
    ShowModeStatus(ModeStatus::FolderSearch);
    const QString folder = BrowseForFolder(m_prompter, u(kChooseFolder), m_lastChosenFolder);
    if (folder == canceledFolder())
        return;
    m_lastChosenFolder = folder;
    m_browser->FillFolderPanel(m_catalog.db(), folder);
    ShowLayout(SearchListLayout(m_mode));
    m_helpContextId = Help::FolderSearch;
    RunFolderSearch(folder);
}

void Form1::enterSearchMode(Mode mode, ModeStatus status, int helpId)
{
    setMode(mode);
    ResetToStartScreen();
    ShowLayout(SearchListLayout(m_mode));
    ButtonEnableTextSearch(0);
    ButtonEnableTextSearchDB(0);
    if (const auto kind = searchKindOf(m_mode))
        m_search->EnterSearchPanel(*kind);
    ShowModeStatus(status);
    m_layoutState = LayoutState::SearchPanel;
    ArrangePanes();
    m_helpContextId = helpId;
}

void Form1::EnterFileSearchMode()
{
    enterSearchMode(Mode::FileSearch, ModeStatus::FileSearch, Help::FileSearch);
}

void Form1::EnterClassSearchMode()
{
    enterSearchMode(Mode::ClassSearch, ModeStatus::ClassSearch, Help::ClassSearch);
}

void Form1::EnterPeriodSearchMode()
{
    enterSearchMode(Mode::PeriodSearch, ModeStatus::PeriodSearch, Help::PeriodSearch);
}

void Form1::EnterKeywordSearchMode()
{
    enterSearchMode(Mode::KeywordSearch, ModeStatus::KeywordSearch, Help::KeywordSearch);
}

void Form1::EnterBinderBrowseMode()
{
    setMode(Mode::BinderFiles);
    m_binderOperation = BinderOp::Browse;
    ResetToStartScreen();
    EnterBinderContentsPanel();
    m_helpContextId = Help::BinderBrowse;
}

void Form1::EnterBinderMaintenanceMode(BinderOp op)
{
    SaveShownRecord();
    setMode(Mode::Start);
    m_layoutState = LayoutState::Lists;
    m_binderOperation = op;
    PutViewerAway();
    m_search->HideSearchPanel();
    EnterBinderMaintenance();
    if (const auto code = binderStatusCode(op))
        ShowModeStatus(*code);
    if (const auto help = binderHelpContext(op))
        m_helpContextId = *help;
    if (op == BinderOp::Create)
        m_binders->CreateBinderForm();
}

void Form1::EnterBinderFilesMode(BinderOp op)
{
    SaveShownRecord();
    setMode(Mode::BinderFiles);
    m_binderOperation = op;
    PutViewerAway();
    m_search->HideSearchPanel();
    EnterBinderContentsPanel();
    if (const auto help = binderHelpContext(op))
        m_helpContextId = *help;
}

// The binder list on the left (3000 twips wide), the result list on the right.
void Form1::ShowBinderPanel()
{
    fg3->resize(twipsToPixels(kFolderPanelTwips), fg3->height());
    m_binderList = true;
    ArrangePanes();
}

// Binder browsing, file reordering and detaching: binder list on the left, a binder's files
// on the right once one is clicked.
void Form1::EnterBinderContentsPanel()
{
    m_layoutState = LayoutState::Lists;
    m_currentResultRow = 0;
    m_binders->setClickAction(binders::ui::BinderController::ClickAction::ShowContents);
    m_search->PrepShow2FS_Binder();
    ShowLayout(BinderListLayout(m_binderOperation));
    ShowBinderPanel();
    m_binders->InitFG3();
    const int binders = m_binders->ShowBinders();
    if (const auto code = binderStatusCode(m_binderOperation))
        ShowModeStatus(*code);
    if (binders < 1)
        m_prompter.inform(appTitle(), binders::kNoBindersMessage, Prompter::Icon::Warning);
}

// Binder creation, deletion, renaming and reordering: the binder list, the result list emptied.
void Form1::EnterBinderMaintenance()
{
    using ClickAction = binders::ui::BinderController::ClickAction;
    m_binders->setClickAction(m_binderOperation == BinderOp::Rename ? ClickAction::Rename : ClickAction::Select);
    ShowLayout(BinderListLayout(m_binderOperation));
    m_binders->InitFG3();
    m_binders->ShowBinders();
    m_search->PrepShow2FS();
    ShowBinderPanel();
}

// The files of the binder chosen in fg3 in the result list (ShowBinderContents).
void Form1::ShowBinderContents()
{
    m_currentResultRow = 0;
    m_search->PrepShow2FS_Binder();
    const Result<bool> found = m_binders->QueryBinderContents();
    if (!found)
        return;
    if (!found.value()) {
        m_prompter.inform(
            appTitle(), binders::emptyBinderMessage(m_binders->CurrentBinderName()), Prompter::Icon::Information);
        return;
    }
    m_search->ShowBinderRows(*m_binderSet);
    switch (m_binderOperation) {
    case BinderOp::ReorderFiles:
        ShowModeStatus(ModeStatus::RowsMoving);
        break;
    case BinderOp::Detach:
        ShowModeStatus(ModeStatus::RowsDetaching);
        break;
    default:
        ShowModeStatus(ModeStatus::ResultListed);
        if (m_search->listHasRows())
            ButtonEnableTextSearchDB(-1);
        break;
    }
}

// "reg" while reordering a binder's files: the DocNo column of the rows as displayed.
void Form1::SaveFileOrder()
{
    constexpr int kDocNoColumn = 4;
    const search::ResultListModel &list = m_search->resultModel();
    QList<int> docNos;
    for (int r = 1; r < list.rows(); ++r)
        docNos << list.cell(r, kDocNoColumn).toInt();
    m_binders->SaveFileOrder(docNos);
    // The list and BinderSet read alike again, for a further move and save.
    if (m_binderSet)
        ShowBinderContents();
}

// "Rec2Binder": the record shown is filed into a binder chosen in the binder chooser.
void Form1::Rec2Binder()
{
    if (m_catalog.isArchive() || m_mode == Mode::BinderFiles || m_layoutState != LayoutState::RecordShown
        || !m_searchResultSet || m_searchResultSet->bof() || m_searchResultSet->eof())
        return;
    m_binders->Rec2Binder(m_searchResultSet->field(QStringLiteral("pnID")).toInt(),
        m_searchResultSet->field(QStringLiteral("fName")).toString());
}

// "Prev"/"Next" while a record of a result list or of a binder is shown: the edits of the
// shown record are written first; the walk is circular; a record whose folder cannot be found
// leaves the previous one shown.
void Form1::StepResultFile(bool next)
{
    jet::Database *db = m_catalog.db();
    if (!db || m_layoutState != LayoutState::RecordShown || !m_searchResultSet)
        return;
    if (!SaveRecordIfDirty())
        return;
    const int count = m_search->resultCount();
    const int before = m_openedRow;
    if (isSearchMode(m_mode)) {
        m_openedRow = binders::StepCircular(*m_searchResultSet, m_openedRow, count, next);
        if (ShowOpenedRecord())
            return;
        binders::StepCircular(*m_searchResultSet, m_openedRow, count, !next);
    } else if (m_mode == Mode::BinderFiles && m_binderOperation == BinderOp::Browse && m_binderSet) {
        // A filing whose file is no longer registered has no record to show: the walk passes it.
        int steps = 0;
        while (steps < count) {
            m_openedRow = binders::StepCircular(*m_binderSet, m_openedRow, count, next);
            ++steps;
            binders::RecordsetSlot record;
            const Result<bool> found = binders::OpenFiledRecord(*db, *m_binderSet, record);
            if (!found || !found.value())
                continue;
            std::swap(record, m_searchResultSet);
            if (ShowOpenedRecord())
                return;
            std::swap(record, m_searchResultSet);
            break;
        }
        while (steps-- > 0)
            m_openedRow = binders::StepCircular(*m_binderSet, m_openedRow, count, !next);
    }
    m_openedRow = before;
}

// The classification editor; after a store the class table is read again.
void Form1::mAidCombo_Click()
{
    jet::Database *db = m_catalog.db();
    if (!db)
        return;
    classes::ui::Form3 form3(m_prompter, *db, m_textFontSize, this);
    connect(&form3, &classes::ui::Form3::classesStored, this, &Form1::GetClassArr);
    connect(&form3, &classes::ui::Form3::helpRequested, this, [this](int contextId) {
        const int own = std::exchange(m_helpContextId, contextId);
        ShowHelp();
        m_helpContextId = own;
    });
    form3.exec();
}

// ---------------------------------------------------------------- catalogue

void Form1::OpenCatalog()
{
    if (!ReleaseShownRecord())
        return;
    Q_EMIT catalogAboutToClose();
    const auto outcome = catalog::OpenCatalogFile(m_prompter, m_catalog, m_searchResultSet, m_binderSet);
    switch (outcome) {
    case catalog::OpenOutcome::Ordinary:
        setWindowTitle(m_catalog.CatalogName);
        ShowLayout(DBUseLayout(false));
        EnableMenus(MenuSet::Catalog);
        InitStatusBar();
        ShowModeStatus(ModeStatus::CatalogOpened);
        break;
    case catalog::OpenOutcome::Archive:
        setWindowTitle(m_catalog.CatalogName + u(" （保存版）"));
        ShowLayout(DBUseLayout(true));
        break;
    default:
        return;
    }
    catalog::AskWhenBusy(*m_catalog.db(), m_prompter);
    m_classArr.clear();
    // The text size chosen last with this catalogue comes back with it.
    if (const Result<int> size = viewer::ReadFontSize(m_catalog.db()))
        applyTextFontSize(size.value());
    m_helpContextId = Help::CatalogOpened;
    Q_EMIT catalogOpened();
}

void Form1::mFileDBCreate_Click()
{
    catalog::CreateCatalog(m_prompter, m_catalog);
}

void Form1::mFileCompact_Click()
{
    const QString path = m_catalog.isOpen() ? m_catalog.CatalogPath : QString();
    bool closed = false;
    MaintenanceProgressDialog progress(this, u("データベースを最適化しています…"));
    catalog::CompactCatalogCommand(m_prompter, path, closeForMaintenance(closed), progress.callback());
    if (closed)
        reopenAfterMaintenance();
}

void Form1::mFileRepair_Click()
{
    MaintenanceProgressDialog progress(this, u("データベースを修復しています…"));
    const QString inUse = m_catalog.isOpen() ? m_catalog.CatalogPath : QString();
    const QString startDir = inUse.isEmpty() ? QString() : QFileInfo(inUse).absolutePath();
    bool closed = false;
    catalog::RepairCatalogCommand(m_prompter, startDir, inUse, closeForMaintenance(closed), progress.callback());
    if (closed)
        reopenAfterMaintenance();
}

std::function<void()> Form1::closeForMaintenance(bool &closed)
{
    return [this, &closed] {
        if (!m_catalog.isOpen())
            return;
        Q_EMIT catalogAboutToClose();
        catalog::CloseCatalog(m_catalog, m_searchResultSet, m_binderSet);
        closed = true;
    };
}

void Form1::reopenAfterMaintenance()
{
    // The same catalogue again, compacted or not; when it no longer opens, the start screen.
    if (catalog::ConnectCatalog(m_catalog) && catalog::HasDbidTable(m_catalog)) {
        const bool archive = m_catalog.isArchive();
        if (archive) {
            if (auto ro = jet::Database::open(m_catalog.CatalogPath, jet::Database::OpenMode::ReadOnly))
                m_catalog.CatalogConnection = ro.take();
        }
        ShowLayout(DBUseLayout(archive));
        if (!archive)
            EnableMenus(MenuSet::Catalog);
        InitStatusBar();
        ShowModeStatus(ModeStatus::CatalogOpened);
        m_classArr.clear();
        m_helpContextId = Help::CatalogOpened;
        Q_EMIT catalogOpened();
        return;
    }
    m_catalog.CatalogConnection.reset();
    setWindowTitle(appTitle());
    EnableMenus(MenuSet::NoCatalog);
    ShowLayout(StartLayout());
    InitStatusBar();
    ShowModeStatus(ModeStatus::Start);
}

void Form1::shutdown()
{
    if (m_shutDown)
        return;
    m_shutDown = true;
    Q_EMIT catalogAboutToClose();
    catalog::CloseCatalog(m_catalog, m_searchResultSet, m_binderSet);
    // Every other window of the program goes with the main window.
    const QList<QWidget *> tops = QApplication::topLevelWidgets();
    for (QWidget *w : tops)
        if (w != this && w->isWindow() && w->isVisible() && !isAncestorOf(w))
            w->close();
}

void Form1::closeEvent(QCloseEvent *event)
{
    if (!m_shutDown && !ReleaseShownRecord()) {
        event->ignore();
        return;
    }
    shutdown();
    event->accept();
}

// ---------------------------------------------------------------- folder browsing

// Shows the first file of fr (after a folder was chosen).
void Form1::ShowFirstFile()
{
    if (!m_browser->TakeFirstFile()) {
        // Nothing to show: the empty list stays in front, and the status bar says why.
        ShowModeStatus(m_mode == Mode::Record ? ModeStatus::Record : ModeStatus::FileShow);
        setStatusPanelText(2, emptyFolderStatus(QDir::toNativeSeparators(m_browser->listedFolder())));
        return;
    }
    ShowListedFile(m_browser->currentRow(), Help::FileShow);
}

// Shows the browser's current file beside the folder tree.
void Form1::ShowListedFile(int previousRow, int helpId)
{
    m_layoutState = LayoutState::FolderFileShown;
    ArrangePanes();
    m_browser->ShowListedFile(previousRow);
    m_currentFolder = m_browser->listedFolder();
    m_currentFileName = m_browser->currentFileName();
    m_currentFileDate = m_browser->currentFileDate();
    // A file shown from the list always gets the viewer's buttons built, whatever its kind:
    // with the last kind remembered, a first file of an unknown type would keep the mode's
    // toolbar, and with it the folder's registration button ("RecAll") out of reach.
    m_viewerButtons.reset();
    DispFR();
    ShowModeStatus(ModeStatus::FileShown);
    m_helpContextId = helpId;
}

// A click in fr: shows the clicked file (file display and registration only).
void Form1::OpenListedFile()
{
    if (m_mode != Mode::FileShow && m_mode != Mode::Record)
        return;
    ShowListedFile(m_browser->previousRow(), Help::FileShown);
}

// The current node of fg changed.
void Form1::SelectFolderNode(const QString &path)
{
    switch (m_mode) {
    case Mode::FileShow:
    case Mode::Record: {
        // In these modes the folder chosen last with the dialog is listed again.
        m_browser->RelistFolder();
        const bool empty = m_browser->fileCount() < 1;
        if (m_mode == Mode::FileShow)
            ShowModeStatus(empty ? ModeStatus::FileShow : ModeStatus::FileShown);
        else
            ShowModeStatus(empty ? ModeStatus::Record : ModeStatus::RecordListed);
        break;
    }
    case Mode::FolderSearch:
        RunFolderPanelSearch(path);
        break;
    default:
        break;
    }
}

// "Prev"/"Next" while the files of a folder are shown.
void Form1::StepFolderFile(bool next)
{
    if (!m_browser->StepFolderFile(next))
        return;
    m_currentFileName = m_browser->currentFileName();
    m_currentFileDate = m_browser->currentFileDate();
    DispFR();
}

// "RecAll": registers (or synchronises) the files of the shown folder.
void Form1::RegisterShownFolder()
{
    if (jet::Database *db = m_catalog.db())
        m_registration->RegisterShownFolder(
            *db, m_browser->listedFolder(), m_browser->names(), this, m_browser->modifiedTimes());
}

// Shows the result list's internal columns.
void Form1::mOptCol_Click()
{
    m_search->mOptCol_Click(m_mode == Mode::BinderFiles);
}

// ---------------------------------------------------------------- searches and records

// "Search": loads the classification items offered by the searches and the slip.
void Form1::LoadClassItems()
{
    GetClassArr();
}

void Form1::GetClassArr()
{
    m_classArr.clear();
    if (jet::Database *db = m_catalog.db())
        if (auto items = catalog::LoadClassItems(*db))
            m_classArr = items.take();
}

// The folder search for a folder chosen in the dialog.
void Form1::RunFolderSearch(const QString &folder)
{
    using Outcome = search::ui::SearchController::Outcome;
    m_currentFolder = folder;
    m_search->HideSearchPanel();
    if (m_search->RunFolderSearch(folder) == Outcome::Found) {
        ShowModeStatus(ModeStatus::ResultListed);
        if (m_search->listHasRows())
            ButtonEnableTextSearchDB(-1);
    }
}

// A folder picked in the folder panel while in the folder search.
void Form1::RunFolderPanelSearch(const QString &folder)
{
    using Outcome = search::ui::SearchController::Outcome;
    if (!folder.isEmpty())
        m_currentFolder = folder;
    if (m_search->RunFolderPanelSearch(folder) == Outcome::Found)
        ShowModeStatus(ModeStatus::ResultListed);
}

// "DurSeek": runs the search of the mode.
void Form1::DurSeek()
{
    using Outcome = search::ui::SearchController::Outcome;
    const auto kind = searchKindOf(m_mode);
    if (kind && *kind != search::SearchKind::Folder) {
        if (m_search->run(*kind) == Outcome::Found)
            ShowModeStatus(ModeStatus::ResultListed);
        if (m_search->listHasRows())
            ButtonEnableTextSearchDB(-1);
    }
    m_search->HideInternalColumns();
}

void Form1::Combo1_Click(const QString &text)
{
    if (narrowsOnPick(m_mode))
        m_search->NarrowByClass(text);
}

// "BackTo" from a record to the list of a search mode: the list rebuilt from SearchResultSet
// and the search inputs shown again.
void Form1::RestoreSearchList()
{
    if (const auto kind = searchKindOf(m_mode))
        m_search->RestoreResultList(*kind);
}

// A click on a result row opens its record.
void Form1::OpenResultRow(int gridRow)
{
    jet::Database *db = m_catalog.db();
    if (!db || gridRow < 1)
        return;
    m_currentResultRow = gridRow;
    if (m_mode == Mode::BinderFiles) {
        // While reordering or detaching a click only chooses the row.
        if (m_binderOperation == BinderOp::ReorderFiles || m_binderOperation == BinderOp::Detach || !m_binderSet)
            return;
        m_binderSet->moveFirst();
        m_binderSet->move(gridRow - 1);
        // The filed file's catalogue record becomes the current record of SearchResultSet.
        binders::RecordsetSlot record;
        const Result<bool> found = binders::OpenFiledRecord(*db, *m_binderSet, record);
        if (!found || !found.value())
            return;
        m_searchResultSet = std::move(record);
    } else if (isSearchMode(m_mode)) {
        if (!m_searchResultSet)
            return;
        m_searchResultSet->moveFirst();
        m_searchResultSet->move(gridRow - 1);
    } else {
        return;
    }
    if (m_searchResultSet->bof() || m_searchResultSet->eof())
        return;
    m_openedRow = gridRow;
    ShowOpenedRecord();
}

// Shows the current record of SearchResultSet as record m_openedRow: slip, history, viewer.
// False when its folder lookup failed (after the message).
bool Form1::ShowOpenedRecord()
{
    jet::Database *db = m_catalog.db();
    if (!db || !m_searchResultSet || m_searchResultSet->bof() || m_searchResultSet->eof())
        return false;
    const Result<catalog::RecordFile> file = catalog::TakeRecordFile(*db, *m_searchResultSet);
    if (!file) {
        m_prompter.inform(
            appTitle(), QStringLiteral("Critical Error!! DB broken -> GetPath"), Prompter::Icon::Critical);
        return false;
    }
    m_currentFolder = file->folder;
    m_layoutState = LayoutState::RecordShown;

    const bool binderList = m_mode == Mode::BinderFiles;
    ShowLeftPane(int(LeftPane::Slip));
    if (m_classArr.isEmpty())
        LoadClassItems();
    registration::ui::RegistrationController::RecordView view;
    view.folder = QDir::toNativeSeparators(m_currentFolder);
    view.openedRow = m_openedRow;
    view.resultCount = m_search->resultCount();
    view.fontSize = m_textFontSize;
    view.archive = m_catalog.isArchive();
    view.classes = m_classArr;
    if (!binderList)
        m_search->HideSearchPanel();
    m_registration->ShowRecord(*db, *m_searchResultSet, view);

    m_currentFileName = file->name;
    m_currentFileDate = file->date;
    m_viewerButtons = ViewerKind::None;
    DispFR();

    // The record display's toolbar: DispFR built it unless the file shows no viewer buttons.
    if (!toolbarKeys().contains(QStringLiteral("BackTo")))
        ShowLayout(ViewerLayout(ViewerKind::None, m_mode, m_layoutState, m_catalog.isArchive()));
    const bool paged = viewer::presentationFor(m_currentFileName) == viewer::Presentation::MultiPagePicture
        && m_viewer->pageCount() >= 2;
    if (!paged || binderList)
        ShowModeStatus(ModeStatus::Stepping);
    fg2->resize(twipsToPixels(binderList ? kBinderSlipTwips : kSlipTwips), fg2->height());
    vs->resize(fg2->width(), vs->height());
    ArrangePanes();
    m_helpContextId = Help::RecordShown;
    return true;
}

// Before the record is left or stepped from: slip fields and history lines. False: stay on it.
bool Form1::SaveRecordIfDirty()
{
    jet::Database *db = m_catalog.db();
    if (!db || !m_searchResultSet) {
        m_registration->discardEdits();
        return true;
    }
    return m_registration->SaveRecordIfDirty(*db, *m_searchResultSet, m_layoutState == LayoutState::RecordShown);
}

// Before the catalogue goes: the shown record's edits, asking about what cannot be saved.
// False: the user chose to stay.
bool Form1::ReleaseShownRecord()
{
    jet::Database *db = m_catalog.db();
    if (!db || !m_searchResultSet || !m_registration->hasUnsavedEdits())
        return true;
    return m_registration->SaveRecordIfDirty(*db, *m_searchResultSet, m_layoutState == LayoutState::RecordShown,
        registration::ui::RegistrationController::Leaving::Close);
}

// A menu command leaves the shown record: its edits are written first, as "BackTo" does.
void Form1::SaveShownRecord()
{
    if (m_layoutState == LayoutState::RecordShown)
        SaveRecordIfDirty();
}

void Form1::EditHistoryLine(Command command)
{
    if (m_layoutState != LayoutState::RecordShown)
        return;
    if (command == Command::AddLine)
        m_registration->AddLine();
    else
        m_registration->DelLine();
}

// ---------------------------------------------------------------- result list export

// Writes the result list as shown (its seven columns and their headings) to a spreadsheet or
// CSV file the user names.
void Form1::ExportResultList()
{
    const QStringList headings = tolvane::ui::gridHeadings(m_search->resultList());
    const QList<QStringList> rows = tolvane::ui::gridTexts(m_search->resultList());
    if (rows.isEmpty()) {
        m_prompter.inform(appTitle(), QStringLiteral("書き出す検索結果がありません。"), Prompter::Icon::Information);
        return;
    }
    const QString path = m_prompter.saveFile(
        QStringLiteral("検索結果を書き出す"), QStringLiteral("Excel ブック (*.xlsx);;CSV UTF-8 (*.csv)"));
    if (path.isEmpty())
        return;
    if (const Status written = writeTable(path, headings, rows); !written)
        m_prompter.inform(appTitle(), QDir::toNativeSeparators(path) + QStringLiteral(" に書き出せませんでした。"),
            Prompter::Icon::Warning);
}

// ---------------------------------------------------------------- viewer

// The data the "excel" export writes beside the picture: the file's own data when the files of
// a folder are shown, the slip's first five rows when the picture comes from the catalogue.
viewer::PictureSheet Form1::pictureSheet() const
{
    viewer::PictureSheet sheet;
    sheet.variant
        = m_mode == Mode::FileShow ? viewer::PictureSheet::Variant::FileData : viewer::PictureSheet::Variant::Slip;
    sheet.catalogName = m_catalog.CatalogName;
    sheet.folder = m_currentFolder;
    sheet.fileName = m_currentFileName;
    sheet.fileDate = m_currentFileDate;
    for (int row = 1; row <= 5; ++row)
        sheet.slipRows.append(
            { m_registration->slipGrid()->cellText(row, 1), m_registration->slipGrid()->cellText(row, 2) });
    return sheet;
}

// Shows the current file by its extension and keeps the viewer part of the toolbar in step.
void Form1::DispFR()
{
    using viewer::Presentation;
    const Presentation presentation = m_viewer->DispFR(m_currentFolder, m_currentFileName, m_textFontSize);
    showViewerButtons(ViewerKind(viewer::toolbarKindFor(presentation)));
    switch (presentation) {
    case Presentation::MultiPagePicture:
        setToolEnabled(QStringLiteral("Gprev"), m_viewer->pageCount() != 1);
        setToolEnabled(QStringLiteral("Gnext"), m_viewer->pageCount() != 1);
        setStatusPanelText(2, viewer::multiPageStatusText(m_viewer->currentPage(), m_viewer->pageCount()));
        m_search->hideWordBox();
        break;
    case Presentation::Picture:
    case Presentation::DrawingNotice:
        m_search->hideWordBox();
        break;
    case Presentation::Unknown:
        if (viewer::hidesSearchText(m_currentFileName))
            m_search->hideWordBox();
        break;
    case Presentation::OwnText:
    case Presentation::ExtractedText:
        break;
    }
}

void Form1::showViewerButtons(ViewerKind kind)
{
    if (m_viewerButtons == kind)
        return;
    ShowLayout(ViewerLayout(kind, m_mode, m_layoutState, m_catalog.isArchive()));
    m_viewerButtons = kind;
}

// Brings one of the right-area controls to the front and hides the others named for the
// selector: 0 none, 1 and 10 fr, 2 imk, 4 mData, 11 fs.
void Form1::BringPanelToFront(int selector)
{
    const viewer::PanelPlan plan = viewer::panelPlanFor(selector);
    if (!plan.known)
        return;
    auto control = [this](const QString &name) -> QWidget * {
        if (name == viewer::kFileList)
            return fr;
        if (name == viewer::kResultList)
            return fs;
        if (name == viewer::kPictureView)
            return imk;
        if (name == viewer::kTextView)
            return mData;
        return nullptr;
    };
    for (const QString &name : plan.hidden) {
        if (QWidget *w = control(name)) {
            w->hide();
            w->lower();
        }
    }
    if (QWidget *front = control(plan.front)) {
        if (selector == 1)
            m_browser->reapplyListLook(twipsToPixels(kFileListFirstColumnTwips));
        front->show();
        front->raise();
    }
}

// Leaves the single-file view.
void Form1::PutViewerAway()
{
    m_viewer->ClearPicTxt();
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
        // Every button's key names a command of the dispatch; a layout naming another key is a
        // programming error.
        Q_ASSERT_X(b.style == ToolButtonSpec::Style::Placeholder || commandForKey(b.key).has_value(),
            "Form1::AppendLayout", qPrintable(b.key));
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

namespace {
constexpr qint16 kTrue = -1;
constexpr qint16 kFalse = 0;
} // namespace

void Form1::ButtonEnableTextSearch(qint16 flag)
{
    if (flag == kTrue || flag == kFalse)
        setToolEnabled(QStringLiteral("FullTextSearch"), flag == kTrue);
}

void Form1::ButtonEnableTextSearchDB(qint16 flag)
{
    if (flag == kTrue || flag == kFalse)
        setToolEnabled(QStringLiteral("FullTextSearchDB"), flag == kTrue);
}

// ---------------------------------------------------------------- status bar

void Form1::rebuildStatusBar(const QList<int> &widthsTwips)
{
    for (QLabel *l : std::as_const(m_panels)) {
        StatusBar1->removeWidget(l);
        delete l;
    }
    m_panels.clear();
    // The first panels have their widths; the last takes what is left and follows the window.
    // No panel asks for the width of its text: a long folder path is cut at the panel's edge
    // (its whole text is the tool tip) instead of widening the window.
    for (int i = 0; i <= widthsTwips.size(); ++i) {
        auto *l = new QLabel(StatusBar1);
        l->setObjectName(QStringLiteral("Panel%1").arg(i + 1));
        l->setFrameStyle(QFrame::Panel | QFrame::Sunken);
        l->setTextFormat(Qt::PlainText);
        const bool last = i == widthsTwips.size();
        if (last) {
            l->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
            l->setMinimumWidth(twipsToPixels(1000));
        } else {
            l->setFixedWidth(twipsToPixels(widthsTwips[i]));
        }
        StatusBar1->addWidget(l, last ? 1 : 0);
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

void Form1::ShowModeStatus(ModeStatus code)
{
    const StatusTexts texts = statusTexts(code, m_currentFolder);
    if (texts.threePanels)
        InitStatusBar3();
    if (texts.panel1)
        setStatusPanelText(1, *texts.panel1);
    if (texts.panel2)
        setStatusPanelText(2, *texts.panel2);
    if (texts.panel3)
        setStatusPanelText(3, *texts.panel3);
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

void Form1::EnableMenus(MenuSet set)
{
    const MenuState s = menuState(set);
    m_menuItems.value(QStringLiteral("mFileDBCreate"))->setEnabled(s.dbCreateEnabled);
    for (const char *name : { "mRec", "mSearch", "mBinder", "mOpt" })
        m_menuItems.value(QString::fromLatin1(name))->setEnabled(s.catalogMenusEnabled);
}

QAction *Form1::menuItem(const QString &name) const
{
    return m_menuItems.value(name);
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
    for (QWidget *c : { fr, mData, imk, fs })
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

// The panes of the current state: its left grid in front, then its layout procedure.
void Form1::ArrangePanes()
{
    ShowLeftPane(int(paneSetFor(m_layoutState, m_binderList).left));
    ArrangeForLayoutState();
    HideOtherModesWidgets();
}

// Every command, menu item and controller signal ends here: what an earlier mode left on
// screen goes.
void Form1::HideOtherModesWidgets()
{
    const ShownWidgets shown = shownWidgets();
    for (unsigned i = 0; i < unsigned(Widget::Count); ++i) {
        QWidget *w = m_tableWidgets[i];
        if (w && !shown.allows(Widget(i)) && !w->isHidden())
            w->hide();
    }
    // The search inputs on the toolbar keep clear of its buttons.
    Toolbar->layout()->activate();
    QList<QRect> buttons;
    for (QAction *a : Toolbar->actions())
        if (auto *b = qobject_cast<QToolButton *>(Toolbar->widgetForAction(a)); b && a->isVisible())
            buttons << b->geometry();
    m_search->panel().keepClearOf(buttons);
}

// The layout procedure of the current state (also on every resize of the window).
void Form1::ArrangeForLayoutState()
{
    switch (paneSetFor(m_layoutState, m_binderList).layout) {
    case PaneLayout::Lists:
        UpdateLayout();
        break;
    case PaneLayout::FileBesideList:
        UpdateLayout2();
        break;
    case PaneLayout::Record:
        UpdateLayout3();
        break;
    case PaneLayout::Binders:
        UpdateLayout4();
        break;
    case PaneLayout::WideList:
        UpdateLayout5();
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
    for (QWidget *c : { fg2, vs, fg3, fg, fr, fs, mData, imk }) {
        if (c->isVisible() && c->rect().contains(c->mapFromGlobal(globalPos))) {
            target = c;
            break;
        }
    }
    if (!target)
        return;
    const int x = target->mapFromGlobal(globalPos).x();
    const bool binderPanel = m_layoutState == LayoutState::Lists && m_binderList;
    if (target == fg3 || (binderPanel && target != fg2 && target != vs)) {
        // Beside the binder list the drop point itself becomes the list's right edge.
        const int right = target == fg3 ? fg3->x() + x : target->x() + x;
        fg3->resize(std::max(right - fg3->x(), twipsToPixels(kMinLeftTwips)), fg3->height());
        UpdateLayout4();
    } else if (target == fg) {
        fg->resize(std::max(x, 1), fg->height());
        UpdateLayout();
    } else if (target == fg2 || target == vs) {
        const int w = std::clamp(x, twipsToPixels(2000), twipsToPixels(6000));
        fg2->resize(w, fg2->height());
        vs->resize(w, vs->height());
        if (m_layoutState == LayoutState::FolderFileShown)
            UpdateLayout2();
        else if (m_layoutState == LayoutState::RecordShown)
            UpdateLayout3();
    } else if (m_layoutState == LayoutState::Lists) {
        // The new width is the left of fg plus its width plus the drop point in the list.
        fg->resize(std::max(fg->x() + fg->width() + x, 1), fg->height());
        UpdateLayout();
    } else if (m_layoutState == LayoutState::FolderFileShown) {
        fg->resize(std::max(target->x() + x - twipsToPixels(kFrameMargin), 1), fg->height());
        UpdateLayout2();
    }
}

void Form1::udDragDropped(const QPoint &globalPos)
{
    QWidget *target = nullptr;
    for (QWidget *c : { fg2, vs })
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

namespace {
constexpr int kTextSizes[] = { 9, 10, 11, 12, 14, 16 };
}

// A text-size item: the size applied, checked in the menu and stored in the catalogue.
void Form1::SetTextFontSize(int points)
{
    if (!applyTextFontSize(points))
        return;
    if (m_catalog.isOpen() && !m_catalog.isArchive())
        SaveFontSize();
}

// The size for the grids' next fills and the file text, and its menu item checked alone.
bool Form1::applyTextFontSize(int points)
{
    if (std::find(std::begin(kTextSizes), std::end(kTextSizes), points) == std::end(kTextSizes))
        return false;
    m_textFontSize = points;
    m_browser->setFontSize(points);
    m_search->setFontSize(points);
    for (int s : kTextSizes)
        m_menuItems.value(QStringLiteral("m%1").arg(s))->setChecked(s == points);
    return true;
}

// Stores the text size in the catalogue's FontSize table.
void Form1::SaveFontSize()
{
    if (jet::Database *db = m_catalog.db())
        viewer::SaveFontSize(db, m_textFontSize);
}

// F1: the manual at the page of the current help id.
void Form1::ShowHelp()
{
    openManual(m_helpContextId);
}

void Form1::openManual(int contextId)
{
    if (!QFileInfo::exists(m_helpFile)) {
        m_prompter.inform(appTitle(),
            u("ヘルプファイルが見つかりません。") + QStringLiteral("\r\n") + QDir::toNativeSeparators(m_helpFile),
            Prompter::Icon::Warning);
        return;
    }
    if (!m_helpLauncher->showHelp(m_helpFile, contextId))
        m_prompter.inform(appTitle(),
            u("ヘルプファイルを読み込めません。") + QStringLiteral("\r\n") + QDir::toNativeSeparators(m_helpFile),
            Prompter::Icon::Warning);
}

// The manual's first page; F1 then answers with the start page's topic.
void Form1::mHelpHelp_Click()
{
    openManual(0);
    m_helpContextId = Help::StartUp;
}

// The read-me is the manual's first page.
void Form1::mHelpReadMe_Click()
{
    openManual(0);
}

void Form1::mHelpVer_Click()
{
    frmAbout about(m_prompter, this);
    about.exec();
}

} // namespace tolvane::shell

// Form1: the main window, a switchboard. It owns the catalogue in use and its two long-lived
// recordsets, the pane layout, the toolbar, the status bar and the menus, and the mode. Each
// subsystem's panels belong to that subsystem's controller; the window creates them, places
// their widgets, and routes toolbar clicks, menu commands and the controllers' signals through
// one dispatch (run) and one mode change (setMode). GUI thread only.
#pragma once

#include <array>
#include <functional>
#include <memory>

#include <QHash>
#include <QMainWindow>

#include "catalog/catalogstate.h"
#include "catalog/records.h"
#include "platform/jet/recordset.h"
#include "platform/prompter.h"
#include "shell/commands.h"
#include "shell/helplauncher.h"
#include "shell/modes.h"
#include "shell/panes.h"
#include "shell/toolbarlayouts.h"
#include "viewer/excelexport.h"

class QAction;
class QActionGroup;
class QLabel;
class QStatusBar;
class QToolBar;
class QToolButton;

namespace tolvane::browser::ui {
class BrowserController;
}
namespace tolvane::registration::ui {
class RegistrationController;
}
namespace tolvane::search::ui {
class SearchController;
}
namespace tolvane::viewer::ui {
class ViewerController;
}
namespace tolvane::binders::ui {
class BinderController;
}

namespace tolvane::shell {

class SplitterHandle;

class Form1 : public QMainWindow {
    Q_OBJECT

public:
    // helpLauncher may be null: the window's own help window shows the manual.
    explicit Form1(Prompter &prompter, HelpLauncher *helpLauncher = nullptr, QWidget *parent = nullptr);
    ~Form1() override;

    Prompter &prompter() { return m_prompter; }
    const catalog::CatalogState &catalog() const { return m_catalog; }

    // ModeNo and LayoutState.
    Mode mode() const { return m_mode; }
    LayoutState layoutState() const { return m_layoutState; }
    // The widgets the current state may show, and the widget behind each name of that table.
    ShownWidgets shownWidgets() const { return shownWidgetsFor(m_mode, m_layoutState, m_binderList); }
    QWidget *tableWidget(Widget w) const { return m_tableWidgets[std::size_t(w)]; }
    int textFontSize() const { return m_textFontSize; }
    int helpContextId() const { return m_helpContextId; }
    // The manual's first page; F1 opens the page of the current help id beside it (the
    // program folder + "manual/index.html" unless set).
    const QString &helpFile() const { return m_helpFile; }
    void setHelpFile(const QString &path) { m_helpFile = path; }

    browser::ui::BrowserController &browser() const { return *m_browser; }
    registration::ui::RegistrationController &registration() const { return *m_registration; }
    search::ui::SearchController &search() const { return *m_search; }
    viewer::ui::ViewerController &viewer() const { return *m_viewer; }
    binders::ui::BinderController &binders() const { return *m_binders; }

    // ---- toolbar ----
    QStringList toolbarKeys() const;
    QAction *toolAction(const QString &key) const;
    QToolButton *toolButton(const QString &key) const;
    // The toolbar's click handler: the command of the button's key (placeholders do nothing).
    void Toolbar_ButtonClick(const QString &key);

    // ---- status bar and menus ----
    int statusPanelCount() const { return int(m_panels.size()); }
    QString statusPanelText(int panel) const; // 1-based
    QAction *menuItem(const QString &name) const;

    // ---- menu commands ----
    void OpenCatalog();
    void mFileDBCreate_Click();
    // "データベースの最適化" and "データベースの修復": the catalogue in use is closed for the
    // compaction and opened again afterwards.
    void mFileCompact_Click();
    void mFileRepair_Click();
    // What compaction and repair call to close the window's catalogue (sets closed), and the
    // catalogue opened again afterwards.
    std::function<void()> closeForMaintenance(bool &closed);
    void reopenAfterMaintenance();
    void EnterRecordMode();
    void EnterFolderSearchMode();
    void EnterFileSearchMode();
    void EnterClassSearchMode();
    void EnterPeriodSearchMode();
    void EnterKeywordSearchMode();
    void EnterBinderBrowseMode();
    // The four binder maintenance commands (create, delete, rename, reorder binders).
    void EnterBinderMaintenanceMode(BinderOp op);
    // mSort3 / mSort4: the files of a binder, reordered or detached.
    void EnterBinderFilesMode(BinderOp op);
    void SetTextFontSize(int points);
    void mOptCol_Click();
    void mAidCombo_Click(); // the classification editor Form3
    // Reloads ClassArr from ClassN (empty when no catalogue is open or it cannot be read).
    void GetClassArr();
    const QList<catalog::ClassItem> &classArr() const { return m_classArr; }
    void ShowHelp(); // F1: the help file at the current help context
    void mHelpHelp_Click(); // the help file's start page
    void mHelpReadMe_Click(); // the read-me text
    void mHelpVer_Click();

    int twipsToPixels(int twips) const;

Q_SIGNALS:
    // The catalogue connection and the two recordsets are about to be closed (before an open
    // and at shutdown): drop every pointer into them.
    void catalogAboutToClose();
    // A catalogue was opened (ordinary or archive).
    void catalogOpened();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    // ---- construction ----
    void createControllers();
    void createMenus();
    void createToolbar();
    void createShortcuts();
    void connectControllers();

    // ---- dispatch and modes ----
    void run(Command command);
    void setMode(Mode mode);
    void dispatchBackTo();
    void enterSearchMode(Mode mode, ModeStatus status, int helpId);
    void ResetToStartScreen();
    void ResetToFolderScreen();
    bool ChooseAndListFolder();

    // ---- toolbar ----
    void ClearToolbar();
    bool AppendLayout(const ToolbarLayout &layout);
    void ShowLayout(const ToolbarLayout &layout);
    void setToolEnabled(const QString &key, bool enabled);
    // A 16-bit boolean flag: true (-1) enables the full-text button, false (0) disables it, any
    // other value leaves it as it is.
    void ButtonEnableTextSearch(qint16 flag);
    void ButtonEnableTextSearchDB(qint16 flag);
    void showViewerButtons(ViewerKind kind);
    viewer::PictureSheet pictureSheet() const;
    void ExportResultList();

    // ---- status bar and menus ----
    void InitStatusBar();
    void InitStatusBar3();
    void rebuildStatusBar(const QList<int> &widthsTwips);
    void ShowModeStatus(ModeStatus code);
    void setStatusPanelText(int panel, const QString &text);
    void EnableMenus(MenuSet set);

    // ---- folder browsing ----
    void ShowFirstFile();
    void ShowListedFile(int previousRow, int helpId);
    void OpenListedFile();
    void SelectFolderNode(const QString &path);
    void StepFolderFile(bool next);
    void RegisterShownFolder();

    // ---- searches and records ----
    void LoadClassItems();
    void RunFolderSearch(const QString &folder);
    void RunFolderPanelSearch(const QString &folder);
    void DurSeek();
    void RestoreSearchList();
    void Combo1_Click(const QString &text);
    void OpenResultRow(int gridRow);
    bool ShowOpenedRecord();
    bool SaveRecordIfDirty();
    bool ReleaseShownRecord();
    void SaveShownRecord();
    void StepResultFile(bool next);
    void EditHistoryLine(Command command);

    // ---- viewer ----
    void DispFR();
    void BringPanelToFront(int selector);
    void PutViewerAway();

    // ---- binders ----
    void EnterBinderContentsPanel();
    void EnterBinderMaintenance();
    void ShowBinderPanel();
    void ShowBinderContents();
    void SaveFileOrder();
    void Rec2Binder();

    // ---- layout ----
    int pixelsToTwips(int pixels) const;
    void UpdateLayout();
    void UpdateLayout2();
    void UpdateLayout3();
    void UpdateLayout4();
    void UpdateLayout5();
    void ShowLeftPane(int selector);
    void ArrangePanes();
    // Hides every widget of the pane table that the current state does not show.
    void HideOtherModesWidgets();
    void ArrangeForLayoutState();
    QRect leftRect(int leftWidth) const;
    QRect rightRect(int leftWidth) const;
    int frameHeight() const;
    void placeRightPanes(const QRect &r);
    void placeSplitter(int x, int height);
    void placeBesideList(QWidget *list);
    void picDragDropped(const QPoint &globalPos);
    void udDragDropped(const QPoint &globalPos);

    bool applyTextFontSize(int points);
    void SaveFontSize();
    void shutdown();
    void openManual(int contextId);

    Prompter &m_prompter;
    HelpLauncher *m_helpLauncher = nullptr;

    // The catalogue in use and its two long-lived recordsets (closed before the database).
    catalog::CatalogState m_catalog;
    std::unique_ptr<jet::Recordset> m_searchResultSet; // SearchResultSet: the current result list
    std::unique_ptr<jet::Recordset> m_binderSet; // BinderSet: the binder list or one binder's files
    QList<catalog::ClassItem> m_classArr; // ClassArr: the classification table

    Mode m_mode = Mode::Start;
    LayoutState m_layoutState = LayoutState::Lists;
    bool m_binderList = false; // the binder list fg3 leads the lists arrangement
    BinderOp m_binderOperation = BinderOp::None;
    // The viewer buttons on the toolbar (ViewerToolbarKind); none while a mode's own are shown.
    std::optional<ViewerKind> m_viewerButtons;

    // The file shown in the viewer (CurrentFolder, CurrentFileName, CurrentFileDate).
    QString m_currentFolder;
    QString m_currentFileName;
    QString m_currentFileDate;
    QString m_lastChosenFolder;
    int m_openedRow = 0; // OpenedRow: the list row of the record shown
    int m_currentResultRow = 0; // CurrentResultRow: the row of fs clicked last since it was filled

    int m_textFontSize = 10;
    int m_helpContextId = 0;
    QString m_helpFile; // the manual's first page

    // Controllers: each owns its subsystem's widgets and state.
    browser::ui::BrowserController *m_browser = nullptr;
    registration::ui::RegistrationController *m_registration = nullptr;
    search::ui::SearchController *m_search = nullptr;
    viewer::ui::ViewerController *m_viewer = nullptr;
    binders::ui::BinderController *m_binders = nullptr;

    // The frame the panes are placed on, and the widgets the layout moves.
    QWidget *m_area = nullptr;
    QWidget *fg = nullptr;
    QWidget *fr = nullptr;
    QWidget *fs = nullptr;
    QWidget *fg2 = nullptr;
    QWidget *vs = nullptr;
    QWidget *fg3 = nullptr;
    QWidget *imk = nullptr;
    QWidget *mData = nullptr;
    QWidget *Calendar = nullptr;
    SplitterHandle *picDrag = nullptr;
    SplitterHandle *udDrag = nullptr;
    std::array<QWidget *, std::size_t(Widget::Count)> m_tableWidgets {};
    QToolBar *Toolbar = nullptr;
    QStatusBar *StatusBar1 = nullptr;
    QList<QLabel *> m_panels;
    QHash<QString, QAction *> m_menuItems;
    QActionGroup *m_sizeGroup = nullptr;
    bool m_shutDown = false;
};

} // namespace tolvane::shell

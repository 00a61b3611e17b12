// Form1: the main window. It owns every piece of state shared between the subsystems (the
// catalogue in use, the two long-lived recordsets, the mode fields, the current file and the
// grid positions) and is the switchboard between toolbar, menus, grids and the subsystems.
//
// The handlers of each subsystem live in their own file (form1_browser.cpp,
// form1_registration.cpp, form1_search.cpp, form1_slip.cpp, form1_viewer.cpp,
// form1_binders.cpp, form1_classes.cpp); this file and form1.cpp hold the shell: start-up,
// modes, status bar, toolbar layouts and dispatch, window layout, menus, text size and help.
#pragma once

#include <functional>
#include <memory>

#include <QHash>
#include <QMainWindow>

#include "catalog/catalogstate.h"
#include "platform/jet/recordset.h"
#include "platform/prompter.h"
#include "shell/helplauncher.h"
#include "shell/toolbarlayouts.h"

class QAction;
class QActionGroup;
class QCalendarWidget;
class QLabel;
class QStatusBar;
class QTableView;
class QTextEdit;
class QToolBar;
class QToolButton;
class QTreeView;

namespace tolvane {
class TextExtractor;
}
namespace tolvane::registration {
class CalendarPicker;
class HistoryGrid;
class SlipGrid;
} // namespace tolvane::registration
namespace tolvane::viewer {
class PictureView;
}

namespace tolvane::search::ui {
class SearchController;
class SearchPanel;
} // namespace tolvane::search::ui

namespace tolvane::shell {

class SplitterHandle;

// A classification item as the lists offer it: its text and its colour text ("&HFFFFC0").
struct ClassItem {
    QString name;
    QString colour;
};

class Form1 : public QMainWindow {
    Q_OBJECT

public:
    // helpLauncher may be null: the desktop's viewer is used.
    explicit Form1(Prompter &prompter, HelpLauncher *helpLauncher = nullptr, QWidget *parent = nullptr);
    ~Form1() override;

    Prompter &prompter() { return m_prompter; }
    catalog::CatalogState &catalog() { return m_catalog; }
    const catalog::CatalogState &catalog() const { return m_catalog; }

    // ---- shared state (read and written by the subsystems' handlers) ----
    std::unique_ptr<jet::Recordset> SearchResultSet; // the current result list
    std::unique_ptr<jet::Recordset> BinderSet; // the binder list or one binder's files

    int ModeNo = 0; // shell::Mode
    int LayoutState = 0; // shell::Layout
    int BinderOperation = 0; // shell::BinderOp

    QString CurrentFolder; // folder of the current file (or "Canceled" after a cancelled choice)
    QString CurrentFileName; // name of the current file, without folder
    QString CurrentFileDate; // "yyyy-mm-dd"
    QString LastChosenFolder;

    int CurrentResultRow = 0;
    int CurrentResultCol = 0;
    int PreviousResultRow = 0;
    int OpenedRow = 0;
    int FolderPanelRow = 0;
    int ResultCount = 0;
    QStringList CatalogHeadings;

    int CurrentBinderID = 0;
    QString CurrentBinderName;
    QString FullTextWord;
    int SearchPurpose = 0;

    int TextFontSize = 10;
    QList<ClassItem> ClassArr;
    int ViewerToolbarKind = 0;
    bool SlipDirty = false;
    bool HistoryDirty = false;

    int HelpContextID = 0;
    QString HelpFile; // the program folder + "TolvaneHelp.chm"

    // ---- controls (objectName = the name used throughout) ----
    QTreeView *fg = nullptr; // folder panel
    QTableView *fr = nullptr; // file list of CurrentFolder
    QTableView *fs = nullptr; // ResultList
    QTableView *fg2 = nullptr; // management slip
    QTableView *vs = nullptr; // revision history
    QTableView *fg3 = nullptr; // binder list
    QWidget *imk = nullptr; // picture view (replaced by the viewer's widget)
    QTextEdit *mData = nullptr;
    QCalendarWidget *Calendar = nullptr;
    QToolBar *Toolbar = nullptr;
    QStatusBar *StatusBar1 = nullptr;
    SplitterHandle *picDrag = nullptr;
    SplitterHandle *udDrag = nullptr;
    QWidget *area() const { return m_area; } // the frame the panes are placed on

    // ---- toolbar ----
    void ClearToolbar();
    // Appends a layout's buttons. Refused as a whole (false) when a key is already present.
    bool AppendLayout(const ToolbarLayout &layout);
    // ClearToolbar + AppendLayout.
    void ShowLayout(const ToolbarLayout &layout);
    QStringList toolbarKeys() const;
    QAction *toolAction(const QString &key) const;
    QToolButton *toolButton(const QString &key) const;
    void setToolEnabled(const QString &key, bool enabled);
    void setToolVisible(const QString &key, bool visible);
    // The toolbar's click handler: dispatches on the button's key.
    void Toolbar_ButtonClick(const QString &key);

    // ---- status bar ----
    void InitStatusBar();
    void InitStatusBar3();
    void ShowModeStatus(int code);
    int statusPanelCount() const { return int(m_panels.size()); }
    QString statusPanelText(int panel) const; // 1-based
    void setStatusPanelText(int panel, const QString &text);

    // ---- menus ----
    void EnableMenus(int state);
    QAction *menuItem(const QString &name) const;

    // ---- mode entry ----
    void EnterRecordMode();
    void EnterFolderSearchMode();
    void EnterFileSearchMode();
    void EnterClassSearchMode();
    void EnterPeriodSearchMode();
    void EnterKeywordSearchMode();
    void EnterBinderBrowseMode();
    // The four binder maintenance menu commands (create, delete, rename, reorder binders).
    void EnterBinderMaintenanceMode(int binderOperation);
    // mSort3 / mSort4: the files of a binder, reordered (4) or detached (21).
    void EnterBinderFilesMode(int binderOperation);
    void ResetToStartScreen();
    void ResetToFolderScreen();
    bool ChooseAndListFolder();

    // ---- catalogue ----
    void OpenCatalog();
    void mFileDBCreate_Click();

    // ---- layout ----
    int twipsToPixels(int twips) const;
    int pixelsToTwips(int pixels) const;
    void UpdateLayout();
    void UpdateLayout2();
    void UpdateLayout3();
    void UpdateLayout4();
    void UpdateLayout5();
    void ShowLeftPane(int selector);
    // Applies the current LayoutState's arrangement (what a resize does).
    void ArrangeForLayoutState();

    // ---- text size and help ----
    void SetTextFontSize(int points);
    void ShowHelp(); // F1: the help file at HelpContextID
    void mHelpHelp_Click(); // the help file's start page; HelpContextID becomes 1000
    void mHelpReadMe_Click(); // the read-me text
    void mHelpVer_Click();

    // ================= subsystem handlers (one file each) =================
    // form1_browser.cpp
    void SetupBrowser();
    void InitControls();
    void ListFolderFiles();
    void ShowFirstFile();
    void ShowListedFile(int previousRow, int helpId); // the file of CurrentResultRow beside the tree
    void PrepShow2FS();
    void StepFolderFile(bool next); // "Prev"/"Next" over the folder's file list
    void mOptCol_Click();
    void SelectFolderNode(int row, const QString &path); // the current node of fg changed
    void OpenListedFile(); // click in fr: shows CurrentResultRow
    void TakeCurrentFile();
    void PutGreen_frList();
    void PutWhite_frList();
    // Shows the catalogue's registered folders in fg and marks chosenFolder among them.
    void FillFolderPanel(const QString &chosenFolder);

    // form1_registration.cpp
    void SetupRegistration();
    void RegisterShownFolder(); // "RecAll"

    // form1_search.cpp
    void SetupSearch();
    void LoadClassItems(); // "Search": classification items for the searches
    void PrepareSearchPanel(); // entering a file-name/class/period/keyword search
    void RunFolderSearch(const QString &folder); // after the folder dialog of the folder search
    void DurSeek(); // "DurSeek"
    void WordSeek(); // "WordSeek"
    void FullTextSearch(); // "FullTextSearch"
    void FullTextSearchDB(); // "FullTextSearchDB"
    void RestoreSearchList(); // "BackTo" in the search modes
    void HideSearchPanel(); // leaving the search modes
    void RunFolderPanelSearch(const QString &folder); // a folder picked in fg in the folder search
    void Combo1_Click(const QString &text); // a pick in Combo1: narrows in the narrowing modes
    search::ui::SearchPanel *searchPanel() const { return m_searchPanel; }
    search::ui::SearchController *searchRuns(); // null until the result list has its model

    // form1_slip.cpp
    void SetupSlip();
    bool SaveSlipIfDirty(); // before leaving a record; false: stay on it
    void AddLine();
    void DelLine();
    void SaveFontSize();
    void OpenResultRow(); // click in fs: opens the record of CurrentResultRow
    // Shows the current record of SearchResultSet as record OpenedRow (slip, history, viewer);
    // false when its folder lookup failed (after the message). Prev/Next call it after moving.
    bool ShowOpenedRecord();
    void PrepareSlip();
    void FillSlip();
    void LoadHistory();
    void SaveSlipFields();
    void SaveHistory();
    bool SaveRecordIfDirty(); // before stepping to another record: slip and history; false: stay
    void EditHistoryLine(const QString &key); // "AddLine" / "DelLine"
    registration::SlipGrid *slipGrid() const { return m_slipGrid; }
    registration::HistoryGrid *historyGrid() const { return m_historyGrid; }
    registration::CalendarPicker *calendarPicker() const { return m_calendarPicker; }

    // form1_viewer.cpp
    void SetupViewer();
    void BringPanelToFront(int selector);
    void ClearPicTxt();
    void PutViewerAway();
    void OpenInApplication(); // "apri"
    void PictureCommand(const QString &key); // size, left90, right90, enlarge, Gprev, Gnext, sxf, BackColor
    void ExportToExcel(); // "excel"
    void DispFR(); // shows CurrentFolder/CurrentFileName by its extension
    void ShowExtractedText();
    void RTXText(int notice); // 6: drawing, 7: format not displayable
    viewer::PictureView *pictureView() const { return m_pictureView; }
    int PageCount = 0;
    int CurrentPage = 0;
    // The extractor behind ShowExtractedText (null: the built-in one); not owned.
    TextExtractor *TextExtractorOverride = nullptr;
    // Opens a file in the desktop's application for it (null: QDesktopServices).
    std::function<bool(const QString &path)> FileOpener;

    // form1_binders.cpp
    void SetupBinders();
    void EnterBinderContentsPanel(); // binder browse, file reorder, detach
    void EnterBinderMaintenance(); // binder create, delete, rename, reorder
    void RestoreBinderPanel(); // "BackTo" in ModeNo 5
    void StepResultFile(bool next); // "Prev"/"Next" over the result list or binder
    void Rec2Binder();
    void MoveListRow(bool up); // "up"/"down"
    void SaveNewOrder(); // "reg"
    void DeleteOrDetach(); // "del"

    // form1_classes.cpp
    void SetupClasses();
    void mAidCombo_Click();

Q_SIGNALS:
    // The catalogue connection, SearchResultSet and BinderSet are about to be closed (before
    // an open and at shutdown): drop every pointer into them.
    void catalogAboutToClose();
    // A catalogue was opened (ordinary or archive).
    void catalogOpened();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void createControls();
    void createMenus();
    void createToolbar();
    void createShortcuts();
    void rebuildStatusBar(const QList<int> &widthsTwips);
    void dispatchBackTo();
    void enterSearchMode(int modeNo, int statusCode, int helpId);
    void picDragDropped(const QPoint &globalPos);
    void udDragDropped(const QPoint &globalPos);
    QRect leftRect(int leftWidth) const;
    QRect rightRect(int leftWidth) const;
    int frameHeight() const;
    void placeRightPanes(const QRect &r);
    void placeSplitter(int x, int height);
    // list at the left edge, the panes and the splitter to its right.
    void placeBesideList(QWidget *list);
    void shutdown();
    void helpViewerMissing();

    Prompter &m_prompter;
    std::unique_ptr<HelpLauncher> m_ownHelpLauncher;
    HelpLauncher *m_helpLauncher = nullptr;
    catalog::CatalogState m_catalog;

    QWidget *m_area = nullptr;
    QList<QLabel *> m_panels;
    QHash<QString, QAction *> m_menuItems;
    QActionGroup *m_sizeGroup = nullptr;
    bool m_shutDown = false;
    search::ui::SearchPanel *m_searchPanel = nullptr; // Text1(0), Text1(1), Combo1 over the toolbar
    search::ui::SearchController *m_searchRuns = nullptr; // created with the result list's model
    registration::SlipGrid *m_slipGrid = nullptr;
    registration::HistoryGrid *m_historyGrid = nullptr;
    registration::CalendarPicker *m_calendarPicker = nullptr;
    viewer::PictureView *m_pictureView = nullptr;
};

} // namespace tolvane::shell

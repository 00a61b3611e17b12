// Form1: folder panel, file list and result-list handlers.
//
// The folder panel fg shows the folders registered in the open catalogue (PATH_NAME), nested
// where one registered folder lies inside another; each node's text is the folder's path exactly
// as stored, which is what the folder search looks up. It is filled when the folder search is
// entered (FillFolderPanel) and emptied when a file-display or registration mode is entered
// (InitControls), so a click on a node in the folder search searches that folder.
#include <QTableView>
#include <QTreeView>

#include "browser/filelist.h"
#include "browser/resultlist.h"
#include "browser/ui/filelistview.h"
#include "browser/ui/folderpanel.h"
#include "browser/ui/resultlistview.h"
#include "platform/apptitle.h"
#include "shell/modes.h"
#include "shell/ui/form1.h"

namespace tolvane::shell {

namespace {

constexpr int kShownFileHelp = 10029;
constexpr int kFileShownStatus = 12;
constexpr int kRecordListStatus = 21;
constexpr int kRecordEmptyStatus = 2;
constexpr int kFileShowEmptyStatus = 1;
constexpr int kResultListPanel = 11;
constexpr int kBinderColumns = 2;
constexpr int kCatalogColumns = 1;
// A file shown from the list always gets the viewer's buttons built, whatever its kind: with
// kind 0 remembered, a first file of an unknown type would keep the mode's toolbar, and with it
// the folder's registration button ("RecAll") out of reach.
constexpr int kNoViewerButtons = -1;

browser::FileListModel *frModel(QTableView *fr)
{
    return fr ? qobject_cast<browser::FileListModel *>(fr->model()) : nullptr;
}

browser::ResultListModel *fsModel(QTableView *fs)
{
    return fs ? qobject_cast<browser::ResultListModel *>(fs->model()) : nullptr;
}

// Puts replacement in the place of the placeholder control made by the shell.
template <class W> W *replaceControl(QWidget *placeholder, W *replacement)
{
    replacement->setGeometry(placeholder->geometry());
    replacement->setVisible(!placeholder->isHidden());
    delete placeholder;
    return replacement;
}

} // namespace

// Puts the browser's grids in place of the shell's placeholders and connects them. Called once
// from the constructor, before the other subsystems connect to fs.
void Form1::SetupBrowser()
{
    auto *panel = replaceControl(fg, new browser::ui::FolderPanel(area()));
    fg = panel;
    auto *files = new browser::FileListModel(this);
    auto *frView = replaceControl(fr, new browser::ui::FileListView(files, area()));
    fr = frView;
    auto *results = new browser::ResultListModel(this);
    auto *fsView = replaceControl(fs, new browser::ui::ResultListView(results, area()));
    fs = fsView;
    CatalogHeadings = browser::CatalogHeadings();

    connect(panel, &browser::ui::FolderPanel::folderChosen, this,
        [this](int row, const QString &path) { SelectFolderNode(row, path); });
    connect(frView, &browser::ui::FileListView::rowPressed, this, [this](int row, int col) {
        CurrentResultRow = row;
        CurrentResultCol = col;
        PreviousResultRow = CurrentResultRow;
    });
    connect(frView, &browser::ui::FileListView::rowClicked, this, [this](int, int) { OpenListedFile(); });
    connect(fsView, &browser::ui::ResultListView::rowPressed, this, [this](int row, int col) {
        CurrentResultRow = row;
        CurrentResultCol = col;
        PreviousResultRow = CurrentResultRow;
    });
}

// Prepares fg (one column, empty) and fr (cleared, three columns with headings).
void Form1::InitControls()
{
    if (auto *panel = qobject_cast<browser::ui::FolderPanel *>(fg))
        panel->clearFolders();
    if (auto *view = qobject_cast<browser::ui::FileListView *>(fr)) {
        view->initControls();
        view->setStartWidths();
    }
    FolderPanelRow = 0;
}

// Refills fr with the files of CurrentFolder.
void Form1::ListFolderFiles()
{
    auto *files = frModel(fr);
    if (!files)
        return;
    browser::ListFolderFiles(*files, CurrentFolder);
    if (auto *view = qobject_cast<browser::ui::FileListView *>(fr))
        view->setFontSize(TextFontSize);
}

// The current node of fg changed.
void Form1::SelectFolderNode(int row, const QString &path)
{
    FolderPanelRow = row;
    switch (ModeNo) {
    case Mode::FileShow:
    case Mode::Record: {
        // In these modes the folder chosen last with the dialog is listed again.
        ListFolderFiles();
        auto *files = frModel(fr);
        const bool empty = !files || files->rows() < 2;
        if (ModeNo == Mode::FileShow)
            ShowModeStatus(empty ? kFileShowEmptyStatus : kFileShownStatus);
        else
            ShowModeStatus(empty ? kRecordEmptyStatus : kRecordListStatus);
        break;
    }
    case Mode::FolderSearch:
        RunFolderPanelSearch(path);
        break;
    default:
        break;
    }
}

// Shows the catalogue's registered folders in fg, the chosen one marked open.
void Form1::FillFolderPanel(const QString &chosenFolder)
{
    auto *panel = qobject_cast<browser::ui::FolderPanel *>(fg);
    if (!panel)
        return;
    panel->fillRegisteredFolders(m_catalog.db());
    panel->markFolder(chosenFolder);
    FolderPanelRow = panel->currentRow();
}

// CurrentFileName from fr, CurrentFileDate from the disk.
void Form1::TakeCurrentFile()
{
    auto *files = frModel(fr);
    if (!files || CurrentResultRow < 1 || CurrentResultRow >= files->rows())
        return;
    CurrentFileName = files->name(CurrentResultRow);
    CurrentFileDate = browser::fileDateText(browser::joinPath(CurrentFolder, CurrentFileName));
}

void Form1::PutGreen_frList()
{
    if (auto *files = frModel(fr)) {
        browser::BrowserState rows;
        rows.PreviousResultRow = PreviousResultRow;
        rows.CurrentResultRow = CurrentResultRow;
        browser::PutGreen_frList(*files, rows);
    }
}

void Form1::PutWhite_frList()
{
    if (auto *files = frModel(fr)) {
        browser::BrowserState rows;
        rows.CurrentResultRow = CurrentResultRow;
        browser::PutWhite_frList(*files, rows);
    }
}

// A click in fr: shows the file of CurrentResultRow (file display and registration only).
void Form1::OpenListedFile()
{
    if (ModeNo != Mode::FileShow && ModeNo != Mode::Record)
        return;
    auto *files = frModel(fr);
    if (!files || CurrentResultRow < 1 || CurrentResultRow >= files->rows())
        return;
    ShowListedFile(PreviousResultRow, kShownFileHelp);
}

// Shows the first file of fr (after a folder was chosen).
void Form1::ShowFirstFile()
{
    auto *files = frModel(fr);
    CurrentResultRow = 1;
    if (!files || files->rows() < 2) {
        // Nothing to show: the empty list stays in front.
        ShowModeStatus(ModeNo == Mode::Record ? kRecordEmptyStatus : kFileShowEmptyStatus);
        return;
    }
    ShowListedFile(CurrentResultRow, Help::FileShow);
}

// Shows the file of CurrentResultRow beside the folder tree, the only row in green; afterwards
// PreviousResultRow holds previousRow.
void Form1::ShowListedFile(int previousRow, int helpId)
{
    UpdateLayout2();
    ShowLeftPane(2);
    LayoutState = Layout::FolderFileShown;
    TakeCurrentFile();
    // The highlight follows the shown file wherever the previous one was.
    if (auto *files = frModel(fr))
        files->clearRowColors();
    PreviousResultRow = 0;
    PutGreen_frList();
    PreviousResultRow = previousRow;
    ViewerToolbarKind = kNoViewerButtons;
    DispFR();
    ShowModeStatus(kFileShownStatus);
    HelpContextID = helpId;
}

// Empties the ResultList, brings it to the front and prepares its catalogue headings.
void Form1::PrepShow2FS()
{
    CatalogHeadings = browser::CatalogHeadings();
    if (auto *results = fsModel(fs))
        browser::PrepShow2FS(*results, [this](int selector) { BringPanelToFront(selector); });
    else
        BringPanelToFront(kResultListPanel);
}

// "Prev"/"Next" while the files of a folder are shown (ModeNo 1 and 2).
void Form1::StepFolderFile(bool next)
{
    auto *files = frModel(fr);
    if (!files)
        return;
    if (!next && CurrentResultRow < 2) {
        m_prompter.inform(appTitle(), QStringLiteral("最初のファイルに到達しました。"), Prompter::Icon::Warning);
        return;
    }
    if (next && CurrentResultRow >= files->rows() - 1) {
        m_prompter.inform(appTitle(), QStringLiteral("最後のファイルに到達しました。"), Prompter::Icon::Warning);
        return;
    }
    PreviousResultRow = CurrentResultRow;
    CurrentResultRow += next ? 1 : -1;
    PutGreen_frList();
    fr->scrollTo(files->index(CurrentResultRow - 1, 0));
    TakeCurrentFile();
    DispFR();
}

// Shows the ResultList columns that are normally hidden.
void Form1::mOptCol_Click()
{
    if (auto *results = fsModel(fs))
        browser::SetResultColumns(*results, ModeNo == Mode::BinderFiles ? kBinderColumns : kCatalogColumns, false);
}

} // namespace tolvane::shell

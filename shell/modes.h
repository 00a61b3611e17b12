// Operating modes of the main window: the modes and the moves between them, the status-bar texts
// of each status code, the help context ids, and the binder operations. Pure data; no widgets.
#pragma once

#include <optional>

#include <QString>

namespace tolvane::shell {

// ModeNo: what the window is doing. The numbers are the mode numbers the help and the status
// texts are written for.
enum class Mode : int {
    Start = 0, // start screen, catalogue use without a list, binder maintenance
    FileShow = 1, // files of a folder shown without the catalogue
    Record = 2, // registration of a folder's files
    FolderSearch = 3,
    BinderFiles = 5, // browse, reorder or detach the files of a binder
    PeriodSearch = 6,
    ClassSearch = 7,
    KeywordSearch = 8,
    FileSearch = 10,
};
inline constexpr Mode kModes[] = { Mode::Start, Mode::FileShow, Mode::Record, Mode::FolderSearch, Mode::BinderFiles,
    Mode::PeriodSearch, Mode::ClassSearch, Mode::KeywordSearch, Mode::FileSearch };

// The five catalogue searches' modes.
bool isSearchMode(Mode mode);

// The mode changes the window makes, one row each: every entry procedure and every "back"
// button names its move here. A move not in the table is a programming error.
bool modeTransitionAllowed(Mode from, Mode to);

// LayoutState: which pane arrangement a window resize re-runs.
enum class LayoutState : int { Lists = 0, FolderFileShown = 1, RecordShown = 2, SearchPanel = 4 };

// BinderOperation: what the binder panels are doing.
enum class BinderOp : int {
    None = 0,
    Create = 1,
    Delete = 2,
    ReorderBinders = 3,
    ReorderFiles = 4,
    Rename = 5,
    Browse = 6,
    Detach = 21,
};

// The status-bar texts, one code each (ShowModeStatus).
enum class ModeStatus : int {
    Start = 0,
    FileShow = 1,
    Record = 2,
    SearchMenu = 4,
    FolderSearch = 5,
    FileSearch = 6,
    ClassSearch = 7,
    PeriodSearch = 8,
    KeywordSearch = 9,
    CatalogOpened = 11,
    FileShown = 12,
    RecordListed = 21,
    ResultListed = 51,
    Stepping = 52,
    RowsMoving = 53,
    RowsDetaching = 54,
    FileReorder = 100,
    BinderCreate = 101,
    BinderDelete = 102,
    BinderRename = 103,
    BinderReorder = 104,
    FileDetach = 105,
    BinderBrowse = 106,
};

// Help context ids opened by F1.
namespace Help {
constexpr int StartUp = 1000;
constexpr int CatalogOpened = 10038;
constexpr int FileShow = 10019;
constexpr int Record = 10018;
constexpr int FolderSearch = 10005;
constexpr int ClassSearch = 10006;
constexpr int PeriodSearch = 10007;
constexpr int KeywordSearch = 10008;
constexpr int BinderBrowse = 10010;
constexpr int BinderCreate = 10014;
constexpr int FileSort = 10016;
constexpr int BinderSort = 10017;
constexpr int FileSearch = 10022;
constexpr int BinderDelete = 10023;
constexpr int BinderRename = 10024;
constexpr int FileDetach = 10026;
constexpr int FileShown = 10029; // a file clicked in the file list
constexpr int RecordShown = 10031; // a catalogue record shown beside its slip
constexpr int ClassEditor = 10032; // the classification editor (its own constant there)
} // namespace Help

// The texts one status code writes. A missing panel text leaves that panel as it is.
// threePanels: the code rebuilds the bar in three panels before writing.
struct StatusTexts {
    std::optional<QString> panel1;
    std::optional<QString> panel2;
    std::optional<QString> panel3;
    bool threePanels = false;
};

// Texts of a status code. FileShown takes the shown folder for panel 2.
StatusTexts statusTexts(ModeStatus code, const QString &currentFolder = {});

// Panel 2 after a folder without a file was listed: what happened and what to do next.
QString emptyFolderStatus(const QString &folder);

// Status code and help context of a binder operation; nullopt for None.
std::optional<ModeStatus> binderStatusCode(BinderOp op);
std::optional<int> binderHelpContext(BinderOp op);

// What the menus look like in each EnableMenus state.
struct MenuState {
    bool dbCreateEnabled = true;
    bool catalogMenusEnabled = false; // mRec, mSearch, mBinder, mOpt
};
enum class MenuSet { NoCatalog = 0, Catalog = 1 };
MenuState menuState(MenuSet set);

} // namespace tolvane::shell

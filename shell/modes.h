// Operating modes of the main window: the ModeNo values, the status-bar texts of each status
// code, the help context ids, and the binder operation codes. Pure data; no widgets.
#pragma once

#include <optional>

#include <QString>

namespace tolvane::shell {

// ModeNo values.
namespace Mode {
constexpr int Start = 0; // start screen, catalogue use without a list, binder maintenance
constexpr int FileShow = 1; // files of a folder shown without the catalogue
constexpr int Record = 2; // registration of a folder's files
constexpr int FolderSearch = 3;
constexpr int BinderFiles = 5; // browse, reorder or detach the files of a binder
constexpr int PeriodSearch = 6;
constexpr int ClassSearch = 7;
constexpr int KeywordSearch = 8;
constexpr int FileSearch = 10;
} // namespace Mode

// LayoutState values: which pane arrangement a window resize re-runs.
namespace Layout {
constexpr int Lists = 0;
constexpr int FolderFileShown = 1;
constexpr int RecordShown = 2;
constexpr int SearchPanel = 4;
} // namespace Layout

// BinderOperation values.
namespace BinderOp {
constexpr int None = 0;
constexpr int Create = 1;
constexpr int Delete = 2;
constexpr int ReorderBinders = 3;
constexpr int ReorderFiles = 4;
constexpr int Rename = 5;
constexpr int Browse = 6;
constexpr int Detach = 21;
} // namespace BinderOp

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
} // namespace Help

// The texts one status code writes. A missing panel text leaves that panel as it is.
// threePanels: the code rebuilds the bar in three panels before writing.
struct StatusTexts {
    std::optional<QString> panel1;
    std::optional<QString> panel2;
    std::optional<QString> panel3;
    bool threePanels = false;
};

// Texts of a status code; std::nullopt for an unknown code (nothing is written).
// Code 12 takes the shown folder for panel 2.
std::optional<StatusTexts> statusTexts(int code, const QString &currentFolder = {});

// Status code and help context of a binder operation (1 -> 101 ...); nullopt when unknown.
std::optional<int> binderStatusCode(int binderOperation);
std::optional<int> binderHelpContext(int binderOperation);

// What the menus look like in each EnableMenus state.
struct MenuState {
    bool dbCreateEnabled = true;
    bool catalogMenusEnabled = false; // mRec, mSearch, mBinder, mOpt
};
std::optional<MenuState> menuState(int state);

} // namespace tolvane::shell

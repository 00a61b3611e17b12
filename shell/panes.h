// Which panes a window state shows: the grid that leads the left panel (ShowLeftPane's
// selector) and the layout procedure that places every pane. One table for all modes, so that
// each shows its own controls and a window resize re-runs the same choice. Pure data.
#pragma once

#include "shell/modes.h"

namespace tolvane::shell {

// ShowLeftPane's selectors.
enum class LeftPane : int { Folders = 0, Slip = 1, Files = 2, Binders = 3 };

// The layout procedures: UpdateLayout, UpdateLayout2 ... UpdateLayout5.
enum class PaneLayout : int { Lists = 1, FileBesideList = 2, Record = 3, Binders = 4, WideList = 5 };

struct PaneSet {
    LeftPane left;
    PaneLayout layout;
};

// binderList: the binder list leads the lists (binder maintenance, a binder's contents).
constexpr PaneSet paneSetFor(LayoutState state, bool binderList)
{
    switch (state) {
    case LayoutState::FolderFileShown:
        return { LeftPane::Files, PaneLayout::FileBesideList };
    case LayoutState::RecordShown:
        return { LeftPane::Slip, PaneLayout::Record };
    case LayoutState::SearchPanel:
        return { LeftPane::Folders, PaneLayout::WideList };
    case LayoutState::Lists:
        break;
    }
    return binderList ? PaneSet { LeftPane::Binders, PaneLayout::Binders }
                      : PaneSet { LeftPane::Folders, PaneLayout::Lists };
}

} // namespace tolvane::shell

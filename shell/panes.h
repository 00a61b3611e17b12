// Which panes a window state shows: the grid that leads the left panel (ShowLeftPane's
// selector), the layout procedure that places every pane, and the widgets the state may have on
// screen. One table for all modes, so that each shows its own controls (nothing of the mode
// before stays behind) and a window resize re-runs the same choice. Pure data.
#pragma once

#include <iterator>

#include <QString>

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

// The window's panes and the search inputs over the toolbar, named as their objectNames.
enum class Widget : unsigned {
    fg,
    fr,
    fs,
    fg2,
    vs,
    fg3,
    imk,
    mData,
    Calendar,
    picDrag,
    udDrag,
    Text1_0,
    Text1_1,
    Combo1,
    Count
};
using WidgetSet = unsigned;
constexpr WidgetSet bit(Widget w)
{
    return WidgetSet(1) << unsigned(w);
}
constexpr WidgetSet kAllWidgets = bit(Widget::Count) - 1;

// The widget's objectName ("Text1(0)" for Text1_0).
inline QString widgetName(Widget w)
{
    static const char *const names[] = { "fg", "fr", "fs", "fg2", "vs", "fg3", "imk", "mData", "Calendar", "picDrag",
        "udDrag", "Text1(0)", "Text1(1)", "Combo1" };
    static_assert(std::size(names) == std::size_t(Widget::Count));
    return QString::fromLatin1(names[unsigned(w)]);
}

// What a window state shows: `always` are on screen whenever the state is; `mayShow` appear as
// the content asks (the picture or the text of a file, the calendar while a date is edited,
// the narrowing box once a search has found something). Everything else is hidden.
struct ShownWidgets {
    WidgetSet always = 0;
    WidgetSet mayShow = 0;
    constexpr bool allows(Widget w) const { return ((always | mayShow) & bit(w)) != 0; }
};

constexpr ShownWidgets shownWidgetsFor(Mode mode, LayoutState state, bool binderList)
{
    using W = Widget;
    // A text file keeps the word box for the text search.
    const WidgetSet file = bit(W::imk) | bit(W::mData) | bit(W::Text1_0);
    switch (state) {
    case LayoutState::FolderFileShown:
        return { bit(W::fr) | bit(W::picDrag), file };
    case LayoutState::RecordShown:
        return { bit(W::fg2) | bit(W::vs) | bit(W::udDrag) | bit(W::picDrag), file | bit(W::Calendar) };
    case LayoutState::SearchPanel:
        switch (mode) {
        case Mode::FileSearch:
        case Mode::KeywordSearch:
            return { bit(W::fs) | bit(W::Text1_0), bit(W::Combo1) };
        case Mode::PeriodSearch:
            return { bit(W::fs) | bit(W::Text1_0) | bit(W::Text1_1), bit(W::Combo1) };
        case Mode::ClassSearch:
            return { bit(W::fs) | bit(W::Combo1), 0 };
        default:
            return { bit(W::fs), 0 };
        }
    case LayoutState::Lists:
        break;
    }
    if (binderList)
        return { bit(W::fg3) | bit(W::picDrag), bit(W::fs) };
    switch (mode) {
    case Mode::FileShow:
    case Mode::Record:
        return { bit(W::fg) | bit(W::fr) | bit(W::picDrag), 0 };
    case Mode::FolderSearch:
        return { bit(W::fg) | bit(W::picDrag), bit(W::fs) | bit(W::Combo1) };
    default:
        return { bit(W::fg) | bit(W::picDrag), 0 };
    }
}

} // namespace tolvane::shell

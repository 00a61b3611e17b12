// The toolbar's button sets, one per layout. A layout is a list of buttons appended in order
// to an emptied toolbar; the main window turns them into widgets. Pure data; no widgets.
#pragma once

#include <QList>
#include <QString>

#include "shell/modes.h"

namespace tolvane::shell {

struct ToolButtonSpec {
    enum class Style { Button = 0, Placeholder = 4 };

    QString key;
    QString caption;
    Style style = Style::Button;
    QString image; // key of the picture set ("arrow", "DBOpen", ...); empty for placeholders
    QString toolTip; // also the button's description
    bool enabled = true;
    bool visible = true;
    int widthTwips = 0; // placeholders only
};

using ToolbarLayout = QList<ToolButtonSpec>;

// Viewer button sets (ViewerToolbarKind).
enum class ViewerKind : int {
    None = 0,
    Application = 1, // documents opened in their application; text search
    Picture = 2,
    MultiPage = 3,
    Drawing = 4,
};

ToolbarLayout StartLayout();
ToolbarLayout FileShowLayout();
ToolbarLayout DBUseLayout(bool archive);
ToolbarLayout RecordLayout(bool archive);
ToolbarLayout SearchMenuLayout();
// The search modes and the binder-contents list; the rows depend on the mode.
ToolbarLayout SearchListLayout(Mode mode);
// Binder maintenance and a binder's contents; "up", "down", "del" and "reg" are visible as the
// operation needs them (ShowBinderButtons).
ToolbarLayout BinderListLayout(BinderOp op);
// Sets which of "up", "down", "del" and "reg" a binder operation shows.
void ShowBinderButtons(ToolbarLayout &layout, BinderOp op);
ToolbarLayout ViewerLayout(ViewerKind kind, Mode mode, LayoutState layoutState, bool archive);

// Every picture key a layout may name.
QStringList toolbarImageKeys();

} // namespace tolvane::shell

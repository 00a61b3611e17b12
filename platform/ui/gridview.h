// What the file list and result list grids share: grid rows under the mouse and the text size.
// GUI thread only.
#pragma once

class QPoint;
class QTableView;

namespace tolvane::ui {

// Grid row (0 heading, 1.. data, -1 outside) under a point of view's viewport.
int gridRowAt(const QTableView *view, const QPoint &viewportPos);

// Sets the point size of view's text, headings included; sizes of 0 or less are ignored.
void setGridFontSize(QTableView *view, int points);

} // namespace tolvane::ui

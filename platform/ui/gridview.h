// What the file list and result list grids share: grid rows under the mouse and the text size.
// GUI thread only.
#pragma once

#include <QList>
#include <QStringList>

class QPoint;
class QTableView;

namespace tolvane::ui {

// Grid row (0 heading, 1.. data, -1 outside) under a point of view's viewport.
int gridRowAt(const QTableView *view, const QPoint &viewportPos);

// The column headings of view's model, and the texts of its rows as shown (display role),
// every column, hidden ones included.
QStringList gridHeadings(const QTableView *view);
QList<QStringList> gridTexts(const QTableView *view);

// Sets the point size of view's text, headings included; sizes of 0 or less are ignored.
void setGridFontSize(QTableView *view, int points);

} // namespace tolvane::ui

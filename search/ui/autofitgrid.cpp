#include "search/ui/autofitgrid.h"

#include <QFontMetrics>
#include <QHeaderView>
#include <QTableView>

namespace tolvane::search::ui {

namespace {
// Above this many rows every row is a single text line; measuring each would only cost time.
constexpr int kMeasuredRows = 2000;
} // namespace

void AutoFitGrid(QTableView *grid)
{
    if (!grid || !grid->model())
        return;
    const int cols = grid->model()->columnCount();
    for (int c = 1; c < cols; ++c)
        grid->resizeColumnToContents(c);
    const int rows = grid->model()->rowCount();
    if (rows <= kMeasuredRows) {
        grid->resizeRowsToContents();
    } else {
        const int h = QFontMetrics(grid->font()).height() + 6;
        grid->verticalHeader()->setDefaultSectionSize(h);
    }
}

} // namespace tolvane::search::ui

#include "platform/ui/gridview.h"

#include <QHeaderView>
#include <QTableView>

namespace tolvane::ui {

int gridRowAt(const QTableView *view, const QPoint &viewportPos)
{
    const int r = view->rowAt(viewportPos.y());
    return r < 0 ? -1 : r + 1;
}

void setGridFontSize(QTableView *view, int points)
{
    if (points <= 0)
        return;
    QFont f = view->font();
    f.setPointSize(points);
    view->setFont(f);
    view->horizontalHeader()->setFont(f);
}

} // namespace tolvane::ui

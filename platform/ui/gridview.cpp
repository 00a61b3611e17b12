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

QStringList gridHeadings(const QTableView *view)
{
    QStringList out;
    const QAbstractItemModel *m = view ? view->model() : nullptr;
    for (int c = 0; m && c < m->columnCount(); ++c)
        out << m->headerData(c, Qt::Horizontal, Qt::DisplayRole).toString();
    return out;
}

QList<QStringList> gridTexts(const QTableView *view)
{
    QList<QStringList> rows;
    const QAbstractItemModel *m = view ? view->model() : nullptr;
    for (int r = 0; m && r < m->rowCount(); ++r) {
        QStringList row;
        for (int c = 0; c < m->columnCount(); ++c)
            row << m->index(r, c).data(Qt::DisplayRole).toString();
        rows << row;
    }
    return rows;
}

} // namespace tolvane::ui

#include "search/ui/resultlistview.h"

#include <QHeaderView>
#include <QMouseEvent>

#include "platform/ui/gridview.h"

namespace tolvane::search::ui {

ResultListView::ResultListView(ResultListModel *model, QWidget *parent)
    : QTableView(parent)
    , m_model(model)
{
    setObjectName(QStringLiteral("fs"));
    setModel(model);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Interactive);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setStretchLastSection(false);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setWordWrap(false);
    connect(model, &ResultListModel::columnHiddenChanged, this,
        [this](int col, bool hidden) { setColumnHidden(col, hidden); });
    connect(model, &ResultListModel::fontSizeChanged, this, &ResultListView::applyFontSize);
    // Columns coming back after a reset take the model's visibility again.
    connect(model, &QAbstractItemModel::columnsInserted, this, &ResultListView::syncColumns);
    connect(model, &QAbstractItemModel::modelReset, this, &ResultListView::syncColumns);
    syncColumns();
    applyFontSize(model->fontSize());
}

void ResultListView::syncColumns()
{
    for (int c = 0; c < m_model->cols(); ++c)
        setColumnHidden(c, m_model->isColumnHidden(c));
}

void ResultListView::applyFontSize(int points)
{
    tolvane::ui::setGridFontSize(this, points);
}

int ResultListView::gridRowAt(const QPoint &viewportPos) const
{
    return tolvane::ui::gridRowAt(this, viewportPos);
}

void ResultListView::mousePressEvent(QMouseEvent *event)
{
    const QPoint p = event->position().toPoint();
    emit rowPressed(gridRowAt(p), columnAt(p.x()));
    QTableView::mousePressEvent(event);
}

void ResultListView::mouseDoubleClickEvent(QMouseEvent *event)
{
    const QPoint p = event->position().toPoint();
    emit rowDoubleClicked(gridRowAt(p), columnAt(p.x()));
    QTableView::mouseDoubleClickEvent(event);
}

} // namespace tolvane::search::ui

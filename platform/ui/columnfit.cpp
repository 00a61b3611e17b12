#include "platform/ui/columnfit.h"

#include <QEvent>
#include <QHeaderView>
#include <QScrollBar>
#include <QTableView>

namespace tolvane::ui {

namespace {
// Widths users set, by grid and column; kept while the program runs.
QHash<QString, QHash<int, int>> &userWidthTable()
{
    static QHash<QString, QHash<int, int>> table;
    return table;
}
} // namespace

ColumnFitter::ColumnFitter(QTableView *view, QList<int> flexible)
    : QObject(view)
    , m_view(view)
    , m_flexible(std::move(flexible))
{
    QHeaderView *header = view->horizontalHeader();
    header->setStretchLastSection(false);
    header->setSectionResizeMode(QHeaderView::Interactive);
    view->setTextElideMode(Qt::ElideMiddle);
    view->installEventFilter(this);
    header->viewport()->installEventFilter(this);
    connect(header, &QHeaderView::sectionResized, this, &ColumnFitter::sectionResized);
}

void ColumnFitter::forgetUserWidths()
{
    userWidthTable().clear();
}

QHash<int, int> &ColumnFitter::userWidths() const
{
    return userWidthTable()[m_view->objectName()];
}

void ColumnFitter::fit()
{
    const QAbstractItemModel *model = m_view->model();
    if (!model)
        return;
    m_natural.clear();
    // The view's own measure of contents and heading (it samples long lists).
    m_setting = true;
    for (int c = 0; c < model->columnCount(); ++c) {
        if (m_view->isColumnHidden(c))
            continue;
        m_view->resizeColumnToContents(c);
        m_natural.insert(c, m_view->columnWidth(c));
    }
    m_setting = false;
    m_fitted = true;
    share();
}

void ColumnFitter::share()
{
    if (!m_fitted)
        return;
    const QHash<int, int> &user = userWidths();
    // Room is kept for the vertical scroll bar whether it shows or not, so that its coming and
    // going does not share the pane out again (and again).
    const int available = m_view->contentsRect().width() - m_view->verticalScrollBar()->sizeHint().width();
    int fixed = 0;
    int flexibleNatural = 0;
    for (auto it = m_natural.cbegin(); it != m_natural.cend(); ++it) {
        const int c = it.key();
        if (user.contains(c))
            fixed += user.value(c);
        else if (m_flexible.contains(c))
            flexibleNatural += it.value();
        else
            fixed += it.value();
    }
    const QHeaderView *header = m_view->horizontalHeader();
    int left = std::max(available - fixed, 0);
    m_setting = true;
    for (auto it = m_natural.cbegin(); it != m_natural.cend(); ++it) {
        const int c = it.key();
        int width = it.value();
        if (user.contains(c)) {
            width = user.value(c);
        } else if (m_flexible.contains(c)) {
            // What is left, in proportion to the contents, never below the heading; a flexible
            // column with room to spare takes it all (the last one gets the remainder).
            const int share = flexibleNatural > 0 ? int(qint64(left) * it.value() / flexibleNatural) : left;
            width = std::max(share, header->sectionSizeHint(c));
        }
        m_view->setColumnWidth(c, width);
    }
    m_setting = false;
}

void ColumnFitter::sectionResized(int column, int, int newWidth)
{
    if (m_setting || !m_dragging || newWidth <= 0)
        return;
    // Dragged by the user: kept from now on, the flexible columns make room.
    userWidths().insert(column, newWidth);
    share();
}

bool ColumnFitter::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_view && event->type() == QEvent::Resize)
        share();
    else if (watched == m_view->horizontalHeader()->viewport()) {
        if (event->type() == QEvent::MouseButtonPress)
            m_dragging = true;
        else if (event->type() == QEvent::MouseButtonRelease)
            m_dragging = false;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace tolvane::ui

#include "browser/ui/filelistview.h"

#include <QHeaderView>
#include <QMouseEvent>
#include <QScreen>

#include "platform/ui/gridview.h"

namespace tolvane::browser::ui {

int twipsToPixels(const QWidget *widget, int twips)
{
    const double dpi = widget ? widget->logicalDpiX() : 96.0;
    return qRound(twips * dpi / 1440.0);
}

FileListView::FileListView(FileListModel *model, QWidget *parent)
    : QTableView(parent)
    , m_model(model)
    , m_fitter(new tolvane::ui::ColumnFitter(this, { FileListModel::NameColumn }))
{
    setObjectName(QStringLiteral("fr"));
    setModel(model);
    verticalHeader()->hide();
    // Every row is one line: a fixed height keeps a list of many thousand files immediate.
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    horizontalHeader()->setHighlightSections(false);
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setWordWrap(false);
    setFrameShape(QFrame::NoFrame);
}

void FileListView::initControls()
{
    m_model->clear();
    setFrameShape(QFrame::NoFrame);
}

void FileListView::setStartWidths()
{
    m_fitter->stop();
    setColumnWidth(FileListModel::NameColumn, twipsToPixels(this, 1400));
    setColumnWidth(FileListModel::SizeColumn, twipsToPixels(this, 600));
}

void FileListView::setFirstColumnWidth(int firstColumnPx)
{
    m_fitter->stop();
    setColumnWidth(FileListModel::NameColumn, firstColumnPx);
}

void FileListView::fitColumns()
{
    m_fitter->fit();
}

void FileListView::setFontSize(int points)
{
    tolvane::ui::setGridFontSize(this, points);
}

void FileListView::changeEvent(QEvent *event)
{
    QTableView::changeEvent(event);
    // Rows have one fixed height; it follows the text size however the font was set.
    if (event->type() == QEvent::FontChange)
        verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
}

int FileListView::gridRowAt(const QPoint &viewportPos) const
{
    return tolvane::ui::gridRowAt(this, viewportPos);
}

void FileListView::mousePressEvent(QMouseEvent *event)
{
    const QPoint p = event->position().toPoint();
    m_pressRow = gridRowAt(p);
    m_pressCol = columnAt(p.x());
    emit rowPressed(m_pressRow, m_pressCol);
    QTableView::mousePressEvent(event);
}

void FileListView::mouseReleaseEvent(QMouseEvent *event)
{
    QTableView::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        emit rowClicked(m_pressRow, m_pressCol);
}

} // namespace tolvane::browser::ui

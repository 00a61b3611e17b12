#include "shell/ui/splitterhandle.h"

#include <QMouseEvent>
#include <QRubberBand>

namespace tolvane::shell {

SplitterHandle::SplitterHandle(Qt::Orientation orientation, QWidget *parent)
    : QWidget(parent)
    , m_orientation(orientation)
{
    // Vertical bar (moves left/right) for picDrag, horizontal bar for udDrag.
    setCursor(orientation == Qt::Vertical ? Qt::SizeHorCursor : Qt::SizeVerCursor);
    setAttribute(Qt::WA_TranslucentBackground);
}

void SplitterHandle::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    if (!m_outline)
        m_outline = new QRubberBand(QRubberBand::Line, parentWidget());
    placeOutline(event->globalPosition().toPoint());
    m_outline->show();
}

void SplitterHandle::mouseMoveEvent(QMouseEvent *event)
{
    if (m_outline && m_outline->isVisible())
        placeOutline(event->globalPosition().toPoint());
}

void SplitterHandle::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || !m_outline || !m_outline->isVisible())
        return;
    m_outline->hide();
    Q_EMIT dropped(event->globalPosition().toPoint());
}

void SplitterHandle::placeOutline(const QPoint &globalPos)
{
    QWidget *p = parentWidget();
    const QPoint local = p->mapFromGlobal(globalPos);
    if (m_orientation == Qt::Vertical)
        m_outline->setGeometry(local.x(), 0, width(), p->height());
    else
        m_outline->setGeometry(0, local.y(), p->width(), height());
}

} // namespace tolvane::shell

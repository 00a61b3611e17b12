#include "viewer/ui/pictureview.h"

#include <QPainter>

#include "viewer/dispatch.h"

namespace tolvane::viewer {

PictureView::PictureView(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(kPictureView);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(16, 16);
}

void PictureView::setImage(const QImage &image)
{
    m_image = image;
    update();
    emit imageChanged();
}

void PictureView::clear()
{
    setImage(QImage());
}

void PictureView::setBackgroundColor(const QColor &color)
{
    m_background = color;
    update();
}

QRect PictureView::pictureRect() const
{
    if (m_image.isNull() || width() <= 0 || height() <= 0)
        return {};
    const QSize fitted = m_image.size().scaled(size(), Qt::KeepAspectRatio);
    return QRect(QPoint((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted);
}

void PictureView::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.fillRect(rect(), m_background);
    const QRect target = pictureRect();
    if (target.isEmpty())
        return;
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    p.drawImage(target, m_image);
}

} // namespace tolvane::viewer

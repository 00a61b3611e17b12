#include "viewer/ui/pictureview.h"

#include <condition_variable>
#include <mutex>
#include <thread>

#include <QEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPicture>
#include <QScrollBar>

#include "viewer/dispatch.h"

namespace tolvane::viewer {

// A full-resolution image decoded on a worker thread. The worker owns a share of it, so a
// view that moves on to another picture simply drops its share.
struct PictureView::FullLoad {
    std::mutex mutex;
    std::condition_variable ready;
    bool done = false;
    QImage image;

    QImage wait()
    {
        std::unique_lock lock(mutex);
        ready.wait(lock, [this] { return done; });
        return image;
    }
};

namespace {

QImage turned(const QImage &image, int turns)
{
    if (turns == 0 || image.isNull())
        return image;
    // QTransform turns clockwise on screen for positive angles; our turns go to the left.
    return image.transformed(QTransform().rotate(-90.0 * turns));
}

} // namespace

PictureView::PictureView(QWidget *parent)
    : QAbstractScrollArea(parent)
{
    setObjectName(kPictureView);
    setFrameShape(QFrame::NoFrame);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(16, 16);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
}

PictureView::~PictureView() = default;

void PictureView::replace(const QImage &image)
{
    m_full = image;
    m_reduced = QImage();
    m_load.reset();
    m_fullSize = image.size();
    m_turnedFull = QImage();
    m_turnedReduced = QImage();
    m_fittedCache = QPixmap();
    m_scale = Scale::Fitted;
    m_turns = 0;
    updateScrollBars();
    viewport()->update();
    emit imageChanged();
}

void PictureView::setImage(const QImage &image)
{
    replace(image);
}

void PictureView::setReducedImage(const QImage &reduced, const QSize &fullSize, std::function<QImage()> loadFull)
{
    replace(QImage());
    m_reduced = reduced;
    m_fullSize = fullSize;
    auto load = std::make_shared<FullLoad>();
    m_load = load;
    std::thread([load, loadFull = std::move(loadFull)] {
        QImage image = loadFull();
        {
            std::lock_guard lock(load->mutex);
            load->image = std::move(image);
            load->done = true;
        }
        load->ready.notify_all();
    }).detach();
    updateScrollBars();
    viewport()->update();
    emit imageChanged();
}

void PictureView::setPicture(const QPicture &picture, qreal scale)
{
    const QRect bounds = picture.boundingRect();
    if (bounds.isEmpty() || scale <= 0) {
        setImage(QImage());
        return;
    }
    const QSize size = (QSizeF(bounds.size()) * scale).toSize().expandedTo(QSize(1, 1));
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(scale, scale);
    p.translate(-bounds.topLeft());
    p.drawPicture(0, 0, picture);
    p.end();
    setImage(image);
}

void PictureView::clear()
{
    setImage(QImage());
}

const QImage &PictureView::image() const
{
    if (m_load) {
        m_full = m_load->wait();
        m_load.reset();
    }
    return m_full;
}

bool PictureView::hasImage() const
{
    return !m_full.isNull() || !m_reduced.isNull();
}

void PictureView::setBackgroundColor(const QColor &color)
{
    m_background = color;
    viewport()->update();
}

void PictureView::setScale(Scale scale)
{
    m_scale = scale;
    updateScrollBars();
    viewport()->update();
}

void PictureView::rotateQuarter(bool counterClockwise)
{
    m_turns = (m_turns + (counterClockwise ? 1 : 3)) % 4;
    m_turnedFull = QImage();
    m_turnedReduced = QImage();
    m_fittedCache = QPixmap();
    updateScrollBars();
    viewport()->update();
}

void PictureView::setMagnifierEnabled(bool on)
{
    m_magnifier = on;
    viewport()->setMouseTracking(on);
    if (!on)
        m_pointer = QPoint(-1, -1);
    viewport()->update();
}

const QImage &PictureView::fullTurnedImage() const
{
    if (m_turnedFull.isNull())
        m_turnedFull = turned(image(), m_turns);
    return m_turnedFull;
}

const QImage &PictureView::shownImage() const
{
    // The reduced image stands in for the full one in the fitted view only.
    if (!m_reduced.isNull() && m_scale == Scale::Fitted) {
        if (m_turnedReduced.isNull())
            m_turnedReduced = turned(m_reduced, m_turns);
        return m_turnedReduced;
    }
    return fullTurnedImage();
}

QSize PictureView::turnedFullSize() const
{
    return m_turns % 2 ? m_fullSize.transposed() : m_fullSize;
}

qreal PictureView::displayScale() const
{
    const QRect r = pictureRect();
    const QSize full = turnedFullSize();
    if (r.isEmpty() || full.isEmpty())
        return 1;
    return qreal(r.width()) / full.width();
}

QRect PictureView::pictureRect() const
{
    const QSize full = turnedFullSize();
    const QSize area = viewport()->size();
    if (!hasImage() || full.isEmpty() || area.isEmpty())
        return {};
    if (m_scale == Scale::Fitted) {
        const QSize fitted = full.scaled(area, Qt::KeepAspectRatio);
        return QRect(QPoint((area.width() - fitted.width()) / 2, (area.height() - fitted.height()) / 2), fitted);
    }
    // Actual size: centred while smaller than the view, scrolled otherwise.
    const int x = full.width() <= area.width() ? (area.width() - full.width()) / 2 : -horizontalScrollBar()->value();
    const int y = full.height() <= area.height() ? (area.height() - full.height()) / 2 : -verticalScrollBar()->value();
    return QRect(QPoint(x, y), full);
}

void PictureView::updateScrollBars()
{
    const bool actual = m_scale == Scale::ActualSize && hasImage();
    setHorizontalScrollBarPolicy(actual ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(actual ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    const QSize full = actual ? turnedFullSize() : QSize();
    const QSize area = viewport()->size();
    horizontalScrollBar()->setRange(0, std::max(0, full.width() - area.width()));
    horizontalScrollBar()->setPageStep(area.width());
    verticalScrollBar()->setRange(0, std::max(0, full.height() - area.height()));
    verticalScrollBar()->setPageStep(area.height());
}

QImage PictureView::lensImage(const QPoint &pos) const
{
    const QRect target = pictureRect();
    if (target.isEmpty() || !target.contains(pos))
        return {};
    const QImage &full = fullTurnedImage();
    const qreal scale = displayScale();
    // The picture point under the pointer, in full-resolution pixels.
    const QPointF centre = QPointF(pos - target.topLeft()) / scale;
    const qreal span = kLensSize / (kLensMagnification * scale);
    const QRectF source(centre.x() - span / 2, centre.y() - span / 2, span, span);
    QImage lens(kLensSize, kLensSize, QImage::Format_RGB32);
    lens.fill(m_background);
    QPainter p(&lens);
    p.drawImage(QRectF(0, 0, kLensSize, kLensSize), full, source);
    return lens;
}

void PictureView::paintEvent(QPaintEvent *)
{
    QPainter p(viewport());
    p.fillRect(viewport()->rect(), m_background);
    const QRect target = pictureRect();
    if (target.isEmpty())
        return;
    if (m_scale == Scale::Fitted) {
        // A fitted picture is scaled once per size, not on every repaint.
        if (m_fittedCache.size() != target.size()) {
            const QImage &shown = shownImage();
            if (shown.size() == target.size()) {
                m_fittedCache = QPixmap::fromImage(shown);
            } else {
                // Bi-level pages (fax scans) are reduced in grey, so that thin strokes stay
                // visible instead of dropping out between sampled pixels.
                const QImage source = shown.depth() == 1 ? shown.convertToFormat(QImage::Format_Grayscale8) : shown;
                m_fittedCache
                    = QPixmap::fromImage(source.scaled(target.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
            }
        }
        p.drawPixmap(target.topLeft(), m_fittedCache);
    } else {
        const QImage &shown = fullTurnedImage();
        const QRect visible = target.intersected(viewport()->rect());
        p.drawImage(visible.topLeft(), shown, visible.translated(-target.topLeft()));
    }
    if (m_magnifier && target.contains(m_pointer)) {
        const QImage lens = lensImage(m_pointer);
        const QRect box(m_pointer - QPoint(kLensSize / 2, kLensSize / 2), QSize(kLensSize, kLensSize));
        p.drawImage(box.topLeft(), lens);
        p.setPen(QPen(Qt::darkGray, 1));
        p.setBrush(Qt::NoBrush);
        p.drawRect(box.adjusted(0, 0, -1, -1));
    }
}

void PictureView::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    updateScrollBars();
}

void PictureView::scrollContentsBy(int, int)
{
    viewport()->update();
}

bool PictureView::viewportEvent(QEvent *event)
{
    // The scroll bars coming or going change the viewport; the ranges follow it.
    if (event->type() == QEvent::Resize)
        updateScrollBars();
    if (event->type() == QEvent::MouseButtonDblClick)
        emit doubleClicked();
    if (m_magnifier) {
        if (event->type() == QEvent::MouseMove) {
            m_pointer = static_cast<QMouseEvent *>(event)->position().toPoint();
            viewport()->update();
        } else if (event->type() == QEvent::Leave) {
            m_pointer = QPoint(-1, -1);
            viewport()->update();
        }
    }
    return QAbstractScrollArea::viewportEvent(event);
}

} // namespace tolvane::viewer

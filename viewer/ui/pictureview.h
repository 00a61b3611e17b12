// PictureView: the picture viewer `imk`. One picture (a photograph, a page of a scan, or a
// rendered drawing) on a settable background colour, fitted into the view or at actual size
// with scroll bars, turned by quarter turns for viewing only, and with a 200 × 200 magnifier
// lens that follows the pointer and shows the picture twice as large as the view does, drawn
// from the full-resolution image. GUI thread only.
//
// Showing something is one call: setImage (a picture or a page rendered to a QImage; pixels
// left transparent show the background colour) or setPicture (a QPicture, rasterised). Both
// reset the view to fitted and unturned and keep the background colour and the lens switch.
#pragma once

#include <functional>
#include <memory>

#include <QAbstractScrollArea>
#include <QColor>
#include <QImage>
#include <QPixmap>

class QPicture;

namespace tolvane::viewer {

class PictureView : public QAbstractScrollArea {
    Q_OBJECT
public:
    enum class Scale { Fitted, ActualSize };

    explicit PictureView(QWidget *parent = nullptr);
    ~PictureView() override;

    // Replaces the shown picture (a null image empties the view).
    void setImage(const QImage &image);
    // Shows a reduced image at once while loadFull decodes the full-resolution one on a worker
    // thread; actual size and the lens wait for it. fullSize: the full image's size.
    void setReducedImage(const QImage &reduced, const QSize &fullSize, std::function<QImage()> loadFull);
    // Shows picture rasterised at scale (1 = one pixel per unit of its bounding rectangle) on a
    // transparent ground, so that the background colour shows around the lines.
    void setPicture(const QPicture &picture, qreal scale = 1.0);
    // Drops the picture; the view shows its background only.
    void clear();

    // The full-resolution picture as loaded, not turned (waits for a background load).
    const QImage &image() const;
    bool hasImage() const;

    void setBackgroundColor(const QColor &color);
    QColor backgroundColor() const { return m_background; }

    void setScale(Scale scale);
    Scale scale() const { return m_scale; }

    // Turns the view by a quarter turn: counterClockwise true turns it to the left.
    void rotateQuarter(bool counterClockwise);
    // Quarter turns to the left of the view (0 to 3).
    int quarterTurns() const { return m_turns; }

    void setMagnifierEnabled(bool on);
    bool magnifierEnabled() const { return m_magnifier; }
    static constexpr int kLensSize = 200;
    static constexpr qreal kLensMagnification = 2.0;
    // What the lens shows with the pointer at pos (viewport coordinates): kLensSize square,
    // centred on the picture point under pos. Null when pos is off the picture.
    QImage lensImage(const QPoint &pos) const;

    // Where the picture is drawn in the viewport's coordinates (empty when there is none).
    QRect pictureRect() const;

signals:
    void imageChanged();
    // The user double-clicked the view.
    void doubleClicked();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    bool viewportEvent(QEvent *event) override;

private:
    struct FullLoad;

    void replace(const QImage &image);
    // The picture as shown (turned), reduced or full; and the full-resolution one, turned.
    const QImage &shownImage() const;
    const QImage &fullTurnedImage() const;
    QSize turnedFullSize() const;
    // View pixels per full-resolution pixel.
    qreal displayScale() const;
    void updateScrollBars();

    QImage m_reduced; // set while a full-resolution load runs or ran
    mutable QImage m_full;
    mutable std::shared_ptr<FullLoad> m_load;
    QSize m_fullSize;
    mutable QImage m_turnedFull;
    mutable QImage m_turnedReduced;
    mutable QPixmap m_fittedCache;
    QColor m_background = Qt::white;
    Scale m_scale = Scale::Fitted;
    int m_turns = 0;
    bool m_magnifier = false;
    QPoint m_pointer { -1, -1 };
};

} // namespace tolvane::viewer

// PictureView: the picture viewer `imk`. Shows one image fitted into the view (the whole picture
// visible, aspect ratio kept, centred) on a settable background colour. GUI thread only.
#pragma once

#include <QColor>
#include <QImage>
#include <QWidget>

namespace tolvane::viewer {

class PictureView : public QWidget {
    Q_OBJECT
public:
    explicit PictureView(QWidget *parent = nullptr);

    // Replaces the shown picture (a null image empties the view).
    void setImage(const QImage &image);
    // Drops the picture; the view shows its background only.
    void clear();
    const QImage &image() const { return m_image; }
    bool hasImage() const { return !m_image.isNull(); }

    void setBackgroundColor(const QColor &color);
    QColor backgroundColor() const { return m_background; }

    // Where the picture is drawn in the view's coordinates (empty when there is none).
    QRect pictureRect() const;

signals:
    void imageChanged();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QImage m_image;
    QColor m_background = Qt::white;
};

} // namespace tolvane::viewer

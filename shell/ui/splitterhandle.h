// SplitterHandle: the thin bars between the panes (picDrag, udDrag). Dragging one shows an
// outline across the window; releasing it reports the drop point, and the main window decides
// the new pane sizes from the control under it.
#pragma once

#include <QWidget>

class QRubberBand;

namespace tolvane::shell {

class SplitterHandle : public QWidget {
    Q_OBJECT

public:
    SplitterHandle(Qt::Orientation orientation, QWidget *parent);

Q_SIGNALS:
    void dropped(const QPoint &globalPos);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void placeOutline(const QPoint &globalPos);

    Qt::Orientation m_orientation;
    QRubberBand *m_outline = nullptr;
};

} // namespace tolvane::shell

// The picture commands' rules as data: the "size" button's two states, the background
// colours of pictures and drawings and the "BackColor" toggle between them, and which files
// are drawings. Pure functions; thread-safe.
#pragma once

#include <QColor>
#include <QString>

namespace tolvane::viewer {

// Pictures are shown on light grey (&HE0E0E0), drawings on black.
inline const QColor kPictureBackground = QColor(0xE0, 0xE0, 0xE0);
inline const QColor kDrawingBackground = QColor(Qt::black);

// Whether DispPic shows the file as an SXF drawing (on black, with the wait cursor): the last
// three characters are "sfc", "p21", "P21" or "SFC".
bool isDrawingFile(const QString &fileName);

// "BackColor": grey unless the background is grey, then black.
QColor toggledBackground(const QColor &current);

// The "size" button after a press, and the scale the press chooses. The button starts as
// "原寸" (plus): a press shows the actual size and makes it "スケール" (minus); a press on
// "スケール" fits the picture and makes it "原寸" again.
struct SizeButton {
    QString caption;
    QString image;
    QString toolTip;
    bool actualSize = false; // the scale chosen by the press
};
SizeButton sizeButtonAfterPress(const QString &caption);

} // namespace tolvane::viewer

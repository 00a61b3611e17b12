// Drawing a Drawing with QPainter into an image: fitted to a size, turned by quarter turns, or
// any part of it at any scale (the magnifier lens). Colours keep their values except white, which
// becomes black on a light background so that it stays visible. QImage and QPainter only: safe on
// a worker thread, any number of renders of one Drawing at a time.
#pragma once

#include <QColor>
#include <QImage>
#include <QTransform>

#include "viewer/drawing/drawing.h"

class QPainter;

namespace tolvane::viewer::drawing {

// The transform from drawing millimetres (y up) to pixels that fits model into an image of size
// (95 % of it, centred), turned counter-clockwise by quarterTurns × 90°.
QTransform fitTransform(const QRectF &model, const QSize &size, int quarterTurns = 0);

// The transform of a lens of lensSize pixels showing the pixel at of an image drawn with view,
// magnified by factor.
QTransform lensTransform(const QTransform &view, QPointF at, const QSize &lensSize, double factor = 2.0);

// Paints the drawing with view on painter, which is filled with background first.
void paintDrawing(QPainter &painter, const Drawing &drawing, const QTransform &view, const QColor &background);

// A new image of size with the drawing painted through view.
QImage renderDrawing(const Drawing &drawing, const QSize &size, const QTransform &view, const QColor &background);

// The whole drawing fitted into size on background.
QImage renderDrawingFitted(const Drawing &drawing, const QSize &size, const QColor &background, int quarterTurns = 0);

// Whether white elements are drawn black on this background.
bool isLightBackground(const QColor &background);

// The installed font that stands in for a font name of the drawing (ＭＳ 明朝 → a Mincho or
// serif CJK face, everything else → a Gothic or sans CJK face).
QStringList fontFamiliesFor(const QString &drawingFont);

} // namespace tolvane::viewer::drawing

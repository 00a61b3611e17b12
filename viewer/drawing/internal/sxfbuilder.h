// What the two SXF readers share: paper sizes, the text-anchor shift of the P21 writer, and the
// placing of compound figures (resolved after the whole file is read, cycles refused).
#pragma once

#include <QHash>
#include <QSizeF>
#include <QStringList>

#include "viewer/drawing/drawing.h"

namespace tolvane::viewer::drawing::internal {

// Paper size 0–4 (A0–A4) in landscape, swapped for portrait; empty for an unknown size.
QSizeF sxfPaperSize(int size, bool landscape);

// A placement of a compound figure by name: translate · rotate · scale of the figure's coordinates.
struct FigurePlacement {
    QString name;
    QPointF position;
    double angleDeg = 0;
    double scaleX = 1;
    double scaleY = 1;
};

// A compound figure or the sheet: its own elements and the figures it places.
struct FigureBody {
    int kind = 1; // 1, 2 (geodetic: x north, y east), 3, 4
    QPointF origin; // the figure's own point placed at the placement's position
    QList<Element> elements;
    QList<FigurePlacement> placements;
};

// Appends the sheet's elements to drawing, placing every compound figure where it is used.
// Unknown names, cycles and nesting deeper than kMaxNesting are counted in drawing.skipped.
void placeFigures(Drawing &drawing, FigureBody sheet, const QHash<QString, FigureBody> &figures);

void countSkipped(Drawing &drawing, const QString &what, int n = 1);

// Decodes Windows-31J text. Runs of ASCII bytes are copied as they are and only the runs of
// double-byte and half-width characters go through the converter, which is several times faster
// on drawings (nearly all ASCII) and gives the same text for well-formed input.
QString decodeWindows31j(QByteArrayView data);

// The same as QStringView::toDouble (surrounding spaces allowed), several times faster for the
// plain decimal numbers drawings are made of; anything else goes to QStringView::toDouble.
double toDouble(QStringView text, bool *ok);

// Point markers 1–7 (asterisk, circle, dot, plus, square, triangle, x) at a point, about 1.5 mm
// across at scale 1, and their names as P21 writes them (0 when unknown).
QList<Curve> sxfMarker(int code, QPointF at, double scale);
int sxfMarkerCode(const QString &name);
// Arrows and terminators 1–11 with their tip at tip and their body along direction (from the
// tip inwards), 2.5 mm long at scale 1; the names as P21 writes them (0 when unknown).
QList<Curve> sxfArrow(int code, QPointF tip, QPointF direction, double scale);
int sxfArrowCode(const QString &name);

} // namespace tolvane::viewer::drawing::internal

// The drawing model shared by the SXF (SFC, P21) and DXF readers and the renderer: layers and
// styled elements in millimetres with y pointing up. Readers fill it once; the renderer only reads
// it, so one Drawing may be drawn from several threads at a time. Value type.
#pragma once

#include <QColor>
#include <QList>
#include <QMap>
#include <QPointF>
#include <QPolygonF>
#include <QRectF>
#include <QString>
#include <QTransform>

namespace tolvane::viewer::drawing {

// How a line is stroked. Dash lengths alternate dash, gap, … in millimetres (empty: continuous).
struct LineStyle {
    QColor colour = Qt::white;
    double widthMm = 0.25;
    QList<double> dashMm;
    bool operator==(const LineStyle &) const = default;
};

// One curve in the element's own coordinates.
struct Curve {
    enum class Kind {
        Polyline, // points, in order
        Arc, // elliptic arc: centre, radii, rotation, parametric start and signed sweep (degrees);
             // a full circle or ellipse has a sweep of 360
        Bezier, // cubic Bézier: 1 + 3n control points
    };
    Kind kind = Kind::Polyline;
    QList<QPointF> points;
    QPointF centre;
    double rx = 0;
    double ry = 0;
    double rotationDeg = 0;
    double startDeg = 0;
    double sweepDeg = 360;
    bool operator==(const Curve &) const = default;

    static Curve line(QPointF a, QPointF b) { return polyline({ a, b }); }
    static Curve polyline(QList<QPointF> points)
    {
        Curve c;
        c.points = std::move(points);
        return c;
    }
    static Curve arc(QPointF centre, double rx, double ry, double rotationDeg, double startDeg, double sweepDeg)
    {
        Curve c;
        c.kind = Kind::Arc;
        c.centre = centre;
        c.rx = rx;
        c.ry = ry;
        c.rotationDeg = rotationDeg;
        c.startDeg = startDeg;
        c.sweepDeg = sweepDeg;
        return c;
    }
    static Curve bezier(QList<QPointF> points)
    {
        Curve c;
        c.kind = Kind::Bezier;
        c.points = std::move(points);
        return c;
    }
};

// A text box. The anchor (1–9: bottom-left, bottom-centre, bottom-right, middle-left … top-right)
// of a box heightMm high and widthMm wide sits at position; the box is turned by angleDeg and its
// glyphs slanted by slantDeg. widthMm 0 keeps the font's natural width. Vertical text runs down.
struct TextBox {
    QString text;
    QString font;
    QPointF position;
    int anchor = 1;
    double heightMm = 3.5;
    double widthMm = 0;
    double spacingMm = 0;
    double angleDeg = 0;
    double slantDeg = 0;
    bool vertical = false;
    bool operator==(const TextBox &) const = default;
};

// Parallel lines inside a fill area, through origin at angleDeg, spacingMm apart.
struct HatchLines {
    LineStyle style;
    QPointF origin;
    double spacingMm = 1;
    double angleDeg = 0;
    bool operator==(const HatchLines &) const = default;
};

struct Element {
    enum class Type {
        Stroke, // curve stroked with style
        Fill, // rings (the outline and its holes, even-odd) filled with style.colour
        Hatch, // rings crossed by hatch lines
        Blank, // rings filled with the background colour
        Text, // text in style.colour
    };
    Type type = Type::Stroke;
    int layer = -1; // index into Drawing::layers; -1 is always shown
    LineStyle style;
    Curve curve;
    QList<QPolygonF> rings;
    QList<HatchLines> hatch;
    TextBox text;
    // Placement of a compound figure or block: maps the element's coordinates to the sheet.
    QTransform placement;
    bool operator==(const Element &) const = default;
};

struct Layer {
    QString name;
    bool visible = true;
    bool operator==(const Layer &) const = default;
};

struct Drawing {
    QString name;
    QRectF sheet; // the paper in millimetres (empty when the format has none)
    QList<Layer> layers;
    QList<Element> elements;
    // Features that were read but are not drawn, by name, with their counts.
    QMap<QString, int> skipped;

    bool layerVisible(int layer) const { return layer < 0 || layer >= layers.size() || layers[layer].visible; }
    // The sheet united with the bounds of every element on a visible layer.
    QRectF extent() const;
};

// Bounds of one element in sheet coordinates (a text box counts its turned box).
QRectF elementBounds(const Element &element);

// Flattens an arc or Bézier into points (used for fill outlines and bounds).
QPolygonF flatten(const Curve &curve);

// A number read from a file as an integer code: clamped, 0 for NaN or infinity.
inline int toCode(double value)
{
    return value == value && value > -1e9 && value < 1e9 ? int(value)
        : value >= 1e9                                   ? 1'000'000'000
        : value <= -1e9                                  ? -1'000'000'000
                                                         : 0;
}

// The SXF predefined tables.
// Colour code 1–16 → colour; an unknown code gives white.
QColor sxfPredefinedColour(int code);
// Colour name ("red", "deeppink" …) → code 1–16, 0 when unknown.
int sxfColourCode(const QString &name);
// Line type name ("dashed" …) → code 1–15, 0 when unknown; the dash pattern of a code in mm.
int sxfLineTypeCode(const QString &name);
QList<double> sxfLineTypeDashes(int code);
// Width code 1–9 → millimetres; the code of a predefined width (0 when none is that width).
double sxfPredefinedWidth(int code);
int sxfWidthCode(double mm);

} // namespace tolvane::viewer::drawing

// Made of Qt's relocatable types: a growing list moves them with memmove.
Q_DECLARE_TYPEINFO(tolvane::viewer::drawing::LineStyle, Q_RELOCATABLE_TYPE);
Q_DECLARE_TYPEINFO(tolvane::viewer::drawing::Curve, Q_RELOCATABLE_TYPE);
Q_DECLARE_TYPEINFO(tolvane::viewer::drawing::TextBox, Q_RELOCATABLE_TYPE);
Q_DECLARE_TYPEINFO(tolvane::viewer::drawing::HatchLines, Q_RELOCATABLE_TYPE);
Q_DECLARE_TYPEINFO(tolvane::viewer::drawing::Element, Q_RELOCATABLE_TYPE);
Q_DECLARE_TYPEINFO(tolvane::viewer::drawing::Layer, Q_RELOCATABLE_TYPE);

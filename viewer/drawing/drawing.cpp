#include "viewer/drawing/drawing.h"

#include <algorithm>
#include <cmath>

#include <QtMath>

namespace tolvane::viewer::drawing {

namespace {

struct NamedColour {
    const char *name;
    QRgb rgb;
};
constexpr NamedColour kColours[] = {
    { "black", qRgb(0, 0, 0) },
    { "red", qRgb(255, 0, 0) },
    { "green", qRgb(0, 255, 0) },
    { "blue", qRgb(0, 0, 255) },
    { "yellow", qRgb(255, 255, 0) },
    { "magenta", qRgb(255, 0, 255) },
    { "cyan", qRgb(0, 255, 255) },
    { "white", qRgb(255, 255, 255) },
    { "deeppink", qRgb(192, 0, 128) },
    { "brown", qRgb(192, 128, 64) },
    { "orange", qRgb(255, 128, 0) },
    { "lightgreen", qRgb(128, 192, 128) },
    { "lightblue", qRgb(0, 128, 255) },
    { "lavender", qRgb(128, 64, 255) },
    { "lightgray", qRgb(192, 192, 192) },
    { "darkgray", qRgb(128, 128, 128) },
};

// Pitches of the predefined line types in millimetres. Dashed, dashed spaced, dotted, chain and
// long dashed dotted are the documented values; the others combine the same dash (6 or 12), dot
// (0.25), gap (1.5) and chain dash (3.5).
struct LineType {
    const char *name;
    QList<double> dashes;
};
const LineType kLineTypes[] = {
    { "continuous", {} },
    { "dashed", { 6, 1.5 } },
    { "dashed spaced", { 6, 6 } },
    { "long dashed dotted", { 12, 1.5, 0.25, 1.5 } },
    { "long dashed double-dotted", { 12, 1.5, 0.25, 1.5, 0.25, 1.5 } },
    { "long dashed triplicate-dotted", { 12, 1.5, 0.25, 1.5, 0.25, 1.5, 0.25, 1.5 } },
    { "dotted", { 0.25, 1.5 } },
    { "chain", { 12, 1.5, 3.5, 1.5 } },
    { "chain double dash", { 12, 1.5, 3.5, 1.5, 3.5, 1.5 } },
    { "dashed dotted", { 6, 1.5, 0.25, 1.5 } },
    { "double-dashed dotted", { 6, 1.5, 6, 1.5, 0.25, 1.5 } },
    { "dashed double-dotted", { 6, 1.5, 0.25, 1.5, 0.25, 1.5 } },
    { "double-dashed double-dotted", { 6, 1.5, 6, 1.5, 0.25, 1.5, 0.25, 1.5 } },
    { "dashed triplicate-dotted", { 6, 1.5, 0.25, 1.5, 0.25, 1.5, 0.25, 1.5 } },
    { "double-dashed triplicate-dotted", { 6, 1.5, 6, 1.5, 0.25, 1.5, 0.25, 1.5, 0.25, 1.5 } },
};

constexpr double kWidths[] = { 0.13, 0.18, 0.25, 0.35, 0.5, 0.7, 1.0, 1.4, 2.0 };

// Segments used to flatten curves: enough for a smooth outline at screen sizes.
constexpr int kArcSegmentsPerTurn = 72;
constexpr int kBezierSegments = 16;

} // namespace

QColor sxfPredefinedColour(int code)
{
    if (code >= 1 && code <= 16)
        return QColor(kColours[code - 1].rgb);
    return Qt::white;
}

int sxfColourCode(const QString &name)
{
    for (int i = 0; i < 16; ++i)
        if (name.compare(QLatin1String(kColours[i].name), Qt::CaseInsensitive) == 0)
            return i + 1;
    return 0;
}

int sxfLineTypeCode(const QString &name)
{
    for (int i = 0; i < 15; ++i)
        if (name.compare(QLatin1String(kLineTypes[i].name), Qt::CaseInsensitive) == 0)
            return i + 1;
    return 0;
}

QList<double> sxfLineTypeDashes(int code)
{
    if (code >= 1 && code <= 15)
        return kLineTypes[code - 1].dashes;
    return {};
}

double sxfPredefinedWidth(int code)
{
    if (code >= 1 && code <= 9)
        return kWidths[code - 1];
    return 0.25;
}

int sxfWidthCode(double mm)
{
    for (int i = 0; i < 9; ++i)
        if (std::abs(kWidths[i] - mm) < 1e-6)
            return i + 1;
    return 0;
}

QPolygonF flatten(const Curve &curve)
{
    switch (curve.kind) {
    case Curve::Kind::Polyline:
        return QPolygonF(curve.points);
    case Curve::Kind::Arc: {
        if (!std::isfinite(curve.sweepDeg) || !std::isfinite(curve.startDeg))
            return {};
        const double sweep = std::clamp(curve.sweepDeg, -360.0, 360.0);
        const int steps = std::max(2, int(std::ceil(std::abs(sweep) / 360.0 * kArcSegmentsPerTurn)));
        const double rot = qDegreesToRadians(curve.rotationDeg);
        const double c = std::cos(rot), s = std::sin(rot);
        QPolygonF out;
        out.reserve(steps + 1);
        for (int i = 0; i <= steps; ++i) {
            const double t = qDegreesToRadians(curve.startDeg + sweep * i / steps);
            const double x = curve.rx * std::cos(t), y = curve.ry * std::sin(t);
            out << QPointF(curve.centre.x() + x * c - y * s, curve.centre.y() + x * s + y * c);
        }
        return out;
    }
    case Curve::Kind::Bezier: {
        QPolygonF out;
        if (curve.points.isEmpty())
            return out;
        out << curve.points.first();
        for (qsizetype i = 0; i + 3 < curve.points.size(); i += 3) {
            const QPointF p0 = curve.points[i], p1 = curve.points[i + 1], p2 = curve.points[i + 2],
                          p3 = curve.points[i + 3];
            for (int k = 1; k <= kBezierSegments; ++k) {
                const double t = double(k) / kBezierSegments, u = 1 - t;
                out << u * u * u * p0 + 3 * u * u * t * p1 + 3 * u * t * t * p2 + t * t * t * p3;
            }
        }
        return out;
    }
    }
    return {};
}

QRectF elementBounds(const Element &element)
{
    QRectF local;
    switch (element.type) {
    case Element::Type::Stroke:
        local = flatten(element.curve).boundingRect();
        break;
    case Element::Type::Fill:
    case Element::Type::Hatch:
    case Element::Type::Blank:
        for (const QPolygonF &ring : element.rings)
            local |= ring.boundingRect();
        break;
    case Element::Type::Text: {
        const TextBox &t = element.text;
        const double w = t.widthMm > 0 ? t.widthMm : t.heightMm * std::max<qsizetype>(1, t.text.size());
        const double boxW = t.vertical ? t.heightMm : w, boxH = t.vertical ? w : t.heightMm;
        const int col = (std::clamp(t.anchor, 1, 9) - 1) % 3, row = (std::clamp(t.anchor, 1, 9) - 1) / 3;
        const QRectF box(-col * boxW / 2, -row * boxH / 2, boxW, boxH);
        QTransform turn;
        turn.translate(t.position.x(), t.position.y());
        turn.rotate(t.angleDeg);
        local = turn.mapRect(box);
        break;
    }
    }
    return element.placement.mapRect(local);
}

QRectF Drawing::extent() const
{
    QRectF all = sheet;
    for (const Element &e : elements) {
        if (!layerVisible(e.layer))
            continue;
        const QRectF b = elementBounds(e);
        if (!std::isfinite(b.left()) || !std::isfinite(b.top()) || !std::isfinite(b.width())
            || !std::isfinite(b.height()))
            continue;
        // A point or a straight horizontal line has an empty but meaningful box.
        all = all.isNull() ? b : all.united(b.isEmpty() ? b.adjusted(0, 0, 1e-9, 1e-9) : b);
    }
    return all;
}

} // namespace tolvane::viewer::drawing

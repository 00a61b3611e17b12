#include "viewer/drawing/render.h"

#include <cmath>

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>

namespace tolvane::viewer::drawing {

namespace {

// Texts smaller than this many pixels are left out: they would be a smudge.
constexpr double kMinTextPixels = 2.0;
// Pens thinner than this many pixels are drawn one pixel wide.
constexpr double kCosmeticBelowPixels = 1.5;
constexpr int kMaxHatchLines = 20'000;
// Glyphs are shaped at this pixel size and scaled to the box.
constexpr int kGlyphPixels = 64;
// Where the bottom of a character box sits below the baseline, in ems.
constexpr double kBoxDescent = 0.12;

double scaleOf(const QTransform &t)
{
    return std::sqrt(std::abs(t.determinant()));
}

QPainterPath curvePath(const Curve &c)
{
    QPainterPath path;
    switch (c.kind) {
    case Curve::Kind::Polyline:
        if (!c.points.isEmpty())
            path.addPolygon(QPolygonF(c.points));
        break;
    case Curve::Kind::Arc: {
        // The model's y points up: angles turn the other way in Qt's y-down arcs.
        const QRectF rect(-c.rx, -c.ry, 2 * c.rx, 2 * c.ry);
        const double sweep = std::clamp(c.sweepDeg, -360.0, 360.0);
        path.arcMoveTo(rect, -c.startDeg);
        path.arcTo(rect, -c.startDeg, -sweep);
        QTransform place;
        place.translate(c.centre.x(), c.centre.y());
        place.rotate(c.rotationDeg);
        path = place.map(path);
        break;
    }
    case Curve::Kind::Bezier:
        if (c.points.isEmpty())
            break;
        path.moveTo(c.points.first());
        for (qsizetype i = 1; i + 2 < c.points.size(); i += 3)
            path.cubicTo(c.points[i], c.points[i + 1], c.points[i + 2]);
        break;
    }
    return path;
}

QPainterPath ringsPath(const QList<QPolygonF> &rings)
{
    QPainterPath path;
    path.setFillRule(Qt::OddEvenFill);
    for (const QPolygonF &ring : rings)
        if (ring.size() >= 3)
            path.addPolygon(ring);
    path.closeSubpath();
    return path;
}

class Painter {
public:
    Painter(QPainter &p, const QTransform &view, const QColor &background)
        : m_p(p)
        , m_view(view)
        , m_background(background)
        , m_light(isLightBackground(background))
    {
    }

    void element(const Element &e)
    {
        const QTransform t = e.placement.isIdentity() ? m_view : e.placement * m_view;
        if (!m_haveTransform || t != m_transform) {
            m_p.setTransform(t);
            m_transform = t;
            m_scale = scaleOf(t);
            m_haveTransform = true;
            m_penValid = false;
        }
        if (!std::isfinite(m_scale) || m_scale <= 0)
            return;
        switch (e.type) {
        case Element::Type::Stroke:
            stroke(e);
            break;
        case Element::Type::Fill:
            m_p.fillPath(ringsPath(e.rings), colour(e.style.colour));
            break;
        case Element::Type::Blank:
            m_p.fillPath(ringsPath(e.rings), m_background);
            break;
        case Element::Type::Hatch:
            hatch(e);
            break;
        case Element::Type::Text:
            text(e);
            break;
        }
    }

private:
    QColor colour(const QColor &c) const
    {
        if (m_light && c.red() == 255 && c.green() == 255 && c.blue() == 255)
            return Qt::black;
        return c;
    }

    void setPen(const LineStyle &s)
    {
        if (m_penValid && s == m_penStyle)
            return;
        m_penStyle = s;
        m_penValid = true;
        const double px = s.widthMm * m_scale;
        const bool cosmetic = px < kCosmeticBelowPixels;
        QPen pen(colour(s.colour), cosmetic ? 0.0 : s.widthMm, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
        pen.setCosmetic(cosmetic);
        if (!s.dashMm.isEmpty()) {
            // The pattern is given in pen widths: one pixel for a cosmetic pen.
            const double unit = cosmetic ? 1.0 / m_scale : s.widthMm;
            double period = 0;
            QList<qreal> pattern;
            for (double d : s.dashMm) {
                pattern.append(std::max(d / unit, 0.5));
                period += d * m_scale;
            }
            // A pattern finer than a few pixels looks like a solid line and costs much more.
            if (period >= 4 && pattern.size() % 2 == 0)
                pen.setDashPattern(pattern);
        }
        m_p.setPen(pen);
    }

    void stroke(const Element &e)
    {
        setPen(e.style);
        if (e.curve.kind == Curve::Kind::Polyline) {
            if (e.curve.points.size() == 2)
                m_p.drawLine(e.curve.points[0], e.curve.points[1]);
            else
                m_p.drawPolyline(e.curve.points.constData(), int(std::min<qsizetype>(e.curve.points.size(), INT_MAX)));
            return;
        }
        m_p.setBrush(Qt::NoBrush);
        m_p.drawPath(curvePath(e.curve));
    }

    void hatch(const Element &e)
    {
        const QPainterPath area = ringsPath(e.rings);
        const QRectF box = area.boundingRect();
        if (box.isEmpty())
            return;
        m_p.save();
        m_p.setClipPath(area, Qt::IntersectClip);
        for (const HatchLines &h : e.hatch) {
            const double spacing = std::abs(h.spacingMm);
            // Lines closer than a pixel would fill the area: fill it instead.
            if (spacing * m_scale < 1.0) {
                m_p.fillPath(area, colour(h.style.colour));
                continue;
            }
            const double a = qDegreesToRadians(h.angleDeg);
            const QPointF d(std::cos(a), std::sin(a)), n(-std::sin(a), std::cos(a));
            double tmin = 1e300, tmax = -1e300, smin = 1e300, smax = -1e300;
            for (const QPointF &corner : { box.topLeft(), box.topRight(), box.bottomLeft(), box.bottomRight() }) {
                const QPointF r = corner - h.origin;
                const double t = r.x() * n.x() + r.y() * n.y(), s = r.x() * d.x() + r.y() * d.y();
                tmin = std::min(tmin, t), tmax = std::max(tmax, t), smin = std::min(smin, s), smax = std::max(smax, s);
            }
            const double first = std::ceil(tmin / spacing), last = std::floor(tmax / spacing);
            if (!(last - first < kMaxHatchLines))
                continue;
            m_penValid = false;
            setPen(h.style);
            for (double k = first; k <= last; ++k) {
                const QPointF base = h.origin + n * (k * spacing);
                m_p.drawLine(base + d * smin, base + d * smax);
            }
        }
        m_p.restore();
        m_penValid = false;
    }

    void text(const Element &e)
    {
        const TextBox &t = e.text;
        if (t.text.isEmpty() || !(t.heightMm > 0) || t.heightMm * m_scale < kMinTextPixels
            || t.heightMm * m_scale > 1e5)
            return;
        QFont font;
        font.setFamilies(fontFamiliesFor(t.font));
        font.setPixelSize(kGlyphPixels);
        const QFontMetricsF fm(font);
        const double em = t.heightMm / kGlyphPixels; // millimetres per glyph pixel

        // Full-width characters take two units, half-width ones one.
        const QList<uint> chars = t.text.toUcs4();
        QList<int> units;
        int total = 0;
        for (uint c : chars) {
            const int u = c < 0x80 || (c >= 0xFF61 && c <= 0xFF9F) ? 1 : 2;
            units.append(u);
            total += u;
        }
        const qsizetype n = chars.size();
        const double gaps = t.spacingMm * double(n - 1);
        double length = t.widthMm;
        if (!(length > 0))
            length = t.vertical ? t.heightMm * total / 2.0 + gaps : fm.horizontalAdvance(t.text) * em + gaps;
        const double unit = std::max(0.0, length - gaps) / std::max(1, total);
        const double boxW = t.vertical ? t.heightMm : length, boxH = t.vertical ? length : t.heightMm;
        const int anchor = std::clamp(t.anchor, 1, 9) - 1;
        const int col = anchor % 3, row = anchor / 3;

        // Local coordinates: millimetres, y down, the box's bottom-left corner at the origin.
        QTransform local;
        local.translate(-col * boxW / 2, row * boxH / 2);
        const QTransform shear(1, 0, -std::tan(qDegreesToRadians(std::clamp(t.slantDeg, -85.0, 85.0))), 1, 0, 0);
        QTransform place;
        place.translate(t.position.x(), t.position.y());
        place.rotate(t.angleDeg);
        const QTransform base = local * shear * QTransform::fromScale(1, -1) * place * m_transform;

        m_p.save();
        m_p.setPen(colour(e.style.colour));
        m_p.setFont(font);
        double offset = 0;
        for (qsizetype i = 0; i < n; ++i) {
            const QString ch = QString::fromUcs4(reinterpret_cast<const char32_t *>(&chars[i]), 1);
            const double cell = units[i] * unit;
            const double advance = fm.horizontalAdvance(ch) * em;
            QTransform glyph;
            if (t.vertical) {
                // Each character upright, centred across the column, one cell further down.
                const double top = -boxH + offset;
                glyph.translate((boxW - advance) / 2, top + cell - (cell - t.heightMm) / 2 - kBoxDescent * t.heightMm);
                glyph.scale(em, em);
            } else {
                glyph.translate(offset, -kBoxDescent * t.heightMm);
                glyph.scale(advance > 0 ? cell / advance * em : em, em);
            }
            m_p.setTransform(glyph * base);
            m_p.drawText(QPointF(0, 0), ch);
            offset += cell + t.spacingMm;
        }
        m_p.restore();
        m_penValid = false;
    }

    QPainter &m_p;
    QTransform m_view;
    QColor m_background;
    bool m_light;
    QTransform m_transform;
    bool m_haveTransform = false;
    double m_scale = 1;
    LineStyle m_penStyle;
    bool m_penValid = false;
};

} // namespace

bool isLightBackground(const QColor &background)
{
    return background.lightness() >= 128;
}

QStringList fontFamiliesFor(const QString &drawingFont)
{
    const bool mincho = drawingFont.contains(u"明朝") || drawingFont.contains(u"Mincho", Qt::CaseInsensitive)
        || drawingFont.contains(u"Serif", Qt::CaseInsensitive);
    if (mincho)
        return { QStringLiteral("IPAMincho"), QStringLiteral("Noto Serif CJK JP"), QStringLiteral("Noto Sans CJK JP") };
    return { QStringLiteral("IPAGothic"), QStringLiteral("Noto Sans CJK JP") };
}

QTransform fitTransform(const QRectF &model, const QSize &size, int quarterTurns)
{
    const int turns = ((quarterTurns % 4) + 4) % 4;
    const bool sideways = turns % 2 == 1;
    const double w = sideways ? model.height() : model.width(), h = sideways ? model.width() : model.height();
    if (size.isEmpty() || !(w > 0 || h > 0))
        return QTransform();
    const double scale = 0.95 * std::min(w > 0 ? size.width() / w : 1e300, h > 0 ? size.height() / h : 1e300);
    // Centre of the model to the origin, y up → y down, turn, then to the centre of the image.
    QTransform t = QTransform::fromTranslate(-model.center().x(), -model.center().y());
    t *= QTransform::fromScale(scale, -scale);
    t *= QTransform().rotate(-90.0 * turns);
    t *= QTransform::fromTranslate(size.width() / 2.0, size.height() / 2.0);
    return t;
}

QTransform lensTransform(const QTransform &view, QPointF at, const QSize &lensSize, double factor)
{
    return view * QTransform::fromTranslate(-at.x(), -at.y()) * QTransform::fromScale(factor, factor)
        * QTransform::fromTranslate(lensSize.width() / 2.0, lensSize.height() / 2.0);
}

void paintDrawing(QPainter &painter, const Drawing &drawing, const QTransform &view, const QColor &background)
{
    painter.save();
    painter.resetTransform();
    painter.fillRect(QRectF(painter.viewport()), background);
    Painter p(painter, view, background);
    for (const Element &e : drawing.elements)
        if (drawing.layerVisible(e.layer))
            p.element(e);
    painter.restore();
}

QImage renderDrawing(const Drawing &drawing, const QSize &size, const QTransform &view, const QColor &background)
{
    QImage image(size.expandedTo(QSize(1, 1)), QImage::Format_ARGB32_Premultiplied);
    image.fill(background);
    QPainter painter(&image);
    paintDrawing(painter, drawing, view, background);
    return image;
}

QImage renderDrawingFitted(const Drawing &drawing, const QSize &size, const QColor &background, int quarterTurns)
{
    return renderDrawing(drawing, size, fitTransform(drawing.extent(), size, quarterTurns), background);
}

} // namespace tolvane::viewer::drawing

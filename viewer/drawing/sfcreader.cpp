// SFC: the SXF features written as comments. The whole file is decoded as Windows-31J first (a
// byte scanner would take the trail byte 0x5C of 表 or ソ for a backslash), then each
// "/*SXF … SXF*/" block is split into its feature name and quoted arguments. The elements of the
// sheet, of a compound figure or of a composite curve come before the feature that closes them.
#include <QHash>
#include <QtMath>

#include "viewer/drawing/internal/sxfbuilder.h"
#include "viewer/drawing/readers.h"

namespace tolvane::viewer::drawing {

namespace {

using internal::countSkipped;
using internal::FigureBody;
using internal::FigurePlacement;

// The arguments of a feature as views into its text.
using Args = QList<QStringView>;

// Splits the argument text of a feature: 'number', '(list)' and \'string\' items separated by
// commas. False when the text is not made of such items.
bool splitArguments(QStringView text, Args &out)
{
    qsizetype i = 0;
    const qsizetype n = text.size();
    while (i < n) {
        while (i < n && text[i].isSpace())
            ++i;
        if (i >= n)
            break;
        if (text[i] == u'\\' && i + 1 < n && text[i + 1] == u'\'') {
            const qsizetype end = text.indexOf(u"\\'", i + 2);
            if (end < 0)
                return false;
            out.append(text.mid(i + 2, end - i - 2));
            i = end + 2;
        } else if (text[i] == u'\'') {
            const qsizetype end = text.indexOf(u'\'', i + 1);
            if (end < 0)
                return false;
            out.append(text.mid(i + 1, end - i - 1));
            i = end + 1;
        } else {
            // A bare word ($ or a number written without quotes).
            qsizetype end = i;
            while (end < n && text[end] != u',')
                ++end;
            out.append(text.mid(i, end - i).trimmed());
            i = end;
        }
        while (i < n && text[i].isSpace())
            ++i;
        if (i < n) {
            if (text[i] != u',')
                return false;
            ++i;
        }
    }
    return true;
}

double number(QStringView text, bool *ok = nullptr)
{
    bool good = false;
    const double v = internal::toDouble(text, &good);
    const bool finite = good && std::isfinite(v);
    if (ok)
        *ok = finite;
    return finite ? v : 0.0;
}

int integer(QStringView text)
{
    return toCode(number(text));
}

// '(a,b,c)' → the numbers; the count is capped by the file size anyway.
QList<double> numberList(QStringView text)
{
    QList<double> out;
    QStringView v = text.trimmed();
    if (v.startsWith(u'('))
        v = v.mid(1);
    if (v.endsWith(u')'))
        v.chop(1);
    for (QStringView part : v.split(u',')) {
        if (part.trimmed().isEmpty())
            continue;
        bool ok = false;
        const double d = internal::toDouble(part, &ok);
        out.append(ok && std::isfinite(d) ? d : 0.0);
    }
    return out;
}

double sweepFor(double start, double end, bool clockwise)
{
    double sweep = clockwise ? start - end : end - start;
    sweep = std::fmod(sweep, 360.0);
    if (sweep <= 0)
        sweep += 360.0;
    return clockwise ? -sweep : sweep;
}

class SfcReader {
public:
    Drawing drawing;

    void feature(const QString &name, const Args &a);
    void finish();

private:
    LineStyle style(int colour, int type, int width) const;
    QColor colour(int code) const;
    int layer(int code) const { return code >= 1 && code <= drawing.layers.size() ? code - 1 : -1; }
    bool wants(const QString &name, const Args &a, int count);
    void stroke(int layerCode, const LineStyle &s, Curve curve);
    // A text block from a[font] on: font, string, x, y, height, width, spacing, angle, slant,
    // anchor, direction.
    void addText(int layerCode, int colourCode, const Args &a, qsizetype font);
    void dimension(const QString &name, const Args &a);
    void arrow(int layerCode, const LineStyle &s, int code, QPointF tip, QPointF towards, double scale);
    QList<QPolygonF> rings(int outline, QStringView holes) const;

    QHash<int, QColor> m_userColours;
    int m_nextColour = 17;
    QHash<int, QList<double>> m_userTypes;
    int m_nextType = 17;
    QHash<int, double> m_userWidths;
    int m_nextWidth = 11;
    QStringList m_fonts;
    qsizetype m_segmentsFrom = 0; // where the next composite curve's segments start in m_pending
    QList<QPolygonF> m_composites; // composite curves by code - 1
    FigureBody m_pending; // elements since the last closing feature
    FigureBody m_sheet;
    bool m_haveSheet = false;
    QHash<QString, FigureBody> m_figures;
};

bool SfcReader::wants(const QString &name, const Args &a, int count)
{
    if (a.size() == count)
        return true;
    countSkipped(drawing, name + QStringLiteral(" (wrong argument count)"));
    return false;
}

QColor SfcReader::colour(int code) const
{
    if (code >= 17)
        return m_userColours.value(code, QColor(Qt::white));
    return sxfPredefinedColour(code);
}

LineStyle SfcReader::style(int colourCode, int type, int width) const
{
    LineStyle s;
    s.colour = colour(colourCode);
    s.dashMm = type >= 17 ? m_userTypes.value(type) : sxfLineTypeDashes(type);
    s.widthMm = width >= 11 ? m_userWidths.value(width, 0.25) : sxfPredefinedWidth(width);
    return s;
}

void SfcReader::stroke(int layerCode, const LineStyle &s, Curve curve)
{
    Element e;
    e.type = Element::Type::Stroke;
    e.layer = layer(layerCode);
    e.style = s;
    e.curve = std::move(curve);
    m_pending.elements.append(std::move(e));
}

QList<QPolygonF> SfcReader::rings(int outline, QStringView holes) const
{
    QList<QPolygonF> out;
    if (outline >= 1 && outline <= m_composites.size())
        out.append(m_composites[outline - 1]);
    for (double h : numberList(holes)) {
        const int code = toCode(h);
        if (code >= 1 && code <= m_composites.size())
            out.append(m_composites[code - 1]);
    }
    return out;
}

void SfcReader::addText(int layerCode, int colourCode, const Args &a, qsizetype font)
{
    Element e;
    e.type = Element::Type::Text;
    e.layer = layer(layerCode);
    e.style.colour = colour(colourCode);
    const int code = integer(a[font]);
    TextBox &t = e.text;
    t.font = code >= 1 && code <= m_fonts.size() ? m_fonts[code - 1] : QString();
    t.text = a[font + 1].toString();
    t.position = QPointF(number(a[font + 2]), number(a[font + 3]));
    t.heightMm = number(a[font + 4]);
    t.widthMm = number(a[font + 5]);
    t.spacingMm = number(a[font + 6]);
    t.angleDeg = number(a[font + 7]);
    t.slantDeg = std::clamp(number(a[font + 8]), -85.0, 85.0);
    t.anchor = std::clamp(integer(a[font + 9]), 1, 9);
    t.vertical = integer(a[font + 10]) == 2;
    m_pending.elements.append(std::move(e));
}

void SfcReader::arrow(int layerCode, const LineStyle &s, int code, QPointF tip, QPointF towards, double scale)
{
    for (Curve &c : internal::sxfArrow(code, tip, towards - tip, scale))
        stroke(layerCode, s, std::move(c));
}

// Dimensions, labels and balloons: their lines, extension lines, arrows and text.
void SfcReader::dimension(const QString &name, const Args &a)
{
    const int l = integer(a[0]);
    const LineStyle s = style(integer(a[1]), integer(a[2]), integer(a[3]));
    const auto pt = [&](qsizetype i) { return QPointF(number(a[i]), number(a[i + 1])); };
    // Extension lines: flag, then three points (the measured point and the line's two ends).
    const auto extension = [&](qsizetype flag) {
        if (integer(a[flag]) != 0)
            stroke(l, s, Curve::line(pt(flag + 3), pt(flag + 5)));
    };
    if (name == u"linear_dim_feature") {
        const QPointF p1 = pt(4), p2 = pt(6);
        stroke(l, s, Curve::line(p1, p2));
        extension(8);
        extension(15);
        arrow(l, s, integer(a[22]), pt(24), p2, number(a[26]));
        arrow(l, s, integer(a[27]), pt(29), p1, number(a[31]));
        if (integer(a[32]) != 0)
            addText(l, integer(a[1]), a, 33);
        return;
    }
    if (name == u"angular_dim_feature" || name == u"curve_dim_feature") {
        const QPointF c = pt(4);
        const double r = number(a[6]), a0 = number(a[7]), a1 = number(a[8]);
        stroke(l, s, Curve::arc(c, r, r, 0, a0, sweepFor(a0, a1, false)));
        extension(9);
        extension(16);
        arrow(l, s, integer(a[23]), pt(25), c, number(a[27]));
        arrow(l, s, integer(a[28]), pt(30), c, number(a[32]));
        if (integer(a[33]) != 0)
            addText(l, integer(a[1]), a, 34);
        return;
    }
    if (name == u"radius_dim_feature" || name == u"diameter_dim_feature") {
        const QPointF p1 = pt(4), p2 = pt(6);
        stroke(l, s, Curve::line(p1, p2));
        arrow(l, s, integer(a[8]), pt(10), p1, number(a[12]));
        const bool diameter = name == u"diameter_dim_feature";
        if (diameter)
            arrow(l, s, integer(a[13]), pt(15), p2, number(a[17]));
        const qsizetype flag = diameter ? 18 : 13;
        if (integer(a[flag]) != 0)
            addText(l, integer(a[1]), a, flag + 1);
        return;
    }
    // Labels and balloons: a leader polyline with an arrow at its first point.
    const QList<double> xs = numberList(a[5]), ys = numberList(a[6]);
    QList<QPointF> points;
    for (qsizetype i = 0; i < std::min(xs.size(), ys.size()); ++i)
        points.append({ xs[i], ys[i] });
    if (points.size() >= 2) {
        stroke(l, s, Curve::polyline(points));
    }
    const bool balloon = name == u"balloon_feature";
    if (balloon)
        stroke(l, s, Curve::arc(pt(7), number(a[9]), number(a[9]), 0, 0, 360));
    const qsizetype arrowAt = balloon ? 10 : 7;
    if (points.size() >= 2)
        arrow(l, s, integer(a[arrowAt]), points[0], points[1], number(a[arrowAt + 1]));
    if (integer(a[arrowAt + 2]) != 0)
        addText(l, integer(a[1]), a, arrowAt + 3);
}

void SfcReader::feature(const QString &name, const Args &a)
{
    // The elements first: they are most of a file.
    if (name == u"line_feature") {
        if (wants(name, a, 8))
            stroke(integer(a[0]), style(integer(a[1]), integer(a[2]), integer(a[3])),
                Curve::line({ number(a[4]), number(a[5]) }, { number(a[6]), number(a[7]) }));
        return;
    }
    if (name == u"polyline_feature" || name == u"spline_feature") {
        const bool spline = name == u"spline_feature";
        if (!wants(name, a, spline ? 8 : 7))
            return;
        const QList<double> xs = numberList(a[spline ? 6 : 5]), ys = numberList(a[spline ? 7 : 6]);
        QList<QPointF> points;
        for (qsizetype i = 0; i < std::min(xs.size(), ys.size()); ++i)
            points.append({ xs[i], ys[i] });
        if (points.size() < 2) {
            countSkipped(drawing, name + QStringLiteral(" (too few points)"));
            return;
        }
        if (spline)
            points.resize(1 + (points.size() - 1) / 3 * 3);
        stroke(integer(a[0]), style(integer(a[1]), integer(a[2]), integer(a[3])),
            spline && points.size() >= 4 ? Curve::bezier(points) : Curve::polyline(points));
        return;
    }
    if (name == u"circle_feature") {
        if (wants(name, a, 7))
            stroke(integer(a[0]), style(integer(a[1]), integer(a[2]), integer(a[3])),
                Curve::arc({ number(a[4]), number(a[5]) }, number(a[6]), number(a[6]), 0, 0, 360));
        return;
    }
    if (name == u"arc_feature") {
        if (wants(name, a, 10))
            stroke(integer(a[0]), style(integer(a[1]), integer(a[2]), integer(a[3])),
                Curve::arc({ number(a[4]), number(a[5]) }, number(a[6]), number(a[6]), 0, number(a[8]),
                    sweepFor(number(a[8]), number(a[9]), integer(a[7]) == 1)));
        return;
    }
    if (name == u"ellipse_feature") {
        if (wants(name, a, 9))
            stroke(integer(a[0]), style(integer(a[1]), integer(a[2]), integer(a[3])),
                Curve::arc({ number(a[4]), number(a[5]) }, number(a[6]), number(a[7]), number(a[8]), 0, 360));
        return;
    }
    if (name == u"ellipse_arc_feature") {
        if (wants(name, a, 12))
            stroke(integer(a[0]), style(integer(a[1]), integer(a[2]), integer(a[3])),
                Curve::arc({ number(a[4]), number(a[5]) }, number(a[6]), number(a[7]), number(a[9]), number(a[10]),
                    sweepFor(number(a[10]), number(a[11]), integer(a[8]) == 1)));
        return;
    }
    if (name == u"pre_defined_colour_feature" || name == u"pre_defined_font_feature")
        return; // predefined entries keep their fixed codes
    if (name == u"user_defined_colour_feature") {
        if (wants(name, a, 3) && m_nextColour <= 256)
            m_userColours.insert(m_nextColour++,
                QColor(std::clamp(integer(a[0]), 0, 255), std::clamp(integer(a[1]), 0, 255),
                    std::clamp(integer(a[2]), 0, 255)));
        return;
    }
    if (name == u"user_defined_font_feature") {
        if (wants(name, a, 3) && m_nextType <= 32) {
            QList<double> dashes = numberList(a[2]);
            for (double &d : dashes)
                d = std::clamp(d, 0.0, 1000.0);
            m_userTypes.insert(m_nextType++, dashes.mid(0, 8));
        }
        return;
    }
    if (name == u"width_feature") {
        if (wants(name, a, 1) && sxfWidthCode(number(a[0])) == 0 && m_nextWidth <= 16)
            m_userWidths.insert(m_nextWidth++, std::clamp(number(a[0]), 0.0, 100.0));
        return;
    }
    if (name == u"text_font_feature") {
        if (wants(name, a, 1) && m_fonts.size() < 1024)
            m_fonts.append(a[0].toString());
        return;
    }
    if (name == u"layer_feature") {
        if (wants(name, a, 2) && drawing.layers.size() < 256)
            drawing.layers.append({ a[0].toString(), integer(a[1]) != 0 });
        return;
    }
    if (name == u"point_marker_feature") {
        if (!wants(name, a, 7))
            return;
        const LineStyle s = style(integer(a[1]), 1, 1);
        for (Curve &c : internal::sxfMarker(integer(a[4]), { number(a[2]), number(a[3]) }, number(a[6])))
            stroke(integer(a[0]), s, std::move(c));
        return;
    }
    if (name == u"text_string_feature") {
        if (wants(name, a, 13))
            addText(integer(a[0]), integer(a[1]), a, 2);
        return;
    }
    if (name == u"composite_curve_org_feature") {
        if (!wants(name, a, 4))
            return;
        // The segments were written as ordinary elements; the flag decides whether they show.
        QList<Element> &elements = m_pending.elements;
        const bool shown = integer(a[3]) == 1;
        QPolygonF ring;
        qsizetype kept = std::min(m_segmentsFrom, elements.size());
        for (qsizetype i = kept; i < elements.size(); ++i) {
            if (elements[i].type == Element::Type::Stroke) {
                ring += flatten(elements[i].curve);
                if (!shown)
                    continue;
            }
            if (kept != i)
                elements[kept] = std::move(elements[i]);
            ++kept;
        }
        elements.resize(kept);
        m_segmentsFrom = kept;
        m_composites.append(ring);
        return;
    }
    if (name == u"fill_area_style_colour_feature") {
        if (!wants(name, a, 5))
            return;
        Element e;
        e.type = Element::Type::Fill;
        e.layer = layer(integer(a[0]));
        e.style.colour = colour(integer(a[1]));
        e.rings = rings(integer(a[2]), a[4]);
        m_pending.elements.append(std::move(e));
        return;
    }
    if (name == u"fill_area_style_hatching_feature") {
        const int n = a.size() >= 2 ? integer(a[1]) : 0;
        if (n < 1 || n > 4 || !wants(name, a, 5 + n))
            return;
        Element e;
        e.type = Element::Type::Hatch;
        e.layer = layer(integer(a[0]));
        for (int i = 0; i < n; ++i) {
            const QList<double> v = numberList(a[2 + i]);
            if (v.size() < 7)
                continue;
            HatchLines h;
            h.style = style(toCode(v[0]), toCode(v[1]), toCode(v[2]));
            h.origin = QPointF(v[3], v[4]);
            h.spacingMm = v[5];
            h.angleDeg = v[6];
            e.hatch.append(h);
        }
        e.rings = rings(integer(a[2 + n]), a[4 + n]);
        m_pending.elements.append(std::move(e));
        return;
    }
    if (name == u"externally_defined_hatch_feature") {
        if (!wants(name, a, 5))
            return;
        if (a[1] != u"Area_control") {
            countSkipped(drawing, name + QStringLiteral(" ") + a[1].toString());
            return;
        }
        Element e;
        e.type = Element::Type::Blank;
        e.layer = layer(integer(a[0]));
        e.rings = rings(integer(a[2]), a[4]);
        m_pending.elements.append(std::move(e));
        return;
    }
    if (name == u"sfig_locate_feature") {
        if (wants(name, a, 7))
            m_pending.placements.append(
                { a[1].toString(), { number(a[2]), number(a[3]) }, number(a[4]), number(a[5]), number(a[6]) });
        return;
    }
    if (name == u"sfig_org_feature") {
        if (wants(name, a, 2)) {
            m_pending.kind = integer(a[1]);
            m_figures.insert(a[0].toString(), m_pending);
        }
        m_pending = {};
        m_segmentsFrom = 0;
        return;
    }
    if (name == u"drawing_sheet_feature") {
        if (wants(name, a, 5) && !m_haveSheet) {
            drawing.name = a[0].toString();
            const int size = integer(a[1]);
            QSizeF paper = internal::sxfPaperSize(size, integer(a[2]) == 1);
            if (paper.isEmpty())
                paper = QSizeF(std::clamp(number(a[3]), 0.0, 1e6), std::clamp(number(a[4]), 0.0, 1e6));
            drawing.sheet = QRectF(QPointF(0, 0), paper);
            m_sheet = std::move(m_pending);
            m_haveSheet = true;
        }
        m_pending = {};
        m_segmentsFrom = 0;
        return;
    }
    static const QHash<QString, int> dimensions = { { QStringLiteral("linear_dim_feature"), 44 },
        { QStringLiteral("curve_dim_feature"), 45 }, { QStringLiteral("angular_dim_feature"), 45 },
        { QStringLiteral("radius_dim_feature"), 25 }, { QStringLiteral("diameter_dim_feature"), 30 },
        { QStringLiteral("label_feature"), 21 }, { QStringLiteral("balloon_feature"), 24 } };
    if (const auto it = dimensions.constFind(name); it != dimensions.constEnd()) {
        if (wants(name, a, *it))
            dimension(name, a);
        return;
    }
    if (name == u"drawing_attribute_feature")
        return; // the title block's data: nothing to draw
    countSkipped(drawing, name);
}

void SfcReader::finish()
{
    // A truncated file still shows what was read: elements never closed by a sheet join it.
    if (!m_haveSheet)
        m_sheet = std::move(m_pending);
    else {
        m_sheet.elements += m_pending.elements;
        m_sheet.placements += m_pending.placements;
    }
    internal::placeFigures(drawing, std::move(m_sheet), m_figures);
}

bool isOpening(QStringView line)
{
    if (line.size() < 5 || line[0] != u'/' || line[1] != u'*')
        return false;
    return line == u"/*SXF" || line == u"/*SXF3" || line == u"/*SXF3.1";
}

bool isClosing(QStringView line)
{
    if (line.size() < 5 || line.back() != u'/')
        return false;
    return line == u"SXF*/" || line == u"SXF3*/" || line == u"SXF3.1*/";
}

} // namespace

Result<Drawing> readSfc(const QByteArray &data)
{
    const QString text = internal::decodeWindows31j(data);
    if (!text.contains(u"/*SXF"))
        return Status::corruption(QStringLiteral("no SXF feature comments"));

    SfcReader reader;
    QString feature;
    Args args; // views into feature, valid until the next feature
    bool inside = false;
    qsizetype start = 0;
    while (start < text.size()) {
        qsizetype end = text.indexOf(u'\n', start);
        if (end < 0)
            end = text.size();
        const QStringView line = QStringView(text).mid(start, end - start).trimmed();
        start = end + 1;
        if (!inside) {
            if (isOpening(line)) {
                inside = true;
                feature.truncate(0); // keeps its capacity
            }
            continue;
        }
        if (!isClosing(line)) {
            feature += line;
            continue;
        }
        inside = false;
        // "#10 = name(args)"
        const qsizetype eq = feature.indexOf(u'=');
        const qsizetype open = feature.indexOf(u'(', eq + 1);
        const qsizetype close = feature.lastIndexOf(u')');
        args.clear();
        if (eq < 0 || open < 0 || close < open
            || !splitArguments(QStringView(feature).mid(open + 1, close - open - 1), args)) {
            countSkipped(reader.drawing, QStringLiteral("damaged feature"));
            continue;
        }
        reader.feature(feature.mid(eq + 1, open - eq - 1).trimmed(), args);
    }
    reader.finish();
    return std::move(reader.drawing);
}

} // namespace tolvane::viewer::drawing

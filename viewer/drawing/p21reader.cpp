// P21: SXF written as STEP AP202. The walk starts at DRAWING_SHEET_REVISION and follows each
// styled item to its style and geometry; compound figures are mapped items, dimensions are
// callouts. Texts carry the writer's anchor shift, which is undone here so that a P21 file and
// the SFC file of the same drawing give the same model.
#include <cmath>

#include <QSet>
#include <QtMath>

#include "viewer/drawing/internal/step.h"
#include "viewer/drawing/internal/sxfbuilder.h"
#include "viewer/drawing/readers.h"

namespace tolvane::viewer::drawing {

namespace {

using internal::countSkipped;
using internal::StepFile;
using internal::StepInstance;
using internal::StepRecord;
using internal::StepValue;
using internal::sxfArrowCode;
using internal::sxfMarkerCode;

struct Style {
    LineStyle line;
    bool fill = false; // FILL_AREA_STYLE_COLOUR
    bool blank = false; // Area_control
    QList<HatchLines> hatch;
    double textHeight = 0;
    double textSpacing = 0;
    double textSlantDeg = 0;
};

class P21Walker {
public:
    P21Walker(const StepFile &file, Drawing &drawing)
        : m_file(file)
        , m_drawing(drawing)
    {
    }

    bool walk();

private:
    const StepValue *arg(const StepRecord *r, size_t i) const
    {
        return r && i < r->args.size() ? &r->args[i] : nullptr;
    }
    StepInstance deref(const StepValue *v) const { return v && v->isRef() ? m_file.instance(v->ref) : StepInstance(); }
    QPointF point(const StepValue *v) const;
    QPointF direction(const StepValue *v) const;
    // AXIS2_PLACEMENT_2D: location and angle of the reference direction.
    bool placement(const StepValue *v, QPointF &location, double &angleDeg) const;
    QColor colour(const StepValue *v) const;
    LineStyle curveStyle(const StepValue *v) const;
    Style style(const StepRecord *styled);
    bool curves(const StepValue *v, QList<Curve> &out, int depth) const;

    void item(qint64 id, int layer, const QTransform &transform, int depth);
    void geometry(const StepValue *v, const Style &s, int layer, const QTransform &transform, int depth);
    void text(const StepInstance &inst, const Style &s, int layer, const QTransform &transform);
    void mapped(const StepRecord *m, int layer, const QTransform &transform, int depth);
    void add(Element e, int layer, const QTransform &transform);

    const StepFile &m_file;
    Drawing &m_drawing;
    QHash<qint64, int> m_layerOf; // styled item → layer
    QHash<qint64, Style> m_styles; // by PRESENTATION_STYLE_ASSIGNMENT list key
    QList<qint64> m_figureStack;
    mutable QList<qint64> m_open; // callouts and composite curves being walked: a cycle ends there
    // Items drawn in the current placement: an item listed twice is drawn once, which also keeps
    // callouts that list each other twice from growing exponentially.
    QSet<qint64> m_drawnHere;
    // Instances walked: self-referencing callouts and composites end here, not in exponential time.
    mutable qsizetype m_visits = 0;
    static constexpr qsizetype kMaxVisits = 2'000'000;
};

QPointF P21Walker::point(const StepValue *v) const
{
    const StepInstance p = deref(v);
    const StepValue *coords = arg(p.record(u"CARTESIAN_POINT"), 1);
    if (!coords || coords->items.size() < 2)
        return {};
    return { coords->items[0].toNumber(), coords->items[1].toNumber() };
}

QPointF P21Walker::direction(const StepValue *v) const
{
    const StepInstance d = deref(v);
    const StepValue *ratios = arg(d.record(u"DIRECTION"), 1);
    if (!ratios || ratios->items.size() < 2)
        return { 1, 0 };
    return { ratios->items[0].toNumber(), ratios->items[1].toNumber() };
}

bool P21Walker::placement(const StepValue *v, QPointF &location, double &angleDeg) const
{
    const StepInstance a = deref(v);
    const StepRecord *r = a.record(u"AXIS2_PLACEMENT_2D");
    if (!r)
        return false;
    location = point(arg(r, 1));
    const StepValue *dir = arg(r, 2);
    angleDeg = 0;
    if (dir && dir->isRef()) {
        const QPointF d = direction(dir);
        angleDeg = qRadiansToDegrees(std::atan2(d.y(), d.x()));
    }
    return true;
}

QColor P21Walker::colour(const StepValue *v) const
{
    const StepInstance c = deref(v);
    if (const StepRecord *r = c.record(u"DRAUGHTING_PRE_DEFINED_COLOUR"))
        return sxfPredefinedColour(sxfColourCode(arg(r, 0) ? arg(r, 0)->toText() : QString()));
    if (const StepRecord *r = c.record(u"COLOUR_RGB")) {
        const auto channel = [&](size_t i) {
            return std::clamp(toCode(std::round((arg(r, i) ? arg(r, i)->toNumber() : 1.0) * 255)), 0, 255);
        };
        return QColor(channel(1), channel(2), channel(3));
    }
    return Qt::white;
}

LineStyle P21Walker::curveStyle(const StepValue *v) const
{
    LineStyle s;
    const StepInstance cs = deref(v);
    const StepRecord *r = cs.record(u"CURVE_STYLE");
    if (!r)
        return s;
    const StepInstance font = deref(arg(r, 1));
    if (const StepRecord *f = font.record(u"DRAUGHTING_PRE_DEFINED_CURVE_FONT"))
        s.dashMm = sxfLineTypeDashes(sxfLineTypeCode(arg(f, 0) ? arg(f, 0)->toText() : QString()));
    else if (const StepRecord *f = font.record(u"CURVE_STYLE_FONT")) {
        if (const StepValue *patterns = arg(f, 1))
            for (const StepValue &p : patterns->items) {
                const StepInstance pattern = deref(&p);
                const StepRecord *pr = pattern.record(u"CURVE_STYLE_FONT_PATTERN");
                if (pr && s.dashMm.size() < 8)
                    s.dashMm << std::clamp(arg(pr, 0) ? arg(pr, 0)->toNumber() : 0.0, 0.0, 1000.0)
                             << std::clamp(arg(pr, 1) ? arg(pr, 1)->toNumber() : 0.0, 0.0, 1000.0);
            }
    }
    const StepValue *width = arg(r, 2);
    if (width && width->isRef()) {
        const StepInstance w = deref(width);
        if (const StepRecord *wr = w.record(u"LENGTH_MEASURE_WITH_UNIT"))
            s.widthMm = arg(wr, 0) ? arg(wr, 0)->toNumber(0.25) : 0.25;
    } else if (width) {
        s.widthMm = width->toNumber(0.25);
    }
    s.widthMm = std::clamp(s.widthMm, 0.0, 100.0);
    s.colour = colour(arg(r, 3));
    return s;
}

Style P21Walker::style(const StepRecord *styled)
{
    // STYLED_ITEM((#psa…),#item) or STYLED_ITEM('name',(#psa…),#item)
    const StepValue *styles = arg(styled, styled && styled->args.size() >= 3 ? 1 : 0);
    Style out;
    if (!styles || styles->items.empty() || !styles->items.front().isRef())
        return out;
    const qint64 key = styles->items.front().ref;
    const auto cached = m_styles.constFind(key);
    if (cached != m_styles.constEnd())
        return *cached;
    const StepInstance psa = m_file.instance(key);
    const StepValue *list = arg(psa.record(u"PRESENTATION_STYLE_ASSIGNMENT"), 0);
    if (list) {
        for (const StepValue &sv : list->items) {
            const StepInstance st = deref(&sv);
            if (st.has(u"CURVE_STYLE")) {
                out.line = curveStyle(&sv);
            } else if (const StepRecord *ts = st.record(u"TEXT_STYLE")) {
                const StepInstance fontStyle = deref(arg(ts, 1));
                out.line.colour = colour(arg(fontStyle.record(u"TEXT_STYLE_FOR_DEFINED_FONT"), 0));
                if (const StepValue *box = arg(st.record(u"TEXT_STYLE_WITH_BOX_CHARACTERISTICS"), 0))
                    for (const StepValue &c : box->items) {
                        if (c.text == u"BOX_HEIGHT")
                            out.textHeight = c.toNumber();
                        else if (c.text == u"BOX_SLANT_ANGLE")
                            out.textSlantDeg = qRadiansToDegrees(c.toNumber());
                    }
                if (const StepValue *spacing = arg(st.record(u"TEXT_STYLE_WITH_SPACING"), 0))
                    out.textSpacing = spacing->toNumber();
            } else if (const StepRecord *fs = st.record(u"FILL_AREA_STYLE")) {
                if (const StepValue *fills = arg(fs, 1))
                    for (const StepValue &f : fills->items) {
                        const StepInstance fill = deref(&f);
                        if (const StepRecord *c = fill.record(u"FILL_AREA_STYLE_COLOUR")) {
                            out.fill = true;
                            out.line.colour = colour(arg(c, 1));
                        } else if (const StepRecord *h = fill.record(u"FILL_AREA_STYLE_HATCHING")) {
                            HatchLines lines;
                            lines.style = curveStyle(arg(h, 1));
                            const StepInstance repeat = deref(arg(h, 2));
                            const StepInstance vec = deref(arg(repeat.record(u"ONE_DIRECTION_REPEAT_FACTOR"), 1));
                            const StepValue *magnitude = arg(vec.record(u"VECTOR"), 2);
                            const QPointF dir = direction(arg(vec.record(u"VECTOR"), 1));
                            lines.spacingMm = std::hypot(dir.x(), dir.y()) * (magnitude ? magnitude->toNumber(1) : 1);
                            lines.origin = point(arg(h, 3));
                            lines.angleDeg = qRadiansToDegrees(arg(h, 5) ? arg(h, 5)->toNumber() : 0.0);
                            out.hatch.append(lines);
                        } else if (const StepRecord *x = fill.record(u"EXTERNALLY_DEFINED_HATCH_STYLE")) {
                            const QString name = arg(x, 0) ? arg(x, 0)->toText() : QString();
                            if (name == u"Area_control")
                                out.blank = true;
                            else
                                countSkipped(m_drawing, QStringLiteral("externally defined hatch ") + name);
                        }
                    }
            } else if (const StepRecord *sym = st.record(u"SYMBOL_STYLE")) {
                const StepInstance sc = deref(arg(sym, 1));
                out.line.colour = colour(arg(sc.record(u"SYMBOL_COLOUR"), 0));
            }
        }
    }
    m_styles.insert(key, out);
    return out;
}

bool P21Walker::curves(const StepValue *v, QList<Curve> &out, int depth) const
{
    if (depth > kMaxNesting || ++m_visits > kMaxVisits)
        return false;
    const StepInstance g = deref(v);
    if (const StepRecord *r = g.record(u"POLYLINE")) {
        QList<QPointF> points;
        if (const StepValue *list = arg(r, 1))
            for (const StepValue &p : list->items)
                points.append(point(&p));
        if (points.size() < 2)
            return false;
        out.append(Curve::polyline(points));
        return true;
    }
    if (const StepRecord *r = g.record(u"CIRCLE")) {
        QPointF c;
        double angle = 0;
        placement(arg(r, 1), c, angle);
        const double radius = arg(r, 2) ? arg(r, 2)->toNumber() : 0;
        out.append(Curve::arc(c, radius, radius, angle, 0, 360));
        return true;
    }
    if (const StepRecord *r = g.record(u"ELLIPSE")) {
        QPointF c;
        double angle = 0;
        placement(arg(r, 1), c, angle);
        out.append(
            Curve::arc(c, arg(r, 2) ? arg(r, 2)->toNumber() : 0, arg(r, 3) ? arg(r, 3)->toNumber() : 0, angle, 0, 360));
        return true;
    }
    if (const StepRecord *r = g.record(u"TRIMMED_CURVE")) {
        const StepInstance basis = deref(arg(r, 1));
        const StepValue *t1 = arg(r, 2), *t2 = arg(r, 3);
        const bool sense = !arg(r, 4) || arg(r, 4)->text != u"F";
        const auto trimPoint = [&](const StepValue *t) -> std::optional<QPointF> {
            if (t)
                for (const StepValue &x : t->items)
                    if (x.isRef())
                        return point(&x);
            return std::nullopt;
        };
        const auto trimParameter = [&](const StepValue *t) -> std::optional<double> {
            if (t)
                for (const StepValue &x : t->items)
                    if (x.type == StepValue::Type::Typed && x.text == u"PARAMETER_VALUE")
                        return x.toNumber();
            return std::nullopt;
        };
        if (const StepRecord *line = basis.record(u"LINE")) {
            std::optional<QPointF> a = trimPoint(t1), b = trimPoint(t2);
            if (!a || !b) {
                // Parameters along the line's vector.
                const QPointF origin = point(arg(line, 1));
                const StepInstance vec = deref(arg(line, 2));
                const QPointF d = direction(arg(vec.record(u"VECTOR"), 1));
                const double m = arg(vec.record(u"VECTOR"), 2) ? arg(vec.record(u"VECTOR"), 2)->toNumber(1) : 1;
                const double len = std::hypot(d.x(), d.y());
                const QPointF unit = len > 0 ? d / len * m : QPointF();
                if (!a && trimParameter(t1))
                    a = origin + unit * *trimParameter(t1);
                if (!b && trimParameter(t2))
                    b = origin + unit * *trimParameter(t2);
            }
            if (!a || !b)
                return false;
            out.append(sense ? Curve::line(*a, *b) : Curve::line(*b, *a));
            return true;
        }
        QList<Curve> base;
        if (!curves(arg(r, 1), base, depth + 1) || base.size() != 1 || base.front().kind != Curve::Kind::Arc)
            return false;
        Curve arc = base.front();
        const auto angleOf = [&](const StepValue *t) -> std::optional<double> {
            if (const auto p = trimParameter(t))
                return qRadiansToDegrees(*p);
            if (const auto p = trimPoint(t)) {
                // A point on the ellipse: its parametric angle in the ellipse's own frame.
                QTransform toLocal;
                toLocal.rotate(-arc.rotationDeg);
                const QPointF q = toLocal.map(*p - arc.centre);
                return qRadiansToDegrees(std::atan2(arc.ry > 0 ? q.y() / arc.ry : 0, arc.rx > 0 ? q.x() / arc.rx : 0));
            }
            return std::nullopt;
        };
        const auto a = angleOf(t1), b = angleOf(t2);
        if (!a || !b)
            return false;
        double sweep = std::fmod(sense ? *b - *a : *a - *b, 360.0);
        if (sweep <= 1e-9)
            sweep += 360.0;
        arc.startDeg = *a;
        arc.sweepDeg = sense ? sweep : -sweep;
        out.append(arc);
        return true;
    }
    if (const StepRecord *r = g.record(u"BEZIER_CURVE")) {
        QList<QPointF> points;
        if (const StepValue *list = arg(r, 2))
            for (const StepValue &p : list->items)
                points.append(point(&p));
        const int degree = arg(r, 1) ? toCode(arg(r, 1)->toNumber()) : 3;
        if (points.size() < 2)
            return false;
        if (degree == 3 && points.size() >= 4) {
            points.resize(1 + (points.size() - 1) / 3 * 3);
            out.append(Curve::bezier(points));
        } else {
            out.append(Curve::polyline(points));
        }
        return true;
    }
    if (const StepRecord *r = g.record(u"COMPOSITE_CURVE")) {
        if (m_open.contains(v->ref))
            return false;
        m_open.append(v->ref);
        bool any = false;
        if (const StepValue *segments = arg(r, 1))
            for (const StepValue &s : segments->items) {
                // A segment instance or an inline COMPOSITE_CURVE_SEGMENT(transition, sense, curve).
                const StepInstance seg = deref(&s);
                const StepRecord *sr = seg.record(u"COMPOSITE_CURVE_SEGMENT");
                const StepValue *parent = sr
                    ? arg(sr, 2)
                    : (s.type == StepValue::Type::Typed && s.items.size() >= 3 ? &s.items[2] : nullptr);
                any = curves(parent, out, depth + 1) || any;
            }
        m_open.removeLast();
        return any;
    }
    return false;
}

void P21Walker::add(Element e, int layer, const QTransform &transform)
{
    if (m_drawing.elements.size() >= kMaxElements) {
        countSkipped(m_drawing, QStringLiteral("elements beyond the limit"));
        return;
    }
    e.layer = layer;
    e.placement = transform;
    m_drawing.elements.append(std::move(e));
}

void P21Walker::text(const StepInstance &inst, const Style &s, int layer, const QTransform &transform)
{
    const StepRecord *r = inst.record(u"TEXT_LITERAL_WITH_EXTENT");
    if (!r)
        r = inst.record(u"TEXT_LITERAL");
    Element e;
    e.type = Element::Type::Text;
    e.style.colour = s.line.colour;
    TextBox &t = e.text;
    const QString name = arg(r, 0) ? arg(r, 0)->toText() : QString();
    t.text = arg(r, 1) ? arg(r, 1)->toText() : QString();
    QPointF p;
    double angle = 0;
    placement(arg(r, 2), p, angle);
    t.angleDeg = angle;
    t.vertical = arg(r, 4) && arg(r, 4)->text == u"DOWN";
    const StepInstance font = deref(arg(r, 5));
    if (const StepRecord *f = font.record(u"EXTERNALLY_DEFINED_TEXT_FONT"))
        t.font = arg(f, 0) ? arg(f, 0)->toText() : QString();
    const StepInstance extent = deref(arg(r, 6));
    const StepRecord *ex = extent.record(u"PLANAR_EXTENT");
    t.widthMm = arg(ex, 1) ? arg(ex, 1)->toNumber() : 0;
    t.heightMm = s.textHeight > 0 ? s.textHeight : (arg(ex, 2) ? arg(ex, 2)->toNumber() : 3.5);
    t.spacingMm = s.textSpacing;
    t.slantDeg = std::clamp(s.textSlantDeg, -85.0, 85.0);
    // "$$SXF_<baseline|middleline|topline> <left|centre|right>": the anchor, and the point
    // moved off it by the writer (bottom row up h/2, middle row down h/2, top row down h).
    int row = 0, col = 0;
    if (name.startsWith(u"$$SXF_")) {
        const QStringList words = name.mid(6).split(u' ', Qt::SkipEmptyParts);
        if (!words.isEmpty())
            row = words[0] == u"topline" ? 2 : words[0] == u"middleline" ? 1 : 0;
        if (words.size() > 1)
            col = words[1] == u"right" ? 2 : words[1] == u"centre" ? 1 : 0;
        const double shift[] = { -0.5, 0.5, 1.0 };
        const double a = qDegreesToRadians(angle);
        p += QPointF(-std::sin(a), std::cos(a)) * (shift[row] * t.heightMm);
    }
    t.anchor = row * 3 + col + 1;
    t.position = p;
    add(std::move(e), layer, transform);
}

void P21Walker::mapped(const StepRecord *m, int layer, const QTransform &transform, int depth)
{
    const StepInstance map = deref(arg(m, 1));
    const StepRecord *mr = map.record(u"SYMBOL_REPRESENTATION_MAP");
    if (!mr)
        mr = map.record(u"REPRESENTATION_MAP");
    const StepValue *repRef = arg(mr, 1);
    if (!repRef || !repRef->isRef())
        return;
    if (m_figureStack.contains(repRef->ref) || depth >= kMaxNesting) {
        countSkipped(m_drawing, QStringLiteral("sfig_locate_feature (cycle)"));
        return;
    }
    const StepInstance rep = m_file.instance(repRef->ref);
    if (rep.records.empty())
        return;
    const StepRecord &rr = rep.records.front();
    const QString name = arg(&rr, 0) ? arg(&rr, 0)->toText() : QString();
    QTransform local;
    const StepInstance target = deref(arg(m, 2));
    if (const StepRecord *t = target.record(u"SYMBOL_TARGET")) {
        QPointF at;
        double angle = 0;
        placement(arg(t, 1), at, angle);
        local.translate(at.x(), at.y());
        local.rotate(angle);
        local.scale(arg(t, 2) ? arg(t, 2)->toNumber(1) : 1, arg(t, 3) ? arg(t, 3)->toNumber(1) : 1);
    }
    QPointF origin;
    double originAngle = 0;
    if (placement(arg(mr, 0), origin, originAngle)) {
        QTransform o;
        o.translate(origin.x(), origin.y());
        o.rotate(originAngle);
        local = o.inverted() * local;
    }
    if (name.startsWith(u"$$SXF_FG_"))
        local = QTransform(0, 1, 1, 0, 0, 0) * local;
    m_figureStack.append(repRef->ref);
    const QSet<qint64> outer = std::exchange(m_drawnHere, {});
    if (const StepValue *items = arg(&rr, 1))
        for (const StepValue &i : items->items)
            if (i.isRef())
                item(i.ref, layer, local * transform, depth + 1);
    m_drawnHere = outer;
    m_figureStack.removeLast();
}

void P21Walker::item(qint64 id, int inheritedLayer, const QTransform &transform, int depth)
{
    if (depth > kMaxNesting || ++m_visits > kMaxVisits || m_drawnHere.contains(id))
        return;
    m_drawnHere.insert(id);
    const StepInstance inst = m_file.instance(id);
    const int layer = m_layerOf.value(id, inheritedLayer);
    if (const StepRecord *box = inst.record(u"PLANAR_BOX")) {
        if (m_drawing.sheet.isEmpty() && depth == 0)
            m_drawing.sheet = QRectF(0, 0, std::clamp(arg(box, 1) ? arg(box, 1)->toNumber() : 0.0, 0.0, 1e6),
                std::clamp(arg(box, 2) ? arg(box, 2)->toNumber() : 0.0, 0.0, 1e6));
        return;
    }
    const StepRecord *styled = inst.record(u"STYLED_ITEM");
    if (!styled) {
        if (inst.has(u"AXIS2_PLACEMENT_2D") || inst.isNull())
            return; // a figure's origin, or a missing instance
        countSkipped(m_drawing, inst.name());
        return;
    }
    const Style s = style(styled);
    if (const StepRecord *m = inst.record(u"MAPPED_ITEM")) {
        mapped(m, layer, transform, depth);
        return;
    }
    if (const StepRecord *callout = inst.record(u"DRAUGHTING_CALLOUT")) {
        if (m_open.contains(id))
            return;
        m_open.append(id);
        if (const StepValue *members = arg(callout, 1))
            for (const StepValue &member : members->items) {
                const StepInstance mi = deref(&member);
                if (mi.has(u"STYLED_ITEM"))
                    item(member.ref, layer, transform, depth + 1);
                else
                    geometry(&member, s, layer, transform, depth + 1);
            }
        m_open.removeLast();
        return;
    }
    geometry(arg(styled, styled->args.size() >= 3 ? 2 : 1), s, layer, transform, depth);
}

void P21Walker::geometry(const StepValue *v, const Style &s, int layer, const QTransform &transform, int depth)
{
    if (depth > kMaxNesting || !v || !v->isRef())
        return;
    const StepInstance g = m_file.instance(v->ref);
    if (g.has(u"TEXT_LITERAL_WITH_EXTENT") || g.has(u"TEXT_LITERAL")) {
        text(g, s, layer, transform);
        return;
    }
    if (const StepRecord *fill = g.record(u"ANNOTATION_FILL_AREA")) {
        Element e;
        e.type = s.blank ? Element::Type::Blank : !s.hatch.isEmpty() ? Element::Type::Hatch : Element::Type::Fill;
        e.style.colour = s.line.colour;
        e.hatch = s.hatch;
        if (const StepValue *boundaries = arg(fill, 1))
            for (const StepValue &b : boundaries->items) {
                QList<Curve> parts;
                curves(&b, parts, depth + 1);
                QPolygonF ring;
                for (const Curve &c : std::as_const(parts))
                    ring += flatten(c);
                e.rings.append(ring);
            }
        add(std::move(e), layer, transform);
        return;
    }
    if (const StepRecord *sym = g.record(u"DEFINED_SYMBOL")) {
        // DEFINED_SYMBOL(' ', PRE_DEFINED_POINT_MARKER_SYMBOL('circle') | PRE_DEFINED_TERMINATOR_SYMBOL(…),
        // SYMBOL_TARGET(' ', placement, sx, sy)); either may be an instance or written inline.
        const auto partOf = [&](const StepValue *x, QStringView name) -> const StepValue * {
            if (x && x->type == StepValue::Type::Typed && x->text == name)
                return x;
            return nullptr;
        };
        const StepInstance defInst = deref(arg(sym, 1));
        const StepInstance targetInst = deref(arg(sym, 2));
        QString marker, terminator;
        if (const StepValue *m = partOf(arg(sym, 1), u"PRE_DEFINED_POINT_MARKER_SYMBOL"))
            marker = m->toText();
        else if (const StepRecord *r = defInst.record(u"PRE_DEFINED_POINT_MARKER_SYMBOL"))
            marker = arg(r, 0) ? arg(r, 0)->toText() : QString();
        if (const StepValue *t = partOf(arg(sym, 1), u"PRE_DEFINED_TERMINATOR_SYMBOL"))
            terminator = t->toText();
        else if (const StepRecord *r = defInst.record(u"PRE_DEFINED_TERMINATOR_SYMBOL"))
            terminator = arg(r, 0) ? arg(r, 0)->toText() : QString();
        const StepRecord *target = targetInst.record(u"SYMBOL_TARGET");
        QPointF at;
        double angle = 0;
        placement(arg(target, 1), at, angle);
        const double scale = arg(target, 2) ? arg(target, 2)->toNumber(1) : 1;
        QList<Curve> parts;
        if (const int code = sxfMarkerCode(marker))
            parts = internal::sxfMarker(code, at, scale);
        else if (const int code = sxfArrowCode(terminator))
            parts = internal::sxfArrow(
                code, at, QPointF(std::cos(qDegreesToRadians(angle)), std::sin(qDegreesToRadians(angle))), scale);
        else
            countSkipped(m_drawing, QStringLiteral("symbol ") + marker + terminator);
        for (Curve &c : parts) {
            Element e;
            e.style = s.line;
            e.curve = std::move(c);
            add(std::move(e), layer, transform);
        }
        return;
    }
    QList<Curve> parts;
    if (!curves(v, parts, depth)) {
        countSkipped(m_drawing, g.name().isEmpty() ? QStringLiteral("damaged instance") : g.name());
        return;
    }
    for (Curve &c : parts) {
        Element e;
        e.type = Element::Type::Stroke;
        e.style = s.line;
        e.curve = std::move(c);
        add(std::move(e), layer, transform);
    }
}

bool P21Walker::walk()
{
    const QList<qint64> sheets = m_file.idsOf(QStringLiteral("DRAWING_SHEET_REVISION"));
    if (sheets.isEmpty())
        return false;
    const StepInstance sheet = m_file.instance(sheets.front());
    const StepRecord *sr = sheet.record(u"DRAWING_SHEET_REVISION");
    if (!sr)
        return false;

    // Layers in file order; hidden ones are listed by INVISIBILITY.
    QHash<qint64, int> layerIndex;
    for (qint64 id : m_file.idsOf(QStringLiteral("PRESENTATION_LAYER_ASSIGNMENT"))) {
        const StepInstance la = m_file.instance(id);
        const StepRecord *r = la.record(u"PRESENTATION_LAYER_ASSIGNMENT");
        if (!r)
            continue;
        const QString name = arg(r, 0) ? arg(r, 0)->toText() : QString();
        if (name == u"$$SXF_dummy_layer_for_subfigure")
            continue;
        const int index = int(m_drawing.layers.size());
        m_drawing.layers.append({ name, true });
        layerIndex.insert(id, index);
        if (const StepValue *items = arg(r, 2))
            for (const StepValue &i : items->items)
                if (i.isRef())
                    m_layerOf.insert(i.ref, index);
    }
    for (qint64 id : m_file.idsOf(QStringLiteral("INVISIBILITY"))) {
        const StepInstance inv = m_file.instance(id);
        if (const StepValue *items = arg(inv.record(u"INVISIBILITY"), 0))
            for (const StepValue &i : items->items)
                if (i.isRef() && layerIndex.contains(i.ref))
                    m_drawing.layers[layerIndex.value(i.ref)].visible = false;
    }

    // The sheet: "A3_horizontal", "A0_vertical" … or "FREE" (then the planar box gives the size).
    const QString sheetName = arg(sr, 0) ? arg(sr, 0)->toText() : QString();
    if (sheetName.size() >= 2 && sheetName[0] == u'A' && sheetName[1].isDigit()) {
        const QSizeF paper = internal::sxfPaperSize(sheetName[1].digitValue(), !sheetName.endsWith(u"vertical"));
        if (!paper.isEmpty())
            m_drawing.sheet = QRectF(QPointF(0, 0), paper);
    }
    for (qint64 id : m_file.idsOf(QStringLiteral("DRAUGHTING_TITLE"))) {
        const StepInstance title = m_file.instance(id);
        if (const StepValue *name = arg(title.record(u"DRAUGHTING_TITLE"), 2)) {
            m_drawing.name = name->toText();
            break;
        }
    }
    if (const StepValue *items = arg(sr, 1)) {
        m_drawing.elements.reserve(std::min<qsizetype>(qsizetype(items->items.size()), kMaxElements));
        for (const StepValue &i : items->items)
            if (i.isRef())
                item(i.ref, -1, QTransform(), 0);
    }
    return true;
}

} // namespace

Result<Drawing> readP21(const QByteArray &data)
{
    const StepFile file(data);
    if (!file.isStep())
        return Status::corruption(QStringLiteral("not an ISO 10303-21 file"));
    Drawing drawing;
    P21Walker walker(file, drawing);
    if (!walker.walk())
        return Status::corruption(QStringLiteral("no drawing sheet (DRAWING_SHEET_REVISION)"));
    return drawing;
}

} // namespace tolvane::viewer::drawing

// ASCII DXF through dxflib. dxflib hands over text as the file's raw bytes, so names and texts are
// decoded here: UTF-8 from AutoCAD 2007 (AC1021) on, before that the code page named by
// $DWGCODEPAGE (ANSI_932 is Windows-31J); then \U+XXXX escapes are replaced. Model space only;
// blocks are placed like compound figures, a dimension is drawn from its "*D" block.
#include <cmath>
#include <dl_creationadapter.h>
#include <dl_dxf.h>
#include <sstream>

#include <QHash>
#include <QRegularExpression>
#include <QStringDecoder>
#include <QtMath>

#include "viewer/drawing/internal/sxfbuilder.h"
#include "viewer/drawing/readers.h"

namespace tolvane::viewer::drawing {

namespace {

using internal::countSkipped;
using internal::FigureBody;

// The AutoCAD colour index: 1–9 named colours, 10–249 hues in 24 steps of ten shades, 250–255
// greys. Index 7 is white on a dark background (the renderer turns it black on a light one).
QColor aciColour(int index)
{
    static const QRgb named[] = { qRgb(0, 0, 0), qRgb(255, 0, 0), qRgb(255, 255, 0), qRgb(0, 255, 0), qRgb(0, 255, 255),
        qRgb(0, 0, 255), qRgb(255, 0, 255), qRgb(255, 255, 255), qRgb(128, 128, 128), qRgb(192, 192, 192) };
    index = std::abs(index);
    if (index <= 9)
        return QColor(named[index]);
    if (index >= 250 && index <= 255) {
        const int grey = 51 + (index - 250) * 204 / 5;
        return QColor(grey, grey, grey);
    }
    if (index > 255)
        return Qt::white;
    const int hue = (index / 10 - 1) * 15;
    const int shade = index % 10;
    static const double values[] = { 1.0, 1.0, 0.65, 0.65, 0.5, 0.5, 0.3, 0.3, 0.15, 0.15 };
    return QColor::fromHsvF(hue / 360.0, shade % 2 ? 0.5 : 1.0, values[shade]);
}

QByteArray codecFor(const QString &codePage)
{
    const QString cp = codePage.toUpper();
    if (cp == u"ANSI_932" || cp == u"DOS932")
        return "windows-31j";
    if (cp == u"ANSI_936")
        return "GBK";
    if (cp == u"ANSI_949")
        return "windows-949";
    if (cp == u"ANSI_950")
        return "Big5";
    if (cp.startsWith(u"ANSI_"))
        return "windows-" + cp.mid(5).toLatin1();
    return "windows-1252";
}

struct LayerInfo {
    int index = -1;
    int colour = 7;
    int colour24 = -1;
    int lineweight = -3;
    QString linetype;
};

class DxfCollector : public DL_CreationAdapter {
public:
    Drawing drawing;
    DL_Dxf *dxf = nullptr;

    void setVariableString(const std::string &key, const std::string &value, int) override
    {
        if (key == "$DWGCODEPAGE")
            m_codePage = QString::fromLatin1(value.c_str());
        else if (key == "$ACADVER")
            m_version = QString::fromLatin1(value.c_str());
    }
    void setVariableDouble(const std::string &key, double value, int) override
    {
        if (key == "$LTSCALE" && std::isfinite(value) && value > 0)
            m_ltScale = value;
    }
    void addLayer(const DL_LayerData &data) override
    {
        const QString name = decode(data.name);
        if (m_layers.contains(name))
            return;
        LayerInfo info;
        info.index = int(drawing.layers.size());
        info.colour = attributes.getColor();
        info.colour24 = attributes.getColor24();
        info.lineweight = attributes.getWidth();
        info.linetype = decode(attributes.getLinetype()).toUpper();
        drawing.layers.append({ name, !data.off && info.colour >= 0 && !(data.flags & 1) });
        m_layers.insert(name, info);
    }
    void addLinetype(const DL_LinetypeData &data) override
    {
        m_currentLinetype = decode(data.name).toUpper();
        m_linetypes.insert(m_currentLinetype, {});
    }
    void addLinetypeDash(double length) override
    {
        QList<double> &dashes = m_linetypes[m_currentLinetype];
        if (dashes.size() < 16 && std::isfinite(length))
            dashes.append(std::max(std::abs(length), 0.05));
    }
    void addBlock(const DL_BlockData &data) override
    {
        flush();
        m_block = decode(data.name);
        m_blocks[m_block] = {};
        m_blocks[m_block].origin = QPointF(data.bpx, data.bpy);
    }
    void endBlock() override
    {
        flush();
        m_block.clear();
    }
    void endEntity() override { flush(); }
    void endSequence() override { flush(); }
    void endSection() override { flush(); }

    void addPoint(const DL_PointData &d) override { stroke(Curve::arc({ d.x, d.y }, 0.1, 0.1, 0, 0, 360)); }
    void addLine(const DL_LineData &d) override { stroke(Curve::line({ d.x1, d.y1 }, { d.x2, d.y2 })); }
    void addArc(const DL_ArcData &d) override
    {
        double sweep = std::fmod(d.angle2 - d.angle1, 360.0);
        if (sweep <= 0)
            sweep += 360;
        stroke(Curve::arc({ d.cx, d.cy }, d.radius, d.radius, 0, d.angle1, sweep));
    }
    void addCircle(const DL_CircleData &d) override
    {
        stroke(Curve::arc({ d.cx, d.cy }, d.radius, d.radius, 0, 0, 360));
    }
    void addEllipse(const DL_EllipseData &d) override
    {
        const double rx = std::hypot(d.mx, d.my);
        double sweep = std::fmod(qRadiansToDegrees(d.angle2 - d.angle1), 360.0);
        if (sweep <= 1e-9)
            sweep += 360;
        stroke(Curve::arc({ d.cx, d.cy }, rx, rx * d.ratio, qRadiansToDegrees(std::atan2(d.my, d.mx)),
            qRadiansToDegrees(d.angle1), sweep));
    }
    void addPolyline(const DL_PolylineData &d) override
    {
        flush();
        m_polyline = true;
        m_closed = d.flags & 1;
        m_polylineStyle = currentStyle();
        m_polylineLayer = currentLayer();
    }
    void addVertex(const DL_VertexData &d) override
    {
        if (!m_polyline || m_vertices.size() >= 1'000'000)
            return;
        m_vertices.append({ d.x, d.y });
        m_bulges.append(std::isfinite(d.bulge) ? d.bulge : 0.0);
    }
    void addSpline(const DL_SplineData &) override
    {
        flush();
        m_spline = true;
        m_polylineStyle = currentStyle();
        m_polylineLayer = currentLayer();
    }
    void addControlPoint(const DL_ControlPointData &d) override
    {
        if (m_spline && m_vertices.size() < 100'000) {
            m_vertices.append({ d.x, d.y });
            m_bulges.append(0);
        }
    }
    void addText(const DL_TextData &d) override
    {
        TextBox t;
        t.text = decodeText(d.text);
        const bool justified = d.hJustification != 0 || d.vJustification != 0;
        t.position = justified ? QPointF(d.apx, d.apy) : QPointF(d.ipx, d.ipy);
        t.heightMm = d.height;
        const int col = d.hJustification == 1 || d.hJustification == 4 ? 1 : d.hJustification == 2 ? 2 : 0;
        const int row = d.vJustification == 3 ? 2 : d.vJustification == 2 || d.hJustification == 4 ? 1 : 0;
        t.anchor = row * 3 + col + 1;
        t.angleDeg = qRadiansToDegrees(d.angle);
        t.font = decode(d.style);
        if (d.xScaleFactor > 0 && d.xScaleFactor != 1)
            t.widthMm = 0; // natural width; the factor is rarely far from 1
        text(std::move(t));
    }
    void addMText(const DL_MTextData &d) override
    {
        TextBox t;
        t.text = stripMText(decodeText(d.text));
        t.position = QPointF(d.ipx, d.ipy);
        t.heightMm = d.height;
        // Attachment points run top-left (1) … bottom-right (9).
        const int a = std::clamp(d.attachmentPoint, 1, 9) - 1;
        t.anchor = (2 - a / 3) * 3 + a % 3 + 1;
        t.angleDeg = qRadiansToDegrees(d.angle);
        text(std::move(t));
    }
    void addInsert(const DL_InsertData &d) override
    {
        const QString name = decode(d.name);
        const int cols = std::clamp(d.cols, 1, 100), rows = std::clamp(d.rows, 1, 100);
        for (int r = 0; r < rows; ++r)
            for (int c = 0; c < cols; ++c) {
                internal::FigurePlacement p;
                p.name = name;
                QTransform turn;
                turn.rotate(d.angle);
                p.position = QPointF(d.ipx, d.ipy) + turn.map(QPointF(c * d.colSp, r * d.rowSp));
                p.angleDeg = d.angle;
                p.scaleX = d.sx;
                p.scaleY = d.sy;
                if (!inPaperSpace())
                    body().placements.append(p);
            }
    }
    void addSolid(const DL_SolidData &d) override
    {
        // Corners 1, 2, 4, 3 make the quadrilateral (3 and 4 equal for a triangle).
        Element e;
        e.type = Element::Type::Fill;
        e.style = currentStyle();
        e.layer = currentLayer();
        e.rings.append(QPolygonF({ { d.x[0], d.y[0] }, { d.x[1], d.y[1] }, { d.x[3], d.y[3] }, { d.x[2], d.y[2] } }));
        add(std::move(e));
    }
    void addTrace(const DL_TraceData &d) override
    {
        Element e;
        e.type = Element::Type::Fill;
        e.style = currentStyle();
        e.layer = currentLayer();
        e.rings.append(QPolygonF({ { d.x[0], d.y[0] }, { d.x[1], d.y[1] }, { d.x[3], d.y[3] }, { d.x[2], d.y[2] } }));
        add(std::move(e));
    }
    void addHatch(const DL_HatchData &d) override
    {
        flush();
        m_hatch = true;
        m_hatchSolid = d.solid;
        m_hatchRings.clear();
        m_polylineStyle = currentStyle();
        m_polylineLayer = currentLayer();
    }
    void addHatchLoop(const DL_HatchLoopData &) override
    {
        if (m_hatch && m_hatchRings.size() < 10'000)
            m_hatchRings.append(QPolygonF());
    }
    void addHatchEdge(const DL_HatchEdgeData &e) override
    {
        if (!m_hatch || m_hatchRings.isEmpty() || m_hatchRings.last().size() > 1'000'000)
            return;
        QPolygonF &ring = m_hatchRings.last();
        switch (e.type) {
        case 0:
            for (const std::vector<double> &v : e.vertices)
                if (v.size() >= 2)
                    ring << QPointF(v[0], v[1]);
            break;
        case 1:
            ring << QPointF(e.x1, e.y1) << QPointF(e.x2, e.y2);
            break;
        case 2: {
            double a1 = qRadiansToDegrees(e.angle1), a2 = qRadiansToDegrees(e.angle2);
            double sweep = std::fmod(a2 - a1, 360.0);
            if (sweep <= 0)
                sweep += 360;
            ring += flatten(Curve::arc({ e.cx, e.cy }, e.radius, e.radius, 0, a1, e.ccw ? sweep : -(360 - sweep)));
            break;
        }
        default:
            break;
        }
    }
    void addDimAlign(const DL_DimensionData &, const DL_DimAlignedData &) override { dimension(); }
    void addDimLinear(const DL_DimensionData &, const DL_DimLinearData &) override { dimension(); }
    void addDimRadial(const DL_DimensionData &, const DL_DimRadialData &) override { dimension(); }
    void addDimDiametric(const DL_DimensionData &, const DL_DimDiametricData &) override { dimension(); }
    void addDimAngular(const DL_DimensionData &, const DL_DimAngular2LData &) override { dimension(); }
    void addDimAngular3P(const DL_DimensionData &, const DL_DimAngular3PData &) override { dimension(); }
    void addDimOrdinate(const DL_DimensionData &, const DL_DimOrdinateData &) override { dimension(); }
    void addXLine(const DL_XLineData &) override { countSkipped(drawing, QStringLiteral("XLINE")); }
    void addRay(const DL_RayData &) override { countSkipped(drawing, QStringLiteral("RAY")); }
    void addImage(const DL_ImageData &) override { countSkipped(drawing, QStringLiteral("IMAGE")); }
    void add3dFace(const DL_3dFaceData &) override { countSkipped(drawing, QStringLiteral("3DFACE")); }
    void addLeader(const DL_LeaderData &) override { countSkipped(drawing, QStringLiteral("LEADER")); }

    void finish()
    {
        flush();
        FigureBody model = m_blocks.take(QStringLiteral("*MODEL_SPACE"));
        model.elements += m_entities.elements;
        model.placements += m_entities.placements;
        QHash<QString, FigureBody> blocks;
        for (auto it = m_blocks.cbegin(); it != m_blocks.cend(); ++it)
            blocks.insert(it.key(), it.value());
        internal::placeFigures(drawing, std::move(model), blocks);
    }

private:
    QString decode(const std::string &raw) const
    {
        const QByteArray bytes = QByteArray::fromStdString(raw);
        if (m_version >= u"AC1021")
            return QString::fromUtf8(bytes);
        QStringDecoder decoder(codecFor(m_codePage).constData());
        if (!decoder.isValid())
            return QString::fromLatin1(bytes);
        return decoder.decode(bytes);
    }
    QString decodeText(const std::string &raw) const
    {
        QString s = decode(raw);
        static const QRegularExpression unicode(QStringLiteral("\\\\U\\+([0-9A-Fa-f]{4})"));
        QString out;
        qsizetype last = 0;
        for (auto it = unicode.globalMatch(s); it.hasNext();) {
            const QRegularExpressionMatch m = it.next();
            out += QStringView(s).mid(last, m.capturedStart() - last);
            out += QChar(char16_t(m.captured(1).toUShort(nullptr, 16)));
            last = m.capturedEnd();
        }
        out += QStringView(s).mid(last);
        return out.replace(QStringLiteral("%%c"), QStringLiteral("⌀"), Qt::CaseInsensitive)
            .replace(QStringLiteral("%%d"), QStringLiteral("°"), Qt::CaseInsensitive)
            .replace(QStringLiteral("%%p"), QStringLiteral("±"), Qt::CaseInsensitive);
    }
    static QString stripMText(QString s)
    {
        static const QRegularExpression codes(QStringLiteral("\\\\[A-Za-z][^;\\\\{}]*;|[{}]"));
        s.replace(QStringLiteral("\\P"), QStringLiteral(" "));
        return s.remove(codes);
    }

    bool inPaperSpace() { return m_block.isEmpty() && attributes.isInPaperSpace(); }
    FigureBody &body() { return m_block.isEmpty() ? m_entities : m_blocks[m_block]; }
    const LayerInfo *layerInfo()
    {
        const auto it = m_layers.constFind(decode(attributes.getLayer()));
        if (it != m_layers.constEnd())
            return &*it;
        // An entity on a layer the table does not list: make the layer.
        DL_LayerData data(attributes.getLayer(), 0);
        const DL_Attributes saved = attributes;
        attributes = DL_Attributes(attributes.getLayer(), 7, -3, "CONTINUOUS", 1.0);
        addLayer(data);
        attributes = saved;
        return &*m_layers.constFind(decode(attributes.getLayer()));
    }
    int currentLayer() { return layerInfo()->index; }
    LineStyle currentStyle()
    {
        const LayerInfo *layer = layerInfo();
        LineStyle s;
        const int colour = attributes.getColor();
        if (attributes.getColor24() >= 0)
            s.colour = QColor(QRgb(attributes.getColor24()));
        else if (colour == 256 || colour == 0)
            s.colour = layer->colour24 >= 0 ? QColor(QRgb(layer->colour24)) : aciColour(layer->colour);
        else
            s.colour = aciColour(colour);
        const int weight = attributes.getWidth() == -1 ? layer->lineweight : attributes.getWidth();
        s.widthMm = weight > 0 ? weight / 100.0 : 0.0;
        QString type = decode(attributes.getLinetype()).toUpper();
        if (type == u"BYLAYER")
            type = layer->linetype;
        QList<double> dashes = m_linetypes.value(type);
        const double scale = m_ltScale * (attributes.getLinetypeScale() > 0 ? attributes.getLinetypeScale() : 1.0);
        for (double &d : dashes)
            d *= scale;
        if (dashes.size() % 2)
            dashes.append(dashes.last());
        s.dashMm = dashes;
        return s;
    }
    void add(Element e)
    {
        if (inPaperSpace())
            return;
        if (m_block.isEmpty() && m_entities.elements.size() >= kMaxElements) {
            countSkipped(drawing, QStringLiteral("elements beyond the limit"));
            return;
        }
        if (m_block.startsWith(u"*PAPER_SPACE", Qt::CaseInsensitive))
            return;
        body().elements.append(std::move(e));
    }
    void stroke(Curve c)
    {
        Element e;
        e.type = Element::Type::Stroke;
        e.style = currentStyle();
        e.layer = currentLayer();
        e.curve = std::move(c);
        add(std::move(e));
    }
    void text(TextBox t)
    {
        Element e;
        e.type = Element::Type::Text;
        e.style = currentStyle();
        e.layer = currentLayer();
        e.text = std::move(t);
        add(std::move(e));
    }
    void dimension()
    {
        // The dimension's picture is the anonymous block named by group 2.
        const QString block = dxf ? decode(dxf->getStringValue(2, "")) : QString();
        if (block.isEmpty()) {
            countSkipped(drawing, QStringLiteral("DIMENSION"));
            return;
        }
        internal::FigurePlacement p;
        p.name = block;
        if (!inPaperSpace())
            body().placements.append(p);
    }
    void flush()
    {
        if (m_polyline || m_spline) {
            QList<QPointF> points;
            const qsizetype n = m_vertices.size();
            for (qsizetype i = 0; i < n; ++i) {
                const QPointF a = m_vertices[i];
                points.append(a);
                const bool last = i + 1 == n;
                if (last && !m_closed)
                    break;
                const QPointF b = m_vertices[last ? 0 : i + 1];
                const double bulge = m_bulges[i];
                if (std::abs(bulge) > 1e-9 && a != b) {
                    // A bulge is tan(sweep / 4); positive turns counter-clockwise.
                    const double sweep = 4 * std::atan(bulge);
                    const QPointF mid = (a + b) / 2, chord = b - a;
                    const double len = std::hypot(chord.x(), chord.y());
                    const double r = len / (2 * std::sin(std::abs(sweep) / 2));
                    // The centre lies on the chord's left for a counter-clockwise arc under half a turn.
                    const QPointF centre
                        = mid + QPointF(-chord.y() / len, chord.x() / len) * (len / 2 / std::tan(sweep / 2));
                    const double start = qRadiansToDegrees(std::atan2(a.y() - centre.y(), a.x() - centre.x()));
                    QPolygonF arc = flatten(Curve::arc(centre, r, r, 0, start, qRadiansToDegrees(sweep)));
                    for (qsizetype k = 1; k + 1 < arc.size(); ++k)
                        points.append(arc[k]);
                }
            }
            if (m_closed && n > 1)
                points.append(m_vertices.first());
            if (points.size() >= 2) {
                Element e;
                e.type = Element::Type::Stroke;
                e.style = m_polylineStyle;
                e.layer = m_polylineLayer;
                e.curve = Curve::polyline(points);
                add(std::move(e));
            }
        }
        if (m_hatch) {
            Element e;
            e.type = m_hatchSolid ? Element::Type::Fill : Element::Type::Stroke;
            e.style = m_polylineStyle;
            e.layer = m_polylineLayer;
            if (m_hatchSolid) {
                e.rings = m_hatchRings;
                add(std::move(e));
            } else {
                // Pattern lines are not in dxflib's data: the outline stands for the hatch.
                for (const QPolygonF &ring : std::as_const(m_hatchRings)) {
                    if (ring.size() < 2)
                        continue;
                    Element o = e;
                    o.curve = Curve::polyline(QList<QPointF>(ring.begin(), ring.end()) << ring.first());
                    add(std::move(o));
                }
            }
        }
        m_polyline = m_spline = m_closed = m_hatch = false;
        m_vertices.clear();
        m_bulges.clear();
        m_hatchRings.clear();
    }

    QString m_codePage;
    QString m_version;
    double m_ltScale = 1;
    QHash<QString, LayerInfo> m_layers;
    QHash<QString, QList<double>> m_linetypes;
    QString m_currentLinetype;
    QString m_block;
    QHash<QString, FigureBody> m_blocks;
    FigureBody m_entities;
    bool m_polyline = false;
    bool m_spline = false;
    bool m_closed = false;
    bool m_hatch = false;
    bool m_hatchSolid = false;
    LineStyle m_polylineStyle;
    int m_polylineLayer = -1;
    QList<QPointF> m_vertices;
    QList<double> m_bulges;
    QList<QPolygonF> m_hatchRings;
};

} // namespace

Result<Drawing> readDxf(const QByteArray &data)
{
    if (detectDrawingFormat(data) == DrawingFormat::BinaryDxf)
        return Status::notSupported(QStringLiteral("binary DXF"));
    std::istringstream stream(data.toStdString());
    DxfCollector collector;
    DL_Dxf dxf;
    collector.dxf = &dxf;
    try {
        if (!dxf.in(stream, &collector))
            return Status::corruption(QStringLiteral("not a DXF file"));
    } catch (const std::exception &e) {
        return Status::corruption(QStringLiteral("damaged DXF: ") + QString::fromUtf8(e.what()));
    }
    collector.finish();
    if (collector.drawing.elements.isEmpty() && collector.drawing.layers.isEmpty())
        return Status::corruption(QStringLiteral("no DXF entities"));
    return std::move(collector.drawing);
}

} // namespace tolvane::viewer::drawing

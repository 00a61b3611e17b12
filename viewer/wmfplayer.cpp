#include "viewer/wmfplayer.h"

#include <cmath>
#include <optional>
#include <vector>

#include <QBuffer>
#include <QPainter>
#include <QPainterPath>
#include <QStringDecoder>

#include "viewer/metafilesize.h"

namespace tolvane::viewer {

namespace {

constexpr quint32 kPlaceableKey = 0x9AC6CDD7;
constexpr int kMaxObjects = 65535;

// Record functions (the low byte of each is the record's own number; the high byte counts
// its parameters).
enum Function : quint16 {
    EndOfFile = 0x0000,
    SaveDC = 0x001E,
    SetBkColor = 0x0201,
    SetBkMode = 0x0102,
    SetPolyFillMode = 0x0106,
    SetTextColor = 0x0209,
    SetTextAlign = 0x012E,
    SetWindowOrg = 0x020B,
    SetWindowExt = 0x020C,
    RestoreDC = 0x0127,
    SelectObject = 0x012D,
    DeleteObject = 0x01F0,
    CreatePenIndirect = 0x02FA,
    CreateBrushIndirect = 0x02FC,
    CreateFontIndirect = 0x02FB,
    CreatePalette = 0x00F7,
    CreatePatternBrush = 0x01F9,
    DibCreatePatternBrush = 0x0142,
    CreateRegion = 0x06FF,
    MoveTo = 0x0214,
    LineTo = 0x0213,
    Rectangle = 0x041B,
    RoundRect = 0x061C,
    Ellipse = 0x0418,
    Arc = 0x0817,
    Pie = 0x081A,
    Chord = 0x0830,
    Polygon = 0x0324,
    Polyline = 0x0325,
    PolyPolygon = 0x0538,
    TextOut = 0x0521,
    ExtTextOut = 0x0A32,
    StretchDib = 0x0F43,
    DibStretchBlt = 0x0B41,
};

struct Font {
    int height = 12;
    int escapement = 0;
    int weight = 400;
    bool italic = false;
    bool underline = false;
    bool strikeOut = false;
    int charset = 0;
    QString face;
};

struct Object {
    enum class Kind { Pen, Brush, Font, Other } kind = Kind::Other;
    QPen pen;
    QBrush brush;
    Font font;
};

struct DeviceState {
    QPen pen { Qt::black, 0 };
    QBrush brush { Qt::white };
    Font font;
    QColor textColor = Qt::black;
    QColor bkColor = Qt::white;
    bool opaqueBk = true;
    int textAlign = 0;
    Qt::FillRule fillRule = Qt::OddEvenFill;
    QPointF position;
    QPointF windowOrg;
    QSizeF windowExt;
};

class Reader {
public:
    Reader(const QByteArray &bytes, qsizetype at, qsizetype end)
        : m_b(bytes)
        , m_at(at)
        , m_end(end)
    {
    }
    bool has(qsizetype n) const { return m_at + n <= m_end; }
    int u16()
    {
        if (!has(2)) {
            m_ok = false;
            return 0;
        }
        const int v = uchar(m_b[m_at]) | (uchar(m_b[m_at + 1]) << 8);
        m_at += 2;
        return v;
    }
    int i16() { return qint16(quint16(u16())); }
    quint32 u32()
    {
        const quint32 lo = quint32(u16());
        return lo | (quint32(u16()) << 16);
    }
    int u8()
    {
        if (!has(1)) {
            m_ok = false;
            return 0;
        }
        return uchar(m_b[m_at++]);
    }
    QByteArray bytes(qsizetype n)
    {
        if (n < 0 || !has(n)) {
            m_ok = false;
            return {};
        }
        QByteArray r = m_b.mid(m_at, n);
        m_at += n;
        return r;
    }
    void skip(qsizetype n) { m_at = std::min(m_end, m_at + n); }
    qsizetype remaining() const { return m_end - m_at; }
    bool ok() const { return m_ok; }

private:
    const QByteArray &m_b;
    qsizetype m_at;
    qsizetype m_end;
    bool m_ok = true;
};

QColor colorRef(quint32 ref)
{
    return QColor(int(ref & 0xFF), int((ref >> 8) & 0xFF), int((ref >> 16) & 0xFF));
}

QPen penFor(int style, int width, QColor colour)
{
    QPen pen(colour, width);
    pen.setCosmetic(width <= 1);
    if (width <= 1)
        pen.setWidth(0);
    switch (style & 0x0F) {
    case 1:
        pen.setStyle(Qt::DashLine);
        break;
    case 2:
        pen.setStyle(Qt::DotLine);
        break;
    case 3:
        pen.setStyle(Qt::DashDotLine);
        break;
    case 4:
        pen.setStyle(Qt::DashDotDotLine);
        break;
    case 5:
        pen.setStyle(Qt::NoPen);
        break;
    default:
        pen.setStyle(Qt::SolidLine);
        break;
    }
    return pen;
}

QBrush brushFor(int style, QColor colour, int hatch)
{
    switch (style) {
    case 0:
        return QBrush(colour);
    case 1:
        return QBrush(Qt::NoBrush);
    case 2: {
        static const Qt::BrushStyle hatches[] = { Qt::HorPattern, Qt::VerPattern, Qt::BDiagPattern, Qt::FDiagPattern,
            Qt::CrossPattern, Qt::DiagCrossPattern };
        return QBrush(colour, hatch >= 0 && hatch < 6 ? hatches[hatch] : Qt::SolidPattern);
    }
    default:
        // Pattern brushes: drawn as a middle grey, the usual look of a dither pattern.
        return QBrush(QColor(128, 128, 128));
    }
}

// Text of a metafile string in the codec of its font's charset; bytes the codec rejects turn
// into replacement characters, never into a failure.
QString decodeText(const QByteArray &bytes, int charset)
{
    QByteArray raw = bytes;
    const qsizetype nul = raw.indexOf('\0');
    if (nul >= 0)
        raw.truncate(nul);
    const QByteArray codec = wmfCharsetCodec(charset);
    if (codec == "ISO-8859-1")
        return QString::fromLatin1(raw);
    QStringDecoder decoder(codec.constData());
    if (!decoder.isValid() && codec == "windows-31j")
        decoder = QStringDecoder("Shift_JIS");
    if (!decoder.isValid())
        return QString::fromLatin1(raw);
    return decoder.decode(raw);
}

// A device-independent bitmap of a record as a QImage, through Qt's BMP reader.
QImage dibImage(const QByteArray &dib)
{
    if (dib.size() < 16)
        return {};
    Reader r(dib, 0, dib.size());
    const quint32 headerSize = r.u32();
    int bits = 0;
    quint32 compression = 0, used = 0;
    if (headerSize == 12) {
        r.skip(4 + 2);
        bits = r.u16();
    } else if (headerSize >= 40) {
        r.skip(8 + 2);
        bits = r.u16();
        compression = r.u32();
        r.skip(12);
        used = r.u32();
    } else {
        return {};
    }
    qint64 colours = 0;
    if (bits <= 8)
        colours = used ? used : (qint64(1) << bits);
    const qint64 entry = headerSize == 12 ? 3 : 4;
    qint64 offset = 14 + headerSize + colours * entry;
    if (compression == 3 && headerSize == 40)
        offset += 12; // the three bit-field masks
    QByteArray file("BM");
    const auto put32 = [&](quint32 v) {
        for (int i = 0; i < 4; ++i)
            file.append(char((v >> (8 * i)) & 0xFF));
    };
    put32(quint32(14 + dib.size()));
    put32(0);
    put32(quint32(offset));
    file.append(dib);
    return QImage::fromData(file, "BMP");
}

class Player {
public:
    Player(const QByteArray &bytes, qsizetype recordsAt, QImage &image, QRectF window)
        : m_bytes(bytes)
        , m_at(recordsAt)
        , m_image(image)
        , m_painter(&image)
    {
        m_dc.windowOrg = window.topLeft();
        m_dc.windowExt = window.size();
        m_painter.setRenderHint(QPainter::Antialiasing);
        m_painter.setRenderHint(QPainter::TextAntialiasing);
    }

    Status play()
    {
        const qsizetype end = m_bytes.size();
        while (m_at + 6 <= end) {
            Reader head(m_bytes, m_at, end);
            const qint64 size = qint64(head.u32()) * 2;
            const int function = head.u16();
            if (function == EndOfFile)
                return Status::ok();
            if (size < 6 || m_at + size > end)
                return Status::corruption(QStringLiteral("metafile record at %1").arg(m_at));
            Reader params(m_bytes, m_at + 6, m_at + size);
            record(function, params);
            m_at += size;
        }
        // A file without its closing record still shows what it drew.
        return Status::ok();
    }

private:
    QTransform transform() const
    {
        const QSizeF ext = m_dc.windowExt;
        const qreal sx = ext.width() != 0 ? m_image.width() / ext.width() : 1;
        const qreal sy = ext.height() != 0 ? m_image.height() / ext.height() : 1;
        return QTransform(sx, 0, 0, sy, -m_dc.windowOrg.x() * sx, -m_dc.windowOrg.y() * sy);
    }

    void prepareShape()
    {
        m_painter.setTransform(transform());
        m_painter.setPen(m_dc.pen);
        m_painter.setBrush(m_dc.brush);
    }

    QRectF rectFrom(Reader &p)
    {
        const int bottom = p.i16(), right = p.i16(), top = p.i16(), left = p.i16();
        return QRectF(QPointF(left, top), QPointF(right, bottom)).normalized();
    }

    QPolygonF points(Reader &p, int n)
    {
        QPolygonF poly;
        poly.reserve(n);
        for (int i = 0; i < n && p.ok(); ++i) {
            const int x = p.i16();
            const int y = p.i16();
            poly << QPointF(x, y);
        }
        return poly;
    }

    void addObject(const Object &object)
    {
        for (auto &slot : m_objects)
            if (!slot) {
                slot = object;
                return;
            }
        if (m_objects.size() < kMaxObjects)
            m_objects.push_back(object);
    }

    void arc(int function, Reader &p)
    {
        const int ye = p.i16(), xe = p.i16(), ys = p.i16(), xs = p.i16();
        const QRectF box = rectFrom(p);
        const QTransform t = transform();
        const QRectF r = t.mapRect(box);
        const QPointF c = r.center();
        const QPointF s = t.map(QPointF(xs, ys));
        const QPointF e = t.map(QPointF(xe, ye));
        const qreal a0 = std::atan2(-(s.y() - c.y()), s.x() - c.x()) * 180 / M_PI;
        const qreal a1 = std::atan2(-(e.y() - c.y()), e.x() - c.x()) * 180 / M_PI;
        qreal sweep = a1 - a0;
        if (sweep <= 0)
            sweep += 360;
        QPainterPath path;
        if (function == Pie)
            path.moveTo(c);
        else
            path.arcMoveTo(r, a0);
        path.arcTo(r, a0, sweep);
        if (function != Arc)
            path.closeSubpath();
        m_painter.resetTransform();
        m_painter.setPen(m_dc.pen);
        m_painter.setBrush(function == Arc ? QBrush(Qt::NoBrush) : m_dc.brush);
        m_painter.drawPath(path);
    }

    void text(QPointF at, const QByteArray &raw, std::optional<QRectF> opaqueRect)
    {
        const QString s = decodeText(raw, m_dc.font.charset);
        const QTransform t = transform();
        const QPointF origin = t.map(at);
        const qreal scale = std::abs(t.m22());
        const qreal em = (m_dc.font.height < 0 ? -m_dc.font.height : m_dc.font.height * 0.85) * scale;
        QFont font(m_dc.font.face);
        font.setPixelSize(std::max(1, qRound(em > 0 ? em : 12)));
        font.setWeight(QFont::Weight(std::clamp(m_dc.font.weight, 100, 900)));
        font.setItalic(m_dc.font.italic);
        font.setUnderline(m_dc.font.underline);
        font.setStrikeOut(m_dc.font.strikeOut);
        m_painter.resetTransform();
        if (opaqueRect) {
            m_painter.fillRect(t.mapRect(*opaqueRect), m_dc.bkColor);
        }
        m_painter.setFont(font);
        const QFontMetricsF fm(font, &m_image);
        const qreal w = fm.horizontalAdvance(s);
        qreal dx = 0, dy = 0;
        const int align = m_dc.textAlign;
        if ((align & 6) == 6)
            dx = -w / 2;
        else if (align & 2)
            dx = -w;
        if ((align & 24) == 24)
            dy = 0;
        else if (align & 8)
            dy = -fm.descent();
        else
            dy = fm.ascent();
        m_painter.save();
        m_painter.translate(origin);
        if (m_dc.font.escapement != 0)
            m_painter.rotate(-m_dc.font.escapement / 10.0);
        if (m_dc.opaqueBk && !opaqueRect)
            m_painter.fillRect(QRectF(dx, dy - fm.ascent(), w, fm.height()), m_dc.bkColor);
        m_painter.setPen(m_dc.textColor);
        m_painter.drawText(QPointF(dx, dy), s);
        m_painter.restore();
        if (align & 1)
            m_dc.position = t.inverted().map(origin + QPointF(w, 0));
    }

    void bitmap(const QRectF &dest, const QRectF &source, const QByteArray &dib)
    {
        const QImage image = dibImage(dib);
        if (image.isNull())
            return;
        m_painter.setTransform(transform());
        // DIBs are stored bottom-up; Qt's reader has turned them upright already.
        QRectF src = source;
        if (src.isEmpty())
            src = image.rect();
        m_painter.drawImage(dest.normalized(), image, src);
    }

    void record(int function, Reader &p)
    {
        switch (function) {
        case SaveDC:
            m_saved.push_back(m_dc);
            break;
        case RestoreDC: {
            int n = p.i16();
            if (n >= 0)
                n = int(m_saved.size()) - n + 1; // absolute levels count from the first save
            else
                n = -n;
            while (n-- > 0 && !m_saved.empty()) {
                m_dc = m_saved.back();
                m_saved.pop_back();
            }
            break;
        }
        case SetBkColor:
            m_dc.bkColor = colorRef(p.u32());
            break;
        case SetBkMode:
            m_dc.opaqueBk = p.u16() == 2;
            break;
        case SetPolyFillMode:
            m_dc.fillRule = p.u16() == 2 ? Qt::WindingFill : Qt::OddEvenFill;
            break;
        case SetTextColor:
            m_dc.textColor = colorRef(p.u32());
            break;
        case SetTextAlign:
            m_dc.textAlign = p.u16();
            break;
        case SetWindowOrg: {
            const int y = p.i16();
            const int x = p.i16();
            m_dc.windowOrg = QPointF(x, y);
            break;
        }
        case SetWindowExt: {
            const int y = p.i16();
            const int x = p.i16();
            if (x != 0 && y != 0)
                m_dc.windowExt = QSizeF(x, y);
            break;
        }
        case CreatePenIndirect: {
            Object o;
            o.kind = Object::Kind::Pen;
            const int style = p.u16();
            const int width = p.i16();
            p.i16();
            o.pen = penFor(style, std::abs(width), colorRef(p.u32()));
            addObject(o);
            break;
        }
        case CreateBrushIndirect: {
            Object o;
            o.kind = Object::Kind::Brush;
            const int style = p.u16();
            const QColor colour = colorRef(p.u32());
            o.brush = brushFor(style, colour, p.u16());
            addObject(o);
            break;
        }
        case CreateFontIndirect: {
            Object o;
            o.kind = Object::Kind::Font;
            o.font.height = p.i16();
            p.i16(); // width
            o.font.escapement = p.i16();
            p.i16(); // orientation
            o.font.weight = p.i16();
            o.font.italic = p.u8() != 0;
            o.font.underline = p.u8() != 0;
            o.font.strikeOut = p.u8() != 0;
            o.font.charset = p.u8();
            p.skip(4); // precisions, quality, pitch and family
            o.font.face = decodeText(p.bytes(std::min<qsizetype>(32, p.remaining())), o.font.charset);
            addObject(o);
            break;
        }
        case CreatePalette:
        case CreatePatternBrush:
        case DibCreatePatternBrush:
        case CreateRegion: {
            // Each takes a slot of the object table even though it is not drawn with here.
            Object o;
            if (function != CreatePalette && function != CreateRegion) {
                o.kind = Object::Kind::Brush;
                o.brush = brushFor(3, Qt::gray, 0);
            }
            addObject(o);
            break;
        }
        case SelectObject: {
            const int index = p.u16();
            if (index < 0 || index >= int(m_objects.size()) || !m_objects[index])
                break;
            const Object &o = *m_objects[index];
            if (o.kind == Object::Kind::Pen)
                m_dc.pen = o.pen;
            else if (o.kind == Object::Kind::Brush)
                m_dc.brush = o.brush;
            else if (o.kind == Object::Kind::Font)
                m_dc.font = o.font;
            break;
        }
        case DeleteObject: {
            const int index = p.u16();
            if (index >= 0 && index < int(m_objects.size()))
                m_objects[index].reset();
            break;
        }
        case MoveTo: {
            const int y = p.i16();
            const int x = p.i16();
            m_dc.position = QPointF(x, y);
            break;
        }
        case LineTo: {
            const int y = p.i16();
            const int x = p.i16();
            prepareShape();
            m_painter.drawLine(m_dc.position, QPointF(x, y));
            m_dc.position = QPointF(x, y);
            break;
        }
        case Rectangle:
            prepareShape();
            m_painter.drawRect(rectFrom(p));
            break;
        case RoundRect: {
            const int h = p.i16();
            const int w = p.i16();
            const QRectF r = rectFrom(p);
            prepareShape();
            m_painter.drawRoundedRect(r, w / 2.0, h / 2.0);
            break;
        }
        case Ellipse:
            prepareShape();
            m_painter.drawEllipse(rectFrom(p));
            break;
        case Arc:
        case Pie:
        case Chord:
            arc(function, p);
            break;
        case Polygon:
        case Polyline: {
            const int n = p.i16();
            const QPolygonF poly = points(p, n);
            if (!p.ok() || poly.size() < 2)
                break;
            prepareShape();
            if (function == Polygon)
                m_painter.drawPolygon(poly, m_dc.fillRule);
            else
                m_painter.drawPolyline(poly);
            break;
        }
        case PolyPolygon: {
            const int polygons = p.u16();
            std::vector<int> counts;
            for (int i = 0; i < polygons && p.ok(); ++i)
                counts.push_back(p.u16());
            QPainterPath path;
            path.setFillRule(m_dc.fillRule);
            for (const int n : counts) {
                const QPolygonF poly = points(p, n);
                if (!p.ok())
                    break;
                path.addPolygon(poly);
                path.closeSubpath();
            }
            prepareShape();
            m_painter.drawPath(path);
            break;
        }
        case TextOut: {
            const int length = p.u16();
            const QByteArray raw = p.bytes(length);
            p.skip(length % 2);
            const int y = p.i16();
            const int x = p.i16();
            if (p.ok())
                text(m_dc.textAlign & 1 ? m_dc.position : QPointF(x, y), raw, std::nullopt);
            break;
        }
        case ExtTextOut: {
            const int y = p.i16();
            const int x = p.i16();
            const int length = p.u16();
            const int options = p.u16();
            std::optional<QRectF> clip;
            if (options & 0x0006) {
                const int left = p.i16(), top = p.i16(), right = p.i16(), bottom = p.i16();
                if (options & 0x0002)
                    clip = QRectF(QPointF(left, top), QPointF(right, bottom)).normalized();
            }
            const QByteArray raw = p.bytes(length);
            if (p.ok())
                text(m_dc.textAlign & 1 ? m_dc.position : QPointF(x, y), raw, clip);
            break;
        }
        case StretchDib: {
            p.u32(); // raster operation
            p.u16(); // colour usage
            const int sh = p.i16(), sw = p.i16(), sy = p.i16(), sx = p.i16();
            const int dh = p.i16(), dw = p.i16(), dy = p.i16(), dx = p.i16();
            const QByteArray dib = p.bytes(p.remaining());
            if (p.ok())
                bitmap(QRectF(dx, dy, dw, dh), QRectF(sx, sy, sw, sh), dib);
            break;
        }
        case DibStretchBlt: {
            p.u32();
            const int sh = p.i16(), sw = p.i16(), sy = p.i16(), sx = p.i16();
            const int dh = p.i16(), dw = p.i16(), dy = p.i16(), dx = p.i16();
            const QByteArray dib = p.bytes(p.remaining());
            if (p.ok() && !dib.isEmpty())
                bitmap(QRectF(dx, dy, dw, dh), QRectF(sx, sy, sw, sh), dib);
            break;
        }
        default:
            break; // clipping, palettes and raster operations are not drawn
        }
    }

    const QByteArray &m_bytes;
    qsizetype m_at;
    QImage &m_image;
    QPainter m_painter;
    DeviceState m_dc;
    std::vector<DeviceState> m_saved;
    std::vector<std::optional<Object>> m_objects;
};

quint32 le32(const QByteArray &b, qsizetype at)
{
    return quint32(uchar(b[at])) | (quint32(uchar(b[at + 1])) << 8) | (quint32(uchar(b[at + 2])) << 16)
        | (quint32(uchar(b[at + 3])) << 24);
}

int le16(const QByteArray &b, qsizetype at)
{
    return uchar(b[at]) | (uchar(b[at + 1]) << 8);
}

bool standardHeaderAt(const QByteArray &b, qsizetype at)
{
    if (b.size() < at + 18)
        return false;
    const int type = le16(b, at);
    return (type == 1 || type == 2) && le16(b, at + 2) == 9;
}

} // namespace

QByteArray wmfCharsetCodec(int charset)
{
    switch (charset) {
    case 2: // symbol fonts map their glyphs onto single bytes
        return "ISO-8859-1";
    case 1: // the system's default: our users' systems are Japanese
    case 128:
        return "windows-31j";
    case 129:
        return "windows-949";
    case 134:
        return "GBK";
    case 136:
        return "Big5";
    case 161:
        return "windows-1253";
    case 162:
        return "windows-1254";
    case 163:
        return "windows-1258";
    case 177:
        return "windows-1255";
    case 178:
        return "windows-1256";
    case 186:
        return "windows-1257";
    case 204:
        return "windows-1251";
    case 222:
        return "windows-874";
    case 238:
        return "windows-1250";
    case 255:
        return "IBM437";
    default:
        return "windows-1252";
    }
}

bool looksLikeWmf(const QByteArray &bytes)
{
    if (bytes.size() >= 22 + 18 && le32(bytes, 0) == kPlaceableKey)
        return true;
    return standardHeaderAt(bytes, 0);
}

Result<QImage> renderWmf(const QByteArray &bytes)
{
    if (!looksLikeWmf(bytes))
        return Status::corruption(QStringLiteral("not a metafile"));
    qsizetype header = 0;
    QRectF window;
    QSizeF pixels;
    if (le32(bytes, 0) == kPlaceableKey) {
        const qint16 left = qint16(le16(bytes, 6)), top = qint16(le16(bytes, 8));
        const qint16 right = qint16(le16(bytes, 10)), bottom = qint16(le16(bytes, 12));
        int inch = le16(bytes, 14);
        if (inch <= 0)
            inch = 1440;
        window = QRectF(QPointF(left, top), QPointF(right, bottom));
        pixels = QSizeF(std::abs(right - left) * 96.0 / inch, std::abs(bottom - top) * 96.0 / inch);
        header = 22;
        if (!standardHeaderAt(bytes, header))
            return Status::corruption(QStringLiteral("metafile header"));
    }
    const qsizetype records = header + qsizetype(le16(bytes, header + 2)) * 2;
    if (window.isEmpty()) {
        // No placeable header: the first window extent sizes the picture.
        qsizetype at = records;
        while (at + 6 <= bytes.size()) {
            const qint64 size = qint64(le32(bytes, at)) * 2;
            const int function = le16(bytes, at + 4);
            if (size < 6 || function == EndOfFile)
                break;
            if (function == SetWindowExt && at + 10 <= bytes.size()) {
                const qint16 y = qint16(le16(bytes, at + 6)), x = qint16(le16(bytes, at + 8));
                window = QRectF(0, 0, x, y);
                break;
            }
            at += size;
        }
        if (window.width() == 0 || window.height() == 0)
            return Status::corruption(QStringLiteral("metafile without a size"));
        pixels = QSizeF(std::abs(window.width()), std::abs(window.height()));
    }
    const std::optional<QSize> fitted = metafileImageSize(pixels);
    if (!fitted)
        return Status::corruption(QStringLiteral("metafile without a size"));
    const QSize size = *fitted;

    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    {
        Player player(bytes, records, image, window);
        if (Status s = player.play(); !s)
            return s;
    }
    return image;
}

} // namespace tolvane::viewer

#include "viewer/drawing/internal/sxfbuilder.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include <QStringDecoder>

#include "viewer/drawing/readers.h"

namespace tolvane::viewer::drawing::internal {

QSizeF sxfPaperSize(int size, bool landscape)
{
    static constexpr double sizes[5][2] = { { 1189, 841 }, { 841, 594 }, { 594, 420 }, { 420, 297 }, { 297, 210 } };
    if (size < 0 || size > 4)
        return {};
    return landscape ? QSizeF(sizes[size][0], sizes[size][1]) : QSizeF(sizes[size][1], sizes[size][0]);
}

void countSkipped(Drawing &drawing, const QString &what, int n)
{
    drawing.skipped[what] += n;
}

QList<Curve> sxfMarker(int code, QPointF p, double scale)
{
    const double r = 0.75 * std::clamp(std::abs(scale), 0.01, 1000.0);
    const auto seg = [&](double x1, double y1, double x2, double y2) {
        return Curve::line(p + QPointF(x1, y1) * r, p + QPointF(x2, y2) * r);
    };
    switch (code) {
    case 1:
        return { seg(-1, 0, 1, 0), seg(-0.5, -0.87, 0.5, 0.87), seg(-0.5, 0.87, 0.5, -0.87) };
    case 2:
        return { Curve::arc(p, r, r, 0, 0, 360) };
    case 3:
        return { Curve::arc(p, r * 0.2, r * 0.2, 0, 0, 360) };
    case 4:
        return { seg(-1, 0, 1, 0), seg(0, -1, 0, 1) };
    case 5:
        return { Curve::polyline(
            { p + QPointF(-r, -r), p + QPointF(r, -r), p + QPointF(r, r), p + QPointF(-r, r), p + QPointF(-r, -r) }) };
    case 6:
        return { Curve::polyline(
            { p + QPointF(-r, -0.6 * r), p + QPointF(r, -0.6 * r), p + QPointF(0, r), p + QPointF(-r, -0.6 * r) }) };
    default:
        return { seg(-1, -1, 1, 1), seg(-1, 1, 1, -1) };
    }
}

int sxfMarkerCode(const QString &name)
{
    static const char *const names[] = { "asterisk", "circle", "dot", "plus", "square", "triangle", "x" };
    for (int i = 0; i < 7; ++i)
        if (name == QLatin1String(names[i]))
            return i + 1;
    return 0;
}

QList<Curve> sxfArrow(int code, QPointF tip, QPointF direction, double scale)
{
    if (code <= 0)
        return {};
    const double len = std::hypot(direction.x(), direction.y());
    const QPointF u = len > 0 ? direction / len : QPointF(1, 0), n(-u.y(), u.x());
    const double size = 2.5 * std::clamp(std::abs(scale) > 0 ? std::abs(scale) : 1.0, 0.01, 100.0);
    switch (code) {
    case 3: // dots
    case 7:
        return { Curve::arc(tip, size / 4, size / 4, 0, 0, 360) };
    case 10: // slash
        return { Curve::line(tip - (u + n) * size / 2, tip + (u + n) * size / 2) };
    default: // arrows and boxes: an arrow head
        return { Curve::polyline({ tip + u * size + n * size / 4, tip, tip + u * size - n * size / 4 }) };
    }
}

int sxfArrowCode(const QString &name)
{
    static const char *const names[] = { "blanked arrow", "blanked box", "blanked dot", "dimension origin",
        "filled box", "filled arrow", "filled dot", "integral symbol", "open arrow", "slash", "unfilled arrow" };
    for (int i = 0; i < 11; ++i)
        if (name == QLatin1String(names[i]))
            return i + 1;
    return 0;
}

namespace {

struct Placer {
    Drawing &drawing;
    const QHash<QString, FigureBody> &figures;
    QStringList stack;
    qsizetype visits = 0; // placements walked: bounds empty figures placed over and over
    bool capped = false;

    void place(const FigureBody &body, const QTransform &transform, int depth)
    {
        for (const Element &element : body.elements) {
            if (drawing.elements.size() >= kMaxElements) {
                capped = true;
                return;
            }
            drawing.elements.append(element);
            if (!transform.isIdentity())
                drawing.elements.last().placement = element.placement * transform;
        }
        for (const FigurePlacement &use : body.placements) {
            if (++visits > kMaxElements) {
                capped = true;
                return;
            }
            const auto it = figures.constFind(use.name);
            if (it == figures.constEnd()) {
                countSkipped(drawing, QStringLiteral("sfig_locate_feature (unknown figure)"));
                continue;
            }
            if (stack.contains(use.name) || depth >= kMaxNesting) {
                countSkipped(drawing, QStringLiteral("sfig_locate_feature (cycle)"));
                continue;
            }
            QTransform local;
            local.translate(use.position.x(), use.position.y());
            local.rotate(use.angleDeg);
            local.scale(use.scaleX, use.scaleY);
            if (!it->origin.isNull())
                local = QTransform::fromTranslate(-it->origin.x(), -it->origin.y()) * local;
            if (it->kind == 2)
                local = QTransform(0, 1, 1, 0, 0, 0) * local; // north is x: swap the axes
            stack.append(use.name);
            place(*it, local * transform, depth + 1);
            stack.removeLast();
            if (capped)
                return;
        }
    }
};

} // namespace

void placeFigures(Drawing &drawing, FigureBody sheet, const QHash<QString, FigureBody> &figures)
{
    // The sheet's own elements are moved, not copied: they are most of a drawing.
    if (sheet.elements.size() > kMaxElements) {
        countSkipped(drawing, QStringLiteral("elements beyond the limit"));
        sheet.elements.resize(kMaxElements);
    }
    if (drawing.elements.isEmpty())
        drawing.elements = std::move(sheet.elements);
    else
        drawing.elements += sheet.elements;
    sheet.elements.clear();
    Placer placer { drawing, figures, {} };
    placer.place(sheet, QTransform(), 0);
    if (placer.capped)
        countSkipped(drawing, QStringLiteral("elements beyond the limit"));
}

namespace {

// Whether the converter maps every byte 0x00–0x7F to the same code point (some IBM tables swap
// control characters; then the whole text goes through the converter).
bool asciiIsIdentity()
{
    static const bool identity = [] {
        QByteArray ascii(128, '\0');
        for (int b = 0; b < 128; ++b)
            ascii[b] = char(b);
        QStringDecoder decoder("windows-31j");
        return decoder.isValid() && decoder.decode(ascii) == QString::fromLatin1(ascii);
    }();
    return identity;
}

bool isLeadByte(uchar b)
{
    return (b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xFC);
}

} // namespace

QString decodeWindows31j(QByteArrayView data)
{
    if (!asciiIsIdentity()) {
        QStringDecoder decoder("windows-31j");
        return decoder.decode(data);
    }
    QString out;
    out.reserve(data.size());
    const char *p = data.data();
    const qsizetype n = data.size();
    qsizetype i = 0;
    while (i < n) {
        qsizetype start = i;
        while (i < n && uchar(p[i]) < 0x80)
            ++i;
        if (i > start)
            out.append(QLatin1StringView(p + start, i - start));
        // A lead byte takes its trail byte with it, which may lie in the ASCII range (0x5C of 表).
        start = i;
        while (i < n && uchar(p[i]) >= 0x80)
            i += isLeadByte(uchar(p[i])) ? 2 : 1;
        i = std::min(i, n);
        if (i > start) {
            QStringDecoder decoder("windows-31j");
            out.append(decoder.decode(QByteArrayView(p + start, i - start)));
        }
    }
    return out;
}

double toDouble(QStringView text, bool *ok)
{
    // [+-] digits [. digits] [(e|E) [+-] digits], at least one digit before the exponent, which
    // std::from_chars and QStringView::toDouble both read correctly rounded.
    const QStringView t = text.trimmed();
    char buffer[64];
    const qsizetype n = t.size();
    if (n == 0 || n >= qsizetype(sizeof buffer))
        return t.toDouble(ok);
    qsizetype i = 0, length = 0;
    const auto at = [&](qsizetype k) { return k < n ? t[k].unicode() : char16_t(0); };
    const auto isDigit = [](char16_t c) { return c >= u'0' && c <= u'9'; };
    if (at(0) == u'-')
        buffer[length++] = '-';
    if (at(0) == u'-' || at(0) == u'+')
        ++i;
    int digits = 0;
    while (isDigit(at(i))) {
        buffer[length++] = char(at(i++));
        ++digits;
    }
    if (at(i) == u'.') {
        buffer[length++] = '.';
        ++i;
        while (isDigit(at(i))) {
            buffer[length++] = char(at(i++));
            ++digits;
        }
    }
    if (digits == 0)
        return t.toDouble(ok);
    if (at(i) == u'e' || at(i) == u'E') {
        buffer[length++] = 'e';
        ++i;
        if (at(i) == u'-' || at(i) == u'+')
            buffer[length++] = char(at(i++));
        int exponentDigits = 0;
        while (isDigit(at(i))) {
            buffer[length++] = char(at(i++));
            ++exponentDigits;
        }
        if (exponentDigits == 0)
            return t.toDouble(ok);
    }
    if (i != n)
        return t.toDouble(ok);
    double value = 0;
    const auto [end, error] = std::from_chars(buffer, buffer + length, value);
    if (error != std::errc() || end != buffer + length)
        return t.toDouble(ok);
    if (ok)
        *ok = true;
    return value;
}

} // namespace tolvane::viewer::drawing::internal

#include "viewer/pcxdecoder.h"

#include <array>

namespace tolvane::viewer {

namespace {

constexpr int kHeaderSize = 128;
// Pictures larger than this many pixels are refused rather than allocated.
constexpr qint64 kMaxPixels = qint64(1) << 28;

int u8(const QByteArray &b, int at)
{
    return static_cast<unsigned char>(b[at]);
}

int u16(const QByteArray &b, int at)
{
    return u8(b, at) | (u8(b, at + 1) << 8);
}

// The EGA palette of the header (16 entries).
QList<QRgb> headerPalette(const QByteArray &b)
{
    QList<QRgb> palette;
    for (int i = 0; i < 16; ++i)
        palette << qRgb(u8(b, 16 + 3 * i), u8(b, 17 + 3 * i), u8(b, 18 + 3 * i));
    return palette;
}

} // namespace

bool looksLikePcx(const QByteArray &bytes)
{
    if (bytes.size() < kHeaderSize || u8(bytes, 0) != 0x0A)
        return false;
    const int version = u8(bytes, 1);
    const int encoding = u8(bytes, 2);
    return (version == 0 || version == 2 || version == 3 || version == 4 || version == 5)
        && (encoding == 0 || encoding == 1);
}

Result<QImage> decodePcx(const QByteArray &b)
{
    if (!looksLikePcx(b))
        return Status::corruption(QStringLiteral("not a PCX file"));
    const bool rle = u8(b, 2) == 1;
    const int bits = u8(b, 3);
    const int width = u16(b, 8) - u16(b, 4) + 1;
    const int height = u16(b, 10) - u16(b, 6) + 1;
    const int planes = u8(b, 65);
    const int bytesPerLine = u16(b, 66);
    if (width <= 0 || height <= 0 || qint64(width) * height > kMaxPixels)
        return Status::corruption(QStringLiteral("PCX picture size %1x%2").arg(width).arg(height));
    if (bytesPerLine <= 0 || qint64(bytesPerLine) * 8 < qint64(width) * bits)
        return Status::corruption(QStringLiteral("PCX line length"));

    enum class Layout { Packed, Planar, Rgb };
    Layout layout;
    if (planes == 1 && (bits == 1 || bits == 2 || bits == 4 || bits == 8))
        layout = Layout::Packed;
    else if (bits == 1 && planes >= 2 && planes <= 4)
        layout = Layout::Planar;
    else if (bits == 8 && (planes == 3 || planes == 4))
        layout = Layout::Rgb;
    else
        return Status::notSupported(QStringLiteral("PCX with %1 bits in %2 planes").arg(bits).arg(planes));

    // The scan lines, each the planes one after another. A run may cross the end of a line.
    const qint64 lineBytes = qint64(bytesPerLine) * planes;
    QByteArray data(lineBytes * height, Qt::Uninitialized);
    const qsizetype end = b.size();
    qsizetype in = kHeaderSize;
    qint64 out = 0;
    const qint64 total = data.size();
    char *dst = data.data();
    while (out < total) {
        if (in >= end)
            return Status::corruption(QStringLiteral("PCX data ends early"));
        int value = u8(b, int(in++));
        int count = 1;
        if (rle && (value & 0xC0) == 0xC0) {
            count = value & 0x3F;
            if (in >= end)
                return Status::corruption(QStringLiteral("PCX data ends early"));
            value = u8(b, int(in++));
        }
        for (; count > 0 && out < total; --count)
            dst[out++] = char(value);
    }
    const auto line = [&](int y) { return reinterpret_cast<const uchar *>(data.constData()) + y * lineBytes; };

    if (layout == Layout::Rgb) {
        QImage image(width, height, planes == 4 ? QImage::Format_ARGB32 : QImage::Format_RGB32);
        for (int y = 0; y < height; ++y) {
            const uchar *s = line(y);
            auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
            for (int x = 0; x < width; ++x) {
                const int a = planes == 4 ? s[3 * bytesPerLine + x] : 255;
                row[x] = qRgba(s[x], s[bytesPerLine + x], s[2 * bytesPerLine + x], a);
            }
        }
        return image;
    }

    QList<QRgb> palette;
    const int colours = 1 << (layout == Layout::Planar ? planes : bits);
    if (bits == 8) {
        // Version 5 keeps the 256 colours after the picture data, behind a marker byte 12.
        if (b.size() >= kHeaderSize + 769 && u8(b, int(b.size() - 769)) == 0x0C) {
            const int at = int(b.size() - 768);
            for (int i = 0; i < 256; ++i)
                palette << qRgb(u8(b, at + 3 * i), u8(b, at + 3 * i + 1), u8(b, at + 3 * i + 2));
        } else {
            for (int i = 0; i < 256; ++i)
                palette << qRgb(i, i, i);
        }
    } else if (colours == 2) {
        palette = { qRgb(0, 0, 0), qRgb(255, 255, 255) };
    } else {
        palette = headerPalette(b).mid(0, colours);
    }

    QImage image(width, height, QImage::Format_Indexed8);
    image.setColorTable(palette);
    for (int y = 0; y < height; ++y) {
        const uchar *s = line(y);
        uchar *row = image.scanLine(y);
        for (int x = 0; x < width; ++x) {
            int index = 0;
            if (layout == Layout::Planar) {
                for (int p = 0; p < planes; ++p)
                    index |= ((s[p * bytesPerLine + x / 8] >> (7 - x % 8)) & 1) << p;
            } else {
                const int bit = x * bits;
                index = (s[bit / 8] >> (8 - bits - bit % 8)) & ((1 << bits) - 1);
            }
            row[x] = uchar(index);
        }
    }
    const int hdpi = u16(b, 12), vdpi = u16(b, 14);
    if (hdpi > 0 && vdpi > 0 && hdpi < 10000 && vdpi < 10000) {
        image.setDotsPerMeterX(qRound(hdpi / 0.0254));
        image.setDotsPerMeterY(qRound(vdpi / 0.0254));
    }
    return image;
}

} // namespace tolvane::viewer

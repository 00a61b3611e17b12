// The picture readers on files written here byte by byte: PCX of 1, 4, 8 and 24 bits, a
// metafile (WMF) with Japanese text in its font's charset, an enhanced metafile (EMF), CMYK
// and fax-resolution TIFF, FlashPix (refused), a damaged JPEG, and a photograph over Qt's
// default allocation limit decoded whole and reduced.
#include <array>
#include <functional>

#include <QBuffer>
#include <QFile>
#include <QImageWriter>
#include <QPainter>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>

#include "viewer/picturefile.h"
#include "viewer/wmfplayer.h"

using namespace tolvane;
using namespace tolvane::viewer;

namespace {

void put16(QByteArray &b, int v)
{
    b.append(char(v & 0xFF)).append(char((v >> 8) & 0xFF));
}

void put32(QByteArray &b, qint64 v)
{
    for (int i = 0; i < 4; ++i)
        b.append(char((v >> (8 * i)) & 0xFF));
}

// A PCX file: bits per pixel, planes, and each line's bytes (all planes) from line(y).
QByteArray pcxFile(int bits, int planes, int width, int height, int bytesPerLine,
    const std::function<QByteArray(int)> &line, const QList<QRgb> &palette16 = {}, const QList<QRgb> &palette256 = {})
{
    QByteArray b;
    b.append(char(0x0A)).append(char(5)).append(char(1)).append(char(bits));
    put16(b, 0);
    put16(b, 0);
    put16(b, width - 1);
    put16(b, height - 1);
    put16(b, 72);
    put16(b, 72);
    for (int i = 0; i < 16; ++i) {
        const QRgb c = i < palette16.size() ? palette16[i] : 0;
        b.append(char(qRed(c))).append(char(qGreen(c))).append(char(qBlue(c)));
    }
    b.append('\0').append(char(planes));
    put16(b, bytesPerLine);
    put16(b, 1);
    b.append(QByteArray(128 - b.size(), '\0'));
    for (int y = 0; y < height; ++y) {
        const QByteArray raw = line(y);
        // Run-length coding: runs of equal bytes, and any byte of the top two bits set.
        for (qsizetype i = 0; i < raw.size();) {
            qsizetype n = 1;
            while (i + n < raw.size() && raw[i + n] == raw[i] && n < 63)
                ++n;
            if (n > 1 || (uchar(raw[i]) & 0xC0) == 0xC0)
                b.append(char(0xC0 | n));
            b.append(raw[i]);
            i += n;
        }
    }
    if (!palette256.isEmpty()) {
        b.append(char(0x0C));
        for (int i = 0; i < 256; ++i) {
            const QRgb c = i < palette256.size() ? palette256[i] : 0;
            b.append(char(qRed(c))).append(char(qGreen(c))).append(char(qBlue(c)));
        }
    }
    return b;
}

// Metafile records.
QByteArray record(int function, const QList<int> &words, const QByteArray &tail = {})
{
    QByteArray r;
    const qsizetype size = 3 + words.size() + (tail.size() + 1) / 2;
    put32(r, size);
    put16(r, function);
    for (const int w : words)
        put16(r, w);
    r.append(tail);
    if (tail.size() % 2)
        r.append('\0');
    return r;
}

// A placeable metafile of 200 × 100 units at 96 units to the inch holding records.
QByteArray wmf(const QByteArray &records)
{
    QByteArray body = records + record(0x0000, {});
    QByteArray b;
    put32(b, 0x9AC6CDD7);
    put16(b, 0);
    for (const int v : { 0, 0, 200, 100 })
        put16(b, v);
    put16(b, 96);
    put32(b, 0);
    put16(b, 0); // checksum (not checked by readers)
    put16(b, 1);
    put16(b, 9);
    put16(b, 0x0300);
    put32(b, 9 + body.size() / 2);
    put16(b, 4);
    put32(b, 64);
    put16(b, 0);
    return b + body;
}

QByteArray fontRecord(int height, int charset, const QByteArray &face)
{
    QByteArray tail;
    tail.append(char(0)).append(char(0)).append(char(0)).append(char(charset));
    tail.append(QByteArray(4, '\0'));
    tail.append(face.leftJustified(32, '\0', true));
    return record(0x02FB, { height & 0xFFFF, 0, 0, 0, 400 }, tail);
}

// A metafile: a filled blue rectangle at (10,10)-(60,40) and text at (20,60) in a font of
// charset drawn from bytes.
QByteArray wmfWithText(const QByteArray &text, int charset)
{
    QByteArray r;
    r += record(0x020B, { 0, 0 }); // window origin
    r += record(0x020C, { 100, 200 }); // window extent
    r += record(0x02FC, { 0, 0x0000, 0x00FF, 0 }); // solid brush, COLORREF 0x00FF0000 (blue)
    r += record(0x012D, { 0 });
    r += record(0x041B, { 40, 60, 10, 10 }); // rectangle: bottom, right, top, left
    r += fontRecord(-24, charset, "Noto Sans CJK JP");
    r += record(0x012D, { 1 });
    r += record(0x0102, { 1 }); // transparent text background
    r += record(0x012E, { 0 }); // top-left alignment
    QByteArray tail = text;
    if (tail.size() % 2)
        tail.append('\0');
    tail.append(char(60)).append('\0').append(char(20)).append('\0'); // y, x
    r += record(0x0521, { int(text.size()) }, tail);
    return wmf(r);
}

// A small enhanced metafile: a red rectangle on a 100 × 80 pixel frame.
QByteArray emf()
{
    const auto rec = [](int type, const QList<qint64> &values) {
        QByteArray r;
        put32(r, type);
        put32(r, 8 + 4 * values.size());
        for (const qint64 v : values)
            put32(r, v);
        return r;
    };
    QByteArray records;
    records += rec(39, { 1, 0, 0x000000FF, 0 }); // brush 1: solid red (COLORREF 0x000000FF)
    records += rec(37, { 1 });
    records += rec(43, { 20, 20, 80, 60 }); // rectangle
    records += rec(14, { 0, 16, 20 }); // EOF
    QByteArray header;
    put32(header, 1);
    put32(header, 108);
    for (const qint64 v : { 0, 0, 99, 79 }) // bounds (pixels)
        put32(header, v);
    for (const qint64 v : { 0, 0, 2645, 2116 }) // frame (0.01 mm at 96 dpi)
        put32(header, v);
    header.append(" EMF");
    put32(header, 0x10000);
    put32(header, 108 + records.size());
    put32(header, 5);
    put16(header, 2);
    put16(header, 0);
    put32(header, 0);
    put32(header, 0);
    put32(header, 0);
    put32(header, 1024); // device pixels
    put32(header, 768);
    put32(header, 271); // device millimetres
    put32(header, 203);
    put32(header, 0);
    put32(header, 0);
    put32(header, 0);
    put32(header, 271000);
    put32(header, 203000);
    return header + records;
}

// A one-page uncompressed TIFF with the given tags (tag, type, count, value or data); data
// longer than four bytes is placed after the directory.
struct Tag {
    int tag;
    int type;
    qint64 count;
    QByteArray data;
};
QByteArray tiff(const QByteArray &pixels, QList<Tag> tags)
{
    QByteArray out("II*\0", 4);
    put32(out, 8 + pixels.size() + (pixels.size() % 2));
    out.append(pixels);
    if (out.size() % 2)
        out.append('\0');
    const qint64 ifd = out.size();
    const qint64 extra = ifd + 2 + 12 * tags.size() + 4;
    QByteArray dir, data;
    put16(dir, int(tags.size()));
    std::sort(tags.begin(), tags.end(), [](const Tag &a, const Tag &b) { return a.tag < b.tag; });
    for (const Tag &t : tags) {
        put16(dir, t.tag);
        put16(dir, t.type);
        put32(dir, t.count);
        if (t.data.size() <= 4) {
            dir.append(t.data.leftJustified(4, '\0'));
        } else {
            put32(dir, extra + data.size());
            data.append(t.data);
        }
    }
    put32(dir, 0);
    return out + dir + data;
}
QByteArray short16(int v)
{
    QByteArray b;
    put16(b, v);
    return b;
}
QByteArray long32(qint64 v)
{
    QByteArray b;
    put32(b, v);
    return b;
}
QByteArray rational(int num, int den)
{
    QByteArray b;
    put32(b, num);
    put32(b, den);
    return b;
}

} // namespace

class TestPictureFormats : public QObject {
    Q_OBJECT

    QTemporaryDir m_tmp;

    QString write(const QString &name, const QByteArray &bytes)
    {
        const QString path = m_tmp.filePath(name);
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly) || f.write(bytes) != bytes.size())
            qWarning("cannot write %s", qPrintable(path));
        return path;
    }

    static QImage load(const QString &path)
    {
        Result<QImage> image = loadPicture(path);
        if (!image)
            qWarning("%s: %s", qPrintable(path), qPrintable(image.status().toString()));
        return image ? image.take() : QImage();
    }

private slots:
    void initTestCase() { QVERIFY(m_tmp.isValid()); }

    void pcxPictures_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QList<QPoint>>("points");
        QTest::addColumn<QList<QRgb>>("colours");

        // 1 bit: left half black, right half white, 20 × 4.
        QTest::newRow("1-bit") << pcxFile(1, 1, 20, 4, 4, [](int) { return QByteArray("\x00\x0F\xFF\xFF", 4); })
                               << QSize(20, 4) << QList<QPoint> { { 0, 0 }, { 9, 3 }, { 12, 1 } }
                               << QList<QRgb> { qRgb(0, 0, 0), qRgb(0, 0, 0), qRgb(255, 255, 255) };
        // 4 bits packed: palette index = x % 16 via the header's EGA palette.
        QList<QRgb> ega;
        for (int i = 0; i < 16; ++i)
            ega << qRgb(i * 16, 255 - i * 16, i * 8);
        QTest::newRow("4-bit") << pcxFile(
            4, 1, 16, 3, 8,
            [](int) {
                QByteArray l;
                for (int i = 0; i < 8; ++i)
                    l.append(char((2 * i) << 4 | (2 * i + 1)));
                return l;
            },
            ega) << QSize(16, 3)
                               << QList<QPoint> { { 0, 0 }, { 5, 1 }, { 15, 2 } }
                               << QList<QRgb> { ega[0], ega[5], ega[15] };
        // 4 planes of 1 bit (EGA): x = 3 has planes 0 and 2 set → index 5.
        QTest::newRow("4-plane") << pcxFile(
            1, 4, 8, 2, 2,
            [](int) {
                return QByteArray("\x10\x00" // plane 0: x = 3
                                  "\x00\x00" // plane 1
                                  "\x10\x00" // plane 2: x = 3
                                  "\x01\x00", // plane 3: x = 7
                    8);
            },
            ega) << QSize(8, 2) << QList<QPoint> { { 3, 0 }, { 7, 1 }, { 0, 0 } }
                                 << QList<QRgb> { ega[5], ega[8], ega[0] };
        // 8 bits with the 256-colour palette at the end; runs longer than 63 cross lines.
        QList<QRgb> vga;
        for (int i = 0; i < 256; ++i)
            vga << qRgb(i, (i * 7) & 0xFF, 255 - i);
        QTest::newRow("8-bit") << pcxFile(
            8, 1, 100, 3, 100,
            [](int y) {
                QByteArray l(100, char(200 + y));
                l[0] = char(0xC5); // a value with the run bits set must be escaped
                return l;
            },
            {}, vga) << QSize(100, 3)
                               << QList<QPoint> { { 0, 0 }, { 50, 1 }, { 99, 2 } }
                               << QList<QRgb> { vga[0xC5], vga[201], vga[202] };
        // 24 bits: three planes R, G, B per line; odd width with a padded line.
        QTest::newRow("24-bit") << pcxFile(8, 3, 5, 2, 6,
            [](int y) {
                QByteArray l;
                for (int p = 0; p < 3; ++p)
                    for (int x = 0; x < 6; ++x)
                        l.append(char(p == 0 ? x * 50 : p == 1 ? y * 100 : 77));
                return l;
            }) << QSize(5, 2) << QList<QPoint> { { 0, 0 }, { 4, 1 } }
                                << QList<QRgb> { qRgb(0, 0, 77), qRgb(200, 100, 77) };
    }

    void pcxPictures()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QSize, size);
        QFETCH(QList<QPoint>, points);
        QFETCH(QList<QRgb>, colours);
        const QString path = write(QStringLiteral("p.pcx"), bytes);
        QCOMPARE(pictureFormat(path).value(), PictureFormat::Pcx);
        QCOMPARE(pictureCount(path).value(), 1);
        const QImage image = load(path);
        QCOMPARE(image.size(), size);
        for (int i = 0; i < points.size(); ++i)
            QCOMPARE(QColor(image.pixel(points[i])), QColor(colours[i]));
        // Cut anywhere inside the picture data, the file is damaged, never read past its end.
        for (const qsizetype cut : { qsizetype(128), bytes.size() / 2 + 64 }) {
            if (cut >= bytes.size() - 769 && bytes.size() > 900)
                continue;
            const QString shortPath = write(QStringLiteral("short.pcx"), bytes.left(cut));
            QCOMPARE(loadPicture(shortPath).status().code(), Status::Code::Corruption);
        }
    }

    // Japanese text in a Shift_JIS font is drawn as the characters, exactly as Qt draws them in
    // that font; read with a Western charset the same bytes give other glyphs.
    void wmfTextFollowsTheFontCharset()
    {
        const QString text = QStringLiteral("日本語");
        const QByteArray sjis = QStringEncoder("Shift_JIS").encode(text);
        QCOMPARE(sjis.size(), 6);
        const QImage japanese = load(write(QStringLiteral("jp.wmf"), wmfWithText(sjis, 128)));
        const QImage western = load(write(QStringLiteral("west.wmf"), wmfWithText(sjis, 0)));
        QCOMPARE(japanese.size(), QSize(200, 100));
        // The rectangle: blue inside, white outside.
        QCOMPARE(QColor(japanese.pixel(30, 25)), QColor(Qt::blue));
        QCOMPARE(QColor(japanese.pixel(5, 5)), QColor(Qt::white));

        QImage expected(200, 100, QImage::Format_RGB32);
        expected.fill(Qt::white);
        {
            QPainter p(&expected);
            p.setRenderHint(QPainter::Antialiasing);
            p.setRenderHint(QPainter::TextAntialiasing);
            p.setPen(Qt::NoPen);
            p.setBrush(Qt::blue);
            p.drawRect(QRectF(10, 10, 50, 30));
            QFont font(QStringLiteral("Noto Sans CJK JP"));
            font.setPixelSize(24);
            font.setWeight(QFont::Normal);
            p.setFont(font);
            p.setPen(Qt::black);
            p.drawText(QPointF(20, 60 + QFontMetricsF(font, &expected).ascent()), text);
        }
        const QRect textArea(20, 60, 100, 40);
        int differing = 0, inked = 0;
        for (int y = textArea.top(); y <= textArea.bottom(); ++y)
            for (int x = textArea.left(); x <= textArea.right(); ++x) {
                inked += qGray(expected.pixel(x, y)) < 128;
                differing += qAbs(qGray(japanese.pixel(x, y)) - qGray(expected.pixel(x, y))) > 64;
            }
        QVERIFY2(inked > 100, "the reference text is drawn");
        QVERIFY2(differing * 20 < inked, qPrintable(QStringLiteral("%1 of %2").arg(differing).arg(inked)));
        int westernDiffering = 0;
        for (int y = textArea.top(); y <= textArea.bottom(); ++y)
            for (int x = textArea.left(); x <= textArea.right(); ++x)
                westernDiffering += qAbs(qGray(western.pixel(x, y)) - qGray(expected.pixel(x, y))) > 64;
        QVERIFY(westernDiffering > inked / 4);
    }

    // An enhanced metafile is drawn; metafiles cut short or with a record running past the end
    // are refused.
    void emfDrawnAndDamagedMetafilesRefused()
    {
        const QString path = write(QStringLiteral("shape.emf"), emf());
        QCOMPARE(pictureFormat(path).value(), PictureFormat::Emf);
        const QImage image = load(path);
        QCOMPARE(image.size(), QSize(100, 80));
        QCOMPARE(QColor(image.pixel(50, 40)), QColor(Qt::red));
        QCOMPARE(QColor(image.pixel(5, 5)), QColor(Qt::white));

        const QByteArray good = wmfWithText("abc", 0);
        QByteArray bad = good;
        bad[22 + 18] = char(0xFF);
        bad[22 + 19] = char(0x7F);
        QCOMPARE(loadPicture(write(QStringLiteral("bad.wmf"), bad)).status().code(), Status::Code::Corruption);
        QVERIFY(!loadPicture(write(QStringLiteral("cut.wmf"), good.left(30))).isOk());
        QVERIFY(!loadPicture(write(QStringLiteral("cut.emf"), emf().left(60))).isOk());
    }

    // TIFFs Qt's reader gets wrong: CMYK pixels, and fax resolution (204 × 98 dpi) shown with its
    // aspect, twice as tall as it is stored.
    void cmykAndFaxTiffs()
    {
        // 2 × 1 pixels: red (C 0, M 255, Y 255, K 0) and black (K 255).
        const QString cmyk = write(QStringLiteral("cmyk.tif"),
            tiff(QByteArray("\x00\xFF\xFF\x00\x00\x00\x00\xFF", 8),
                { { 256, 3, 1, short16(2) }, { 257, 3, 1, short16(1) },
                    { 258, 3, 4, QByteArray("\x08\0\x08\0\x08\0\x08\0", 8) }, { 259, 3, 1, short16(1) },
                    { 262, 3, 1, short16(5) }, { 273, 4, 1, long32(8) }, { 277, 3, 1, short16(4) },
                    { 278, 4, 1, long32(1) }, { 279, 4, 1, long32(8) }, { 284, 3, 1, short16(1) } }));
        QCOMPARE(pictureCount(cmyk).value(), 1);
        const QImage image = load(cmyk);
        QCOMPARE(image.size(), QSize(2, 1));
        QCOMPARE(QColor(image.pixel(0, 0)), QColor(Qt::red));
        QCOMPARE(QColor(image.pixel(1, 0)), QColor(Qt::black));

        const QString fax = write(QStringLiteral("fax.tif"),
            tiff(QByteArray(16 * 8, char(0x80)),
                { { 256, 3, 1, short16(16) }, { 257, 3, 1, short16(8) }, { 258, 3, 1, short16(8) },
                    { 259, 3, 1, short16(1) }, { 262, 3, 1, short16(1) }, { 273, 4, 1, long32(8) },
                    { 277, 3, 1, short16(1) }, { 278, 4, 1, long32(8) }, { 279, 4, 1, long32(128) },
                    { 282, 5, 1, rational(204, 1) }, { 283, 5, 1, rational(98, 1) }, { 296, 3, 1, short16(2) } }));
        QCOMPARE(load(fax).size(), QSize(16, 17));
    }

    // FlashPix is refused as not supported; a JPEG cut short fails; a missing file is not found.
    void refusedDamagedAndMissingFiles()
    {
        QByteArray ole("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
        ole.append(QByteArray(504, '\0'));
        const QString fpx = write(QStringLiteral("photo.fpx"), ole);
        QCOMPARE(pictureFormat(fpx).value(), PictureFormat::FlashPix);
        QCOMPARE(loadPicture(fpx).status().code(), Status::Code::NotSupported);
        QCOMPARE(pictureCount(fpx).status().code(), Status::Code::NotSupported);

        QImage image(64, 64, QImage::Format_RGB32);
        image.fill(Qt::darkGreen);
        QByteArray jpeg;
        QBuffer buffer(&jpeg);
        QVERIFY(buffer.open(QIODevice::WriteOnly) && image.save(&buffer, "JPG"));
        QVERIFY(!loadPicture(write(QStringLiteral("cut.jpg"), jpeg.left(40))).isOk());
        QCOMPARE(loadPicture(m_tmp.filePath(QStringLiteral("none.jpg"))).status().code(), Status::Code::NotFound);
    }

    // 6000 × 6000 pixels take 144 MB decoded, over Qt's default limit of 128 MB.
    void largePhotographOpensWholeAndReduced()
    {
        const QString path = m_tmp.filePath(QStringLiteral("large.jpg"));
        {
            QImage image(6000, 6000, QImage::Format_RGB32);
            image.fill(Qt::darkBlue);
            for (int y = 0; y < 100; ++y)
                std::fill_n(reinterpret_cast<QRgb *>(image.scanLine(y)), 6000, qRgb(255, 255, 0));
            QImageWriter writer(path, "jpeg");
            writer.setQuality(50);
            QVERIFY(writer.write(image));
        }
        Result<FittedPicture> fitted = loadPictureFitted(path, 0, QSize(800, 600));
        QVERIFY(fitted);
        QVERIFY(fitted->reduced);
        QCOMPARE(fitted->fullSize, QSize(6000, 6000));
        QVERIFY(fitted->image.width() <= 800 && fitted->image.height() <= 600);
        const QImage full = load(path);
        QCOMPARE(full.size(), QSize(6000, 6000));
        QVERIFY(qBlue(full.pixel(3000, 3000)) > 100 && qRed(full.pixel(3000, 3000)) < 50);
        QVERIFY(qRed(full.pixel(3000, 10)) > 200);
    }
};

QTEST_MAIN(TestPictureFormats)
#include "tst_pictureformats.moc"

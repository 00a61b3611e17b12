// Times the picture readers on generated files: opening a 50-megapixel JPEG fitted to a
// 1600 × 1000 view, beside QImageReader's bare scaled decode of the same file, and turning the
// pages of a 300-page G4 fax TIFF. Usage: bench_picture [folder]. Prints times and ratios
// against the goals (fit within 1.3× of the bare decode, a page turn under 50 ms); asserts
// nothing.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <tiffio.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>
#include <QTemporaryDir>

#include "viewer/picturefile.h"

using namespace tolvane;

namespace {

void say(const QString &line)
{
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

// Best of n runs, in milliseconds.
double best(int n, const std::function<void()> &run)
{
    double fastest = 1e9;
    for (int i = 0; i < n; ++i) {
        QElapsedTimer t;
        t.start();
        run();
        fastest = std::min(fastest, t.nsecsElapsed() / 1e6);
    }
    return fastest;
}

bool writePhotograph(const QString &path)
{
    // 8660 × 5774 ≈ 50 megapixels: gradients and text, so that the coder has work to do.
    QImage image(8660, 5774, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            row[x] = qRgb(x * 255 / image.width(), y * 255 / image.height(), (x ^ y) & 0xFF);
    }
    QPainter p(&image);
    QFont font;
    font.setPixelSize(200);
    p.setFont(font);
    for (int i = 0; i < 20; ++i)
        p.drawText(200, 300 + i * 270, QStringLiteral("Almaren Tolvane 写真 %1").arg(i));
    p.end();
    QImageWriter writer(path, "jpeg");
    writer.setQuality(90);
    return writer.write(image);
}

bool writeFaxScan(const QString &path, int pages)
{
    TIFF *tiff = TIFFOpen(QFile::encodeName(path).constData(), "w");
    if (!tiff)
        return false;
    const int width = 1728, height = 2200;
    QImage page(width, height, QImage::Format_Mono);
    for (int n = 0; n < pages; ++n) {
        page.fill(0);
        QPainter p(&page);
        p.setPen(Qt::color1);
        QFont font;
        font.setPixelSize(40);
        p.setFont(font);
        for (int line = 0; line < 40; ++line)
            p.drawText(100, 100 + line * 50,
                QStringLiteral("page %1 line %2 lorem ipsum dolor sit amet").arg(n + 1).arg(line));
        p.end();
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, height);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 204.0f);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 196.0f);
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
        TIFFSetField(tiff, TIFFTAG_PAGENUMBER, n, pages);
        for (int y = 0; y < height; ++y)
            if (TIFFWriteScanline(tiff, page.scanLine(y), uint32_t(y), 0) < 0) {
                TIFFClose(tiff);
                return false;
            }
        TIFFWriteDirectory(tiff);
    }
    TIFFClose(tiff);
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    QTemporaryDir tmp;
    const QString dir = argc > 1 ? QString::fromLocal8Bit(argv[1]) : tmp.path();
    const QString photo = QDir(dir).filePath(QStringLiteral("photo50mp.jpg"));
    const QString scan = QDir(dir).filePath(QStringLiteral("scan300.tif"));
    const QSize view(1600, 1000);

    if (!QFile::exists(photo) && !writePhotograph(photo))
        return 1;
    say(QStringLiteral("photograph: %1, %2 MB").arg(photo).arg(QFile(photo).size() / 1e6, 0, 'f', 1));
    QSize fitted;
    const double bare = best(5, [&] {
        QImageReader reader(photo);
        reader.setScaledSize(reader.size().scaled(view, Qt::KeepAspectRatio));
        fitted = reader.read().size();
    });
    bool reduced = false;
    const double ours = best(5, [&] {
        Result<viewer::FittedPicture> p = viewer::loadPictureFitted(photo, 0, view);
        reduced = p && p->reduced;
    });
    const double whole = best(2, [&] { viewer::loadPicture(photo); });
    say(QStringLiteral(
        "fit 50 MP into %1x%2: bare scaled decode %3 ms (%4x%5), ours %6 ms (reduced: %7), ratio %8 (goal <= 1.3)")
            .arg(view.width())
            .arg(view.height())
            .arg(bare, 0, 'f', 1)
            .arg(fitted.width())
            .arg(fitted.height())
            .arg(ours, 0, 'f', 1)
            .arg(reduced ? QStringLiteral("yes") : QStringLiteral("no"))
            .arg(ours / bare, 0, 'f', 2));
    say(QStringLiteral("full-resolution decode (background, for actual size and the lens): %1 ms")
            .arg(whole, 0, 'f', 1));

    const int pages = 300;
    if (!QFile::exists(scan) && !writeFaxScan(scan, pages))
        return 1;
    say(QStringLiteral("scan: %1 pages, %2 MB").arg(pages).arg(QFile(scan).size() / 1e6, 0, 'f', 1));
    const double count = best(3, [&] { viewer::pictureCount(scan); });
    double worst = 0, total = 0;
    for (int n = 0; n < pages; n += 10) {
        const double t = best(1, [&] { viewer::loadPicture(scan, n); });
        worst = std::max(worst, t);
        total += t;
    }
    const double bareLast = best(3, [&] {
        QImageReader reader(scan);
        reader.jumpToImage(pages - 1);
        reader.read();
    });
    say(QStringLiteral(
        "page count %1 ms; page turn: mean %2 ms, worst %3 ms (goal < 50 ms); bare QImageReader, last page: %4 ms")
            .arg(count, 0, 'f', 1)
            .arg(total / (pages / 10), 0, 'f', 1)
            .arg(worst, 0, 'f', 1)
            .arg(bareLast, 0, 'f', 1));
    return 0;
}

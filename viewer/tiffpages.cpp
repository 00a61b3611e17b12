#include "viewer/tiffpages.h"

#include <memory>
#include <tiffio.h>

#include <QFile>

namespace tolvane::viewer {

namespace {

// Pictures larger than this many pixels are refused rather than allocated.
constexpr quint64 kMaxPixels = quint64(1) << 28;

void quiet(const char *, const char *, va_list) { }

struct TiffCloser {
    void operator()(TIFF *t) const { TIFFClose(t); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

TiffHandle openTiff(const QString &path)
{
    // libtiff writes its complaints to stderr; the caller reports failures itself.
    TIFFSetWarningHandler(quiet);
    TIFFSetErrorHandler(quiet);
#ifdef _WIN32
    return TiffHandle(TIFFOpenW(reinterpret_cast<const wchar_t *>(path.utf16()), "r"));
#else
    return TiffHandle(TIFFOpen(QFile::encodeName(path).constData(), "r"));
#endif
}

} // namespace

Result<int> tiffPageCount(const QString &path)
{
    TiffHandle tiff = openTiff(path);
    if (!tiff)
        return Status::corruption(QStringLiteral("not a readable TIFF file"));
    const int n = TIFFNumberOfDirectories(tiff.get());
    return n > 0 ? n : 1;
}

Result<QImage> readTiffPageRgba(const QString &path, int page)
{
    TiffHandle tiff = openTiff(path);
    if (!tiff)
        return Status::corruption(QStringLiteral("not a readable TIFF file"));
    if (page < 0 || !TIFFSetDirectory(tiff.get(), tdir_t(page)))
        return Status::invalidArgument(QStringLiteral("page %1").arg(page + 1));
    uint32_t width = 0, height = 0;
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
    if (width == 0 || height == 0 || quint64(width) * height > kMaxPixels)
        return Status::corruption(QStringLiteral("TIFF picture size %1x%2").arg(width).arg(height));
    QImage image(int(width), int(height), QImage::Format_ARGB32);
    if (image.isNull())
        return Status::corruption(QStringLiteral("TIFF picture too large"));
    // libtiff fills 0xAABBGGRR words, top row first with ORIENTATION_TOPLEFT.
    auto *raster = reinterpret_cast<uint32_t *>(image.bits());
    if (!TIFFReadRGBAImageOriented(tiff.get(), width, height, raster, ORIENTATION_TOPLEFT, 0))
        return Status::corruption(QStringLiteral("TIFF page %1 could not be decoded").arg(page + 1));
    for (uint32_t y = 0; y < height; ++y) {
        auto *row = reinterpret_cast<uint32_t *>(image.scanLine(int(y)));
        for (uint32_t x = 0; x < width; ++x) {
            const uint32_t p = row[x];
            row[x] = qRgba(int(TIFFGetR(p)), int(TIFFGetG(p)), int(TIFFGetB(p)), int(TIFFGetA(p)));
        }
    }
    float xres = 0, yres = 0;
    uint16_t unit = RESUNIT_INCH;
    if (TIFFGetField(tiff.get(), TIFFTAG_XRESOLUTION, &xres) && TIFFGetField(tiff.get(), TIFFTAG_YRESOLUTION, &yres)
        && xres > 0 && yres > 0) {
        TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_RESOLUTIONUNIT, &unit);
        const double perMetre = unit == RESUNIT_CENTIMETER ? 100.0 : 1 / 0.0254;
        image.setDotsPerMeterX(qRound(xres * perMetre));
        image.setDotsPerMeterY(qRound(yres * perMetre));
    }
    return image;
}

} // namespace tolvane::viewer

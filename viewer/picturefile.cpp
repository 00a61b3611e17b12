#include "viewer/picturefile.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include "viewer/emfrender.h"
#include "viewer/pcxdecoder.h"
#include "viewer/tiffpages.h"
#include "viewer/wmfplayer.h"

namespace tolvane::viewer {

namespace {

// Photographs of 50 megapixels and more need more than Qt's default 128 MB per image.
constexpr int kAllocationLimitMb = 2048;

void raiseAllocationLimit()
{
    if (QImageReader::allocationLimit() < kAllocationLimitMb)
        QImageReader::setAllocationLimit(kAllocationLimitMb);
}

Result<QByteArray> readAll(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Status::ioError(file.errorString());
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return Status::ioError(file.errorString());
    return bytes;
}

bool isTiff(const QByteArray &head)
{
    return head.startsWith(QByteArrayView("II*\0", 4)) || head.startsWith(QByteArrayView("MM\0*", 4));
}

Result<QImage> decodeWhole(PictureFormat format, const QString &path)
{
    Result<QByteArray> bytes = readAll(path);
    if (!bytes)
        return bytes.status();
    switch (format) {
    case PictureFormat::Pcx:
        return decodePcx(*bytes);
    case PictureFormat::Wmf:
        return renderWmf(*bytes);
    case PictureFormat::Emf:
        return renderEmf(*bytes);
    default:
        return Status::notSupported(path);
    }
}

Result<QImage> readWithQt(const QString &path, int page, PictureFormat format)
{
    raiseAllocationLimit();
    QImageReader reader(path);
    reader.setAutoTransform(true);
    if (page > 0 && !reader.jumpToImage(page))
        return Status::invalidArgument(QStringLiteral("page %1").arg(page + 1));
    QImage image = reader.read();
    if (!image.isNull())
        return image;
    if (format == PictureFormat::Tiff) {
        // Qt 6.4 reads no CMYK TIFF; libtiff's RGBA interface reads every photometric kind.
        return readTiffPageRgba(path, page);
    }
    return Status::corruption(reader.errorString());
}

} // namespace

Result<PictureFormat> pictureFormat(const QString &path)
{
    QFile file(path);
    if (!file.exists())
        return Status::notFound(path);
    if (!file.open(QIODevice::ReadOnly))
        return Status::ioError(file.errorString());
    const QByteArray head = file.read(128);
    if (isTiff(head))
        return PictureFormat::Tiff;
    if (looksLikePcx(head))
        return PictureFormat::Pcx;
    if (looksLikeWmf(head))
        return PictureFormat::Wmf;
    if (looksLikeEmf(head))
        return PictureFormat::Emf;
    if (head.startsWith(QByteArrayView("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8))
        && QFileInfo(path).suffix().compare(QStringLiteral("fpx"), Qt::CaseInsensitive) == 0)
        return PictureFormat::FlashPix;
    return PictureFormat::QtReadable;
}

Result<int> pictureCount(const QString &path)
{
    Result<PictureFormat> format = pictureFormat(path);
    if (!format)
        return format.status();
    switch (*format) {
    case PictureFormat::FlashPix:
        return Status::notSupported(QStringLiteral("FlashPix"));
    case PictureFormat::Pcx:
    case PictureFormat::Wmf:
    case PictureFormat::Emf:
        return 1;
    case PictureFormat::Tiff: {
        QImageReader reader(path);
        const int n = reader.canRead() ? reader.imageCount() : 0;
        if (n > 0)
            return n;
        return tiffPageCount(path);
    }
    case PictureFormat::QtReadable:
        break;
    }
    QImageReader reader(path);
    if (!reader.canRead())
        return Status::notSupported(reader.errorString());
    const int n = reader.imageCount();
    return n > 0 ? n : 1;
}

Result<QImage> loadPicture(const QString &path, int page)
{
    Result<PictureFormat> format = pictureFormat(path);
    if (!format)
        return format.status();
    Result<QImage> image = Status::notSupported(QStringLiteral("FlashPix"));
    switch (*format) {
    case PictureFormat::FlashPix:
        return image;
    case PictureFormat::Pcx:
    case PictureFormat::Wmf:
    case PictureFormat::Emf:
        if (page > 0)
            return Status::invalidArgument(QStringLiteral("page %1").arg(page + 1));
        image = decodeWhole(*format, path);
        break;
    case PictureFormat::Tiff:
    case PictureFormat::QtReadable:
        image = readWithQt(path, page, *format);
        break;
    }
    if (!image)
        return image;
    return withSquarePixels(*image);
}

Result<FittedPicture> loadPictureFitted(const QString &path, int page, const QSize &bound)
{
    raiseAllocationLimit();
    if (page == 0 && bound.isValid() && !bound.isEmpty()) {
        QImageReader reader(path);
        reader.setAutoTransform(true);
        if (reader.format() == "jpeg") {
            const QSize stored = reader.size();
            const bool turned = reader.transformation().testFlag(QImageIOHandler::TransformationRotate90);
            const QSize limit = turned ? bound.transposed() : bound;
            // Only worth it when libjpeg can skip at least half of the pixels in each direction.
            if (stored.isValid() && stored.width() >= 2 * limit.width() && stored.height() >= 2 * limit.height()) {
                reader.setScaledSize(stored.scaled(limit, Qt::KeepAspectRatio));
                QImage image = reader.read();
                if (image.isNull())
                    return Status::corruption(reader.errorString());
                return FittedPicture { std::move(image), turned ? stored.transposed() : stored, true };
            }
        }
    }
    Result<QImage> image = loadPicture(path, page);
    if (!image)
        return image.status();
    const QSize size = image->size();
    return FittedPicture { image.take(), size, false };
}

QImage withSquarePixels(const QImage &image)
{
    const int dx = image.dotsPerMeterX();
    const int dy = image.dotsPerMeterY();
    if (dx <= 0 || dy <= 0 || std::abs(dx - dy) * 50 < std::max(dx, dy))
        return image;
    QSize size = image.size();
    if (dy < dx)
        size.setHeight(qRound(qreal(size.height()) * dx / dy));
    else
        size.setWidth(qRound(qreal(size.width()) * dy / dx));
    // Fax pages are black and white: repeating lines keeps them crisp and costs a fraction of
    // smooth scaling, which would turn a 1-bit page into 32 bits.
    const bool bilevel = image.depth() == 1;
    QImage square
        = image.scaled(size, Qt::IgnoreAspectRatio, bilevel ? Qt::FastTransformation : Qt::SmoothTransformation);
    const int d = std::max(dx, dy);
    square.setDotsPerMeterX(d);
    square.setDotsPerMeterY(d);
    return square;
}

} // namespace tolvane::viewer

#include "viewer/emfrender.h"

#include <cstdlib>
#include <memory>

#include <QPainter>
#include <QSvgRenderer>

extern "C" {
#include <emf2svg.h>
}

#include "viewer/metafilesize.h"

namespace tolvane::viewer {

namespace {

qint32 le32(const QByteArray &b, qsizetype at)
{
    return qint32(quint32(uchar(b[at])) | (quint32(uchar(b[at + 1])) << 8) | (quint32(uchar(b[at + 2])) << 16)
        | (quint32(uchar(b[at + 3])) << 24));
}

} // namespace

bool looksLikeEmf(const QByteArray &bytes)
{
    return bytes.size() >= 88 && le32(bytes, 0) == 1 && bytes.mid(40, 4) == QByteArrayView(" EMF");
}

Result<QImage> renderEmf(const QByteArray &bytes)
{
    if (!looksLikeEmf(bytes))
        return Status::corruption(QStringLiteral("not an enhanced metafile"));
    // The record's declared size must lie inside the file before the converter walks it.
    const qint32 headerSize = le32(bytes, 4);
    if (headerSize < 88 || headerSize > bytes.size())
        return Status::corruption(QStringLiteral("enhanced metafile header"));

    // The frame (hundredths of a millimetre) gives the picture's size on paper.
    const qint32 left = le32(bytes, 24), top = le32(bytes, 28), right = le32(bytes, 32), bottom = le32(bytes, 36);
    QSizeF pixels(std::abs(qint64(right) - left) * 96.0 / 2540.0, std::abs(qint64(bottom) - top) * 96.0 / 2540.0);
    if (pixels.isEmpty()) {
        const qint32 bl = le32(bytes, 8), bt = le32(bytes, 12), br = le32(bytes, 16), bb = le32(bytes, 20);
        pixels = QSizeF(std::abs(qint64(br) - bl) + 1, std::abs(qint64(bb) - bt) + 1);
    }
    const std::optional<QSize> fitted = metafileImageSize(pixels);
    if (!fitted)
        return Status::corruption(QStringLiteral("enhanced metafile without a size"));
    const QSize size = *fitted;

    generatorOptions options {};
    char svgNamespace[] = "svg";
    options.nameSpace = svgNamespace;
    options.verbose = false;
    options.emfplus = true;
    options.svgDelimiter = true;
    options.imgWidth = size.width();
    options.imgHeight = size.height();
    QByteArray copy = bytes; // the converter takes a non-const buffer
    char *svg = nullptr;
    size_t svgLength = 0;
    const int done = emf2svg(copy.data(), size_t(copy.size()), &svg, &svgLength, &options);
    const std::unique_ptr<char, decltype(&std::free)> owned(svg, &std::free);
    if (!done || !svg || svgLength == 0)
        return Status::corruption(QStringLiteral("enhanced metafile could not be converted"));

    QSvgRenderer renderer(QByteArray(svg, qsizetype(svgLength)));
    if (!renderer.isValid())
        return Status::corruption(QStringLiteral("enhanced metafile could not be drawn"));
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(QPointF(0, 0), QSizeF(size)));
    painter.end();
    return image;
}

} // namespace tolvane::viewer

// Reading pictures for the picture view: one image of a file, or one page of a multi-page
// file (TIFF), whatever the format — Qt's readers for JPEG, PNG, BMP, GIF, TIFF and SVG,
// libtiff for the TIFF pictures Qt refuses, and our own readers for PCX, WMF and, through
// libemf2svg, EMF. FlashPix is recognised and refused (NotSupported). The file is only read.
// Reentrant.
#pragma once

#include <QImage>
#include <QSize>
#include <QString>

#include "platform/status.h"

namespace tolvane::viewer {

// Which reader a picture file goes to, decided by its first bytes (the extension only tells
// FlashPix from other compound files).
enum class PictureFormat { QtReadable, Tiff, Pcx, Wmf, Emf, FlashPix };

// The format of the file at path; NotFound when it is missing, IOError when it cannot be read.
Result<PictureFormat> pictureFormat(const QString &path);

// The page count of a picture file: 1 for single pictures, the number of images of a
// multi-page file. NotFound, NotSupported (FlashPix, a format no reader knows), Corruption.
Result<int> pictureCount(const QString &path);

// One page (0-based) of a picture file, full size, upright (EXIF orientation applied) and
// with square pixels (a fax page of 204 × 98 dpi is stretched to its true aspect).
// NotFound when the file is missing; Corruption when it cannot be decoded; NotSupported for
// FlashPix; InvalidArgument for a page out of range.
Result<QImage> loadPicture(const QString &path, int page = 0);

// A picture for display within bound: JPEG pictures much larger than bound are decoded
// reduced (libjpeg's DCT scaling), every other picture as loadPicture. reduced tells
// whether the image is smaller than the file's own; fullSize is the upright full size.
struct FittedPicture {
    QImage image;
    QSize fullSize;
    bool reduced = false;
};
Result<FittedPicture> loadPictureFitted(const QString &path, int page, const QSize &bound);

// Corrects pictures whose pixels are not square (fax resolutions) by stretching the coarser
// direction; others are returned as they are.
QImage withSquarePixels(const QImage &image);

} // namespace tolvane::viewer

// Reading TIFF pages through libtiff's RGBA interface, for the TIFF pictures Qt's reader
// refuses (CMYK and other separated colour, unusual sample layouts). Reentrant.
#pragma once

#include <QImage>
#include <QString>

#include "platform/status.h"

namespace tolvane::viewer {

// The number of pages (directories) of a TIFF file. Corruption when libtiff cannot open it.
Result<int> tiffPageCount(const QString &path);

// One page (0-based) converted to RGBA by libtiff, upright, with its resolution kept.
// Corruption when the page cannot be decoded; InvalidArgument for a page out of range.
Result<QImage> readTiffPageRgba(const QString &path, int page);

} // namespace tolvane::viewer

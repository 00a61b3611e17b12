// Reading pictures for the picture view: one image of a file, or one page of a multi-page
// file (TIFF). Reentrant.
#pragma once

#include <QImage>
#include <QString>

#include "platform/status.h"

namespace tolvane::viewer {

// The page count of a picture file: 1 for single pictures, the number of images of a
// multi-page file. NotSupported / Corruption when Qt cannot read the file.
Result<int> pictureCount(const QString &path);

// One page (0-based) of a picture file, with its orientation applied. NotFound when the file
// is missing; Corruption when it cannot be decoded; InvalidArgument for a page out of range.
Result<QImage> loadPicture(const QString &path, int page = 0);

} // namespace tolvane::viewer

#include "viewer/picturefile.h"

#include <QFileInfo>
#include <QImageReader>

namespace tolvane::viewer {

Result<int> pictureCount(const QString &path)
{
    if (!QFileInfo::exists(path))
        return Status::notFound(path);
    QImageReader reader(path);
    if (!reader.canRead())
        return Status::notSupported(reader.errorString());
    const int n = reader.imageCount();
    return n > 0 ? n : 1;
}

Result<QImage> loadPicture(const QString &path, int page)
{
    if (!QFileInfo::exists(path))
        return Status::notFound(path);
    QImageReader reader(path);
    reader.setAutoTransform(true);
    if (page > 0 && !reader.jumpToImage(page))
        return Status::invalidArgument(QStringLiteral("page %1").arg(page + 1));
    QImage image = reader.read();
    if (image.isNull())
        return Status::corruption(reader.errorString());
    return image;
}

} // namespace tolvane::viewer

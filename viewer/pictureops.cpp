#include "viewer/pictureops.h"

namespace tolvane::viewer {

bool isDrawingFile(const QString &fileName)
{
    const QString last = fileName.right(3);
    return last == QStringLiteral("sfc") || last == QStringLiteral("p21") || last == QStringLiteral("P21")
        || last == QStringLiteral("SFC");
}

QColor toggledBackground(const QColor &current)
{
    return current.rgb() != kPictureBackground.rgb() ? kPictureBackground : kDrawingBackground;
}

SizeButton sizeButtonAfterPress(const QString &caption)
{
    if (caption != QStringLiteral("原寸"))
        return { QStringLiteral("原寸"), QStringLiteral("plus"), QStringLiteral("写真を原寸表示"), false };
    return { QStringLiteral("スケール"), QStringLiteral("minus"), QStringLiteral("写真を画面サイズに合わせて表示"),
        true };
}

} // namespace tolvane::viewer

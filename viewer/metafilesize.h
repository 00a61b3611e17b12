// The size both metafile players draw at: the frame's own size in pixels, its longer side kept
// between 64 and 4096 pixels. None when the frame has no size.
#pragma once

#include <algorithm>
#include <optional>

#include <QSize>
#include <QSizeF>

namespace tolvane::viewer {

inline std::optional<QSize> metafileImageSize(const QSizeF &pixels)
{
    constexpr qreal kMinSide = 64;
    constexpr qreal kMaxSide = 4096;
    const qreal longSide = std::max(pixels.width(), pixels.height());
    if (!(longSide > 0))
        return std::nullopt;
    qreal factor = 1;
    if (longSide > kMaxSide)
        factor = kMaxSide / longSide;
    else if (longSide < kMinSide)
        factor = kMinSide / longSide;
    return QSize(std::max(1, qRound(pixels.width() * factor)), std::max(1, qRound(pixels.height() * factor)));
}

} // namespace tolvane::viewer

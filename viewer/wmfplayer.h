// Playing Windows metafiles (WMF, with or without the placeable header) onto a QImage with
// QPainter: lines, shapes, polygons, text and device-independent bitmaps. Text is decoded by
// the charset of the font it is drawn with (Shift_JIS for Japanese fonts), which the
// metafile libraries available to us get wrong. Records and their fields are listed in
// docs/picture-formats.md. Reentrant.
#pragma once

#include <QByteArray>
#include <QImage>

#include "platform/status.h"

namespace tolvane::viewer {

// True when bytes start with a placeable header or a standard metafile header.
bool looksLikeWmf(const QByteArray &bytes);

// The metafile drawn on white. The picture is sized from the placeable header's bounds
// (96 pixels to the inch) or else from the window extent, with its longer side kept between
// 64 and 4096 pixels. Corruption when the header or a record is damaged.
Result<QImage> renderWmf(const QByteArray &bytes);

// The text codec for a font charset of a metafile (ANSI_CHARSET 0 → windows-1252,
// SHIFTJIS_CHARSET 128 → Shift_JIS …). Exposed for tests.
QByteArray wmfCharsetCodec(int charset);

} // namespace tolvane::viewer

// Decoding ZSoft PCX pictures (1-, 2-, 4- and 8-bit palette pictures, planar EGA pictures and
// 24/32-bit RGB) into a QImage. The format's layout is described in docs/picture-formats.md.
// Reentrant.
#pragma once

#include <QByteArray>
#include <QImage>

#include "platform/status.h"

namespace tolvane::viewer {

// True when bytes start like a PCX file (manufacturer 10, a known version, RLE or raw).
bool looksLikePcx(const QByteArray &bytes);

// The picture of a PCX file. Corruption for a damaged or truncated file, NotSupported for a
// combination of bits and planes that PCX writers never produce.
Result<QImage> decodePcx(const QByteArray &bytes);

} // namespace tolvane::viewer

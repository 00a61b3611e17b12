// Drawing Enhanced Metafiles (EMF): libemf2svg turns the records into SVG, which QtSvg draws.
// Reentrant.
#pragma once

#include <QByteArray>
#include <QImage>

#include "platform/status.h"

namespace tolvane::viewer {

// True when bytes start with an EMF header record (type 1 with the " EMF" signature).
bool looksLikeEmf(const QByteArray &bytes);

// The metafile drawn on white at the size of its frame (96 pixels to the inch), its longer
// side kept between 64 and 4096 pixels. Corruption when the conversion fails.
Result<QImage> renderEmf(const QByteArray &bytes);

} // namespace tolvane::viewer

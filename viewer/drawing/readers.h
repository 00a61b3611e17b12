// Reading drawing files into the drawing model: SXF in its two forms (SFC feature comments and
// P21, the STEP AP202 file), either of them zipped (.sfz, .p2z), and ASCII DXF. The form is told
// by the content, never by the extension alone. Malformed input gives Corruption (or a partial
// drawing when the damage is local); no input crashes or hangs a reader: nesting is bounded,
// compound-figure cycles are refused and the number of elements is capped. Reentrant.
#pragma once

#include <QByteArray>
#include <QString>

#include "platform/status.h"
#include "viewer/drawing/drawing.h"

namespace tolvane::viewer::drawing {

// Upper bounds that keep hostile files finite.
inline constexpr qint64 kMaxFileBytes = 512LL * 1024 * 1024; // a drawing file or a zip entry
inline constexpr qsizetype kMaxElements = 1'000'000; // elements after compound figures are placed
inline constexpr int kMaxNesting = 32; // compound figures, blocks, callouts, nested lists

enum class DrawingFormat { Unknown, Zip, Sfc, P21, Dxf, BinaryDxf };
DrawingFormat detectDrawingFormat(const QByteArray &data);

// Reads a file (or the drawing inside a zip archive). NotFound for a missing file; NotSupported
// for a binary DXF or a file that is no drawing; Corruption for a damaged one.
Result<Drawing> readDrawingFile(const QString &path);
Result<Drawing> readDrawingData(const QByteArray &data);

Result<Drawing> readSfc(const QByteArray &data);
Result<Drawing> readP21(const QByteArray &data);
Result<Drawing> readDxf(const QByteArray &data);

// The message naming the features a drawing could not show, e.g.
// "表示できない要素: clothoid_feature ×2、dimension ×1"; empty when everything was drawn.
QString skippedFeaturesText(const Drawing &drawing);

} // namespace tolvane::viewer::drawing

// Fixed notices written into the text view instead of a file's text. Pure functions.
#pragma once

#include <QString>

namespace tolvane::viewer {

// Notice numbers of RTXText.
constexpr int kNoticeDrawing = 6; // SXF drawing: press the drawing button
constexpr int kNoticeUnsupported = 7; // format cannot be displayed
// Notices are shown at this point size whatever the text size is.
constexpr int kNoticeFontSize = 12;

// The text of a notice: three empty lines, the file name indented by one blank on the fourth
// line, an empty line, then the message. Empty for an unknown notice number.
QString noticeText(int notice, const QString &fileName);

} // namespace tolvane::viewer

// What the viewer puts into the text view `mData` (a QTextEdit): a file's own text (rich text
// formatted, plain text decoded with its detected encoding), text extracted from a document,
// and the fixed notices. GUI thread only.
#pragma once

#include <QString>

#include "platform/status.h"

class QTextEdit;

namespace tolvane {
class TextExtractor;
}

namespace tolvane::viewer {

// RTXText: replaces the text with notice 6 or 7 for fileName, at size 12.
void RTXText(QTextEdit *mData, int notice, const QString &fileName);

// Loads a text file: rich text ("{\rtf") is shown formatted, anything else as plain text in its
// detected encoding. IOError when the file cannot be read (the view is then empty).
Status loadTextFile(QTextEdit *mData, const QString &path);

// ShowExtractedText: empties the view, then shows what the extractor returns for path. On an
// error the view stays empty.
Status ShowExtractedText(QTextEdit *mData, TextExtractor &extractor, const QString &path);

// Sets every character of the view, and text typed later, to the point size.
void applyTextFontSize(QTextEdit *mData, int points);

} // namespace tolvane::viewer

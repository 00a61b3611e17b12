// Marking a phrase in the text view mData: every occurrence of a word found under the search
// comparison rule (platform/extract/searchtext.h: case, width and voicing forms do not matter),
// left to right and never overlapping, each marked bold, black on yellow in a CJK face, at the
// text's own size. GUI thread only.
#pragma once

#include <QString>

class QTextEdit;

namespace tolvane::viewer {

// 1-based position of the first occurrence of word in mData's text at or after start
// (1-based), or -1.
int SearchStrInJapanese(const QTextEdit *mData, const QString &word, int start);

// Marks the range (0-based start, length in characters) and leaves it selected.
void MarkTextRange(QTextEdit *mData, int start, int length);

// Marks every occurrence; the number marked (0: none, nothing changed).
int markAllOccurrences(QTextEdit *mData, const QString &word);

// The face of the marks: the first installed Japanese sans-serif face.
QString markFontFamily();

// "「word」は見つかりませんでした。"
QString phraseNotFoundMessage(const QString &word);

} // namespace tolvane::viewer

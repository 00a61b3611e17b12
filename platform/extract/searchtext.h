// The one comparison rule of the text searches: the full-text index, the result of a search
// over files and the phrase marks in a shown text all compare normalised text, so that case,
// character width and the composed or decomposed forms of voiced kana never decide a match.
// Pure functions; thread-safe.
#pragma once

#include <QList>
#include <QString>

namespace tolvane::extract {

// The normalised form of text: U+301C (wave dash) becomes U+FF5E first; then each character
// with its combining marks (half-width voicing marks included) goes through NFKC and case
// folding; runs of white space become one blank, dropped at either end and next to a CJK
// character (line breaks inside Japanese prose are not words' boundaries).
QString normalizeForSearch(const QString &text);

// Normalised text that remembers where each of its characters came from.
struct MappedText {
    QString text;
    QList<qsizetype> begin; // per character of text: the first source character it came from
    QList<qsizetype> end; // per character of text: one past the last source character
};
MappedText normalizeMapped(const QString &text);

// A match in the source text: start and length in source characters.
struct TextRange {
    qsizetype start = 0;
    qsizetype length = 0;
};

// Every occurrence of word in text under the rule above, left to right and never overlapping
// (the search goes on after the end of each match). Empty for a word that normalises to nothing.
QList<TextRange> findOccurrences(const QString &text, const QString &word);

// Whether normalised text contains the normalised word.
bool containsNormalized(const QString &normalizedText, const QString &normalizedWord);

// Identifies the rule (its revision and the Unicode version of the normalisation): an index
// built under another rule is rebuilt.
QString searchTextRuleVersion();

} // namespace tolvane::extract

// Text of the user's documents for display and search: plain text files decoded with their
// detected encoding, rich text turned into a formatted document, and plain text extracted from
// other document formats (PDF for now). Reads files only; never writes them.
// Functions are reentrant; a TextExtractor object is used from one thread at a time.
#pragma once

#include <functional>

#include <QByteArray>
#include <QString>

#include "platform/status.h"

class QTextDocument;

namespace tolvane {

// Encodings recognised in plain text files.
enum class TextEncoding { Ascii, Utf8, Utf8Bom, Utf16LE, Utf16BE, ShiftJis, EucJp, Latin1 };

struct DecodedText {
    QString text;
    TextEncoding encoding = TextEncoding::Ascii;
};

// Decodes the bytes of a text file. A byte-order mark decides when present; otherwise strict
// UTF-8 is tried, then Japanese multi-byte encodings (CP932/Shift_JIS, EUC-JP), each decoded in
// full and scored: a decoding without errors and with the most plausible Japanese characters
// wins. Never fails: bytes that fit no candidate come back as Latin-1.
DecodedText decodeText(const QByteArray &bytes);

// Reads and decodes a whole text file. IOError when it cannot be read.
Result<DecodedText> readTextFile(const QString &path);

// Short name of an encoding for logs and the command line ("UTF-8", "Shift_JIS", ...).
QString encodingName(TextEncoding encoding);

// True when the bytes start like rich text ("{\rtf").
bool looksLikeRtf(const QByteArray &bytes);

// Fills doc (cleared first) with the formatted content of rich text: groups, paragraphs, line
// breaks, tabs, bold, italic, underline, font sizes, colours, fonts with their character sets
// (\'hh escapes decoded in the font's or the document's code page, so \fcharset128 text is
// CP932) and \uN characters with \ucN skipping. Destinations that hold no visible text (font and
// colour tables, style sheet, document information, pictures, \* groups) are skipped.
// Malformed input never crashes: unbalanced braces, truncated escapes and absurd nesting are
// tolerated and whatever text could be read is kept.
void readRtf(const QByteArray &rtf, QTextDocument *doc);

// The plain text of rich text (readRtf without formatting).
QString rtfToPlainText(const QByteArray &rtf);

// Text of a document in a format the program cannot show itself (office documents, PDF).
// Implementations are free to support any subset of formats; an unsupported format gives an
// empty string, not an error.
class TextExtractor {
public:
    virtual ~TextExtractor() = default;
    // Reports the pages done out of the total; returning false asks the extraction to stop.
    using Progress = std::function<bool(int done, int total)>;

    // The document's text. IOError when the file cannot be read, Corruption when a supported
    // format is damaged, Cancelled when progress returned false; empty text for a format this
    // extractor does not read.
    virtual Result<QString> extract(const QString &path, const Progress &progress = {}) = 0;
};

// The text of a plain or rich text file, told apart by its first bytes and decoded by the
// readers above. IOError when the file cannot be read.
Result<QString> readPlainOrRichText(const QString &path);

} // namespace tolvane

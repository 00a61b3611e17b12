// Rich text (RTF) to QTextDocument. Qt reads no RTF, so this is a small reader of the parts that
// carry visible text and its look: groups, paragraphs, breaks, tabs, bold, italic, underline,
// sizes, colours and the character set of each font. Everything else is skipped.
//
// Text bytes (literal 8-bit characters and \'hh escapes) are collected and decoded together in
// the code page of the current font, so a double-byte character written as two escapes
// (\'82\'a0) decodes as one. The collected bytes are flushed whenever the formatting may change.
#include <map>
#include <memory>

#include <QColor>
#include <QHash>
#include <QList>
#include <QStringDecoder>
#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTextDocument>

#include "platform/textextract.h"

namespace tolvane {

namespace {

constexpr int kMaxDepth = 200; // deeper groups share the state of the deepest one
constexpr int kMaxWordLength = 32; // control words are short; longer runs of letters are text
constexpr int kMaxDigits = 10;
constexpr int kDefaultHalfPoints = 24;

enum class Destination { Text, Skip, FontTable, ColorTable };

struct GroupState {
    Destination dest = Destination::Text;
    bool bold = false;
    bool italic = false;
    bool underline = false;
    int halfPoints = kDefaultHalfPoints;
    int color = 0;
    int background = 0;
    int font = -1;
    int uc = 1; // bytes that stand in for each \uN character
    Qt::Alignment align = Qt::AlignLeft;
};

struct FontDef {
    int charset = 0;
};

// Windows code page of an RTF font character set; 0 means "the document's code page".
int codePageOfCharset(int charset)
{
    switch (charset) {
    case 128:
        return 932;
    case 129:
        return 949;
    case 134:
        return 936;
    case 136:
        return 950;
    case 161:
        return 1253;
    case 162:
        return 1254;
    case 163:
        return 1258;
    case 177:
        return 1255;
    case 178:
        return 1256;
    case 186:
        return 1257;
    case 204:
        return 1251;
    case 222:
        return 874;
    case 238:
        return 1250;
    case 77:
        return 10000;
    default:
        return 0;
    }
}

class RtfReader {
public:
    RtfReader(const QByteArray &rtf, QTextDocument *doc)
        : m_in(rtf)
        , m_cursor(doc)
    {
    }

    void run()
    {
        m_stack.append(GroupState {});
        const qsizetype n = m_in.size();
        qsizetype i = 0;
        while (i < n) {
            const char c = m_in[i];
            if (c == '{') {
                flush();
                pushGroup();
                ++i;
            } else if (c == '}') {
                flush();
                popGroup();
                ++i;
            } else if (c == '\\') {
                i = controlAt(i);
            } else if (c == '\r' || c == '\n') {
                ++i;
            } else {
                textByte(c);
                ++i;
            }
        }
        flush();
    }

private:
    GroupState &state() { return m_stack.last(); }

    void pushGroup()
    {
        if (m_stack.size() >= kMaxDepth) {
            ++m_overflow;
            return;
        }
        m_stack.append(m_stack.last());
        m_skipBytes = 0;
    }

    void popGroup()
    {
        m_skipBytes = 0;
        if (m_overflow > 0) {
            --m_overflow;
            return;
        }
        if (state().dest == Destination::FontTable)
            finishFontName();
        if (m_stack.size() > 1)
            m_stack.removeLast();
        // An extra closing brace at the outermost level is ignored.
    }

    // A byte of text (literal or escaped), or of a font name or colour table entry.
    void textByte(char c)
    {
        GroupState &s = state();
        if (m_skipBytes > 0) {
            --m_skipBytes;
            return;
        }
        switch (s.dest) {
        case Destination::Skip:
            return;
        case Destination::FontTable:
            if (c == ';')
                finishFontName();
            return;
        case Destination::ColorTable:
            if (c == ';') {
                m_colors.append(m_colorSet ? QColor(m_red, m_green, m_blue) : QColor());
                m_red = m_green = m_blue = 0;
                m_colorSet = false;
            }
            return;
        case Destination::Text:
            m_pending.append(c);
            return;
        }
    }

    void finishFontName()
    {
        // Font names are not used: Qt picks a font that has the glyphs. Only the character set
        // matters, and it was recorded by \fcharset.
        m_fontDef = -1;
    }

    // Parses a control word or symbol at i (m_in[i] == '\\'); returns the index after it.
    qsizetype controlAt(qsizetype i)
    {
        const qsizetype n = m_in.size();
        ++i;
        if (i >= n)
            return i;
        const char c = m_in[i];
        if (!isLetter(c)) {
            return controlSymbol(c, i + 1);
        }
        const qsizetype start = i;
        while (i < n && isLetter(m_in[i]) && i - start < kMaxWordLength)
            ++i;
        const QByteArray word = m_in.mid(start, i - start);
        bool hasParam = false;
        bool negative = false;
        long long param = 0;
        if (i < n && m_in[i] == '-' && i + 1 < n && isDigit(m_in[i + 1])) {
            negative = true;
            ++i;
        }
        int digits = 0;
        while (i < n && isDigit(m_in[i])) {
            if (digits < kMaxDigits)
                param = param * 10 + (m_in[i] - '0');
            ++digits;
            ++i;
            hasParam = true;
        }
        if (negative)
            param = -param;
        if (i < n && m_in[i] == ' ')
            ++i; // the delimiting blank belongs to the control word
        const int p = int(qBound(-2147483647LL, param, 2147483647LL));
        if (word == "bin") {
            // Binary data follows: skip it whole.
            if (hasParam && p > 0)
                i = qMin(n, i + p);
            return i;
        }
        if (m_skipBytes > 0 && state().dest == Destination::Text) {
            // A control word inside the stand-in for a \uN character counts as one byte.
            --m_skipBytes;
            return i;
        }
        controlWord(word, hasParam, p);
        return i;
    }

    qsizetype controlSymbol(char c, qsizetype next)
    {
        switch (c) {
        case '\'': {
            if (next + 2 <= m_in.size()) {
                const int hi = hexValue(m_in[next]);
                const int lo = hexValue(m_in[next + 1]);
                if (hi >= 0 && lo >= 0) {
                    textByte(char(hi * 16 + lo));
                    return next + 2;
                }
            }
            return qMin(m_in.size(), next + 2); // a broken escape is dropped
        }
        case '\\':
        case '{':
        case '}':
            textByte(c);
            return next;
        case '*':
            // Ignorable destination: this reader knows none of them.
            flush();
            state().dest = Destination::Skip;
            return next;
        case '~':
            special(QChar(0x00A0));
            return next;
        case '_':
            special(QChar(0x2011));
            return next;
        case '-':
            return next; // optional hyphen
        case '\r':
        case '\n':
            paragraph(); // "\<newline>" is a \par
            return next;
        case '\t':
            special(QLatin1Char('\t'));
            return next;
        default:
            return next;
        }
    }

    // Inserts a character that a control word stands for, honouring \uc skipping.
    void special(QChar ch)
    {
        if (m_skipBytes > 0) {
            --m_skipBytes;
            return;
        }
        if (state().dest != Destination::Text)
            return;
        flush();
        m_cursor.insertText(QString(ch), charFormat());
    }

    void paragraph()
    {
        if (state().dest != Destination::Text)
            return;
        flush();
        QTextBlockFormat block;
        block.setAlignment(state().align);
        m_cursor.insertBlock(block, charFormat());
    }

    void controlWord(const QByteArray &w, bool hasParam, int p)
    {
        GroupState &s = state();
        // Destinations first: they change what the rest of the group means.
        if (w == "fonttbl") {
            flush();
            s.dest = Destination::FontTable;
            return;
        }
        if (w == "colortbl") {
            flush();
            s.dest = Destination::ColorTable;
            m_colors.clear();
            return;
        }
        static const QList<QByteArray> skipped { "stylesheet", "info", "pict", "object", "header", "footer", "headerl",
            "headerr", "headerf", "footerl", "footerr", "footerf", "fldinst", "themedata", "colorschememapping",
            "datastore", "latentstyles", "listtable", "listoverridetable", "rsidtbl", "xmlnstbl", "generator",
            "filetbl", "revtbl", "private", "pgdsctbl", "bkmkstart", "bkmkend", "xe", "tc", "txe", "ftnsep", "ftnsepc",
            "ftncn", "aftnsep", "aftnsepc", "aftncn", "mmathPr", "wgrffmtfilter", "userprops", "docvar", "nonshppict",
            "shpinst", "sp", "template", "title", "author", "operator", "comment" };
        if (skipped.contains(w)) {
            flush();
            s.dest = Destination::Skip;
            return;
        }

        if (s.dest == Destination::FontTable) {
            if (w == "f" && hasParam) {
                m_fontDef = p;
                m_fonts[p] = FontDef {};
            } else if (w == "fcharset" && hasParam && m_fontDef >= 0) {
                m_fonts[m_fontDef].charset = p;
            }
            return;
        }
        if (s.dest == Destination::ColorTable) {
            const int v = qBound(0, p, 255);
            if (w == "red") {
                m_red = v;
                m_colorSet = true;
            } else if (w == "green") {
                m_green = v;
                m_colorSet = true;
            } else if (w == "blue") {
                m_blue = v;
                m_colorSet = true;
            }
            return;
        }
        if (s.dest == Destination::Skip)
            return;

        // Document settings.
        if (w == "ansicpg" && hasParam) {
            m_docCodePage = p;
            return;
        }
        if (w == "ansi") {
            m_docCodePage = 1252;
            return;
        }
        if (w == "mac") {
            m_docCodePage = 10000;
            return;
        }
        if (w == "pc") {
            m_docCodePage = 437;
            return;
        }
        if (w == "pca") {
            m_docCodePage = 850;
            return;
        }
        if (w == "deff" && hasParam) {
            m_defaultFont = p;
            return;
        }

        // Unicode characters.
        if (w == "uc") {
            s.uc = qBound(0, hasParam ? p : 1, 16);
            return;
        }
        if (w == "u" && hasParam) {
            flush();
            const int code = p < 0 ? p + 65536 : p;
            if (code >= 0 && code <= 0xFFFF)
                m_cursor.insertText(QString(QChar(char16_t(code))), charFormat());
            m_skipBytes = s.uc;
            return;
        }

        // Breaks and special characters.
        if (w == "par" || w == "sect" || w == "page" || w == "row") {
            paragraph();
            return;
        }
        if (w == "line") {
            special(QChar::LineSeparator);
            return;
        }
        if (w == "tab" || w == "cell") {
            special(QLatin1Char('\t'));
            return;
        }
        static const std::map<QByteArray, char16_t> symbols { { "emdash", u'\u2014' }, { "endash", u'\u2013' },
            { "bullet", u'\u2022' }, { "lquote", u'\u2018' }, { "rquote", u'\u2019' }, { "ldblquote", u'\u201C' },
            { "rdblquote", u'\u201D' }, { "emspace", u'\u2003' }, { "enspace", u'\u2002' } };
        if (const auto it = symbols.find(w); it != symbols.end()) {
            special(QChar(it->second));
            return;
        }

        // Paragraph formatting.
        if (w == "pard") {
            s.align = Qt::AlignLeft;
            return;
        }
        if (w == "ql" || w == "qc" || w == "qr" || w == "qj") {
            s.align = w == "qc" ? Qt::AlignHCenter
                : w == "qr"     ? Qt::AlignRight
                : w == "qj"     ? Qt::AlignJustify
                                : Qt::AlignLeft;
            QTextBlockFormat block = m_cursor.blockFormat();
            block.setAlignment(s.align);
            m_cursor.setBlockFormat(block);
            return;
        }

        // Character formatting: flush what was collected under the old format first.
        const bool on = !hasParam || p != 0;
        if (w == "b") {
            flush();
            s.bold = on;
        } else if (w == "i") {
            flush();
            s.italic = on;
        } else if (w == "ul" || w == "uld" || w == "uldb" || w == "ulw" || w == "uldash" || w == "ulwave"
            || w == "ulth") {
            flush();
            s.underline = on;
        } else if (w == "ulnone") {
            flush();
            s.underline = false;
        } else if (w == "fs") {
            flush();
            s.halfPoints = hasParam && p > 0 && p <= 3276 ? p : kDefaultHalfPoints;
        } else if (w == "cf") {
            flush();
            s.color = hasParam ? p : 0;
        } else if (w == "highlight" || w == "cb") {
            flush();
            s.background = hasParam ? p : 0;
        } else if (w == "f" && hasParam) {
            flush();
            s.font = p;
        } else if (w == "plain") {
            flush();
            s.bold = s.italic = s.underline = false;
            s.halfPoints = kDefaultHalfPoints;
            s.color = s.background = 0;
            s.font = -1;
        }
        // Every other control word is ignored.
    }

    QTextCharFormat charFormat() const
    {
        const GroupState &s = m_stack.last();
        QTextCharFormat f;
        f.setFontWeight(s.bold ? QFont::Bold : QFont::Normal);
        f.setFontItalic(s.italic);
        f.setFontUnderline(s.underline);
        f.setFontPointSize(s.halfPoints / 2.0);
        if (s.color > 0 && s.color < m_colors.size() && m_colors[s.color].isValid())
            f.setForeground(m_colors[s.color]);
        if (s.background > 0 && s.background < m_colors.size() && m_colors[s.background].isValid())
            f.setBackground(m_colors[s.background]);
        return f;
    }

    int currentCodePage() const
    {
        const GroupState &s = m_stack.last();
        const int font = s.font >= 0 ? s.font : m_defaultFont;
        if (const auto it = m_fonts.find(font); it != m_fonts.end()) {
            if (const int cp = codePageOfCharset(it->second.charset))
                return cp;
        }
        return m_docCodePage;
    }

    QStringDecoder *decoderFor(int codePage)
    {
        auto it = m_decoders.find(codePage);
        if (it != m_decoders.end())
            return it->second.get();
        std::unique_ptr<QStringDecoder> decoder;
        const QList<QByteArray> names = codecNames(codePage);
        for (const QByteArray &name : names) {
            auto d = std::make_unique<QStringDecoder>(name.constData(), QStringDecoder::Flag::Stateless);
            if (d->isValid()) {
                decoder = std::move(d);
                break;
            }
        }
        QStringDecoder *raw = decoder.get();
        m_decoders.emplace(codePage, std::move(decoder));
        return raw;
    }

    static QList<QByteArray> codecNames(int codePage)
    {
        switch (codePage) {
        case 932:
            return { "windows-31j", "Shift_JIS" };
        case 936:
            return { "GBK", "GB18030" };
        case 949:
            return { "windows-949", "EUC-KR" };
        case 950:
            return { "Big5" };
        case 874:
            return { "windows-874", "TIS-620" };
        case 10000:
            return { "macintosh" };
        case 437:
            return { "IBM437", "cp437" };
        case 850:
            return { "IBM850", "cp850" };
        case 65001:
            return { "UTF-8" };
        default:
            if (codePage >= 1250 && codePage <= 1258)
                return { "windows-" + QByteArray::number(codePage) };
            return { "windows-1252" };
        }
    }

    void flush()
    {
        if (m_pending.isEmpty())
            return;
        QString text;
        if (QStringDecoder *decoder = decoderFor(currentCodePage()))
            text = decoder->decode(m_pending);
        else
            text = QString::fromLatin1(m_pending);
        m_pending.clear();
        // Some writers put real line breaks into text runs; RTF ignores them, and so do we
        // (they were dropped before collection); stray control characters are removed here.
        text.remove(QChar(0));
        m_cursor.insertText(text, charFormat());
    }

    static bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
    static bool isDigit(char c) { return c >= '0' && c <= '9'; }
    static int hexValue(char c)
    {
        if (c >= '0' && c <= '9')
            return c - '0';
        if (c >= 'a' && c <= 'f')
            return c - 'a' + 10;
        if (c >= 'A' && c <= 'F')
            return c - 'A' + 10;
        return -1;
    }

    const QByteArray &m_in;
    QTextCursor m_cursor;
    QList<GroupState> m_stack;
    int m_overflow = 0;
    int m_skipBytes = 0;
    QByteArray m_pending;
    std::map<int, FontDef> m_fonts;
    int m_fontDef = -1;
    int m_defaultFont = 0;
    int m_docCodePage = 1252;
    QList<QColor> m_colors;
    int m_red = 0, m_green = 0, m_blue = 0;
    bool m_colorSet = false;
    std::map<int, std::unique_ptr<QStringDecoder>> m_decoders;
};

} // namespace

bool looksLikeRtf(const QByteArray &bytes)
{
    return bytes.startsWith("{\\rtf");
}

void readRtf(const QByteArray &rtf, QTextDocument *doc)
{
    doc->clear();
    RtfReader reader(rtf, doc);
    reader.run();
}

QString rtfToPlainText(const QByteArray &rtf)
{
    QTextDocument doc;
    readRtf(rtf, &doc);
    return doc.toPlainText();
}

} // namespace tolvane

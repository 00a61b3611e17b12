#include "platform/extract/searchtext.h"

#include <QChar>

namespace tolvane::extract {

namespace {

// CJK scripts and symbols, for the blank rule. Surrogates count as CJK: the supplementary
// ideographs are the characters Japanese text takes from those planes.
bool isCjk(char16_t u)
{
    return (u >= 0x2e80 && u <= 0x9fff) || (u >= 0xac00 && u <= 0xd7af) || (u >= 0xf900 && u <= 0xfaff)
        || (u >= 0xfe30 && u <= 0xfe4f) || (u >= 0xff00 && u <= 0xffef) || (u >= 0xd800 && u <= 0xdfff);
}

bool isSpace(char16_t u)
{
    return u == u' ' || u == u'\t' || u == u'\n' || u == u'\r' || u == u'\f' || u == u'\v' || u == 0x3000 || u == 0xa0
        || QChar::isSpace(u);
}

// Marks that belong to the character before them (half-width voicing marks included).
bool isCombining(char32_t c)
{
    if (c == 0xff9e || c == 0xff9f || c == 0x3099 || c == 0x309a)
        return true;
    const auto cat = QChar::category(c);
    return cat == QChar::Mark_NonSpacing || cat == QChar::Mark_SpacingCombining || cat == QChar::Mark_Enclosing;
}

// Normalises source[from, to) and appends it, each character recorded with the source span.
template <class Sink> void normalizeCluster(const QString &source, qsizetype from, qsizetype to, Sink &&sink)
{
    const char16_t first = source.at(from).unicode();
    if (to - from == 1 && first < 0x80) {
        char16_t c = first;
        if (c >= u'A' && c <= u'Z')
            c = char16_t(c + 32);
        sink(QChar(c));
        return;
    }
    QString piece = source.mid(from, to - from);
    for (QChar &ch : piece) {
        if (ch.unicode() == 0x301c)
            ch = QChar(0xff5e);
    }
    piece = piece.normalized(QString::NormalizationForm_KC).toCaseFolded();
    for (const QChar ch : piece)
        sink(ch);
}

// The common walk: clusters normalised one by one, white space collapsed afterwards.
template <class Out> void normalizeInto(const QString &source, Out &out)
{
    const qsizetype n = source.size();
    qsizetype i = 0;
    bool pendingSpace = false;
    qsizetype spaceBegin = 0;
    qsizetype spaceEnd = 0;
    while (i < n) {
        const char16_t u = source.at(i).unicode();
        if (isSpace(u)) {
            if (!pendingSpace)
                spaceBegin = i;
            pendingSpace = true;
            spaceEnd = ++i;
            continue;
        }
        qsizetype j = i + 1;
        if (QChar::isHighSurrogate(u) && j < n && QChar::isLowSurrogate(source.at(j).unicode()))
            ++j;
        while (j < n) {
            char32_t c = source.at(j).unicode();
            qsizetype len = 1;
            if (QChar::isHighSurrogate(char16_t(c)) && j + 1 < n && source.at(j + 1).isLowSurrogate()) {
                c = QChar::surrogateToUcs4(source.at(j), source.at(j + 1));
                len = 2;
            }
            if (!isCombining(c))
                break;
            j += len;
        }
        bool firstOfCluster = true;
        normalizeCluster(source, i, j, [&](QChar ch) {
            if (isSpace(ch.unicode())) {
                // NFKC can produce blanks (U+3000 is already handled; others are rare).
                if (!pendingSpace)
                    spaceBegin = i;
                pendingSpace = true;
                spaceEnd = j;
                return;
            }
            if (pendingSpace) {
                if (!out.empty() && !isCjk(out.last()) && !(firstOfCluster && isCjk(ch.unicode()))
                    && !isCjk(ch.unicode()))
                    out.append(QChar(u' '), spaceBegin, spaceEnd);
                pendingSpace = false;
            }
            out.append(ch, i, j);
            firstOfCluster = false;
        });
        i = j;
    }
}

struct PlainOut {
    QString text;
    bool empty() const { return text.isEmpty(); }
    char16_t last() const { return text.back().unicode(); }
    void append(QChar ch, qsizetype, qsizetype) { text.append(ch); }
};

struct MappedOut {
    MappedText m;
    bool empty() const { return m.text.isEmpty(); }
    char16_t last() const { return m.text.back().unicode(); }
    void append(QChar ch, qsizetype b, qsizetype e)
    {
        m.text.append(ch);
        m.begin.append(b);
        m.end.append(e);
    }
};

} // namespace

QString normalizeForSearch(const QString &text)
{
    PlainOut out;
    out.text.reserve(text.size());
    normalizeInto(text, out);
    return out.text;
}

MappedText normalizeMapped(const QString &text)
{
    MappedOut out;
    normalizeInto(text, out);
    return std::move(out.m);
}

QList<TextRange> findOccurrences(const QString &text, const QString &word)
{
    QList<TextRange> found;
    const QString needle = normalizeForSearch(word);
    if (needle.isEmpty())
        return found;
    const MappedText hay = normalizeMapped(text);
    qsizetype from = 0;
    while (true) {
        const qsizetype at = hay.text.indexOf(needle, from);
        if (at < 0)
            break;
        const qsizetype last = at + needle.size() - 1;
        found.append({ hay.begin.at(at), hay.end.at(last) - hay.begin.at(at) });
        from = at + needle.size();
    }
    return found;
}

bool containsNormalized(const QString &normalizedText, const QString &normalizedWord)
{
    return normalizedText.contains(normalizedWord);
}

QString searchTextRuleVersion()
{
    return QStringLiteral("rule1-unicode%1").arg(int(QChar::currentUnicodeVersion()));
}

} // namespace tolvane::extract

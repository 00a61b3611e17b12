// Encoding detection for plain text files.
#include <array>
#include <climits>
#include <optional>
#include <uchardet.h>

#include <QFile>
#include <QStringDecoder>

#include "platform/textextract.h"

namespace tolvane {

namespace {

struct Candidate {
    TextEncoding encoding;
    const char *names[2]; // first that the Qt build knows is used
};

// Decodes with the named codec; the result is empty and ok false when no name is known.
struct Decoding {
    QString text;
    int errors = 0;
    bool ok = false;
};

Decoding decodeWith(const Candidate &c, const QByteArray &bytes)
{
    for (const char *name : c.names) {
        if (!name)
            continue;
        QStringDecoder decoder(name, QStringDecoder::Flag::Stateless);
        if (!decoder.isValid())
            continue;
        Decoding d;
        d.text = decoder.decode(bytes);
        d.ok = true;
        d.errors = int(d.text.count(QChar::ReplacementCharacter));
        if (decoder.hasError() && d.errors == 0)
            d.errors = 1;
        return d;
    }
    return {};
}

// How much a decoded text looks like Japanese or Western prose. Kana count most, because a
// text decoded with the wrong Japanese code page turns into rare kanji, half-width kana and
// symbols, seldom into hiragana.
int plausibility(const QString &text)
{
    int score = 0;
    for (const QChar ch : text) {
        const char16_t u = ch.unicode();
        if (u == u'\r' || u == u'\n' || u == u'\t')
            continue;
        if (u < 0x20 || (u >= 0x7f && u < 0xa0))
            score -= 10; // control characters
        else if (u < 0x7f)
            continue;
        else if (u >= 0x3041 && u <= 0x309f)
            score += 4; // hiragana
        else if (u >= 0x30a0 && u <= 0x30ff)
            score += 3; // katakana
        else if (u >= 0x3000 && u <= 0x303f)
            score += 2; // Japanese punctuation
        else if (u >= 0xff01 && u <= 0xff5e)
            score += 1; // full-width ASCII
        else if (u >= 0x4e00 && u <= 0x9fff)
            score += 1; // ideographs
        else if (u >= 0xff61 && u <= 0xff9f)
            score -= 1; // half-width kana: real but rare
        else if (u >= 0xe000 && u <= 0xf8ff)
            score -= 8; // private use: user-defined characters of a wrong guess
        else if (u == QChar::ReplacementCharacter)
            score -= 20;
    }
    return score;
}

bool isAscii(const QByteArray &bytes)
{
    for (const char c : bytes)
        if (static_cast<unsigned char>(c) >= 0x80)
            return false;
    return true;
}

// UTF-16 without a byte-order mark shows as many zero bytes on one side.
std::optional<TextEncoding> guessBomlessUtf16(const QByteArray &bytes)
{
    if (bytes.size() < 4 || bytes.size() % 2 != 0)
        return std::nullopt;
    qsizetype evenZeros = 0, oddZeros = 0;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        if (bytes[i] == 0)
            (i % 2 == 0 ? evenZeros : oddZeros)++;
    }
    const qsizetype half = bytes.size() / 2;
    if (oddZeros * 10 >= half * 3 && evenZeros * 20 < half)
        return TextEncoding::Utf16LE;
    if (evenZeros * 10 >= half * 3 && oddZeros * 20 < half)
        return TextEncoding::Utf16BE;
    return std::nullopt;
}

QString decodeUtf16(const QByteArray &bytes, qsizetype skip, bool littleEndian)
{
    QStringDecoder decoder(
        littleEndian ? QStringConverter::Utf16LE : QStringConverter::Utf16BE, QStringDecoder::Flag::Stateless);
    return decoder.decode(QByteArrayView(bytes).sliced(skip));
}

// uchardet's view of a text both Japanese code pages read without error; none when it names
// neither of them.
std::optional<TextEncoding> uchardetJapanese(const QByteArray &bytes)
{
    uchardet_t detector = uchardet_new();
    if (!detector)
        return std::nullopt;
    std::optional<TextEncoding> guess;
    if (uchardet_handle_data(detector, bytes.constData(), size_t(bytes.size())) == 0) {
        uchardet_data_end(detector);
        const QByteArray name = QByteArray(uchardet_get_charset(detector)).toUpper();
        if (name == "SHIFT_JIS" || name == "WINDOWS-31J" || name == "CP932")
            guess = TextEncoding::ShiftJis;
        else if (name == "EUC-JP")
            guess = TextEncoding::EucJp;
    }
    uchardet_delete(detector);
    return guess;
}

} // namespace

DecodedText decodeText(const QByteArray &bytes)
{
    if (bytes.startsWith("\xEF\xBB\xBF"))
        return { QString::fromUtf8(QByteArrayView(bytes).sliced(3)), TextEncoding::Utf8Bom };
    if (bytes.startsWith("\xFF\xFE"))
        return { decodeUtf16(bytes, 2, true), TextEncoding::Utf16LE };
    if (bytes.startsWith("\xFE\xFF"))
        return { decodeUtf16(bytes, 2, false), TextEncoding::Utf16BE };
    if (const auto utf16 = guessBomlessUtf16(bytes))
        return { decodeUtf16(bytes, 0, *utf16 == TextEncoding::Utf16LE), *utf16 };
    if (isAscii(bytes))
        return { QString::fromLatin1(bytes), TextEncoding::Ascii };

    {
        QStringDecoder utf8(QStringConverter::Utf8, QStringDecoder::Flag::Stateless);
        QString text = utf8.decode(bytes);
        if (!utf8.hasError())
            return { text, TextEncoding::Utf8 };
        // A file cut inside its last character is still UTF-8.
        for (qsizetype cut = 1; cut <= 3 && cut < bytes.size(); ++cut) {
            QStringDecoder head(QStringConverter::Utf8, QStringDecoder::Flag::Stateless);
            QString headText = head.decode(QByteArrayView(bytes).chopped(cut));
            if (!head.hasError() && headText.size() > 0)
                return { headText + QChar(QChar::ReplacementCharacter), TextEncoding::Utf8 };
        }
    }

    static const std::array<Candidate, 2> candidates { {
        { TextEncoding::ShiftJis, { "windows-31j", "Shift_JIS" } },
        { TextEncoding::EucJp, { "EUC-JP", nullptr } },
    } };
    DecodedText best { QString::fromLatin1(bytes), TextEncoding::Latin1 };
    int bestErrors = INT_MAX;
    int bestScore = INT_MIN;
    std::array<Decoding, 2> strict;
    for (size_t i = 0; i < candidates.size(); ++i) {
        const Candidate &c = candidates[i];
        Decoding d = decodeWith(c, bytes);
        if (!d.ok)
            continue;
        const int score = plausibility(d.text);
        if (d.errors == 0)
            strict[i] = d;
        // Fewer errors first; among equals the more plausible text. Ties keep the earlier
        // candidate, so CP932 (the Windows default) wins over EUC-JP.
        if (d.errors < bestErrors || (d.errors == bestErrors && score > bestScore)) {
            bestErrors = d.errors;
            bestScore = score;
            best = { std::move(d.text), c.encoding };
        }
    }
    // Both read strictly: uchardet's statistics decide where they name one of the two.
    if (strict[0].ok && strict[1].ok) {
        if (const auto guess = uchardetJapanese(bytes)) {
            const size_t i = *guess == candidates[0].encoding ? 0 : 1;
            return { std::move(strict[i].text), candidates[i].encoding };
        }
    }
    // A text that every Japanese candidate mangles is more likely Western single-byte text.
    if (bestErrors > 0 && bestErrors * 50 > bytes.size())
        return { QString::fromLatin1(bytes), TextEncoding::Latin1 };
    return best;
}

Result<DecodedText> readTextFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Status::ioError(file.errorString());
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return Status::ioError(file.errorString());
    return decodeText(bytes);
}

QString encodingName(TextEncoding encoding)
{
    switch (encoding) {
    case TextEncoding::Ascii:
        return QStringLiteral("ASCII");
    case TextEncoding::Utf8:
        return QStringLiteral("UTF-8");
    case TextEncoding::Utf8Bom:
        return QStringLiteral("UTF-8 (BOM)");
    case TextEncoding::Utf16LE:
        return QStringLiteral("UTF-16LE");
    case TextEncoding::Utf16BE:
        return QStringLiteral("UTF-16BE");
    case TextEncoding::ShiftJis:
        return QStringLiteral("Shift_JIS");
    case TextEncoding::EucJp:
        return QStringLiteral("EUC-JP");
    case TextEncoding::Latin1:
        return QStringLiteral("ISO-8859-1");
    }
    return {};
}

} // namespace tolvane

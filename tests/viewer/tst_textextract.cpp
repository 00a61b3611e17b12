// Text of the user's files: encodings of plain text files written by the test, rich text with
// formatting and Japanese, and malformed rich text.
#include <QFile>
#include <QRandomGenerator>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>

#include "platform/textextract.h"

using namespace tolvane;

Q_DECLARE_METATYPE(tolvane::TextEncoding)

namespace {

const QString kJapanese
    = QStringLiteral("日本語のテキストです。\r\n文字化けしないこと：漢字、ひらがな、カタカナ、半角ｶﾅ、①②。\r\n");

QByteArray encode(const char *codec, const QString &text)
{
    QStringEncoder enc(codec);
    return enc.encode(text);
}

// Rich text escapes of text in CP932: every byte as \'hh.
QByteArray cp932Escaped(const QString &text)
{
    QByteArray out;
    for (const char c : encode("windows-31j", text))
        out += "\\'" + QByteArray::number(static_cast<unsigned char>(c), 16).rightJustified(2, '0');
    return out;
}

// The character format in force at the first occurrence of needle.
QTextCharFormat formatAt(const QTextDocument &doc, const QString &needle)
{
    for (QTextBlock b = doc.begin(); b.isValid(); b = b.next()) {
        for (auto it = b.begin(); !it.atEnd(); ++it) {
            const QTextFragment f = it.fragment();
            if (f.text().contains(needle))
                return f.charFormat();
        }
    }
    return {};
}

} // namespace

class TestTextExtract : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp;

    QString write(const QString &name, const QByteArray &bytes)
    {
        const QString path = m_tmp.filePath(name);
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly) || f.write(bytes) != bytes.size())
            return {};
        return path;
    }

private slots:
    void initTestCase() { QVERIFY(m_tmp.isValid()); }

    void encodings_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        QTest::addColumn<TextEncoding>("encoding");

        QTest::newRow("cp932") << encode("windows-31j", kJapanese) << kJapanese << TextEncoding::ShiftJis;
        QTest::newRow("euc-jp") << encode("EUC-JP", kJapanese) << kJapanese << TextEncoding::EucJp;
        QTest::newRow("utf-8") << kJapanese.toUtf8() << kJapanese << TextEncoding::Utf8;
        QTest::newRow("utf-8 bom") << QByteArray("\xEF\xBB\xBF") + kJapanese.toUtf8() << kJapanese
                                   << TextEncoding::Utf8Bom;
        QTest::newRow("utf-16le bom") << QByteArray("\xFF\xFE") + encode("UTF-16LE", kJapanese) << kJapanese
                                      << TextEncoding::Utf16LE;
        QTest::newRow("utf-16be bom") << QByteArray("\xFE\xFF") + encode("UTF-16BE", kJapanese) << kJapanese
                                      << TextEncoding::Utf16BE;
        QTest::newRow("utf-16le plain ascii") << encode("UTF-16LE", QStringLiteral("plain text file\r\n"))
                                              << QStringLiteral("plain text file\r\n") << TextEncoding::Utf16LE;
        QTest::newRow("ascii") << QByteArray("just ascii\n") << QStringLiteral("just ascii\n") << TextEncoding::Ascii;
        // Short texts are where the candidates are easiest to confuse.
        QTest::newRow("short euc hiragana")
            << encode("EUC-JP", QStringLiteral("あいう")) << QStringLiteral("あいう") << TextEncoding::EucJp;
        QTest::newRow("short sjis kanji")
            << encode("windows-31j", QStringLiteral("漢字")) << QStringLiteral("漢字") << TextEncoding::ShiftJis;
        QTest::newRow("sjis with 0x5c trail byte") << encode("windows-31j", QStringLiteral("表示ソフト"))
                                                   << QStringLiteral("表示ソフト") << TextEncoding::ShiftJis;
        QTest::newRow("euc half-width kana") << encode("EUC-JP", QStringLiteral("ﾃｷｽﾄとテキスト"))
                                             << QStringLiteral("ﾃｷｽﾄとテキスト") << TextEncoding::EucJp;
        QTest::newRow("utf-8 cut inside the last character")
            << kJapanese.toUtf8() + QStringLiteral("終").toUtf8().left(2)
            << kJapanese + QChar(QChar::ReplacementCharacter) << TextEncoding::Utf8;
        QTest::newRow("latin-1") << QByteArray("caf\xE9 cr\xE8me\n") << QStringLiteral("café crème\n")
                                 << TextEncoding::Latin1;
    }

    void encodings()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        QFETCH(TextEncoding, encoding);
        const QString path = write(QStringLiteral("%1.txt").arg(QString::fromLatin1(QTest::currentDataTag())), bytes);
        QVERIFY(!path.isEmpty());
        Result<DecodedText> decoded = readTextFile(path);
        QVERIFY(decoded);
        QCOMPARE(decoded->text, text);
        QCOMPARE(encodingName(decoded->encoding), encodingName(encoding));
    }

    void rtfFormatting()
    {
        const QByteArray rtf = "{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0\\fswiss Helvetica;}{\\f1\\froman Times;}}"
                               "{\\colortbl;\\red255\\green0\\blue0;\\red0\\green0\\blue255;}"
                               "{\\*\\generator Some Writer 1.0;}{\\info{\\title Hidden title}{\\author Nobody}}"
                               "{\\stylesheet{\\s0 Normal Style;}}"
                               "\\pard\\fs24 Hello \\b bold\\b0  and {\\i italic} and \\ul under\\ulnone , "
                               "\\cf1 red\\cf0  and \\fs40 big\\fs24 .\\par"
                               " Second\\line line\\tab tab \\'e9t\\'e9\\par"
                               "{\\pict\\wmetafile8 0123456789abcdef}Caf\\'e9 \\{braces\\} \\\\ end\\par}";
        QTextDocument doc;
        readRtf(rtf, &doc);
        const QString plain = doc.toPlainText();
        QVERIFY2(
            plain.startsWith(QStringLiteral("Hello bold and italic and under, red and big.\n")), qPrintable(plain));
        QVERIFY2(plain.contains(QStringLiteral("Second\u2028line\ttab été\n"))
                || plain.contains(QStringLiteral("Second\nline\ttab été\n")),
            qPrintable(plain));
        QVERIFY2(plain.contains(QStringLiteral("Café {braces} \\ end")), qPrintable(plain));
        for (const char *hidden : { "Hidden", "Writer", "Normal Style", "0123", "Helvetica" })
            QVERIFY2(!plain.contains(QLatin1String(hidden)), hidden);

        QCOMPARE(formatAt(doc, QStringLiteral("bold")).fontWeight(), int(QFont::Bold));
        QCOMPARE(formatAt(doc, QStringLiteral("Hello")).fontWeight(), int(QFont::Normal));
        QVERIFY(formatAt(doc, QStringLiteral("italic")).fontItalic());
        QVERIFY(!formatAt(doc, QStringLiteral(" and ")).fontItalic());
        QVERIFY(formatAt(doc, QStringLiteral("under")).fontUnderline());
        QCOMPARE(formatAt(doc, QStringLiteral("red")).foreground().color(), QColor(255, 0, 0));
        QCOMPARE(formatAt(doc, QStringLiteral("big")).fontPointSize(), 20.0);
        QCOMPARE(formatAt(doc, QStringLiteral("Hello")).fontPointSize(), 12.0);
        QCOMPARE(rtfToPlainText(rtf), plain);
    }

    void rtfJapaneseEscapes()
    {
        // A Japanese font (charset 128) decides the code page even in a Western document.
        const QByteArray rtf = "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\fnil\\fcharset0 Arial;}"
                               "{\\f1\\fnil\\fcharset128 "
            + cp932Escaped(QStringLiteral("ＭＳ 明朝"))
            + ";}}"
              "\\f1 "
            + cp932Escaped(QStringLiteral("日本語の文書"))
            + "\\par"
              // 表 is 0x95 0x5C: its trail byte may be written as an escaped backslash.
              "\\'95\\\\\\'8e\\'a6\\par"
              "\\f0 caf\\'e9\\par}";
        QCOMPARE(rtfToPlainText(rtf), QStringLiteral("日本語の文書\n表示\ncafé\n"));

        // No font charset: the document's code page 932 applies.
        QCOMPARE(rtfToPlainText("{\\rtf1\\ansi\\ansicpg932 " + cp932Escaped(QStringLiteral("管理票")) + "}"),
            QStringLiteral("管理票"));
    }

    void rtfUnicode()
    {
        const QByteArray rtf = "{\\rtf1\\ansi{\\fonttbl{\\f0\\fcharset128 MS Mincho;}}\\f0"
                               "\\uc1\\u26085?\\u26412?\\u35486?\\par"
                               "\\uc2\\u12354\\'82\\'a0 end\\par"
                               "\\uc1\\u-10179?\\u-8704?\\par"
                               "{\\uc0\\u12356}\\u12358?\\par}";
        QCOMPARE(rtfToPlainText(rtf), QStringLiteral("日本語\nあ end\n😀\nいう\n"));
    }

    void rtfMalformedNeverCrashes_data()
    {
        QTest::addColumn<QByteArray>("rtf");
        QTest::addColumn<QString>("contains");
        QTest::newRow("unclosed") << QByteArray("{\\rtf1 abc") << QStringLiteral("abc");
        QTest::newRow("extra closers") << QByteArray("{\\rtf1 abc}}}}} def") << QStringLiteral("abc");
        QTest::newRow("truncated escape") << QByteArray("{\\rtf1 abc\\'") << QStringLiteral("abc");
        QTest::newRow("bad hex") << QByteArray("{\\rtf1 abc\\'zzdef}") << QStringLiteral("abc");
        QTest::newRow("lone backslash") << QByteArray("{\\rtf1 abc\\") << QStringLiteral("abc");
        QTest::newRow("huge parameter") << QByteArray("{\\rtf1 \\fs99999999999999999999 abc\\u99999999999 x}")
                                        << QStringLiteral("abc");
        QTest::newRow("binary overrun") << QByteArray("{\\rtf1 abc\\bin999999 xyz}") << QStringLiteral("abc");
        QTest::newRow("deep nesting") << QByteArray("{\\rtf1 ") + QByteArray(100000, '{') + "deep"
                + QByteArray(100000, '}')
                + "}" << QStringLiteral("deep");
        QTest::newRow("long word") << QByteArray("{\\rtf1 \\") + QByteArray(5000, 'a') + " abc}" << QString();
        QTest::newRow("colour index out of range")
            << QByteArray("{\\rtf1{\\colortbl;\\red1;}\\cf99 abc\\cf-5 d}") << QStringLiteral("abc");
        QTest::newRow("font table without end") << QByteArray("{\\rtf1{\\fonttbl{\\f0\\fcharset128 x") << QString();
        QTest::newRow("not rtf at all") << QByteArray("\x00\xff\x81\x40{{}}\\\\'", 12) << QString();
    }

    void rtfMalformedNeverCrashes()
    {
        QFETCH(QByteArray, rtf);
        QFETCH(QString, contains);
        const QString plain = rtfToPlainText(rtf);
        if (!contains.isEmpty())
            QVERIFY2(plain.contains(contains), qPrintable(plain));
    }

    void rtfRandomInput()
    {
        // Random sequences of rich text tokens and bytes: the reader must get through all of them.
        static const char *const tokens[] = { "{", "}", "\\par ", "\\'82", "\\'a0", "\\u-3", "\\uc5", "\\*",
            "\\fonttbl", "\\colortbl", "\\red300", ";", "\\f1", "\\fcharset128", "\\bin3 ", "\\b", "\\fs-4", "\\cf2",
            "abc", "\xff", "\\", "\\pict", "\\u", "\\'", "\\uc0", " ", "\\line", "\\tab", "\\~" };
        QRandomGenerator rng(4711);
        for (int round = 0; round < 500; ++round) {
            QByteArray rtf = "{\\rtf1\\ansi\\ansicpg932 ";
            const int n = int(rng.bounded(200));
            for (int i = 0; i < n; ++i)
                rtf += tokens[rng.bounded(int(std::size(tokens)))];
            QTextDocument doc;
            readRtf(rtf, &doc);
            QVERIFY(doc.characterCount() >= 1);
        }
    }

    void textFiles()
    {
        const QString sjis = write(QStringLiteral("memo.txt"), encode("windows-31j", kJapanese));
        QCOMPARE(*readPlainOrRichText(sjis), kJapanese);
        QCOMPARE(
            readPlainOrRichText(m_tmp.filePath(QStringLiteral("gone.txt"))).status().code(), Status::Code::IOError);
        Result<DecodedText> missing = readTextFile(m_tmp.filePath(QStringLiteral("nothing-here.txt")));
        QCOMPARE(missing.status().code(), Status::Code::IOError);
    }
};

QTEST_MAIN(TestTextExtract)
#include "tst_textextract.moc"

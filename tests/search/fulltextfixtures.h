// Documents of every family the extractor reads, generated for the tests: each holds the same
// needles (a kanji word split across runs, half-width kana, full-width Latin, an IBM-extension
// kanji, an NEC circled digit, a wave dash and mixed case) in the way that format stores text.
#pragma once

#include <zip.h>

#include <QDir>
#include <QFile>
#include <QFont>
#include <QPainter>
#include <QPdfWriter>
#include <QStringEncoder>

namespace tolvane::test {

// The text the documents say, and what a user types to find each needle.
inline const QString kNeedleText = QStringLiteral(u"議事録の要点 ｶﾀｶﾅ ＡＢＣ 髙橋 ①番 波〜線 MixedCase");
struct Needle {
    const char *what;
    QString query;
};
inline QList<Needle> needles()
{
    return { { "kanji word", QStringLiteral(u"議事録") }, { "half-width kana", QStringLiteral(u"カタカナ") },
        { "full-width Latin", QStringLiteral(u"abc") }, { "IBM extension", QStringLiteral(u"髙橋") },
        { "NEC circled digit", QStringLiteral(u"①番") }, { "wave dash", QStringLiteral(u"波～線") },
        { "mixed case", QStringLiteral(u"MIXEDcase") } };
}

inline QByteArray xmlEscaped(const QString &text)
{
    return text.toHtmlEscaped().toUtf8();
}

// CP932 as Windows writes it: its wave dash (81 60) is what ICU's table calls U+FF5E.
inline QByteArray cp932(const QString &text)
{
    QStringEncoder e("windows-31j");
    return e.encode(QString(text).replace(QChar(0x301c), QChar(0xff5e)));
}

inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

inline bool writeZip(const QString &path, const QList<std::pair<const char *, QByteArray>> &entries)
{
    int error = 0;
    zip_t *z = zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!z)
        return false;
    for (const auto &[name, data] : entries) {
        zip_source_t *src = zip_source_buffer(z, data.constData(), zip_uint64_t(data.size()), 0);
        if (!src || zip_file_add(z, name, src, ZIP_FL_ENC_UTF_8) < 0) {
            zip_source_free(src);
            zip_discard(z);
            return false;
        }
    }
    return zip_close(z) == 0; // the buffers are read here, while entries is alive
}

// The needle text with its first word split over two runs, as word processors store it.
inline QByteArray wordml()
{
    const QString rest = kNeedleText.mid(2);
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><w:document "
           "xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/2006/main\"><w:body><w:p><w:r><w:t>"
        + xmlEscaped(kNeedleText.left(2)) + "</w:t></w:r><w:r><w:instrText>PAGE</w:instrText><w:t>" + xmlEscaped(rest)
        + "</w:t></w:r></w:p><w:p><w:r><w:t>second paragraph</w:t></w:r></w:p></w:body></w:document>";
}

inline QByteArray odfContent(const char *ns)
{
    return QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?><office:document-content xmlns:office=\"") + ns
        + "office\" xmlns:text=\"" + ns + "text\"><office:body><office:text><text:p>" + xmlEscaped(kNeedleText.left(6))
        + "<text:s/>" + xmlEscaped(kNeedleText.mid(7))
        + "</text:p></office:text></office:body></office:document-content>";
}

inline bool writePdf(const QString &path)
{
    QPdfWriter pdf(path);
    pdf.setResolution(72);
    QPainter p(&pdf);
    if (!p.isActive())
        return false;
    QFont font(QStringLiteral("Noto Sans CJK JP"));
    font.setPointSize(12);
    p.setFont(font);
    p.drawText(40, 60, kNeedleText.left(12));
    p.drawText(40, 90, kNeedleText.mid(12));
    return p.end();
}

// An ISO-2022-JP body (what Japanese mail sends), made from CP932 so that NEC row 13 (①) is
// written in its JIS rows as Windows mailers do.
inline QByteArray iso2022jp(const QString &text)
{
    const QByteArray sjis = cp932(text);
    QByteArray out;
    bool kanji = false;
    for (qsizetype i = 0; i < sjis.size(); ++i) {
        const int c = static_cast<unsigned char>(sjis.at(i));
        if ((c >= 0x81 && c <= 0x9f) || (c >= 0xe0 && c <= 0xef)) {
            int s1 = c;
            int s2 = static_cast<unsigned char>(sjis.at(++i));
            int j1 = (s1 - (s1 <= 0x9f ? 0x70 : 0xb0)) * 2;
            int j2;
            if (s2 >= 0x9f) {
                j2 = s2 - 0x7e;
            } else {
                --j1;
                j2 = s2 - (s2 >= 0x80 ? 0x20 : 0x1f);
            }
            if (!kanji)
                out += "\x1b$B";
            kanji = true;
            out += char(j1);
            out += char(j2);
        } else {
            if (kanji)
                out += "\x1b(B";
            kanji = false;
            out += char(c);
        }
    }
    if (kanji)
        out += "\x1b(B";
    return out;
}

// Writes one document of each family into dir; returns the file names (empty on failure).
inline QStringList writeDocuments(const QString &dir)
{
    const QDir d(dir);
    auto at = [&d](const char *name) { return d.filePath(QString::fromLatin1(name)); };
    const QString withoutIbm = QString(kNeedleText).replace(QStringLiteral(u"髙橋"), QStringLiteral(u"高橋"));
    bool ok = true;
    ok = ok && writeFile(at("notes.txt"), cp932(kNeedleText + QStringLiteral("\r\n")));
    ok = ok
        && writeFile(at("page.html"),
            "<html><head><meta http-equiv=\"Content-Type\" content=\"text/html; charset=Shift_JIS\">"
            "<title>t</title><script>var s = '"
                + cp932(QStringLiteral(u"スクリプト")) + "';</script></head><body><p>"
                + cp932(kNeedleText.toHtmlEscaped()) + "</p></body></html>");
    ok = ok
        && writeFile(
            at("letter.rtf"), "{\\rtf1\\ansi\\ansicpg932{\\fonttbl{\\f0\\fcharset128 x;}}\\f0 " + [] {
                QByteArray escaped;
                for (const char c : cp932(kNeedleText)) {
                    const auto u = static_cast<unsigned char>(c);
                    escaped += u < 0x80 ? QByteArray(1, c) : "\\'" + QByteArray::number(u, 16).rightJustified(2, '0');
                }
                return escaped;
            }() + "\\par}");
    ok = ok && writeZip(at("minutes.docx"), { { "word/document.xml", wordml() } });
    ok = ok
        && writeZip(at("sheet.xlsx"),
            { { "xl/sharedStrings.xml",
                  "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><si><t>"
                      + xmlEscaped(kNeedleText) + "</t><rPh><t>" + xmlEscaped(QStringLiteral(u"ヨミガナ"))
                      + "</t></rPh></si></sst>" },
                { "xl/worksheets/sheet1.xml",
                    "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData>"
                    "<row><c t=\"s\"><v>0</v></c><c t=\"inlineStr\"><is><t>inline cell</t></is></c></row>"
                    "</sheetData></worksheet>" } });
    ok = ok
        && writeZip(at("slides.pptx"),
            { { "ppt/slides/slide2.xml",
                  "<p:sld xmlns:p=\"p\" xmlns:a=\"a\"><a:p><a:r><a:t>" + xmlEscaped(kNeedleText.mid(7))
                      + "</a:t></a:r></a:p></p:sld>" },
                { "ppt/slides/slide1.xml",
                    "<p:sld xmlns:p=\"p\" xmlns:a=\"a\"><a:p><a:r><a:t>" + xmlEscaped(kNeedleText.left(7))
                        + "</a:t></a:r></a:p></p:sld>" } });
    const char *odf = "urn:oasis:names:tc:opendocument:xmlns:";
    const char *sx = "http://openoffice.org/2000/";
    for (const char *name : { "text.odt", "calc.ods", "show.odp", "draw.odg" })
        ok = ok && writeZip(at(name), { { "mimetype", "application/vnd.oasis" }, { "content.xml", odfContent(odf) } });
    for (const char *name : { "text.sxw", "calc.sxc", "show.sxi", "draw.sxd" })
        ok = ok && writeZip(at(name), { { "mimetype", "application/vnd.sun" }, { "content.xml", odfContent(sx) } });
    ok = ok && writePdf(at("scan.pdf"));
    // Mail: the subject and a plain part in ISO-2022-JP (which has no IBM extensions), and an
    // HTML part in Shift_JIS, quoted-printable, with every needle.
    const QByteArray qpHtml = [&] {
        QByteArray out;
        for (const char c : cp932(QStringLiteral("<p>") + kNeedleText + QStringLiteral("</p>"))) {
            const auto u = static_cast<unsigned char>(c);
            out += (u >= 0x80 || c == '=') ? "=" + QByteArray::number(u, 16).toUpper().rightJustified(2, '0')
                                           : QByteArray(1, c);
        }
        return out;
    }();
    ok = ok
        && writeFile(at("mail.eml"),
            "Subject: =?ISO-2022-JP?B?" + iso2022jp(QStringLiteral(u"件名の確認")).toBase64()
                + "?=\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=\"b1\"\r\n\r\n--b1\r\n"
                  "Content-Type: text/plain; charset=ISO-2022-JP\r\nContent-Transfer-Encoding: 7bit\r\n\r\n"
                + iso2022jp(withoutIbm) + "\r\n--b1\r\nContent-Type: text/html; charset=Shift_JIS\r\n"
                + "Content-Transfer-Encoding: quoted-printable\r\n\r\n" + qpHtml + "\r\n--b1--\r\n");
    ok = ok
        && writeFile(at("archive.mht"),
            "MIME-Version: 1.0\r\nContent-Type: multipart/related; boundary=\"r\"; type=\"text/html\"\r\n\r\n--r\r\n"
            "Content-Type: text/html; charset=\"shift_jis\"\r\nContent-Transfer-Encoding: quoted-printable\r\n"
            "Content-Location: file:///C:/page.htm\r\n\r\n"
                + qpHtml + "\r\n--r--\r\n");
    if (!ok)
        return {};
    return { QStringLiteral("notes.txt"), QStringLiteral("page.html"), QStringLiteral("letter.rtf"),
        QStringLiteral("minutes.docx"), QStringLiteral("sheet.xlsx"), QStringLiteral("slides.pptx"),
        QStringLiteral("text.odt"), QStringLiteral("calc.ods"), QStringLiteral("show.odp"), QStringLiteral("draw.odg"),
        QStringLiteral("text.sxw"), QStringLiteral("calc.sxc"), QStringLiteral("show.sxi"), QStringLiteral("draw.sxd"),
        QStringLiteral("scan.pdf"), QStringLiteral("mail.eml"), QStringLiteral("archive.mht") };
}

} // namespace tolvane::test

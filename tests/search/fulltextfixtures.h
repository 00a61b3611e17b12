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
#include <QProcess>
#include <QStringEncoder>
#include <QUrl>
#include <QtEndian>

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

// A text (the needle text unless told) as flat ODF, one XML file LibreOffice reads, cut in two:
// two paragraphs, two sheets or two slides, so that a reader that keeps only the first loses
// needles.
inline QByteArray flatOdf(const char *kind, const QString &text = kNeedleText)
{
    const qsizetype half = text == kNeedleText ? 12 : text.size() / 2;
    const QByteArray first = xmlEscaped(text.left(half));
    const QByteArray second = xmlEscaped(text.mid(half));
    const QByteArray head = QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?><office:document ")
        + "xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\" "
          "xmlns:text=\"urn:oasis:names:tc:opendocument:xmlns:text:1.0\" "
          "xmlns:table=\"urn:oasis:names:tc:opendocument:xmlns:table:1.0\" "
          "xmlns:draw=\"urn:oasis:names:tc:opendocument:xmlns:drawing:1.0\" "
          "xmlns:svg=\"urn:oasis:names:tc:opendocument:xmlns:svg-compatible:1.0\" office:version=\"1.2\" "
          "office:mimetype=\"application/vnd.oasis.opendocument."
        + kind + "\"><office:body>";
    const QByteArray tail = "</office:body></office:document>";
    if (qstrcmp(kind, "spreadsheet") == 0) {
        auto sheet = [](const char *name, const QByteArray &text) {
            return QByteArray("<table:table table:name=\"") + name
                + "\"><table:table-row><table:table-cell office:value-type=\"string\"><text:p>" + text
                + "</text:p></table:table-cell><table:table-cell office:value-type=\"float\" office:value=\"42\">"
                  "<text:p>42</text:p></table:table-cell></table:table-row></table:table>";
        };
        return head + "<office:spreadsheet>" + sheet("一", first) + sheet("二", second) + "</office:spreadsheet>"
            + tail;
    }
    if (qstrcmp(kind, "presentation") == 0) {
        auto slide = [](const char *name, const QByteArray &text) {
            return QByteArray("<draw:page draw:name=\"") + name
                + "\"><draw:frame svg:x=\"1cm\" svg:y=\"1cm\" svg:width=\"20cm\" svg:height=\"5cm\">"
                  "<draw:text-box><text:p>"
                + text + "</text:p></draw:text-box></draw:frame></draw:page>";
        };
        return head + "<office:presentation>" + slide("p1", first) + slide("p2", second) + "</office:presentation>"
            + tail;
    }
    return head + "<office:text><text:p>" + first + "</text:p><text:p>" + second + "</text:p></office:text>" + tail;
}

// Converts sources (in dir) with LibreOffice into format, with a profile of its own.
inline bool officeConvert(const QString &dir, const QString &profile, const QStringList &sources, const char *format)
{
    QProcess soffice;
    soffice.setProgram(QStringLiteral("soffice"));
    soffice.setWorkingDirectory(dir);
    soffice.setArguments(
        QStringList { QStringLiteral("-env:UserInstallation=") + QUrl::fromLocalFile(profile).toString(),
            QStringLiteral("--headless"), QStringLiteral("--norestore"), QStringLiteral("--convert-to"),
            QString::fromLatin1(format), QStringLiteral("--outdir"), dir }
        + sources);
    soffice.start();
    return soffice.waitForFinished(120000) && soffice.exitStatus() == QProcess::NormalExit && soffice.exitCode() == 0;
}

inline QByteArray le16(quint16 v)
{
    QByteArray b(2, Qt::Uninitialized);
    qToLittleEndian(v, b.data());
    return b;
}

inline QByteArray le32(quint32 v)
{
    QByteArray b(4, Qt::Uninitialized);
    qToLittleEndian(v, b.data());
    return b;
}

// A Lotus 1-2-3 record: one byte of type, one of group (0), the length, the data.
inline QByteArray lotusRecord(quint8 type, const QByteArray &data)
{
    return QByteArray(1, char(type)) + '\0' + le16(quint16(data.size())) + data;
}

// Lotus 1-2-3 of the WK3 family (Release 3 and later, the Japanese R3J as .wj3): a BOF of 26
// bytes whose first word is the file revision (0x1000 upwards), one text cell (type 0x16: row,
// sheet, column, a label prefix and the CP932 text) per word, EOF.
inline QByteArray lotusWk3(quint16 revision)
{
    QByteArray out = lotusRecord(0x00, le16(revision) + QByteArray(24, '\0'));
    const QStringList words = kNeedleText.split(QLatin1Char(' '));
    for (qsizetype row = 0; row < words.size(); ++row)
        out += lotusRecord(0x16, le16(quint16(row)) + '\0' + '\0' + '\'' + cp932(words.at(row)) + '\0');
    return out + lotusRecord(0x01, {});
}

// Lotus 1-2-3 Release 2 (WK1; the Japanese R2J writes it as .wj2): BOF with revision 0x0406,
// one LABEL record (0x0f: format, column, row, prefixed text) per word, EOF.
inline QByteArray lotusWk1()
{
    QByteArray out = lotusRecord(0x00, le16(0x0406));
    const QStringList words = kNeedleText.split(QLatin1Char(' '));
    for (qsizetype row = 0; row < words.size(); ++row)
        out += lotusRecord(
            0x0f, QByteArray(1, char(0xff)) + le16(0) + le16(quint16(row)) + '\'' + cp932(words.at(row)) + '\0');
    return out + lotusRecord(0x01, {});
}

// Windows Write 3.x: a 128-byte header (magic 0xBE31, tool 0xAB00, fcMac = end of the text,
// the page numbers of the tables, pnMac), the CP932 text from byte 128, then one page of
// character and one of paragraph properties, each a single run with the default properties.
inline QByteArray windowsWrite()
{
    const QByteArray text = cp932(kNeedleText) + "\r\n";
    const quint32 fcMac = quint32(128 + text.size());
    const quint16 pnChar = quint16((fcMac + 127) / 128);
    const quint16 pnPara = pnChar + 1;
    const quint16 pnMac = pnPara + 1;
    QByteArray header = le16(0xbe31) + le16(0) + le16(0xab00) + QByteArray(8, '\0') + le32(fcMac) + le16(pnPara);
    for (int table = 0; table < 5; ++table) // footnotes, sections, section table, page table, fonts: none
        header += le16(pnMac);
    header += QByteArray(96 - header.size(), '\0') + le16(pnMac);
    header += QByteArray(128 - header.size(), '\0');
    QByteArray out = header + text;
    out += QByteArray(pnChar * 128 - out.size(), '\0');
    QByteArray fkp = le32(128) + le32(fcMac) + le16(0xffff);
    fkp += QByteArray(127 - fkp.size(), '\0') + '\x01';
    return out + fkp + fkp;
}

// Documents of the families that only other programs write: .doc, .xls and .ppt through
// LibreOffice (from flat ODF), Windows Write and Lotus 1-2-3 byte by byte. profile is a folder
// for LibreOffice's profile. Returns the file names (empty on failure).
inline QStringList writeLegacyDocuments(const QString &dir, const QString &profile)
{
    const QDir d(dir);
    auto at = [&d](const char *name) { return d.filePath(QString::fromLatin1(name)); };
    bool ok = writeFile(at("minutes.fodt"), flatOdf("text")) && writeFile(at("sheet.fods"), flatOdf("spreadsheet"))
        && writeFile(at("slides.fodp"), flatOdf("presentation"));
    ok = ok && officeConvert(dir, profile, { QStringLiteral("minutes.fodt") }, "doc")
        && officeConvert(dir, profile, { QStringLiteral("sheet.fods") }, "xls")
        && officeConvert(dir, profile, { QStringLiteral("slides.fodp") }, "ppt");
    for (const char *name : { "minutes.fodt", "sheet.fods", "slides.fodp" })
        QFile::remove(at(name));
    ok = ok && writeFile(at("memo.wri"), windowsWrite()) && writeFile(at("ledger.wk3"), lotusWk3(0x1000))
        && writeFile(at("ledger.wk4"), lotusWk3(0x1002)) && writeFile(at("ledger.123"), lotusWk3(0x1005))
        && writeFile(at("ledger.wj3"), lotusWk3(0x1000)) && writeFile(at("ledger.wj2"), lotusWk1());
    if (!ok)
        return {};
    return { QStringLiteral("minutes.doc"), QStringLiteral("sheet.xls"), QStringLiteral("slides.ppt"),
        QStringLiteral("memo.wri"), QStringLiteral("ledger.wk3"), QStringLiteral("ledger.wk4"),
        QStringLiteral("ledger.123"), QStringLiteral("ledger.wj3"), QStringLiteral("ledger.wj2") };
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

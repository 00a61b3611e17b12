#include "platform/extract/documenttext.h"

#include <libxml/xmlversion.h>
#include <poppler/cpp/poppler-version.h>
#include <zip.h>

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringDecoder>

namespace tolvane::extract {

namespace {

bool oneOf(const QString &suffix, std::initializer_list<const char *> names)
{
    for (const char *n : names) {
        if (suffix == QLatin1String(n))
            return true;
    }
    return false;
}

Result<QString> htmlFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Status::ioError(file.errorString());
    return htmlText(file.readAll());
}

// ISO-2022-JP: ASCII and JIS X 0201 Roman as they are, JIS X 0208 rows (and the NEC rows
// that Windows mail writes there) turned into Shift_JIS and decoded as CP932, half-width kana
// (ESC ( I) mapped to their CP932 bytes.
QString decodeIso2022Jp(const QByteArray &bytes)
{
    QByteArray sjis;
    sjis.reserve(bytes.size());
    enum { Ascii, Kanji, Kana } mode = Ascii;
    const qsizetype n = bytes.size();
    for (qsizetype i = 0; i < n; ++i) {
        const auto c = static_cast<unsigned char>(bytes.at(i));
        if (c == 0x1b && i + 2 < n) {
            const char a = bytes.at(i + 1);
            const char b = bytes.at(i + 2);
            if (a == '$' && (b == 'B' || b == '@')) {
                mode = Kanji;
                i += 2;
                continue;
            }
            if (a == '(' && (b == 'B' || b == 'J')) {
                mode = Ascii;
                i += 2;
                continue;
            }
            if (a == '(' && b == 'I') {
                mode = Kana;
                i += 2;
                continue;
            }
        }
        if (c == 0x0e) { // SO / SI of some mailers for half-width kana
            mode = Kana;
            continue;
        }
        if (c == 0x0f) {
            mode = Ascii;
            continue;
        }
        if (c == '\r' || c == '\n' || c < 0x21 || c > 0x7e) {
            if (c == '\n' && mode == Kanji)
                mode = Ascii;
            sjis.append(char(c));
            continue;
        }
        if (mode == Kana) {
            sjis.append(char(c + 0x80));
        } else if (mode == Kanji && i + 1 < n) {
            const int j1 = c;
            const int j2 = static_cast<unsigned char>(bytes.at(++i));
            const int s1 = ((j1 + 1) >> 1) + (j1 <= 0x5e ? 0x70 : 0xb0);
            int s2 = j2 + ((j1 & 1) ? (j2 >= 0x60 ? 0x20 : 0x1f) : 0x7e);
            sjis.append(char(s1));
            sjis.append(char(s2));
        } else {
            sjis.append(char(c));
        }
    }
    QStringDecoder cp932("windows-31j");
    return cp932.decode(sjis);
}

} // namespace

QString decodeCharset(const QByteArray &bytes, const QByteArray &charset)
{
    const QByteArray name = charset.trimmed().toLower();
    if (name.isEmpty())
        return decodeText(bytes).text;
    if (name == "iso-2022-jp" || name == "iso-2022-jp-1" || name == "iso-2022-jp-2" || name == "csiso2022jp")
        return decodeIso2022Jp(bytes);
    if (name == "shift_jis" || name == "shift-jis" || name == "sjis" || name == "x-sjis" || name == "cp932"
        || name == "windows-31j" || name == "ms932" || name == "ms_kanji" || name == "csshiftjis") {
        QStringDecoder cp932("windows-31j");
        return cp932.decode(bytes);
    }
    if (name == "us-ascii" || name == "ascii") // mislabelled UTF-8 and 8-bit text are common
        return decodeText(bytes).text;
    QStringDecoder decoder(name.constData());
    if (!decoder.isValid())
        return decodeText(bytes).text;
    return decoder.decode(bytes);
}

Result<QString> DocumentTextExtractor::extract(const QString &path, const Progress &progress)
{
    const QFileInfo info(path);
    if (!info.isFile())
        return Status::notFound(path);
    const QString suffix = info.suffix().toLower();
    if (suffix == QLatin1String("pdf"))
        return pdfText(path, progress);
    if (oneOf(suffix, { "txt", "rtf" }))
        return readPlainOrRichText(path);
    if (oneOf(suffix, { "docx", "xlsx", "pptx", "odt", "ods", "odp", "odg", "sxw", "sxc", "sxi", "sxd" }))
        return officeXmlText(path, suffix);
    if (suffix == QLatin1String("html") || suffix == QLatin1String("htm"))
        return htmlFile(path);
    if (oneOf(suffix, { "eml", "mht" }))
        return mimeText(path);
    if (suffix == QLatin1String("doc"))
        return wordText(path);
    if (oneOf(suffix, { "wri", "wk3", "wk4", "123", "wj2", "wj3" }))
        return worksText(path);
    if (oneOf(suffix, { "xls", "ppt" }))
        return sofficeTexts({ path }, suffix).constFirst();
    return QString();
}

bool readInBatches(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    return suffix == QLatin1String("xls") || suffix == QLatin1String("ppt");
}

QList<Result<QString>> DocumentTextExtractor::extractAll(const QStringList &paths)
{
    QList<Result<QString>> texts(paths.size(), QString());
    QList<bool> done(paths.size(), false);
    for (const char *kind : { "xls", "ppt" }) {
        QStringList group;
        QList<qsizetype> where;
        for (qsizetype i = 0; i < paths.size(); ++i) {
            const QFileInfo info(paths.at(i));
            if (info.suffix().toLower() == QLatin1String(kind) && info.isFile()) {
                group << paths.at(i);
                where << i;
            }
        }
        if (group.size() < 2)
            continue;
        const QList<Result<QString>> read = sofficeTexts(group, QString::fromLatin1(kind));
        for (qsizetype k = 0; k < where.size(); ++k) {
            texts[where.at(k)] = read.at(k);
            done[where.at(k)] = true;
        }
    }
    for (qsizetype i = 0; i < paths.size(); ++i) {
        if (!done.at(i))
            texts[i] = extract(paths.at(i));
    }
    return texts;
}

QString extractorVersion()
{
    // Which helper programs are there belongs to it too: a .doc, .xls or .ppt read while one was
    // missing (no text) is read again once it is installed.
    QString tools;
    for (const char *program : { "wvWare", "soffice" }) {
        if (!QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty())
            tools += QLatin1Char(' ') + QString::fromLatin1(program);
    }
    return QStringLiteral("readers3 poppler%1 xml%2 zip%3")
               .arg(QString::fromLatin1(POPPLER_VERSION), QString::fromLatin1(LIBXML_DOTTED_VERSION),
                   QString::fromLatin1(zip_libzip_version()))
        + tools;
}

} // namespace tolvane::extract

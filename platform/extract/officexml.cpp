// Office Open XML (docx, xlsx, pptx) and OpenDocument / StarOffice XML (odt ... sxd): the text
// of the document's XML parts inside the zip container, read by local element names so that
// namespace prefixes and versions do not matter. Paragraph-like elements end a line.
#include <algorithm>
#include <cstring>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <memory>
#include <zip.h>

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

#include "platform/extract/documenttext.h"

namespace tolvane::extract {

namespace {

// No part of a real document comes near this; a larger one is a zip bomb.
constexpr zip_uint64_t kMaxPartBytes = 256u * 1024 * 1024;

struct ZipCloser {
    void operator()(zip_t *z) const { zip_discard(z); }
};
struct DocFree {
    void operator()(xmlDoc *d) const { xmlFreeDoc(d); }
};

Result<QByteArray> readPart(zip_t *zip, zip_int64_t index)
{
    zip_stat_t st;
    zip_stat_init(&st);
    if (zip_stat_index(zip, zip_uint64_t(index), 0, &st) != 0 || !(st.valid & ZIP_STAT_SIZE))
        return Status::corruption(QStringLiteral("zip entry"));
    if (st.size > kMaxPartBytes)
        return Status::corruption(QStringLiteral("zip entry too large"));
    zip_file_t *f = zip_fopen_index(zip, zip_uint64_t(index), 0);
    if (!f)
        return Status::corruption(QStringLiteral("zip entry"));
    QByteArray data(qsizetype(st.size), Qt::Uninitialized);
    const zip_int64_t got = zip_fread(f, data.data(), st.size);
    zip_fclose(f);
    if (got < 0 || zip_uint64_t(got) != st.size)
        return Status::corruption(QStringLiteral("zip entry"));
    return data;
}

enum class Dialect { WordprocessingML, SpreadsheetML, PresentationML, OpenDocument };

bool isName(const xmlNode *n, const char *name)
{
    return n->name && std::strcmp(reinterpret_cast<const char *>(n->name), name) == 0;
}

struct Walker {
    Dialect dialect;
    QString out;

    void newline()
    {
        if (!out.isEmpty() && !out.endsWith(QLatin1Char('\n')))
            out += QLatin1Char('\n');
    }

    // Office Open XML keeps document text only in its t elements; OpenDocument keeps it in
    // every text node of the body.
    void walk(const xmlNode *node, bool inText)
    {
        for (const xmlNode *n = node; n; n = n->next) {
            if (n->type == XML_TEXT_NODE || n->type == XML_CDATA_SECTION_NODE) {
                if (inText || dialect == Dialect::OpenDocument)
                    out += QString::fromUtf8(reinterpret_cast<const char *>(n->content));
                continue;
            }
            if (n->type != XML_ELEMENT_NODE)
                continue;
            if (dialect == Dialect::OpenDocument) {
                if (isName(n, "s")) {
                    out += QLatin1Char(' ');
                    continue;
                }
                if (isName(n, "tab")) {
                    out += QLatin1Char('\t');
                    continue;
                }
                if (isName(n, "line-break")) {
                    out += QLatin1Char('\n');
                    continue;
                }
                if (isName(n, "tracked-changes") || isName(n, "annotation"))
                    continue;
            } else {
                if (isName(n, "tab")) {
                    out += QLatin1Char('\t');
                    continue;
                }
                if (isName(n, "br") || isName(n, "cr")) {
                    out += QLatin1Char('\n');
                    continue;
                }
                // Phonetic readings of spreadsheet text, field codes and deleted text are not
                // part of what the document says.
                if (isName(n, "rPh") || isName(n, "instrText") || isName(n, "delText"))
                    continue;
            }
            walk(n->children, inText || isName(n, "t"));
            if (isName(n, "p") || isName(n, "h") || isName(n, "si") || isName(n, "c") || isName(n, "tc"))
                newline();
        }
    }
};

Status readXml(const QByteArray &data, Walker &walker)
{
    std::unique_ptr<xmlDoc, DocFree> doc(xmlReadMemory(data.constData(), int(data.size()), nullptr, nullptr,
        XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    if (!doc)
        return Status::corruption(QStringLiteral("xml part"));
    walker.walk(xmlDocGetRootElement(doc.get()), false);
    walker.newline();
    return Status::ok();
}

// The number in a part's name (slide12.xml → 12), for reading slides and sheets in order.
int partNumber(const QString &name)
{
    static const QRegularExpression digits(QStringLiteral("(\\d+)\\.xml$"));
    const auto m = digits.match(name);
    return m.hasMatch() ? m.captured(1).toInt() : 0;
}

} // namespace

Result<QString> officeXmlText(const QString &path, const QString &suffix)
{
    int error = 0;
    std::unique_ptr<zip_t, ZipCloser> zip(zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY, &error));
    if (!zip)
        return Status::corruption(path);

    Dialect dialect = Dialect::OpenDocument;
    QList<QRegularExpression> patterns;
    if (suffix == QLatin1String("docx")) {
        dialect = Dialect::WordprocessingML;
        patterns = { QRegularExpression(
            QStringLiteral("^word/(header\\d*|document|footnotes|endnotes|footer\\d*)\\.xml$")) };
    } else if (suffix == QLatin1String("xlsx")) {
        dialect = Dialect::SpreadsheetML;
        patterns = { QRegularExpression(QStringLiteral("^xl/sharedStrings\\.xml$")),
            QRegularExpression(QStringLiteral("^xl/worksheets/sheet\\d+\\.xml$")) };
    } else if (suffix == QLatin1String("pptx")) {
        dialect = Dialect::PresentationML;
        patterns = { QRegularExpression(QStringLiteral("^ppt/slides/slide\\d+\\.xml$")),
            QRegularExpression(QStringLiteral("^ppt/notesSlides/notesSlide\\d+\\.xml$")) };
    } else {
        patterns = { QRegularExpression(QStringLiteral("^content\\.xml$")) };
    }

    // Parts in a stable order: by pattern, then by the number in the name.
    struct Part {
        int pattern;
        int number;
        QString name;
        zip_int64_t index;
    };
    QList<Part> parts;
    const zip_int64_t entries = zip_get_num_entries(zip.get(), 0);
    for (zip_int64_t i = 0; i < entries; ++i) {
        const char *raw = zip_get_name(zip.get(), zip_uint64_t(i), ZIP_FL_ENC_GUESS);
        if (!raw)
            continue;
        const QString name = QString::fromUtf8(raw);
        for (int p = 0; p < patterns.size(); ++p) {
            if (patterns.at(p).match(name).hasMatch()) {
                parts.append({ p, partNumber(name), name, i });
                break;
            }
        }
    }
    if (parts.isEmpty())
        return Status::corruption(path);
    std::sort(parts.begin(), parts.end(), [](const Part &a, const Part &b) {
        if (a.pattern != b.pattern)
            return a.pattern < b.pattern;
        if (a.number != b.number)
            return a.number < b.number;
        return a.name < b.name;
    });

    Walker walker { dialect, {} };
    for (const Part &part : parts) {
        Result<QByteArray> data = readPart(zip.get(), part.index);
        if (!data)
            return data.status();
        if (Status s = readXml(*data, walker); !s.isOk())
            return s;
    }
    return walker.out;
}

} // namespace tolvane::extract

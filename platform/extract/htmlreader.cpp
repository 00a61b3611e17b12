// HTML: the charset is found first (byte-order mark, a meta declaration in the head, then the
// plain-text detection) and the page decoded by us; libxml2's HTML parser then reads UTF-8
// only. Given the raw bytes it would stop at the first character its own CP932 table lacks.
#include <cstring>
#include <libxml/HTMLparser.h>
#include <libxml/tree.h>
#include <memory>

#include <QRegularExpression>

#include "platform/extract/documenttext.h"

namespace tolvane::extract {

namespace {

struct DocFree {
    void operator()(xmlDoc *d) const { xmlFreeDoc(d); }
};

QByteArray sniffCharset(const QByteArray &bytes)
{
    if (bytes.startsWith("\xEF\xBB\xBF"))
        return "utf-8";
    if (bytes.startsWith("\xFF\xFE"))
        return "utf-16le";
    if (bytes.startsWith("\xFE\xFF"))
        return "utf-16be";
    // <meta charset="x"> or <meta http-equiv="Content-Type" content="text/html; charset=x">,
    // looked for in the first few kilobytes as browsers do.
    static const QRegularExpression meta(QStringLiteral("<meta[^>]*charset\\s*=\\s*[\"']?\\s*([A-Za-z0-9_:.\\-]+)"),
        QRegularExpression::CaseInsensitiveOption);
    const QString head = QString::fromLatin1(bytes.left(4096));
    const auto m = meta.match(head);
    if (m.hasMatch())
        return m.captured(1).toLatin1();
    return {};
}

bool isName(const xmlNode *n, const char *name)
{
    return n->name && ::strcasecmp(reinterpret_cast<const char *>(n->name), name) == 0;
}

bool isBlock(const xmlNode *n)
{
    static const char *const blocks[] = { "p", "div", "br", "li", "tr", "h1", "h2", "h3", "h4", "h5", "h6", "table",
        "title", "pre", "blockquote", "dt", "dd", "hr", "td", "th", "section", "article" };
    for (const char *b : blocks) {
        if (isName(n, b))
            return true;
    }
    return false;
}

void walk(const xmlNode *node, QString &out)
{
    for (const xmlNode *n = node; n; n = n->next) {
        if (n->type == XML_TEXT_NODE || n->type == XML_CDATA_SECTION_NODE) {
            out += QString::fromUtf8(reinterpret_cast<const char *>(n->content));
            continue;
        }
        if (n->type != XML_ELEMENT_NODE)
            continue;
        if (isName(n, "script") || isName(n, "style") || isName(n, "noscript"))
            continue;
        walk(n->children, out);
        if (isBlock(n) && !out.endsWith(QLatin1Char('\n')))
            out += QLatin1Char('\n');
    }
}

} // namespace

Result<QString> htmlText(const QByteArray &bytes, const QByteArray &charsetHint)
{
    QByteArray charset = sniffCharset(bytes);
    if (charset.isEmpty())
        charset = charsetHint;
    QString page = decodeCharset(bytes, charset);
    if (page.startsWith(QChar(0xfeff)))
        page.remove(0, 1);
    // The declaration no longer holds for the UTF-8 the parser gets; it must not switch back.
    static const QRegularExpression declared(QStringLiteral("(<meta[^>]*charset\\s*=\\s*[\"']?\\s*)[A-Za-z0-9_:.\\-]+"),
        QRegularExpression::CaseInsensitiveOption);
    page.replace(declared, QStringLiteral("\\1utf-8"));
    const QByteArray utf8 = page.toUtf8();
    std::unique_ptr<xmlDoc, DocFree> doc(htmlReadMemory(utf8.constData(), int(utf8.size()), nullptr, "UTF-8",
        HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET));
    if (!doc)
        return page.isEmpty() ? QString() : Result<QString>(Status::corruption(QStringLiteral("html")));
    QString out;
    walk(xmlDocGetRootElement(doc.get()), out);
    return out;
}

} // namespace tolvane::extract

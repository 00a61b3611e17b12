// Mail (eml) and web archives (mht): gmime reads the MIME structure and undoes the transfer
// encodings; the charsets are decoded by us (decodeCharset), because gmime's own conversion
// turns the NEC and IBM extension characters of Japanese mail into garbage. The subject comes
// first, then the text of each part; of a multipart/alternative only the plain-text part is
// read when there is one.
#include <mutex>

#include <QFile>
#include <QRegularExpression>

// glib names a struct member "signals", which Qt defines as a keyword.
#undef signals
#include <gmime/gmime.h>

#include "platform/extract/documenttext.h"

namespace tolvane::extract {

namespace {

void initGmime()
{
    static std::once_flag once;
    std::call_once(once, [] { g_mime_init(); });
}

template <class T> struct GUnref {
    void operator()(T *p) const
    {
        if (p)
            g_object_unref(p);
    }
};

QByteArray partBytes(GMimePart *part)
{
    GMimeDataWrapper *content = g_mime_part_get_content(part);
    if (!content)
        return {};
    std::unique_ptr<GMimeStream, GUnref<GMimeStream>> mem(g_mime_stream_mem_new());
    if (g_mime_data_wrapper_write_to_stream(content, mem.get()) < 0)
        return {};
    GByteArray *array = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(mem.get()));
    return QByteArray(reinterpret_cast<const char *>(array->data), qsizetype(array->len));
}

// RFC 2047 encoded words (=?charset?B?...?= and =?charset?Q?...?=), decoded with our charsets;
// blanks between two encoded words are dropped.
QString decodeHeader(const QByteArray &raw)
{
    static const QRegularExpression word(QStringLiteral("=\\?([^?]+)\\?([BbQq])\\?([^?]*)\\?="));
    const QString text = QString::fromLatin1(raw).simplified();
    QString out;
    qsizetype pos = 0;
    bool lastWasEncoded = false;
    auto it = word.globalMatch(text);
    while (it.hasNext()) {
        const auto m = it.next();
        const QString between = text.mid(pos, m.capturedStart() - pos);
        if (!(lastWasEncoded && between.trimmed().isEmpty()))
            out += between;
        QByteArray charset = m.captured(1).toLatin1();
        if (const qsizetype star = charset.indexOf('*'); star >= 0)
            charset.truncate(star); // RFC 2231 language tag
        const QByteArray payload = m.captured(3).toLatin1();
        QByteArray bytes;
        if (m.captured(2).compare(QLatin1String("B"), Qt::CaseInsensitive) == 0) {
            bytes = QByteArray::fromBase64(payload);
        } else {
            QByteArray q = payload;
            q.replace('_', ' ');
            bytes = QByteArray::fromPercentEncoding(q, '=');
        }
        out += decodeCharset(bytes, charset);
        pos = m.capturedEnd();
        lastWasEncoded = true;
    }
    out += text.mid(pos);
    return out;
}

void collect(GMimeObject *object, QString &out, int depth)
{
    if (!object || depth > 50)
        return;
    if (GMIME_IS_MESSAGE_PART(object)) {
        GMimeMessage *inner = g_mime_message_part_get_message(GMIME_MESSAGE_PART(object));
        if (inner)
            collect(g_mime_message_get_mime_part(inner), out, depth + 1);
        return;
    }
    GMimeContentType *type = g_mime_object_get_content_type(object);
    if (GMIME_IS_MULTIPART(object)) {
        GMimeMultipart *multi = GMIME_MULTIPART(object);
        const int count = g_mime_multipart_get_count(multi);
        if (type && g_mime_content_type_is_type(type, "multipart", "alternative")) {
            for (int i = 0; i < count; ++i) {
                GMimeObject *part = g_mime_multipart_get_part(multi, i);
                GMimeContentType *t = g_mime_object_get_content_type(part);
                if (t && g_mime_content_type_is_type(t, "text", "plain")) {
                    collect(part, out, depth + 1);
                    return;
                }
            }
        }
        for (int i = 0; i < count; ++i)
            collect(g_mime_multipart_get_part(multi, i), out, depth + 1);
        return;
    }
    if (!GMIME_IS_PART(object) || !type)
        return;
    GMimePart *part = GMIME_PART(object);
    if (g_mime_part_is_attachment(part))
        return;
    const bool plain = g_mime_content_type_is_type(type, "text", "plain");
    const bool html = g_mime_content_type_is_type(type, "text", "html");
    if (!plain && !html)
        return;
    const char *charset = g_mime_content_type_get_parameter(type, "charset");
    const QByteArray bytes = partBytes(part);
    QString text;
    if (html) {
        Result<QString> page = htmlText(bytes, QByteArray(charset ? charset : ""));
        if (page)
            text = *page;
    } else {
        text = decodeCharset(bytes, QByteArray(charset ? charset : ""));
    }
    if (!out.isEmpty() && !out.endsWith(QLatin1Char('\n')))
        out += QLatin1Char('\n');
    out += text;
}

} // namespace

Result<QString> mimeText(const QString &path)
{
    initGmime();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Status::ioError(file.errorString());
    QByteArray data = file.readAll();
    std::unique_ptr<GMimeStream, GUnref<GMimeStream>> stream(
        g_mime_stream_mem_new_with_buffer(data.constData(), size_t(data.size())));
    std::unique_ptr<GMimeParser, GUnref<GMimeParser>> parser(g_mime_parser_new_with_stream(stream.get()));
    std::unique_ptr<GMimeMessage, GUnref<GMimeMessage>> message(g_mime_parser_construct_message(parser.get(), nullptr));
    if (!message)
        return Status::corruption(path);
    QString out;
    GMimeHeaderList *headers = g_mime_object_get_header_list(GMIME_OBJECT(message.get()));
    if (GMimeHeader *subject = headers ? g_mime_header_list_get_header(headers, "Subject") : nullptr) {
        if (const char *raw = g_mime_header_get_raw_value(subject))
            out += decodeHeader(QByteArray(raw)) + QLatin1Char('\n');
    }
    collect(g_mime_message_get_mime_part(message.get()), out, 0);
    return out;
}

} // namespace tolvane::extract

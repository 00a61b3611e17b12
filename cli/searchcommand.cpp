// tolvane-cli search: runs one catalogue search (optionally narrowed by classification) and
// prints the rows, one line each, with the seven catalogue fields separated by tabs. With
// --output the rows go to a spreadsheet or CSV file instead (searchexport.cpp).
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

#include <QDateTime>
#include <QStringEncoder>
#include <QVarLengthArray>

#include "catalog/lifecycle.h"
#include "catalog/records.h"
#include "cli/commands.h"
#include "cli/consoleprompter.h"
#include "platform/jet/besidethread.h"
#include "platform/jet/database.h"
#include "platform/jet/largeblock.h"
#include "platform/jet/recordset.h"
#include "platform/paths.h"
#include "search/catalogqueries.h"
#include "search/classnarrowing.h"
#include "search/searchtexts.h"

namespace tolvane::cli {

namespace {

// Bytes to be written: a kept half of a large result fills megabytes, which a LargeArray takes
// on large pages, with a handful of page faults.
class OutBuffer {
public:
    explicit OutBuffer(qsizetype capacity)
    {
        m_bytes.reserve(capacity);
        m_bytes.resize(std::min<qsizetype>(capacity, 1 << 17));
    }
    qsizetype size() const { return m_size; }
    char *data() { return m_bytes.data(); }
    const char *constData() const { return m_bytes.constData(); }
    // Grown bytes are left as they were: the caller writes them.
    void resize(qsizetype n)
    {
        if (n > m_bytes.size())
            m_bytes.resize(std::max(n, 2 * m_bytes.size()));
        m_size = n;
    }
    void clear() { m_size = 0; }
    void append(char c)
    {
        if (m_size == m_bytes.size())
            resize(m_size + 1);
        else
            ++m_size;
        m_bytes[m_size - 1] = c;
    }
    void append(const char *bytes, qsizetype n)
    {
        if (n <= 0)
            return;
        const qsizetype at = m_size;
        resize(at + n);
        std::memcpy(m_bytes.data() + at, bytes, size_t(n));
    }
    void append(const QByteArray &bytes) { append(bytes.constData(), bytes.size()); }

private:
    jet::LargeArray<char> m_bytes; // its size is the room; m_size the bytes in use
    qsizetype m_size = 0;
};

// Result rows go out buffered, built as UTF-8 directly: a search may print a hundred thousand
// of them. A writer without a stream keeps its text for the caller (one half of the rows,
// encoded in a second thread).
class RowWriter {
public:
    explicit RowWriter(std::FILE *stream)
        : m_stream(stream)
        , m_out(stream ? 1 << 17 : 4 << 20)
    {
    }
    ~RowWriter() { flush(); }
    // One row of stored fields; dates as yyyy-mm-dd, null as nothing, and no tab or line break
    // inside a field, so that each row stays one line of seven columns.
    void row(const jet::RowStore &rows, int r)
    {
        m_stored.resize(rows.fields());
        rows.storedRow(r, m_stored.data());
        for (int i = 0; i < rows.fields(); ++i)
            field(rows, r, i, m_stored[i]);
        m_out.append('\n');
        if (m_stream && m_out.size() > (1 << 16))
            flush();
    }
    void flush()
    {
        if (!m_stream)
            return;
        std::fwrite(m_out.constData(), 1, size_t(m_out.size()), m_stream);
        m_out.clear();
        std::fflush(m_stream);
    }
    // The text of a writer without a stream, written after this writer's.
    void append(const RowWriter &other)
    {
        flush();
        if (m_stream) {
            std::fwrite(other.m_out.constData(), 1, size_t(other.m_out.size()), m_stream);
            std::fflush(m_stream);
        }
    }
    // Whether the text so far ended inside a character (a high surrogate waiting for its
    // pair): what follows must then be encoded by this writer.
    bool pendingSurrogate() const { return m_pendingHigh; }

private:
    void field(const jet::RowStore &rows, int r, int i, const jet::RowStore::Stored &stored)
    {
        if (i > 0)
            m_out.append('\t');
        // The common kinds with one look at the stored cell; the rest as the store gives it.
        switch (stored.kind) {
        case jet::RowStore::Stored::Kind::Null:
            return;
        case jet::RowStore::Stored::Kind::Text:
            text(stored.text);
            return;
        case jet::RowStore::Stored::Kind::Date:
            date(stored.date);
            return;
        case jet::RowStore::Stored::Kind::Int:
            number(stored.integer);
            return;
        case jet::RowStore::Stored::Kind::Other:
            break;
        }
        if (const std::optional<double> ole = rows.date(r, i)) {
            date(*ole);
            return;
        }
        const qsizetype start = m_out.size();
        const QVariant value = rows.value(r, i); // never a stored date here
        if (!value.isValid() || value.isNull())
            return;
        if (value.typeId() == QMetaType::QDateTime) { // an invalid stored date
            m_out.append(value.toDateTime().toString(QStringLiteral("yyyy-MM-dd")).toUtf8());
            return;
        }
        if (value.typeId() == QMetaType::Int)
            number(value.toInt());
        else
            m_out.append(value.toString().toUtf8());
        blankBreaks(start);
    }

private:
    void blankBreaks(qsizetype from)
    {
        for (char *c = m_out.data() + from, *end = m_out.data() + m_out.size(); c != end; ++c)
            if (*c == '\t' || *c == '\n' || *c == '\r')
                *c = ' ';
    }

    // Texts without surrogates (nearly all) are encoded here in one pass, four ASCII characters
    // at a time where they come so; any other goes through the encoder, which keeps a lone high
    // surrogate at a text's end for the next text.
    void text(QStringView t)
    {
        const qsizetype start = m_out.size();
        if (!m_pendingHigh && plainText(t, start))
            return;
        m_out.resize(start + m_utf8.requiredSpace(t.size()));
        m_out.resize(m_utf8.appendToBuffer(m_out.data() + start, t) - m_out.constData());
        blankBreaks(start);
        if (!t.isEmpty())
            m_pendingHigh = t.back().isHighSurrogate();
    }

    // False, with nothing written, at the first surrogate.
    bool plainText(QStringView t, qsizetype start)
    {
        m_out.resize(start + 3 * t.size());
        char *o = m_out.data() + start;
        const char16_t *c = t.utf16(), *end = c + t.size();
        while (c != end) {
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
            if (end - c >= 4) {
                quint64 four;
                std::memcpy(&four, c, sizeof four);
                // All below 0x80, and none below 0x20 (a tab or a line break among them).
                constexpr quint64 kAscii = 0xFF80FF80FF80FF80ULL, kHigh = 0x0080008000800080ULL;
                if ((four & kAscii) == 0 && ((four + 0x0060006000600060ULL) & kHigh) == kHigh) {
                    const quint32 bytes = quint32((four & 0xFF) | ((four >> 8) & 0xFF00) | ((four >> 16) & 0xFF0000)
                        | ((four >> 24) & 0xFF000000));
                    std::memcpy(o, &bytes, sizeof bytes);
                    o += 4;
                    c += 4;
                    continue;
                }
            }
#endif
            const char16_t u = *c++;
            if (u < 0x80) {
                *o++ = u == u'\t' || u == u'\n' || u == u'\r' ? ' ' : char(u);
            } else if (u < 0x800) {
                *o++ = char(0xC0 | (u >> 6));
                *o++ = char(0x80 | (u & 0x3F));
            } else if (QChar::isSurrogate(u)) {
                m_out.resize(start);
                return false;
            } else {
                *o++ = char(0xE0 | (u >> 12));
                *o++ = char(0x80 | ((u >> 6) & 0x3F));
                *o++ = char(0x80 | (u & 0x3F));
            }
        }
        m_out.resize(o - m_out.constData());
        return true;
    }

    void number(qint64 value)
    {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        m_out.append(digits, end - digits);
    }

    // The date part of a stored date as yyyy-MM-dd; a run of rows on one day (a sorted result)
    // formats it once.
    void date(double ole)
    {
        if (ole != m_lastOle || m_lastDayText.isEmpty()) {
            jet::OleDateParts parts;
            if (!jet::oleDateParts(ole, parts)) {
                m_out.append(jet::fromOleDate(ole).toString(QStringLiteral("yyyy-MM-dd")).toUtf8());
                return;
            }
            if (parts.day != m_lastDay || m_lastDayText.isEmpty()) {
                m_lastDay = parts.day;
                m_lastDayText = dayText(parts.date());
            }
            m_lastOle = ole;
        }
        m_out.append(m_lastDayText);
    }

    // As QDate::toString("yyyy-MM-dd") gives it; written here for the years of four digits.
    static QByteArray dayText(const QDate &d)
    {
        int year = 0, month = 0, day = 0;
        d.getDate(&year, &month, &day);
        if (year < 1 || year > 9999)
            return d.toString(QStringLiteral("yyyy-MM-dd")).toUtf8();
        char text[10];
        auto put = [&](int at, int value, int width) {
            for (int i = width - 1; i >= 0; --i, value /= 10)
                text[at + i] = char('0' + value % 10);
        };
        put(0, year, 4);
        text[4] = '-';
        put(5, month, 2);
        text[7] = '-';
        put(8, day, 2);
        return QByteArray(text, sizeof text);
    }

    std::FILE *m_stream = nullptr;
    OutBuffer m_out;
    QStringEncoder m_utf8 { QStringEncoder::Utf8 };
    bool m_pendingHigh = false; // the encoder holds a high surrogate from the last text
    QVarLengthArray<jet::RowStore::Stored, 16> m_stored; // the row being written
    qint64 m_lastDay = 0;
    double m_lastOle = 0; // the stored date m_lastDayText was last given for
    QByteArray m_lastDayText;
};

int usage()
{
    writeErr(QStringLiteral("usage: tolvane-cli search CATALOG.mdb (--folder PATH | --name TEXT | "
                            "--class TEXT | --period FROM TO | --keyword TEXT) [--narrow CLASS] "
                            "[--output FILE.xlsx|FILE.csv]"));
    return 1;
}

struct Request {
    QString catalog;
    QString kind;
    QStringList values;
    QString narrow;
    bool narrowing = false;
    QString output;
};

bool parse(const QStringList &args, Request &req)
{
    if (args.isEmpty())
        return false;
    req.catalog = args.first();
    for (int i = 1; i < args.size(); ++i) {
        const QString &a = args.at(i);
        const int need = a == QStringLiteral("--period") ? 2 : 1;
        if (i + need >= args.size())
            return false;
        if (a == QStringLiteral("--narrow")) {
            req.narrow = args.at(++i);
            req.narrowing = true;
        } else if (a == QStringLiteral("--output")) {
            req.output = args.at(++i);
            const QString suffix = req.output.section(QLatin1Char('.'), -1).toLower();
            if (suffix != QStringLiteral("xlsx") && suffix != QStringLiteral("csv"))
                return false;
        } else if (a == QStringLiteral("--folder") || a == QStringLiteral("--name") || a == QStringLiteral("--class")
            || a == QStringLiteral("--period") || a == QStringLiteral("--keyword")) {
            if (!req.kind.isEmpty())
                return false;
            req.kind = a.mid(2);
            req.values = args.mid(i + 1, need);
            i += need;
        } else {
            return false;
        }
    }
    return !req.kind.isEmpty();
}

} // namespace

CatalogueSearch searchCatalogue(jet::Database &db, const QStringList &args)
{
    CatalogueSearch run;
    Request req;
    if (!parse(args, req)) {
        run.exitCode = usage();
        return run;
    }
    if (!catalog::IsCatalog(db)) {
        writeErr(catalog::notCatalogMessage());
        run.exitCode = 1;
        return run;
    }
    // A damaged catalogue is searched as far as it can be read, never without saying so.
    if (db.isDamaged())
        writeErr(catalog::DamagedCatalogMessage(db));

    // As in the search panel, a word or file name must be given (blanks count as given).
    if ((req.kind == QStringLiteral("name") || req.kind == QStringLiteral("keyword"))
        && req.values.value(0).isEmpty()) {
        writeErr(search::kEmptyWordMessage);
        run.exitCode = 1;
        return run;
    }

    // The searches use their text trimmed, as the search panel does.
    const QString value = req.values.value(0).trimmed();
    search::RecordsetSlot &result = run.result;
    Result<bool> found = false;
    if (req.kind == QStringLiteral("folder")) {
        const Result<int> pnID = catalog::GetPathID(db, normalFolderPath(req.values.value(0)));
        if (pnID || pnID.status().code() == Status::Code::NotFound)
            found = search::QueryByFolder(db, result, pnID ? pnID.value() : -1);
        else
            found = pnID.status();
    } else if (req.kind == QStringLiteral("name"))
        found = search::QueryByFileName(db, result, value);
    else if (req.kind == QStringLiteral("class"))
        found = search::QueryByClass(db, result, value);
    else if (req.kind == QStringLiteral("period"))
        found = search::QueryByPeriod(db, result, value, req.values.value(1).trimmed());
    else
        found = search::QueryByKeyword(db, result, value);

    if (!found) {
        writeErr(QStringLiteral("search failed: %1").arg(found.status().toString()));
        result.reset();
        run.exitCode = 1;
        return run;
    }
    if (!found.value()) {
        writeOut(search::kZeroResultMessage);
        result.reset();
        return run;
    }
    if (req.narrowing && search::NarrowByClass(result.get(), req.narrow) == search::NarrowOutcome::Emptied) {
        writeOut(search::narrowEmptyMessage(req.narrow.trimmed()));
        result.reset();
    }
    return run;
}

int runSearch(const QStringList &args)
{
    if (args.isEmpty())
        return usage();
    const QString catalog = args.first();
    auto opened = jet::Database::open(catalog, jet::Database::OpenMode::ReadOnly);
    if (!opened) {
        writeErr(QStringLiteral("%1: %2").arg(catalog, opened.status().toString()));
        return 1;
    }
    jet::Database &db = *opened.value();
    CatalogueSearch run = searchCatalogue(db, args);
    if (!run.result)
        return run.exitCode;
    // Many rows are encoded in two halves at once, the second into memory, and written in
    // order: the same bytes as one pass, unless the first half ends inside a character, when the
    // second is encoded again after it.
    const bool all = run.result->allRowsVisible();
    const QList<int> rows = all ? QList<int>() : run.result->visibleRows();
    const jet::RowStore &store = run.result->rows();
    const qsizetype count = all ? store.rows() : rows.size();
    auto write = [&](RowWriter &w, qsizetype from, qsizetype to) {
        for (qsizetype r = from; r < to; ++r)
            w.row(store, all ? int(r) : rows.at(r));
    };
    RowWriter out(stdout);
    constexpr qsizetype kRowsForTwoThreads = 4096;
    if (count < kRowsForTwoThreads || !jet::BesideThread::worthwhile()) {
        write(out, 0, count);
        return 0;
    }
    const qsizetype half = count / 2;
    RowWriter second(nullptr);
    jet::BesideThread other;
    if (!other.start([&] { write(second, half, count); })) { // no thread to be had: one pass
        write(out, 0, count);
        return 0;
    }
    write(out, 0, half);
    other.join();
    if (out.pendingSurrogate())
        write(out, half, count);
    else
        out.append(second);
    return 0;
}

} // namespace tolvane::cli

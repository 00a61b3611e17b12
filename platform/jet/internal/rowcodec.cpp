#include "platform/jet/internal/rowcodec.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include <QDateTime>
#include <QUuid>
#include <QVarLengthArray>

#include "platform/jet/internal/bytes.h"
#include "platform/jet/internal/datapage.h"

namespace tolvane::jet::internal {

namespace {

// Compressed text: at least this many characters (shorter gains nothing), at most this many.
constexpr qsizetype kMinCompressed = 3;
constexpr qsizetype kMaxCompressed = 1024;

Status badRow(const QString &what)
{
    return Status::corruption(QStringLiteral("malformed row: %1").arg(what));
}

// A long value (memo/OLE): a 12-byte header with the length and flags, then the data inline,
// or a pointer to one row on a long-value page, or a chain of such rows.
Result<QByteArray> readLongValue(const uchar *p, int n, const PageStore &store)
{
    if (n < 12)
        return badRow(QStringLiteral("long value header too short"));
    const quint32 head = u32(p);
    const qint64 total = head & 0x3FFFFFFF;
    if (head & 0x80000000u)
        return QByteArray(reinterpret_cast<const char *>(p + 12), std::min<qint64>(total, n - 12));
    quint32 ptr = u32(p + 4);
    QByteArray out;
    const bool single = head & 0x40000000u;
    for (int hops = 0; ptr != 0 && out.size() < total; ++hops) {
        const quint32 pg = ptr >> 8;
        const int row = int(ptr & 0xFF);
        if (pg >= store.pageCount() || hops > 100000)
            return badRow(QStringLiteral("long value pointer out of range"));
        const uchar *page = store.page(pg);
        const std::optional<RowExtent> e = page[0] == kPageData ? rowExtent(page, row) : std::nullopt;
        if (!e)
            return badRow(QStringLiteral("long value row missing"));
        if (single) {
            out.append(reinterpret_cast<const char *>(page + e->start), std::min<qint64>(total, e->length()));
            break;
        }
        if (e->length() < 4)
            return badRow(QStringLiteral("long value chain row too short"));
        ptr = u32(page + e->start);
        out.append(reinterpret_cast<const char *>(page + e->start + 4), e->length() - 4);
    }
    if (out.size() > total)
        out.truncate(qsizetype(total));
    return out;
}

// Values that hold no pointers: any bytes decode to something (null when too short).
QVariant decodeScalar(ColumnType type, const uchar *p, int n)
{
    switch (type) {
    case ColumnType::Byte:
        return n >= 1 ? QVariant(int(p[0])) : QVariant();
    case ColumnType::Integer:
        return n >= 2 ? QVariant(int(i16(p))) : QVariant();
    case ColumnType::Long:
        return n >= 4 ? QVariant(int(i32(p))) : QVariant();
    case ColumnType::Money:
        return n >= 8 ? QVariant(double(qint64(u64(p))) / 10000.0) : QVariant();
    case ColumnType::Float:
        return n >= 4 ? QVariant(double(f32(p))) : QVariant();
    case ColumnType::Double:
        return n >= 8 ? QVariant(f64(p)) : QVariant();
    case ColumnType::Text:
        return decodeText(p, n);
    case ColumnType::Guid:
        if (n < 16)
            return {};
        return QUuid::fromRfc4122(QByteArray(reinterpret_cast<const char *>(p), 16)).toString();
    case ColumnType::Numeric: {
        // Scale/precision live in the column definition; without it the raw magnitude is given.
        if (n < 17)
            return {};
        double v = 0;
        for (int i = 0; i < 4; ++i)
            v = v * 4294967296.0 + double(u32(p + 1 + 4 * i));
        return (p[0] & 0x80) ? -v : v;
    }
    default:
        return QByteArray(reinterpret_cast<const char *>(p), n);
    }
}

Result<QVariant> decodeValue(quint8 type, const uchar *p, int n, const PageStore &store)
{
    switch (ColumnType(type)) {
    case ColumnType::DateTime: {
        if (n < 8)
            return QVariant();
        const double d = f64(p);
        if (!std::isfinite(d))
            return badRow(QStringLiteral("date is not a number"));
        return QVariant(fromOleDate(d));
    }
    case ColumnType::Memo:
    case ColumnType::Ole: {
        Result<QByteArray> b = readLongValue(p, n, store);
        if (!b)
            return b.status();
        if (ColumnType(type) == ColumnType::Ole)
            return QVariant(b.take());
        return QVariant(decodeText(bytesAt(*b, 0), int(b->size())));
    }
    default:
        return decodeScalar(ColumnType(type), p, n);
    }
}

// Date text as the catalogue's screens write it ("2024/04/01 09:30:00", "2024/04/01") or in
// ISO form.
QDateTime parseDateText(const QString &text)
{
    for (const QString &format : { QStringLiteral("yyyy/MM/dd HH:mm:ss"), QStringLiteral("yyyy/MM/dd H:mm:ss"),
             QStringLiteral("yyyy/MM/dd HH:mm"), QStringLiteral("yyyy/M/d H:mm:ss") }) {
        const QDateTime dt = QDateTime::fromString(text, format);
        if (dt.isValid())
            return dt;
    }
    for (const QString &format : { QStringLiteral("yyyy/MM/dd"), QStringLiteral("yyyy/M/d") }) {
        const QDate d = QDate::fromString(text, format);
        if (d.isValid())
            return QDateTime(d, QTime(0, 0));
    }
    return QDateTime::fromString(text, Qt::ISODate);
}

} // namespace

int decodeTextInto(const uchar *p, int n, char16_t *out)
{
    if (n >= 2 && p[0] == 0xFF && p[1] == 0xFE) {
        // Compressed: 00 bytes switch between runs of one byte and of two bytes a character.
        int len = 0;
        bool compressed = true;
        int i = 2;
        while (i < n) {
            const uchar *zero = static_cast<const uchar *>(std::memchr(p + i, 0, size_t(n - i)));
            const int end = zero ? int(zero - p) : n;
            if (compressed) {
                for (int k = i; k < end; ++k)
                    out[len++] = char16_t(p[k]);
            } else {
                for (int k = i; k + 1 < end; k += 2)
                    out[len++] = char16_t(p[k] | (p[k + 1] << 8));
            }
            compressed = !compressed;
            i = end + 1;
        }
        return len;
    }
    const int len = n / 2;
    std::memcpy(out, p, size_t(len) * 2);
    return len;
}

QString decodeText(const uchar *p, int n)
{
    if (n >= 2 && p[0] == 0xFF && p[1] == 0xFE) {
        // One compressed run (no switch) is Latin-1 text; otherwise the runs are unpacked into
        // one buffer of the largest possible length.
        if (!std::memchr(p + 2, 0, size_t(n - 2)))
            return QString::fromLatin1(reinterpret_cast<const char *>(p + 2), n - 2);
        QString out(n, Qt::Uninitialized);
        out.resize(decodeTextInto(p, n, reinterpret_cast<char16_t *>(out.data())));
        return out;
    }
    return QString::fromUtf16(reinterpret_cast<const char16_t *>(p), n / 2);
}

QByteArray utf16le(const QString &s)
{
    QByteArray out(2 * s.size(), Qt::Uninitialized);
    for (qsizetype i = 0; i < s.size(); ++i)
        put16(bytesAt(out, 2 * i), s.at(i).unicode());
    return out;
}

QByteArray encodeText(const QString &s, bool compressible)
{
    const qsizetype n = s.size();
    const bool compress = compressible && n >= kMinCompressed && n <= kMaxCompressed
        && std::all_of(s.cbegin(), s.cend(), [](QChar c) { return c.unicode() >= 0x01 && c.unicode() <= 0xFF; });
    if (!compress)
        return utf16le(s);
    QByteArray out;
    out.reserve(n + 2);
    out.append(char(0xFF));
    out.append(char(0xFE));
    for (QChar c : s)
        out.append(char(c.unicode()));
    return out;
}

Status RowLayout::parse(const TableDef &t, const uchar *row, int length)
{
    if (length < 3)
        return badRow(QStringLiteral("row of %1 bytes").arg(length));
    m_row = row;
    m_ncols = u16(row);
    const int maskLen = (m_ncols + 7) / 8;
    if (maskLen + 2 > length)
        return badRow(QStringLiteral("null mask does not fit"));
    m_mask = row + length - maskLen;
    m_dataEnd = length - maskLen;
    m_nvar = 0;
    m_offsets = nullptr;
    m_eod = 0;
    if (t.varSlots > 0 || t.numVarCols > 0) {
        const int pos = length - maskLen - 2;
        if (pos < 2)
            return badRow(QStringLiteral("variable-column count does not fit"));
        m_nvar = u16(row + pos);
        const int eodPos = pos - 2 * (m_nvar + 1);
        if (eodPos < 2)
            return badRow(QStringLiteral("variable-offset table does not fit"));
        m_offsets = row + pos - 2;
        m_eod = u16(row + eodPos);
        m_dataEnd = eodPos;
        if (m_eod > m_dataEnd)
            return badRow(QStringLiteral("variable data end %1 beyond %2").arg(m_eod).arg(m_dataEnd));
    }
    return Status::ok();
}

Status RowLayout::column(const ColumnDef &c, ColumnBytes &out) const
{
    out = ColumnBytes {};
    out.present = c.number < m_ncols && (m_mask[c.number / 8] >> (c.number % 8)) & 1;
    if (c.type == quint8(ColumnType::Boolean) || !out.present)
        return Status::ok();
    if (c.isFixed()) {
        int size = fixedSizeOf(c.type);
        if (size < 0)
            size = c.length;
        const int pos = 2 + c.fixedOffset;
        if (pos + size > m_dataEnd)
            return badRow(QStringLiteral("fixed column %1 outside the row").arg(c.name));
        out.data = m_row + pos;
        out.size = size;
        return Status::ok();
    }
    if (c.varIndex >= m_nvar) {
        out.present = false; // a row written before the column existed
        return Status::ok();
    }
    const int start = u16(m_offsets - 2 * c.varIndex);
    const int end = c.varIndex + 1 < m_nvar ? u16(m_offsets - 2 * (c.varIndex + 1)) : m_eod;
    if (start < 2 || start > end || end > m_dataEnd)
        return badRow(QStringLiteral("variable column %1 outside the row").arg(c.name));
    out.data = m_row + start;
    out.size = end - start;
    return Status::ok();
}

Status splitRow(const TableDef &t, const uchar *row, int length, ColumnBytes *cols)
{
    RowLayout layout;
    if (Status s = layout.parse(t, row, length); !s)
        return s;
    for (qsizetype i = 0; i < t.columns.size(); ++i)
        if (Status s = layout.column(t.columns.at(i), cols[i]); !s)
            return s;
    return Status::ok();
}

Result<QVariant> decodeColumn(const ColumnDef &c, const ColumnBytes &b, const PageStore &store)
{
    if (c.type == quint8(ColumnType::Boolean))
        return QVariant(b.present);
    if (!b.present)
        return QVariant();
    return decodeValue(c.type, b.data, b.size, store);
}

Result<Row> decodeRow(const TableDef &t, const uchar *row, int length, const PageStore &store)
{
    QVarLengthArray<ColumnBytes, 32> cols(t.columns.size());
    if (Status s = splitRow(t, row, length, cols.data()); !s)
        return s;
    Row values;
    values.reserve(t.columns.size());
    for (qsizetype i = 0; i < t.columns.size(); ++i) {
        Result<QVariant> v = decodeColumn(t.columns.at(i), cols[i], store);
        if (!v)
            return v.status();
        values.append(v.take());
    }
    return values;
}

Result<Row> normalizeRow(const TableDef &t, const QList<ColumnInfo> &columns, const Row &values)
{
    if (values.size() != t.columns.size())
        return Status::invalidArgument(
            QStringLiteral("%1 values given for %2 columns").arg(values.size()).arg(t.columns.size()));
    Row out;
    out.reserve(values.size());
    for (int i = 0; i < values.size(); ++i) {
        const ColumnDef &c = t.columns.at(i);
        const QVariant &v = values.at(i);
        auto wrong = [&](const QString &why) {
            return Status::invalidArgument(QStringLiteral("column %1: %2").arg(c.name, why));
        };
        if (c.type == quint8(ColumnType::Boolean)) {
            out.append(v.isValid() && !v.isNull() && v.toBool());
            continue;
        }
        if (!v.isValid() || v.isNull()) {
            out.append(QVariant());
            continue;
        }
        switch (ColumnType(c.type)) {
        case ColumnType::Byte:
        case ColumnType::Integer:
        case ColumnType::Long: {
            bool ok = false;
            qlonglong n = 0;
            if (v.typeId() == QMetaType::Double || v.typeId() == QMetaType::Float) {
                const double d = v.toDouble();
                ok = std::isfinite(d) && d == std::floor(d) && std::abs(d) < 1e18;
                n = qlonglong(d);
            } else if (v.typeId() == QMetaType::QString) {
                n = v.toString().trimmed().toLongLong(&ok);
            } else if (v.canConvert<qlonglong>() && v.typeId() != QMetaType::QDateTime && v.typeId() != QMetaType::QDate
                && v.typeId() != QMetaType::QByteArray) {
                n = v.toLongLong(&ok);
            }
            if (!ok)
                return wrong(QStringLiteral("not a whole number"));
            const qlonglong lo = c.type == quint8(ColumnType::Byte) ? 0
                : c.type == quint8(ColumnType::Integer)             ? -32768
                                                                    : std::numeric_limits<qint32>::min();
            const qlonglong hi = c.type == quint8(ColumnType::Byte) ? 255
                : c.type == quint8(ColumnType::Integer)             ? 32767
                                                                    : std::numeric_limits<qint32>::max();
            if (n < lo || n > hi)
                return wrong(QStringLiteral("%1 is out of range").arg(n));
            out.append(int(n));
            break;
        }
        case ColumnType::DateTime: {
            if (v.typeId() == QMetaType::QDate) {
                // A day is its midnight on the wall clock, kept as a date: no local time needed.
                const QDate d = v.toDate();
                if (!d.isValid() || d.year() < 100 || d.year() > 9999)
                    return wrong(
                        d.isValid() ? QStringLiteral("date outside years 100 to 9999") : QStringLiteral("not a date"));
                out.append(d);
                break;
            }
            QDateTime dt;
            if (v.typeId() == QMetaType::QDateTime)
                dt = v.toDateTime();
            else if (v.typeId() == QMetaType::QString)
                dt = parseDateText(v.toString().trimmed());
            if (!dt.isValid())
                return wrong(QStringLiteral("not a date"));
            if (dt.timeSpec() != Qt::LocalTime)
                dt = dt.toLocalTime();
            if (dt.date().year() < 100 || dt.date().year() > 9999)
                return wrong(QStringLiteral("date outside years 100 to 9999"));
            out.append(dt);
            break;
        }
        case ColumnType::Text: {
            if (v.typeId() == QMetaType::QByteArray || !v.canConvert<QString>())
                return wrong(QStringLiteral("not text"));
            QString s = v.toString();
            // Stored UTF-16 starting with U+FEFF would read back as the compressed form.
            while (s.startsWith(QChar(0xFEFF)))
                s.remove(0, 1);
            const int max = columns.at(i).maxLength;
            if (s.size() > max)
                return wrong(QStringLiteral("%1 characters do not fit Text(%2)").arg(s.size()).arg(max));
            out.append(s);
            break;
        }
        case ColumnType::Float:
        case ColumnType::Double: {
            bool ok = false;
            const double d = v.toDouble(&ok);
            if (!ok || v.typeId() == QMetaType::QDateTime)
                return wrong(QStringLiteral("not a number"));
            out.append(d);
            break;
        }
        case ColumnType::Binary: {
            if (v.typeId() != QMetaType::QByteArray)
                return wrong(QStringLiteral("not binary data"));
            if (v.toByteArray().size() > c.length)
                return wrong(QStringLiteral("binary value too long"));
            out.append(v);
            break;
        }
        default:
            return Status::notSupported(
                QStringLiteral("column %1: writing this column type is not supported").arg(c.name));
        }
    }
    return out;
}

QByteArray encodeRow(const TableDef &t, const Row &values, int minLength)
{
    int ncols = t.maxCols;
    for (const ColumnDef &c : t.columns)
        ncols = std::max(ncols, c.number + 1);
    const int maskLen = (ncols + 7) / 8;
    QByteArray fixed(t.fixedAreaSize, '\0');
    QList<QByteArray> var(t.varSlots);
    QByteArray mask(maskLen, '\0');
    for (int i = 0; i < t.columns.size(); ++i) {
        const ColumnDef &c = t.columns.at(i);
        const QVariant &v = values.at(i);
        if (c.type == quint8(ColumnType::Boolean)) {
            if (v.toBool())
                mask[c.number / 8] = char(mask[c.number / 8] | (1 << (c.number % 8)));
            continue;
        }
        if (!v.isValid())
            continue;
        mask[c.number / 8] = char(mask[c.number / 8] | (1 << (c.number % 8)));
        QByteArray bytes;
        uchar buf[8] = {};
        switch (ColumnType(c.type)) {
        case ColumnType::Byte:
            bytes = QByteArray(1, char(v.toInt()));
            break;
        case ColumnType::Integer:
            put16(buf, quint16(v.toInt()));
            bytes = QByteArray(reinterpret_cast<const char *>(buf), 2);
            break;
        case ColumnType::Long:
            put32(buf, quint32(v.toInt()));
            bytes = QByteArray(reinterpret_cast<const char *>(buf), 4);
            break;
        case ColumnType::Float:
            putF32(buf, float(v.toDouble()));
            bytes = QByteArray(reinterpret_cast<const char *>(buf), 4);
            break;
        case ColumnType::Double:
            putF64(buf, v.toDouble());
            bytes = QByteArray(reinterpret_cast<const char *>(buf), 8);
            break;
        case ColumnType::DateTime:
            putF64(buf, v.typeId() == QMetaType::QDate ? oleDay(v.toDate()) : toOleDate(v.toDateTime()));
            bytes = QByteArray(reinterpret_cast<const char *>(buf), 8);
            break;
        case ColumnType::Text:
            bytes = encodeText(v.toString(), c.compressible());
            break;
        default:
            bytes = v.toByteArray();
            break;
        }
        if (c.isFixed()) {
            const int n = std::min<int>(int(bytes.size()), int(fixed.size()) - c.fixedOffset);
            if (n > 0)
                std::memcpy(fixed.data() + c.fixedOffset, bytes.constData(), size_t(n));
        } else if (c.varIndex < var.size()) {
            var[c.varIndex] = bytes;
        }
    }

    // Column count, fixed area, variable data, padding, then the trailer: end of the variable
    // data, their offsets last to first, their count, and the null mask.
    ByteWriter row;
    row.data().reserve(std::max(minLength, 64));
    row.u16(quint32(ncols));
    row.bytes(fixed);
    QList<int> offsets;
    for (const QByteArray &v : var) {
        offsets.append(row.size());
        row.bytes(v);
    }
    const int eod = row.size();
    const int trailer = t.varSlots > 0 ? 2 * (t.varSlots + 2) : 0;
    const int pad = minLength - (eod + trailer + maskLen);
    if (pad > 0)
        row.zeros(pad);
    if (t.varSlots > 0) {
        row.u16(quint32(eod));
        for (qsizetype i = offsets.size() - 1; i >= 0; --i)
            row.u16(quint32(offsets.at(i)));
        row.u16(quint32(offsets.size()));
    }
    row.bytes(mask);
    return row.data();
}

} // namespace tolvane::jet::internal

#include "platform/jet/internal/rowquery.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include <QDateTime>
#include <QVarLengthArray>

#include "platform/jet/besidethread.h"
#include "platform/jet/internal/bytes.h"
#include "platform/jet/internal/rowcodec.h"

namespace tolvane::jet::internal {

namespace {

bool isWholeNumberColumn(ColumnType type)
{
    return type == ColumnType::Long || type == ColumnType::Integer || type == ColumnType::Byte;
}

// A date bound as compareValues reads it: its own date and time of day, UTC or local alike.
bool boundKey(const QVariant &v, qint64 &key)
{
    QDate date;
    int msec = 0;
    if (v.typeId() == QMetaType::QDateTime) {
        const QDateTime dt = v.toDateTime();
        if (!dt.isValid())
            return false;
        date = dt.date();
        msec = dt.time().msecsSinceStartOfDay();
    } else if (v.typeId() == QMetaType::QDate) {
        date = v.toDate();
        if (!date.isValid())
            return false;
    } else {
        return false;
    }
    key = qint64(oleDay(date)) * 86400000 + msec;
    return true;
}

// A stored whole number (Byte, Integer, Long); false when the bytes are too few (a null).
bool storedNumber(ColumnType type, const ColumnBytes &b, double &out)
{
    switch (type) {
    case ColumnType::Byte:
        if (b.size < 1)
            return false;
        out = b.data[0];
        return true;
    case ColumnType::Integer:
        if (b.size < 2)
            return false;
        out = i16(b.data);
        return true;
    default:
        if (b.size < 4)
            return false;
        out = i32(b.data);
        return true;
    }
}

// One condition, prepared for the column's type and the condition's values. Anything without a
// prepared form decodes the column and asks Condition::matches.
struct Test {
    enum class Kind { Never, TextEqual, TextLike, Number, Date, Generic };
    Kind kind = Kind::Generic;
    int column = 0;
    const Condition *condition = nullptr;
    QString text;
    QByteArray stored; // TextEqual: the text as this engine stores it, equal bytes being equal text
    double lo = 0, hi = 0;
    qint64 klo = 0, khi = 0;
};

Test prepare(const Condition &c, const ColumnDef &def, int column)
{
    Test t;
    t.column = column;
    t.condition = &c;
    const ColumnType type = def.columnType();
    const bool nullValue = !c.value.isValid() || c.value.isNull();
    switch (c.op) {
    case Condition::Op::Equal:
        if (nullValue) {
            t.kind = Test::Kind::Never; // nothing equals a null
        } else if (type == ColumnType::Text && c.value.typeId() == QMetaType::QString) {
            t.kind = Test::Kind::TextEqual;
            t.text = c.value.toString();
            t.stored = encodeText(t.text, def.compressible());
        } else if (isWholeNumberColumn(type) && isNumericValue(c.value) && !std::isnan(c.value.toDouble())) {
            t.kind = Test::Kind::Number;
            t.lo = t.hi = c.value.toDouble();
        } else if (type == ColumnType::DateTime && boundKey(c.value, t.klo)) {
            t.kind = Test::Kind::Date;
            t.khi = t.klo;
        }
        break;
    case Condition::Op::Like:
        if (type == ColumnType::Text) {
            t.kind = Test::Kind::TextLike;
            t.text = c.value.toString();
        }
        break;
    case Condition::Op::Between:
        if (isWholeNumberColumn(type) && isNumericValue(c.value) && isNumericValue(c.value2)
            && !std::isnan(c.value.toDouble()) && !std::isnan(c.value2.toDouble())) {
            t.kind = Test::Kind::Number;
            t.lo = c.value.toDouble();
            t.hi = c.value2.toDouble();
        } else if (type == ColumnType::DateTime && boundKey(c.value, t.klo) && boundKey(c.value2, t.khi)) {
            t.kind = Test::Kind::Date;
        }
        break;
    }
    return t;
}

// Tests conditions on one row's column bytes, decoding text into a buffer kept between rows.
class Matcher {
public:
    Matcher(const TableDef &def, const PageStore &store)
        : m_def(def)
        , m_store(store)
    {
    }

    Result<bool> matches(const QList<Test> &tests, const RowLayout &row)
    {
        for (const Test &t : tests) {
            ColumnBytes b;
            if (Status s = row.column(m_def.columns.at(t.column), b); !s)
                return s;
            Result<bool> ok = matches(t, b);
            if (!ok || !*ok)
                return ok;
        }
        return true;
    }

private:
    QStringView text(const ColumnBytes &b)
    {
        if (m_buffer.size() < b.size)
            m_buffer.resize(b.size);
        return QStringView(m_buffer.data(), decodeTextInto(b.data, b.size, m_buffer.data()));
    }

    // False when the stored text cannot have that many UTF-16 units. Case-insensitive equality
    // keeps the length: case folding maps each character into its own plane.
    static bool sameLength(const ColumnBytes &b, qsizetype length)
    {
        if (b.size >= 2 && b.data[0] == 0xFF && b.data[1] == 0xFE) {
            if (std::memchr(b.data + 2, 0, size_t(b.size - 2)))
                return true; // several runs: the length needs decoding
            return b.size - 2 == length;
        }
        return b.size / 2 == length;
    }

    Result<bool> generic(const Test &t, const ColumnBytes &b)
    {
        Result<QVariant> v = decodeColumn(m_def.columns.at(t.column), b, m_store);
        if (!v)
            return v.status();
        return t.condition->matches(*v);
    }

    Result<bool> matches(const Test &t, const ColumnBytes &b)
    {
        switch (t.kind) {
        case Test::Kind::Never:
            return false;
        case Test::Kind::TextEqual:
            if (b.present && b.size == t.stored.size()
                && std::memcmp(b.data, t.stored.constData(), size_t(b.size)) == 0)
                return true;
            return b.present && sameLength(b, t.text.size()) && text(b).compare(t.text, Qt::CaseInsensitive) == 0;
        case Test::Kind::TextLike:
            return b.present && likeMatch(text(b), t.text);
        case Test::Kind::Number: {
            double x = 0;
            if (!b.present || !storedNumber(m_def.columns.at(t.column).columnType(), b, x))
                return false;
            return x >= t.lo && x <= t.hi;
        }
        case Test::Kind::Date: {
            if (!b.present || b.size < 8)
                return false;
            OleDateParts parts;
            if (!oleDateParts(f64(b.data), parts))
                return generic(t, b); // not a date we can place: the decoded value decides
            const qint64 k = parts.key();
            return k >= t.klo && k <= t.khi;
        }
        case Test::Kind::Generic:
            return generic(t, b);
        }
        return false;
    }

    const TableDef &m_def;
    const PageStore &m_store;
    QVarLengthArray<char16_t, 512> m_buffer;
};

// A selected value into its cell: text decoded straight into the store's buffer, dates kept as
// their stored number.
Status storeValue(const ColumnDef &def, const ColumnBytes &b, const PageStore &store, RowStore &out, int row, int field)
{
    if (b.present && b.data) {
        if (def.columnType() == ColumnType::Text) {
            out.setText(row, field, decodeTextInto(b.data, b.size, out.reserveText(b.size)));
            return Status::ok();
        }
        if (def.columnType() == ColumnType::DateTime && b.size >= 8 && std::isfinite(f64(b.data))) {
            out.setDate(row, field, f64(b.data));
            return Status::ok();
        }
        double number = 0;
        if (isWholeNumberColumn(def.columnType()) && storedNumber(def.columnType(), b, number)) {
            out.setInt(row, field, qint64(number));
            return Status::ok();
        }
    }
    Result<QVariant> v = decodeColumn(def, b, store);
    if (!v)
        return v.status();
    out.setValue(row, field, *v);
    return Status::ok();
}

// How the order column is compared: plain numbers, date keys and text where the column's type
// allows, the decoded values through compareValues otherwise.
enum class SortKind { Number, Date, Text, Generic };

// A row's key: plain numbers inline; texts and decoded values in lists beside the keys, at the
// row's index, only for the kinds that need them.
struct SortKey {
    bool null = true;
    double number = 0; // Number; Date: the stored OLE number
    qint64 key = 0; // Date
};

struct SortKeys {
    QList<SortKey> plain;
    QList<QString> texts; // Text
    QList<QVariant> values; // Generic
};

SortKind sortKindOf(ColumnType type)
{
    if (isWholeNumberColumn(type))
        return SortKind::Number;
    if (type == ColumnType::DateTime)
        return SortKind::Date;
    if (type == ColumnType::Text)
        return SortKind::Text;
    return SortKind::Generic;
}

// Row x of keys against row y of keysY.
int compareKeys(SortKind kind, const SortKeys &keys, int x, const SortKeys &keysY, int y)
{
    if (kind == SortKind::Generic)
        return compareValues(keys.values.at(x), keysY.values.at(y));
    const SortKey &a = keys.plain.at(x), &b = keysY.plain.at(y);
    if (a.null || b.null)
        return a.null == b.null ? 0 : (a.null ? -1 : 1);
    switch (kind) {
    case SortKind::Number:
        return a.number < b.number ? -1 : (a.number > b.number ? 1 : 0);
    case SortKind::Date:
        return a.key < b.key ? -1 : (a.key > b.key ? 1 : 0);
    case SortKind::Text: {
        const int c = keys.texts.at(x).compare(keysY.texts.at(y), Qt::CaseInsensitive);
        return c < 0 ? -1 : (c > 0 ? 1 : 0);
    }
    case SortKind::Generic:
        break;
    }
    return 0;
}

} // namespace

Result<SelectedRows> selectRows(
    const TableRows &rows, const PageStore &store, const Catalogue::Table &table, const Query &query)
{
    const TableDef &def = table.def;
    auto columnIndex = [&](const QString &name) {
        for (int i = 0; i < table.columns.size(); ++i)
            if (table.columns.at(i).name.compare(name, Qt::CaseInsensitive) == 0)
                return i;
        return -1;
    };
    auto noColumn = [&](const QString &name) {
        return Status::invalidArgument(QStringLiteral("no column %1 in %2").arg(name, table.name));
    };

    SelectedRows out;
    if (query.columns.isEmpty()) {
        for (int i = 0; i < table.columns.size(); ++i)
            out.columns.append(i);
    } else {
        for (const QString &c : query.columns) {
            const int i = columnIndex(c);
            if (i < 0)
                return noColumn(c);
            out.columns.append(i);
        }
    }
    for (int i : out.columns)
        out.names.append(table.columns.at(i).name);
    out.rows = RowStore(int(out.columns.size()));
    QList<Test> tests;
    for (const Condition &c : query.conditions) {
        const int i = columnIndex(c.column);
        if (i < 0)
            return noColumn(c.column);
        tests.append(prepare(c, def.columns.at(i), i));
    }
    int orderCol = -1;
    if (!query.orderBy.isEmpty()) {
        orderCol = columnIndex(query.orderBy);
        if (orderCol < 0)
            return noColumn(query.orderBy);
    }
    SortKind sortKind = orderCol >= 0 ? sortKindOf(table.columns.at(orderCol).type) : SortKind::Generic;

    // A part of the table's pages, scanned into its own rows and keys.
    struct Part {
        RowStore rows;
        QList<RowId> ids;
        SortKeys keys;
        bool unplacedDate = false; // a stored date too far out for a plain key
        Status status = Status::ok();
        QList<int> order; // sorted by sortPart: the part's rows in their order
        bool sorted = false;
    };
    Result<QList<quint32>> pages = rows.ownedPages(def);
    if (!pages)
        return pages.status();
    const quint32 *first = pages->constData(), *last = first + pages->size();
    auto scanPart = [&](Part &part, const quint32 *from, const quint32 *to) {
        part.rows = RowStore(int(out.columns.size()));
        if (from != first || to != last) {
            // A part's store starts on its own mapping: growing it then copies nothing, and its
            // memory comes in large pages (the part of it never used costs nothing).
            const int fields = std::max(1, int(out.columns.size()));
            part.rows.reserve((2 << 20) / (fields * 16), 1 << 20);
        }
        Matcher matcher(def, store);
        QVarLengthArray<ColumnBytes, 32> cols(def.columns.size());
        // Per selected column, the stored bytes of the last text kept and its row: a text
        // stored alike (a class, a colour) is kept once and shared by the rows that repeat it.
        struct LastText {
            const uchar *data = nullptr;
            int size = -1;
            int row = -1;
        };
        QVarLengthArray<LastText, 16> lastTexts(out.columns.size());
        part.status = rows.scanStored(def, from, to, [&](RowId id, const uchar *bytes, int length) -> Result<bool> {
            RowLayout layout;
            if (Status s = layout.parse(def, bytes, length); !s)
                return s;
            // The conditions' own columns first; the whole row only for a hit.
            Result<bool> hit = matcher.matches(tests, layout);
            if (!hit || !*hit)
                return hit ? Result<bool>(true) : hit;
            if (Status s = splitRow(def, bytes, length, cols.data()); !s)
                return s;
            const int row = part.rows.appendRow();
            for (int f = 0; f < out.columns.size(); ++f) {
                const int i = out.columns.at(f);
                const ColumnBytes &b = cols[i];
                const bool text = b.present && b.data && def.columns.at(i).columnType() == ColumnType::Text;
                LastText &last = lastTexts[f];
                if (text && b.size == last.size && std::memcmp(b.data, last.data, size_t(b.size)) == 0) {
                    part.rows.repeat(row, f, last.row);
                    continue;
                }
                if (Status st = storeValue(def.columns.at(i), b, store, part.rows, row, f); !st)
                    return st;
                if (text)
                    last = { b.data, b.size, row };
            }
            if (orderCol >= 0) {
                const ColumnBytes &b = cols[orderCol];
                SortKey k;
                if (sortKind == SortKind::Generic) {
                    Result<QVariant> v = decodeColumn(def.columns.at(orderCol), b, store);
                    if (!v)
                        return v.status();
                    part.keys.values.append(v.take());
                } else if (sortKind == SortKind::Number) {
                    k.null = !b.present || !storedNumber(table.columns.at(orderCol).type, b, k.number);
                } else if (sortKind == SortKind::Date) {
                    k.null = !b.present || b.size < 8;
                    if (!k.null) {
                        OleDateParts parts;
                        k.number = f64(b.data);
                        if (!std::isfinite(k.number))
                            return decodeColumn(def.columns.at(orderCol), b, store).status();
                        if (oleDateParts(k.number, parts))
                            k.key = parts.key();
                        else
                            part.unplacedDate = true;
                    }
                } else {
                    k.null = !b.present;
                    part.keys.texts.append(b.present ? decodeText(b.data, b.size) : QString());
                }
                part.keys.plain.append(k);
            }
            part.ids.append(id);
            return true;
        });
    };

    const bool desc = query.descending;
    // A part's rows in order, when its keys are plain or its values decoded (a part with a date
    // too far out for a plain key is left for the whole to be sorted at once).
    auto sortPart = [&](Part &part) {
        if (orderCol < 0 || part.unplacedDate || !part.status)
            return;
        part.order.resize(part.ids.size());
        for (int i = 0; i < part.order.size(); ++i)
            part.order[i] = i;
        std::stable_sort(part.order.begin(), part.order.end(), [&](int a, int b) {
            const int c = compareKeys(sortKind, part.keys, a, part.keys, b);
            return desc ? c > 0 : c < 0;
        });
        part.sorted = true;
    };

    // A large table is scanned in two halves at once (its pages in two runs), the second
    // half's rows then appended to the first's: the same rows in the same order as one pass,
    // and the same failure, as a failure in the first half is the one a single pass meets.
    Part whole;
    constexpr qsizetype kPagesForTwoThreads = 64;
    bool scanned = false;
    if (pages->size() >= kPagesForTwoThreads && BesideThread::worthwhile()) {
        const quint32 *middle = first + pages->size() / 2;
        Part second;
        BesideThread other;
        if (other.start([&] {
                scanPart(second, middle, last);
                sortPart(second);
            })) { // else no thread to be had: one pass
            scanPart(whole, first, middle);
            sortPart(whole);
            other.join();
            if (whole.status && !second.status)
                whole.status = second.status;
            if (whole.status && whole.sorted && second.sorted) {
                // Two sorted halves merged, the first half's rows first among equals: the order a
                // stable sort of the whole gives.
                const int firstRows = int(whole.ids.size());
                for (int &i : second.order)
                    i += firstRows;
                QList<int> order(whole.order.size() + second.order.size());
                std::merge(whole.order.cbegin(), whole.order.cend(), second.order.cbegin(), second.order.cend(),
                    order.begin(), [&](int a, int b) {
                        const SortKeys &ka = a < firstRows ? whole.keys : second.keys;
                        const SortKeys &kb = b < firstRows ? whole.keys : second.keys;
                        const int c = compareKeys(
                            sortKind, ka, a < firstRows ? a : a - firstRows, kb, b < firstRows ? b : b - firstRows);
                        return desc ? c > 0 : c < 0;
                    });
                out.ids.reserve(order.size());
                for (int i : order)
                    out.ids.append(i < firstRows ? whole.ids.at(i) : second.ids.at(i - firstRows));
                out.rows = RowStore::joined(std::move(whole.rows), std::move(second.rows), std::move(order));
                return out;
            }
            if (whole.status) {
                whole.rows = RowStore::joined(std::move(whole.rows), std::move(second.rows));
                whole.ids.append(second.ids);
                whole.keys.plain.append(second.keys.plain);
                whole.keys.texts.append(second.keys.texts);
                whole.keys.values.append(second.keys.values);
                whole.unplacedDate = whole.unplacedDate || second.unplacedDate;
            }
            scanned = true;
        }
    }
    if (!scanned)
        scanPart(whole, first, last);
    if (!whole.status)
        return whole.status;
    out.rows = std::move(whole.rows);
    out.ids = std::move(whole.ids);
    SortKeys &keys = whole.keys;
    const bool unplacedDate = whole.unplacedDate;

    if (orderCol >= 0) {
        if (unplacedDate) {
            // Compared as the decoded dates are, invalid ones included.
            for (const SortKey &k : keys.plain)
                keys.values.append(k.null ? QVariant() : QVariant(fromOleDate(k.number)));
            sortKind = SortKind::Generic;
        }
        QList<int> order(out.ids.size());
        for (int i = 0; i < order.size(); ++i)
            order[i] = i;
        std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
            const int c = compareKeys(sortKind, keys, a, keys, b);
            return desc ? c > 0 : c < 0;
        });
        QList<RowId> ids;
        ids.reserve(order.size());
        for (int i : order)
            ids.append(out.ids.at(i));
        out.ids = std::move(ids);
        out.rows.setOrder(std::move(order));
    }
    return out;
}

} // namespace tolvane::jet::internal

#include "platform/jet/rowstore.h"

#include <cstring>
#include <utility>

#include "platform/jet/types.h"

namespace tolvane::jet {

void RowStore::reserve(int rows, qsizetype textChars)
{
    m_segments[0].cells.reserve(qsizetype(rows) * m_fields);
    m_segments[0].text.reserve(textChars);
}

int RowStore::appendRow()
{
    const int row = rows();
    // Rows go to the end of the last segment holding any, so that no row changes its place.
    Segment &s = segmentRows(m_segments[1]) > 0 ? m_segments[1] : m_segments[0];
    if (!m_order.isEmpty())
        m_order.append(physicalRows());
    if (m_fields == 0)
        ++s.rowsWithoutFields;
    else
        s.cells.resize(s.cells.size() + m_fields);
    return row;
}

RowStore RowStore::joined(RowStore &&first, RowStore &&second, QList<int> order)
{
    Q_ASSERT(first.m_fields == second.m_fields && first.m_order.isEmpty() && second.m_order.isEmpty());
    Q_ASSERT(first.segmentRows(first.m_segments[1]) == 0 && second.segmentRows(second.m_segments[1]) == 0);
    Q_ASSERT(order.isEmpty() || order.size() == first.rows() + second.rows());
    RowStore out(first.m_fields);
    out.m_segments[0] = std::move(first.m_segments[0]);
    out.m_segments[1] = std::move(second.m_segments[0]);
    out.m_order = std::move(order);
    return out;
}

void RowStore::setOrder(QList<int> order)
{
    Q_ASSERT(m_order.isEmpty() && order.size() == rows());
    m_order = std::move(order);
}

void RowStore::setDate(int row, int field, double ole)
{
    Cell &c = cell(row, field);
    c = Cell {};
    c.kind = Kind::Date;
    c.d = ole;
}

void RowStore::setInt(int row, int field, qint64 value)
{
    Cell &c = cell(row, field);
    c = Cell {};
    c.kind = Kind::Int;
    c.i = value;
}

namespace {

template <class Cell, class Kind> RowStore::Stored storedCell(const Cell &c, const char16_t *text)
{
    RowStore::Stored s;
    switch (c.kind) {
    case Kind::Null:
        break;
    case Kind::Text:
        s.kind = RowStore::Stored::Kind::Text;
        s.text = QStringView(text + c.i, c.length);
        break;
    case Kind::Date:
        s.kind = RowStore::Stored::Kind::Date;
        s.date = c.d;
        break;
    case Kind::Int:
        s.kind = RowStore::Stored::Kind::Int;
        s.integer = c.i;
        break;
    default:
        s.kind = RowStore::Stored::Kind::Other;
        break;
    }
    return s;
}

} // namespace

RowStore::Stored RowStore::stored(int row, int field) const
{
    const Place p = place(row);
    const Segment &seg = m_segments[p.segment];
    return storedCell<Cell, Kind>(seg.cells.at(p.row * m_fields + field), seg.text.constData());
}

void RowStore::storedRow(int row, Stored *out) const
{
    if (m_fields == 0)
        return;
    const Place p = place(row);
    const Segment &seg = m_segments[p.segment];
    const Cell *cells = seg.cells.constData() + p.row * m_fields;
    for (int f = 0; f < m_fields; ++f)
        out[f] = storedCell<Cell, Kind>(cells[f], seg.text.constData());
}

char16_t *RowStore::reserveText(qsizetype n)
{
    Q_ASSERT(filling());
    LargeArray<char16_t> &text = m_segments[0].text;
    m_reserved = text.size();
    text.resize(m_reserved + n);
    return text.data() + m_reserved;
}

void RowStore::setText(int row, int field, qsizetype length)
{
    m_segments[0].text.resize(m_reserved + length);
    Cell &c = cell(row, field);
    c = Cell {};
    c.kind = Kind::Text;
    c.i = m_reserved;
    c.length = quint32(length);
}

void RowStore::setValue(int row, int field, const QVariant &value)
{
    Segment &seg = m_segments[place(row).segment];
    Cell c;
    if (!value.isValid() || value.isNull()) {
        // null
    } else if (value.typeId() == QMetaType::QString) {
        const QString s = value.toString();
        c.kind = Kind::Text;
        c.i = seg.text.size();
        c.length = quint32(s.size());
        seg.text.resize(seg.text.size() + s.size());
        std::memcpy(seg.text.data() + c.i, s.utf16(), size_t(s.size()) * sizeof(char16_t));
    } else if (value.typeId() == QMetaType::Int) {
        c.kind = Kind::Int;
        c.i = value.toInt();
    } else if (value.typeId() == QMetaType::Bool) {
        c.kind = Kind::Bool;
        c.i = value.toBool() ? 1 : 0;
    } else if (value.typeId() == QMetaType::Double) {
        c.kind = Kind::Double;
        c.d = value.toDouble();
    } else {
        c.kind = Kind::Other;
        c.i = seg.others.size();
        seg.others.append(value);
    }
    cell(row, field) = c;
}

QVariant RowStore::value(int row, int field) const
{
    const Cell &c = cell(row, field);
    switch (c.kind) {
    case Kind::Null:
        return {};
    case Kind::Bool:
        return QVariant(c.i != 0);
    case Kind::Int:
        return QVariant(int(c.i));
    case Kind::Double:
        return QVariant(c.d);
    case Kind::Date: {
        // One conversion per distinct number: a local QDateTime costs a time-zone lookup.
        quint64 bits = 0;
        std::memcpy(&bits, &c.d, sizeof bits);
        auto it = m_dates.constFind(bits);
        if (it == m_dates.constEnd())
            it = m_dates.insert(bits, fromOleDate(c.d));
        return QVariant(*it);
    }
    case Kind::Text:
        return QVariant(textOf(row, c).toString());
    case Kind::Other:
        return m_segments[place(row).segment].others.at(c.i);
    }
    return {};
}

std::optional<QStringView> RowStore::text(int row, int field) const
{
    const Cell &c = cell(row, field);
    if (c.kind != Kind::Text)
        return std::nullopt;
    return textOf(row, c);
}

std::optional<double> RowStore::date(int row, int field) const
{
    const Cell &c = cell(row, field);
    if (c.kind == Kind::Date)
        return c.d;
    if (c.kind == Kind::Other) {
        const QVariant &v = m_segments[place(row).segment].others.at(c.i);
        if (v.typeId() == QMetaType::QDateTime && v.toDateTime().isValid())
            return toOleDate(v.toDateTime());
    }
    return std::nullopt;
}

} // namespace tolvane::jet

#include "platform/jet/rowstore.h"

#include <algorithm>
#include <cstring>

#include <QVarLengthArray>

#include "platform/jet/besidethread.h"
#include "platform/jet/types.h"

namespace tolvane::jet {

void RowStore::reserve(int rows, qsizetype textChars)
{
    m_cells.reserve(qsizetype(rows) * m_fields);
    m_text.reserve(textChars);
}

int RowStore::appendRow()
{
    if (m_fields == 0)
        return m_rowsWithoutFields++;
    const int row = rows();
    m_cells.resize(m_cells.size() + m_fields);
    return row;
}

void RowStore::append(const RowStore &other)
{
    Q_ASSERT(other.m_fields == m_fields);
    m_rowsWithoutFields += other.m_rowsWithoutFields;
    const qsizetype cellsAt = m_cells.size(), textAt = m_text.size(), othersAt = m_others.size();
    if (!other.m_cells.size())
        return;
    m_cells.resize(cellsAt + other.m_cells.size());
    std::memcpy(static_cast<void *>(m_cells.data() + cellsAt), other.m_cells.constData(),
        size_t(other.m_cells.size()) * sizeof(Cell));
    if (other.m_text.size()) {
        m_text.resize(textAt + other.m_text.size());
        std::memcpy(m_text.data() + textAt, other.m_text.constData(), size_t(other.m_text.size()) * sizeof(char16_t));
    }
    m_others.append(other.m_others);
    for (qsizetype i = cellsAt; i < m_cells.size(); ++i) {
        Cell &c = m_cells[i];
        if (c.kind == Kind::Text)
            c.i += textAt;
        else if (c.kind == Kind::Other)
            c.i += othersAt;
    }
}

RowStore RowStore::merged(RowStore &&first, const RowStore &second, const QList<int> &order)
{
    Q_ASSERT(first.m_fields == second.m_fields && order.size() == first.rows() + second.rows());
    RowStore out(first.m_fields);
    out.m_rowsWithoutFields = first.m_rowsWithoutFields + second.m_rowsWithoutFields;
    const qsizetype textAt = first.m_text.size(), othersAt = first.m_others.size();
    out.m_text = std::move(first.m_text);
    out.m_text.resize(textAt + second.m_text.size());
    out.m_others = std::move(first.m_others);
    out.m_others.append(second.m_others);
    const int fields = out.m_fields;
    if (fields > 0)
        out.m_cells.resize(order.size() * fields);
    const int firstRows = first.rows();
    const size_t rowBytes = size_t(fields) * sizeof(Cell);
    // Rows [from, to) of the result; the second half of a large store is gathered in a second
    // thread, which also copies the second store's texts (the two write disjoint bytes).
    auto gather = [&](qsizetype from, qsizetype to, bool copyTexts) {
        if (copyTexts && second.m_text.size())
            std::memcpy(
                out.m_text.data() + textAt, second.m_text.constData(), size_t(second.m_text.size()) * sizeof(char16_t));
        if (fields == 0)
            return;
        Cell *at = out.m_cells.data() + from * fields;
        for (qsizetype i = from; i < to; ++i, at += fields) {
            const int row = order.at(i);
            if (row < firstRows) {
                std::memcpy(static_cast<void *>(at), first.m_cells.constData() + qsizetype(row) * fields, rowBytes);
                continue;
            }
            std::memcpy(
                static_cast<void *>(at), second.m_cells.constData() + qsizetype(row - firstRows) * fields, rowBytes);
            for (int f = 0; f < fields; ++f) {
                if (at[f].kind == Kind::Text)
                    at[f].i += textAt;
                else if (at[f].kind == Kind::Other)
                    at[f].i += othersAt;
            }
        }
    };
    constexpr qsizetype kRowsForTwoThreads = 8192;
    const qsizetype half = order.size() / 2;
    BesideThread other;
    if (order.size() >= kRowsForTwoThreads && BesideThread::worthwhile()
        && other.start([&] { gather(half, order.size(), true); })) {
        gather(0, half, false);
        other.join();
    } else {
        gather(0, order.size(), true);
    }
    return out;
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

RowStore::Stored RowStore::stored(int row, int field) const
{
    const Cell &c = cell(row, field);
    Stored s;
    switch (c.kind) {
    case Kind::Null:
        break;
    case Kind::Text:
        s.kind = Stored::Kind::Text;
        s.text = QStringView(m_text.constData() + c.i, c.length);
        break;
    case Kind::Date:
        s.kind = Stored::Kind::Date;
        s.date = c.d;
        break;
    case Kind::Int:
        s.kind = Stored::Kind::Int;
        s.integer = c.i;
        break;
    default:
        s.kind = Stored::Kind::Other;
        break;
    }
    return s;
}

char16_t *RowStore::reserveText(qsizetype n)
{
    m_reserved = m_text.size();
    m_text.resize(m_reserved + n);
    return m_text.data() + m_reserved;
}

void RowStore::setText(int row, int field, qsizetype length)
{
    m_text.resize(m_reserved + length);
    Cell &c = cell(row, field);
    c = Cell {};
    c.kind = Kind::Text;
    c.i = m_reserved;
    c.length = quint32(length);
}

void RowStore::setValue(int row, int field, const QVariant &value)
{
    Cell c;
    if (!value.isValid() || value.isNull()) {
        // null
    } else if (value.typeId() == QMetaType::QString) {
        const QString s = value.toString();
        std::memcpy(reserveText(s.size()), s.utf16(), size_t(s.size()) * sizeof(char16_t));
        setText(row, field, s.size());
        return;
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
        c.i = m_others.size();
        m_others.append(value);
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
        return QVariant(QString(reinterpret_cast<const QChar *>(m_text.constData() + c.i), c.length));
    case Kind::Other:
        return m_others.at(c.i);
    }
    return {};
}

std::optional<QStringView> RowStore::text(int row, int field) const
{
    const Cell &c = cell(row, field);
    if (c.kind != Kind::Text)
        return std::nullopt;
    return QStringView(m_text.constData() + c.i, c.length);
}

std::optional<double> RowStore::date(int row, int field) const
{
    const Cell &c = cell(row, field);
    if (c.kind == Kind::Date)
        return c.d;
    if (c.kind == Kind::Other && m_others.at(c.i).typeId() == QMetaType::QDateTime) {
        const QDateTime dt = m_others.at(c.i).toDateTime();
        if (dt.isValid())
            return toOleDate(dt);
    }
    return std::nullopt;
}

void RowStore::permute(QList<int> order)
{
    if (m_fields == 0)
        return;
    // In place, following each cycle of the permutation: rows are then read in their new order
    // one after another, and no second array is needed.
    QVarLengthArray<Cell, 16> held(m_fields);
    Cell *cells = m_cells.data();
    const size_t rowBytes = size_t(m_fields) * sizeof(Cell);
    for (int i = 0; i < order.size(); ++i) {
        if (order.at(i) < 0 || order.at(i) == i)
            continue;
        std::memcpy(held.data(), cells + qsizetype(i) * m_fields, rowBytes);
        int at = i;
        while (order.at(at) != i) {
            const int from = order.at(at);
            std::memcpy(cells + qsizetype(at) * m_fields, cells + qsizetype(from) * m_fields, rowBytes);
            order[at] = -1;
            at = from;
        }
        std::memcpy(cells + qsizetype(at) * m_fields, held.data(), rowBytes);
        order[at] = -1;
    }
}

} // namespace tolvane::jet

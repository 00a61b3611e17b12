// RowStore: the rows of a static recordset, kept compactly: arrays of fixed-size cells and
// buffers holding every text, so that a hundred thousand rows cost a handful of allocations
// rather than a list and a string per value. Dates stay the OLE numbers they are stored as and
// become QDateTimes only when read (once per distinct number).
//
// A store is one or two segments of rows (two when the rows of two parts of a table, each
// filled in a thread of its own, are joined), read in the segments' order or in an order of
// their own (a sorted result): joining and ordering move no row. Not thread-safe.
#pragma once

#include <optional>

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QVariant>

#include "platform/jet/largeblock.h"

namespace tolvane::jet {

class RowStore {
public:
    explicit RowStore(int fields = 0)
        : m_fields(fields)
    {
    }

    int fields() const { return m_fields; }
    int rows() const { return m_order.isEmpty() ? physicalRows() : int(m_order.size()); }

    // Room for this many rows and text characters in all, so that filling the store does not
    // grow it step by step.
    void reserve(int rows, qsizetype textChars);
    // Appends a row of nulls (the last row in any order); returns its index.
    int appendRow();

    void setNull(int row, int field) { cell(row, field) = Cell {}; }
    // The value of fromRow's field, kept once for both (a text is not copied). Only for a store
    // of one segment in its own order (one being filled).
    void repeat(int row, int field, int fromRow)
    {
        Q_ASSERT(filling());
        cell(row, field) = cell(fromRow, field);
    }
    void setDate(int row, int field, double ole);
    // A whole number (Byte, Integer, Long), read back as an int.
    void setInt(int row, int field, qint64 value);
    // Any value as Row carries it (types.h); text is copied into the store.
    void setValue(int row, int field, const QVariant &value);
    // Text written straight into the store: reserve room for at most n characters, write them
    // at the pointer returned, then setText with the number written. Only for a store of one
    // segment in its own order (one being filled).
    char16_t *reserveText(qsizetype n);
    void setText(int row, int field, qsizetype length);

    // The value as Row carries it: dates as local QDateTimes.
    QVariant value(int row, int field) const;
    // A Text/Memo value without copying (valid until the store changes); empty otherwise.
    std::optional<QStringView> text(int row, int field) const;
    // A date's stored OLE number; empty for other values and nulls.
    std::optional<double> date(int row, int field) const;

    // A cell as it is kept, for showing many rows with one look each: null, text (valid until
    // the store changes), a date's OLE number, a whole number, or Other for every other value
    // (read those with value()).
    struct Stored {
        enum class Kind { Null, Text, Date, Int, Other };
        Kind kind = Kind::Null;
        QStringView text;
        double date = 0;
        qint64 integer = 0;
    };
    Stored stored(int row, int field) const;
    // Every field of a row as stored() gives it, into fields()-many places at out.
    void storedRow(int row, Stored *out) const;
    // The rows of first followed by those of second (same fields, each of one segment in its
    // own order), read in the order given (row i is row order[i] of that sequence), or in that
    // sequence when order is empty. No row is copied.
    static RowStore joined(RowStore &&first, RowStore &&second, QList<int> order = {});
    // The rows read in the order given: row i is row order[i] of the present ones. Only for a
    // store in its own order.
    void setOrder(QList<int> order);

private:
    enum class Kind : quint8 { Null, Bool, Int, Double, Date, Text, Other };
    struct Cell {
        Kind kind = Kind::Null;
        quint32 length = 0; // Text
        union {
            qint64 i = 0; // Bool, Int; Text: offset in its segment's text; Other: index in its others
            double d; // Double, Date
        };
    };
    struct Segment {
        LargeArray<Cell> cells;
        LargeArray<char16_t> text;
        QList<QVariant> others;
        int rowsWithoutFields = 0; // the rows of a store without fields
    };
    // Where a row lies: its segment and its index there.
    struct Place {
        int segment = 0;
        qsizetype row = 0;
    };

    bool filling() const { return m_order.isEmpty() && segmentRows(m_segments[1]) == 0; }
    int segmentRows(const Segment &s) const
    {
        return m_fields > 0 ? int(s.cells.size() / m_fields) : s.rowsWithoutFields;
    }
    int physicalRows() const { return segmentRows(m_segments[0]) + segmentRows(m_segments[1]); }
    Place place(int row) const
    {
        const int physical = m_order.isEmpty() ? row : m_order.at(row);
        const int first = segmentRows(m_segments[0]);
        return physical < first ? Place { 0, physical } : Place { 1, physical - first };
    }
    Cell &cell(int row, int field)
    {
        const Place p = place(row);
        return m_segments[p.segment].cells[p.row * m_fields + field];
    }
    const Cell &cell(int row, int field) const
    {
        const Place p = place(row);
        return m_segments[p.segment].cells.at(p.row * m_fields + field);
    }
    // The text a cell of row's segment holds.
    QStringView textOf(int row, const Cell &c) const
    {
        return QStringView(m_segments[place(row).segment].text.constData() + c.i, c.length);
    }

    int m_fields = 0;
    Segment m_segments[2]; // the second holds rows only in a joined store
    QList<int> m_order; // row i is physical row m_order[i] (counting the first segment's first)
    qsizetype m_reserved = -1; // where the text being written starts
    mutable QHash<quint64, QDateTime> m_dates; // converted dates, by the bits of their number
};

} // namespace tolvane::jet

// RowStore: the rows of a static recordset, kept compactly: one array of fixed-size cells and
// one buffer holding every text, so that a hundred thousand rows cost a handful of allocations
// rather than a list and a string per value. Dates stay the OLE numbers they are stored as and
// become QDateTimes only when read (once per distinct number). Not thread-safe.
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
    int rows() const { return m_fields > 0 ? int(m_cells.size() / m_fields) : m_rowsWithoutFields; }

    // Room for this many rows and text characters in all, so that filling the store does not
    // grow it step by step.
    void reserve(int rows, qsizetype textChars);
    // Appends a row of nulls; returns its index.
    int appendRow();

    void setNull(int row, int field) { cell(row, field) = Cell {}; }
    void setDate(int row, int field, double ole);
    // A whole number (Byte, Integer, Long), read back as an int.
    void setInt(int row, int field, qint64 value);
    // Any value as Row carries it (types.h); text is copied into the buffer.
    void setValue(int row, int field, const QVariant &value);
    // Text written straight into the buffer: reserve room for at most n characters, write them
    // at the pointer returned, then setText with the number written.
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

    // Appends the rows of another store with the same fields.
    void append(const RowStore &other);
    // The rows of first followed by those of second (same fields), in the order given: row i of
    // the result is row order[i] of that sequence. Each row is copied once.
    static RowStore merged(RowStore &&first, const RowStore &second, const QList<int> &order);
    // Reorders the rows: row i of the result is row order[i] of the present rows.
    void permute(QList<int> order);

private:
    enum class Kind : quint8 { Null, Bool, Int, Double, Date, Text, Other };
    struct Cell {
        Kind kind = Kind::Null;
        quint32 length = 0; // Text
        union {
            qint64 i = 0; // Bool, Int; Text: offset in m_text; Other: index in m_others
            double d; // Double, Date
        };
    };
    Cell &cell(int row, int field) { return m_cells[qsizetype(row) * m_fields + field]; }
    const Cell &cell(int row, int field) const { return m_cells.at(qsizetype(row) * m_fields + field); }

    int m_fields = 0;
    int m_rowsWithoutFields = 0;
    LargeArray<Cell> m_cells;
    LargeArray<char16_t> m_text;
    qsizetype m_reserved = -1; // where the text being written starts
    QList<QVariant> m_others;
    mutable QHash<quint64, QDateTime> m_dates; // converted dates, by the bits of their number
};

} // namespace tolvane::jet

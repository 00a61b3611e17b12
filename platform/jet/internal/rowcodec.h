// Row codec: turns the bytes of a stored row into values and values into row bytes, for the
// column layout of a TableDef, and the text codec with Jet's compressed-unicode form.
// Pure functions; thread-compatible.
#pragma once

#include "platform/jet/internal/tabledef.h"

namespace tolvane::jet::internal {

// Where one column's value lies in a stored row: null (present false), or size bytes at data.
// For a Boolean column present is the value itself.
struct ColumnBytes {
    const uchar *data = nullptr;
    int size = 0;
    bool present = false;
};

// The layout of one stored row (column count, null mask, variable-offset table), read once so
// that single columns can be found without looking at the others.
class RowLayout {
public:
    // Corruption when the trailer does not fit the row's length bytes.
    Status parse(const TableDef &t, const uchar *row, int length);
    // Where column c of the parsed row lies. Corruption when its offsets do not fit the row.
    Status column(const ColumnDef &c, ColumnBytes &out) const;

private:
    const uchar *m_row = nullptr;
    const uchar *m_mask = nullptr;
    const uchar *m_offsets = nullptr; // offset i at m_offsets - 2*i
    int m_ncols = 0;
    int m_dataEnd = 0; // where the fixed and variable data must end
    int m_nvar = 0;
    int m_eod = 0;
};

// Finds every column of t in the row (the bytes of its extent) without decoding any value:
// cols receives one entry per column of t. Corruption when offsets do not fit the extent.
Status splitRow(const TableDef &t, const uchar *row, int length, ColumnBytes *cols);
// One column's value from its bytes (as splitRow found them); long values are read from their
// pages in store. Corruption when a long value cannot be followed.
Result<QVariant> decodeColumn(const ColumnDef &c, const ColumnBytes &b, const PageStore &store);

// Decodes one row (the bytes of its extent): splitRow, then decodeColumn for each column.
Result<Row> decodeRow(const TableDef &t, const uchar *row, int length, const PageStore &store);

// Checks and converts values for the table's columns (count, types, Text(n) limits in UTF-16
// units, Long range). InvalidArgument on the first bad value; NotSupported for column types
// that cannot be written.
Result<Row> normalizeRow(const TableDef &t, const QList<ColumnInfo> &columns, const Row &values);

// Encodes normalized values. minLength pads the row (between its data and its trailer) up to
// that size, for rewriting a row inside a larger extent.
QByteArray encodeRow(const TableDef &t, const Row &values, int minLength = 0);

// Text as stored: compressed (FF FE + one byte per character) when the column allows it and
// the text has 3 to 1024 characters, all in U+0001..U+00FF; otherwise UTF-16LE.
QByteArray encodeText(const QString &s, bool compressible);
// UTF-16LE: uncompressed text, and names in table definitions.
QByteArray utf16le(const QString &s);
// Stored text back to a string: UTF-16LE, or the compressed form with 00 bytes switching
// between one-byte and two-byte segments.
QString decodeText(const uchar *p, int n);
// The same into out, which has room for n characters; returns the number of characters.
int decodeTextInto(const uchar *p, int n, char16_t *out);

} // namespace tolvane::jet::internal

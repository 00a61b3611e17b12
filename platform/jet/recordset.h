// Recordset: a static snapshot of rows from one table, with a cursor, as the catalogue code
// expects of a recordset: BOF/EOF, moves, fields by position or name, AddNew/Update, Delete
// of the current row, and a Filter. Edits are written through to the Database at once (inside
// the Database's transaction when one is open). Not thread-safe; must not outlive its Database.
#pragma once

#include <optional>

#include "platform/jet/query.h"
#include "platform/jet/rowstore.h"
#include "platform/jet/types.h"
#include "platform/status.h"

namespace tolvane::jet {

class Database;

class Recordset {
public:
    // rows hold the fields in columns' order (dates may be kept as their stored numbers).
    Recordset(
        Database &db, QString table, QStringList columns, QList<int> columnIndexes, QList<RowId> ids, RowStore rows);

    const QString &table() const { return m_table; }
    const QStringList &columnNames() const { return m_columns; }
    int fieldCount() const { return int(m_columns.size()); }
    int fieldIndex(const QString &name) const; // case-insensitive; -1 when absent

    // Cursor. With no visible row both bof() and eof() are true. After opening (and after a
    // filter change) the cursor is on the first visible row.
    bool bof() const;
    bool eof() const;
    int recordCount() const; // visible rows (filtered, not deleted)
    void moveFirst();
    void moveLast();
    void moveNext(); // past the last row: eof()
    void movePrevious(); // before the first row: bof()
    void move(int n); // relative move by n visible rows
    // 0-based position among visible rows; -1 at BOF/EOF.
    int position() const;

    // Field of the current row. Null QVariant when there is no current row.
    QVariant field(int index) const;
    QVariant field(const QString &name) const;
    // A Date/Time field of the current row as its OLE number (days since 1899-12-30, wall
    // clock), without building a QDateTime: for showing many dates (see OleDateParts).
    // Empty when the field is null or not a date.
    std::optional<double> oleDate(int index) const;
    // A Text or Memo field of the current row without a copy, valid until the recordset changes;
    // empty for other fields and nulls. For showing many texts.
    std::optional<QStringView> textField(int index) const;
    // A field of the current row as the recordset keeps it (see RowStore::Stored), with one
    // look: for showing many rows. Other while the row is being edited.
    RowStore::Stored storedField(int index) const;
    RowId currentId() const;
    // The rows as stored, without the cursor: the indexes into rows() of the visible rows, in
    // order, and the store itself (not an edit in progress). The const store may be read from
    // several threads at once except for value() of dates; for showing many rows in parallel.
    QList<int> visibleRows() const;
    // Whether every stored row is visible (nothing filtered out or deleted): the visible rows
    // are then rows 0 to rows().rows() - 1.
    bool allRowsVisible() const { return m_visibleCount == m_rows.rows(); }
    const RowStore &rows() const { return m_rows; }

    // Editing. setField changes the edit buffer of the current row (or of the new row after
    // addNew); update() writes it. InvalidArgument for bad values or no current row.
    // update() and deleteCurrent() of a row this snapshot read write only while the table's
    // row still holds what the snapshot shows of it; when another connection has changed or
    // deleted it since (its place may even hold another row now) they fail with Conflict and
    // write nothing.
    Status addNew();
    Status setField(int index, const QVariant &value);
    Status setField(const QString &name, const QVariant &value);
    Status update();
    void cancelUpdate();
    bool editing() const { return m_editing; }
    // Deletes the current row from the table. The cursor stays on it until the next move;
    // moves skip deleted rows.
    Status deleteCurrent();

    // Filter: only rows satisfying every condition stay visible. An empty list removes it.
    // Conditions name fields of this recordset; one on a column it lacks matches nothing.
    void setFilter(const QList<Condition> &conditions);
    void clearFilter() { setFilter({}); }
    bool filtered() const { return !m_filter.isEmpty(); }

private:
    bool visible(int i) const { return i >= 0 && i < m_visible.size() && m_visible.at(i); }
    bool passesFilter(int i) const;
    Row storedRow(int i) const;
    // What the snapshot holds of row i, for a write by its id (Database::updateRow).
    RowExpectation expectedRow(int i) const;
    void setStoredRow(int i, const Row &values);
    void recomputeVisible();
    int firstVisibleFrom(int i, int step) const;

    Database &m_db;
    QString m_table;
    QStringList m_columns;
    QList<int> m_tableColumns; // index of each field in the table's column order
    QList<RowId> m_ids;
    RowStore m_rows;
    QList<bool> m_deleted;
    QList<Condition> m_filter;
    QList<int> m_filterColumns;
    int m_cur = -1; // index into m_rows; -1 = BOF; m_rows.size() = EOF
    bool m_editing = false;
    bool m_adding = false;
    Row m_buffer;
    QList<bool> m_visible; // not deleted and passing the filter
    int m_visibleCount = 0;
};

} // namespace tolvane::jet

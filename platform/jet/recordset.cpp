#include "platform/jet/recordset.h"

#include "platform/jet/database.h"

namespace tolvane::jet {

Recordset::Recordset(
    Database &db, QString table, QStringList columns, QList<int> columnIndexes, QList<RowId> ids, RowStore rows)
    : m_db(db)
    , m_table(std::move(table))
    , m_columns(std::move(columns))
    , m_tableColumns(std::move(columnIndexes))
    , m_ids(std::move(ids))
    , m_rows(std::move(rows))
    , m_deleted(m_rows.rows(), false)
{
    recomputeVisible();
    m_cur = firstVisibleFrom(0, 1);
}

Row Recordset::storedRow(int i) const
{
    Row values(m_columns.size());
    for (int f = 0; f < values.size(); ++f)
        values[f] = m_rows.value(i, f);
    return values;
}

void Recordset::setStoredRow(int i, const Row &values)
{
    for (int f = 0; f < values.size(); ++f)
        m_rows.setValue(i, f, values.at(f));
}

int Recordset::fieldIndex(const QString &name) const
{
    for (int i = 0; i < m_columns.size(); ++i)
        if (m_columns.at(i).compare(name, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

void Recordset::recomputeVisible()
{
    m_visible.resize(m_rows.rows());
    m_visibleCount = 0;
    for (int i = 0; i < m_rows.rows(); ++i) {
        m_visible[i] = !m_deleted.at(i) && passesFilter(i);
        m_visibleCount += m_visible.at(i) ? 1 : 0;
    }
}

bool Recordset::passesFilter(int i) const
{
    for (int k = 0; k < m_filter.size(); ++k) {
        const int col = m_filterColumns.at(k);
        if (col < 0 || !m_filter.at(k).matches(m_rows.value(i, col)))
            return false;
    }
    return true;
}

// First visible row from i in direction step; -1 or size() when there is none.
int Recordset::firstVisibleFrom(int i, int step) const
{
    for (; i >= 0 && i < m_rows.rows(); i += step)
        if (visible(i))
            return i;
    return step > 0 ? int(m_rows.rows()) : -1;
}

bool Recordset::bof() const
{
    return m_cur < 0 || recordCount() == 0;
}
bool Recordset::eof() const
{
    return m_cur >= m_rows.rows() || recordCount() == 0;
}

int Recordset::recordCount() const
{
    return m_visibleCount;
}

void Recordset::moveFirst()
{
    cancelUpdate();
    m_cur = firstVisibleFrom(0, 1);
}

void Recordset::moveLast()
{
    cancelUpdate();
    m_cur = firstVisibleFrom(int(m_rows.rows()) - 1, -1);
    if (m_cur < 0)
        m_cur = int(m_rows.rows());
}

void Recordset::moveNext()
{
    cancelUpdate();
    if (m_cur < m_rows.rows())
        m_cur = firstVisibleFrom(m_cur + 1, 1);
}

void Recordset::movePrevious()
{
    cancelUpdate();
    if (m_cur >= 0)
        m_cur = firstVisibleFrom(m_cur - 1, -1);
}

void Recordset::move(int n)
{
    for (; n > 0 && m_cur < m_rows.rows(); --n)
        moveNext();
    for (; n < 0 && m_cur >= 0; ++n)
        movePrevious();
}

int Recordset::position() const
{
    if (m_cur < 0 || m_cur >= m_rows.rows() || !visible(m_cur))
        return -1;
    int n = 0;
    for (int i = 0; i < m_cur; ++i)
        n += visible(i) ? 1 : 0;
    return n;
}

QVariant Recordset::field(int index) const
{
    if (index < 0 || index >= m_columns.size())
        return {};
    if (m_editing)
        return m_buffer.at(index);
    if (m_cur < 0 || m_cur >= m_rows.rows())
        return {};
    return m_rows.value(m_cur, index);
}

std::optional<double> Recordset::oleDate(int index) const
{
    if (index < 0 || index >= m_columns.size())
        return std::nullopt;
    if (m_editing) {
        const QVariant v = m_buffer.at(index);
        if (v.typeId() == QMetaType::QDateTime && v.toDateTime().isValid())
            return toOleDate(v.toDateTime());
        return std::nullopt;
    }
    if (m_cur < 0 || m_cur >= m_rows.rows())
        return std::nullopt;
    return m_rows.date(m_cur, index);
}

std::optional<QStringView> Recordset::textField(int index) const
{
    if (m_editing || index < 0 || index >= m_columns.size() || m_cur < 0 || m_cur >= m_rows.rows())
        return std::nullopt;
    return m_rows.text(m_cur, index);
}

RowStore::Stored Recordset::storedField(int index) const
{
    if (m_editing || index < 0 || index >= m_columns.size() || m_cur < 0 || m_cur >= m_rows.rows())
        return { RowStore::Stored::Kind::Other, {}, 0, 0 };
    return m_rows.stored(m_cur, index);
}

QList<int> Recordset::visibleRows() const
{
    QList<int> rows;
    rows.reserve(m_visibleCount);
    for (int i = firstVisibleFrom(0, 1); i < m_rows.rows(); i = firstVisibleFrom(i + 1, 1))
        rows.append(i);
    return rows;
}

QVariant Recordset::field(const QString &name) const
{
    return field(fieldIndex(name));
}

RowId Recordset::currentId() const
{
    if (m_cur < 0 || m_cur >= m_rows.rows())
        return {};
    return m_ids.at(m_cur);
}

Status Recordset::addNew()
{
    m_editing = true;
    m_adding = true;
    m_buffer = Row(m_columns.size());
    return Status::ok();
}

Status Recordset::setField(int index, const QVariant &value)
{
    if (index < 0 || index >= m_columns.size())
        return Status::invalidArgument(QStringLiteral("no field %1").arg(index));
    if (!m_editing) {
        if (m_cur < 0 || m_cur >= m_rows.rows() || m_deleted.at(m_cur))
            return Status::invalidArgument(QStringLiteral("no current row"));
        m_editing = true;
        m_adding = false;
        m_buffer = storedRow(m_cur);
    }
    m_buffer[index] = value;
    return Status::ok();
}

Status Recordset::setField(const QString &name, const QVariant &value)
{
    const int i = fieldIndex(name);
    if (i < 0)
        return Status::invalidArgument(QStringLiteral("no field %1").arg(name));
    return setField(i, value);
}

RowExpectation Recordset::expectedRow(int i) const
{
    RowExpectation expected;
    expected.reserve(m_tableColumns.size());
    for (int f = 0; f < m_tableColumns.size(); ++f)
        expected.append({ m_tableColumns.at(f), m_rows.value(i, f) });
    return expected;
}

Status Recordset::update()
{
    if (!m_editing)
        return Status::invalidArgument(QStringLiteral("nothing to update"));
    Result<TableInfo> info = m_db.tableInfo(m_table);
    if (!info)
        return info.status();
    if (m_adding) {
        // Columns outside this recordset are null in a new row.
        Row full(info->columns.size());
        for (int i = 0; i < m_tableColumns.size(); ++i)
            full[m_tableColumns.at(i)] = m_buffer.at(i);
        Result<RowId> id = m_db.insertRow(m_table, full);
        if (!id)
            return id.status();
        Result<Row> stored = m_db.readRow(m_table, *id);
        Row shown = m_buffer;
        if (stored)
            for (int i = 0; i < m_tableColumns.size(); ++i)
                shown[i] = stored->at(m_tableColumns.at(i));
        m_ids.append(*id);
        setStoredRow(m_rows.appendRow(), shown);
        m_deleted.append(false);
        // A new row is shown whether or not it passes the filter, as the current row.
        m_visible.append(true);
        ++m_visibleCount;
        m_cur = int(m_rows.rows()) - 1;
    } else {
        // The stored row is read and written in one transaction (the caller's, or one of its
        // own), so that columns outside this recordset keep what the table holds when it is
        // written; and it is written only while it still holds what this snapshot read.
        const bool own = !m_db.inTransaction();
        if (own) {
            if (Status s = m_db.beginTransaction(); !s)
                return s;
        }
        const RowId id = m_ids.at(m_cur);
        Status s;
        Result<Row> stored = m_db.readRow(m_table, id);
        if (!stored) {
            s = stored.status().code() == Status::Code::NotFound ? rowChangedElsewhere() : stored.status();
        } else {
            Row full = stored.take();
            for (int i = 0; i < m_tableColumns.size(); ++i)
                full[m_tableColumns.at(i)] = m_buffer.at(i);
            s = m_db.updateRow(m_table, id, full, expectedRow(m_cur));
        }
        if (own)
            s = s ? m_db.commit() : (m_db.rollback(), s);
        if (!s)
            return s;
        Result<Row> written = m_db.readRow(m_table, id);
        Row shown = m_buffer;
        if (written)
            for (int i = 0; i < m_tableColumns.size(); ++i)
                shown[i] = written->at(m_tableColumns.at(i));
        setStoredRow(m_cur, shown);
    }
    m_editing = false;
    m_adding = false;
    m_buffer.clear();
    return Status::ok();
}

void Recordset::cancelUpdate()
{
    m_editing = false;
    m_adding = false;
    m_buffer.clear();
}

Status Recordset::deleteCurrent()
{
    cancelUpdate();
    if (m_cur < 0 || m_cur >= m_rows.rows() || m_deleted.at(m_cur))
        return Status::invalidArgument(QStringLiteral("no current row"));
    if (Status s = m_db.deleteRow(m_table, m_ids.at(m_cur), expectedRow(m_cur)); !s)
        return s;
    m_deleted[m_cur] = true;
    if (m_visible.at(m_cur)) {
        m_visible[m_cur] = false;
        --m_visibleCount;
    }
    return Status::ok();
}

void Recordset::setFilter(const QList<Condition> &conditions)
{
    cancelUpdate();
    m_filter = conditions;
    m_filterColumns.clear();
    for (const Condition &c : conditions)
        m_filterColumns.append(fieldIndex(c.column));
    recomputeVisible();
    m_cur = firstVisibleFrom(0, 1);
}

} // namespace tolvane::jet

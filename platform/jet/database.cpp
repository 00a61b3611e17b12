#include "platform/jet/database.h"

#include <algorithm>

#include "platform/jet/internal/creator.h"
#include "platform/jet/internal/diskfileaccess.h"
#include "platform/jet/internal/engine.h"
#include "platform/jet/recordset.h"

namespace tolvane::jet {

Database::Database(std::unique_ptr<internal::FileAccess> ownFiles, std::unique_ptr<Engine> engine)
    : m_ownFiles(std::move(ownFiles))
    , m_engine(std::move(engine))
{
}
Database::~Database() = default;

Result<std::unique_ptr<Database>> Database::open(const QString &path, OpenMode mode)
{
    auto disk = std::make_unique<internal::DiskFileAccess>();
    Result<std::unique_ptr<Engine>> e = Engine::open(*disk, path, mode == OpenMode::ReadOnly);
    if (!e)
        return e.status();
    return std::unique_ptr<Database>(new Database(std::move(disk), e.take()));
}

Result<std::unique_ptr<Database>> Database::open(internal::FileAccess &files, const QString &path, OpenMode mode)
{
    Result<std::unique_ptr<Engine>> e = Engine::open(files, path, mode == OpenMode::ReadOnly);
    if (!e)
        return e.status();
    return std::unique_ptr<Database>(new Database(nullptr, e.take()));
}

Status Database::create(const QString &path, const QList<TableSpec> &tables)
{
    internal::DiskFileAccess disk;
    return create(disk, path, tables);
}

Status Database::create(internal::FileAccess &files, const QString &path, const QList<TableSpec> &tables)
{
    return internal::createDatabaseFile(files, path, tables);
}

QString Database::path() const
{
    return m_engine->path();
}
bool Database::isReadOnly() const
{
    return m_engine->isReadOnly();
}
QString Database::readOnlyReason() const
{
    return m_engine->readOnlyReason();
}
QStringList Database::tableNames() const
{
    m_engine->refreshIfChanged();
    return m_engine->tableNames();
}
bool Database::hasTable(const QString &name) const
{
    m_engine->refreshIfChanged();
    return m_engine->hasTable(name);
}
Result<TableInfo> Database::tableInfo(const QString &table) const
{
    m_engine->refreshIfChanged();
    return m_engine->tableInfo(table);
}

Status Database::beginTransaction()
{
    if (Status s = m_engine->refreshIfChanged(); !s)
        return s;
    return m_engine->beginTransaction();
}
Status Database::commit()
{
    return m_engine->commit();
}
void Database::rollback()
{
    m_engine->rollback();
}
bool Database::inTransaction() const
{
    return m_engine->inTransaction();
}

// Every call first picks up what another connection to the same file may have committed.
Result<RowId> Database::insertRow(const QString &table, const Row &values)
{
    if (Status s = m_engine->refreshIfChanged(); !s)
        return s;
    return m_engine->insertRow(table, values);
}
Status Database::updateRow(const QString &table, RowId id, const Row &values)
{
    if (Status s = m_engine->refreshIfChanged(); !s)
        return s;
    return m_engine->updateRow(table, id, values);
}
Status Database::deleteRow(const QString &table, RowId id)
{
    if (Status s = m_engine->refreshIfChanged(); !s)
        return s;
    return m_engine->deleteRow(table, id);
}
Result<Row> Database::readRow(const QString &table, RowId id) const
{
    m_engine->refreshIfChanged();
    return m_engine->readRow(table, id);
}

Status Database::scan(const QString &table, const std::function<bool(RowId, const Row &)> &visit) const
{
    m_engine->refreshIfChanged();
    return m_engine->scan(table, visit);
}

namespace {

// Resolves condition columns to table column indexes.
Result<QList<int>> resolveConditions(const TableInfo &info, const QList<Condition> &conditions)
{
    QList<int> cols;
    for (const Condition &c : conditions) {
        const int i = info.columnIndex(c.column);
        if (i < 0)
            return Status::invalidArgument(QStringLiteral("no column %1 in %2").arg(c.column, info.name));
        cols.append(i);
    }
    return cols;
}

bool matchesAll(const Row &row, const QList<Condition> &conditions, const QList<int> &cols)
{
    for (int i = 0; i < conditions.size(); ++i)
        if (!conditions.at(i).matches(row.at(cols.at(i))))
            return false;
    return true;
}

} // namespace

Result<std::unique_ptr<Recordset>> Database::openTable(const QString &table)
{
    return select(Query(table));
}

Result<std::unique_ptr<Recordset>> Database::select(const Query &query)
{
    m_engine->refreshIfChanged();
    Result<internal::SelectedRows> selected = m_engine->select(query);
    if (!selected)
        return selected.status();
    internal::SelectedRows &r = *selected;
    Result<TableInfo> info = m_engine->tableInfo(query.table);
    if (!info)
        return info.status();
    return std::make_unique<Recordset>(
        *this, info->name, std::move(r.names), std::move(r.columns), std::move(r.ids), std::move(r.rows));
}

Result<QList<QPair<QVariant, int>>> Database::groupCount(
    const QString &table, const QString &column, const QList<Condition> &conditions)
{
    Result<TableInfo> info = tableInfo(table);
    if (!info)
        return info.status();
    const int col = info->columnIndex(column);
    if (col < 0)
        return Status::invalidArgument(QStringLiteral("no column %1 in %2").arg(column, info->name));
    Result<QList<int>> condCols = resolveConditions(*info, conditions);
    if (!condCols)
        return condCols.status();
    QList<QVariant> values;
    Status s = scan(info->name, [&](RowId, const Row &row) {
        const QVariant &v = row.at(col);
        if (v.isValid() && !v.isNull() && matchesAll(row, conditions, *condCols))
            values.append(v);
        return true;
    });
    if (!s)
        return s;
    std::stable_sort(
        values.begin(), values.end(), [](const QVariant &a, const QVariant &b) { return compareValues(a, b) < 0; });
    QList<QPair<QVariant, int>> out;
    for (const QVariant &v : values) {
        if (!out.isEmpty() && compareValues(out.last().first, v) == 0)
            ++out.last().second;
        else
            out.append({ v, 1 });
    }
    return out;
}

} // namespace tolvane::jet

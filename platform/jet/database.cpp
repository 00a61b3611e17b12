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
bool Database::isDamaged() const
{
    return m_engine->isDamaged();
}
QList<DamageFinding> Database::damage() const
{
    return m_engine->damage();
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

void Database::setBusyTimeout(int ms)
{
    m_engine->setBusyTimeout(ms);
}
void Database::setBusyHandler(std::function<bool()> handler)
{
    m_engine->setBusyHandler(std::move(handler));
}

Status Database::beginTransaction()
{
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

// Writes pick up what other connections committed when their transaction begins; reads first
// look whether another connection has committed since this one last read.
Result<RowId> Database::insertRow(const QString &table, const Row &values)
{
    return m_engine->insertRow(table, values);
}
Status Database::updateRow(const QString &table, RowId id, const Row &values, const RowExpectation &expected)
{
    return m_engine->updateRow(table, id, values, expected);
}
Status Database::deleteRow(const QString &table, RowId id, const RowExpectation &expected)
{
    return m_engine->deleteRow(table, id, expected);
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
    // The column's values in order (nulls first, then equal values together), each converted
    // once per distinct stored value by the row store.
    Query query(table);
    query.columns = { column };
    query.conditions = conditions;
    query.orderBy = column;
    m_engine->refreshIfChanged();
    Result<internal::SelectedRows> selected = m_engine->select(query);
    if (!selected)
        return selected.status();
    const RowStore &rows = selected->rows;
    QList<QPair<QVariant, int>> out;
    for (int i = 0; i < rows.rows(); ++i) {
        const QVariant v = rows.value(i, 0);
        if (!v.isValid() || v.isNull())
            continue;
        if (!out.isEmpty() && compareValues(out.last().first, v) == 0)
            ++out.last().second;
        else
            out.append({ v, 1 });
    }
    return out;
}

} // namespace tolvane::jet

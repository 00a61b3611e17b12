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
Result<bool> Database::openElsewhere()
{
    return m_engine->openElsewhere();
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
Status Database::updateRow(const QString &table, RowId id, const Row &values)
{
    return m_engine->updateRow(table, id, values);
}
Status Database::deleteRow(const QString &table, RowId id)
{
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
    Result<TableInfo> info = tableInfo(query.table);
    if (!info)
        return info.status();
    QStringList names;
    QList<int> indexes;
    if (query.columns.isEmpty()) {
        for (int i = 0; i < info->columns.size(); ++i) {
            names.append(info->columns.at(i).name);
            indexes.append(i);
        }
    } else {
        for (const QString &c : query.columns) {
            const int i = info->columnIndex(c);
            if (i < 0)
                return Status::invalidArgument(QStringLiteral("no column %1 in %2").arg(c, info->name));
            names.append(info->columns.at(i).name);
            indexes.append(i);
        }
    }
    Result<QList<int>> condCols = resolveConditions(*info, query.conditions);
    if (!condCols)
        return condCols.status();
    int orderCol = -1;
    if (!query.orderBy.isEmpty()) {
        orderCol = info->columnIndex(query.orderBy);
        if (orderCol < 0)
            return Status::invalidArgument(QStringLiteral("no column %1 in %2").arg(query.orderBy, info->name));
    }

    struct Hit {
        RowId id;
        Row row;
        QVariant key;
    };
    QList<Hit> hits;
    Status s = scan(info->name, [&](RowId id, const Row &row) {
        if (!matchesAll(row, query.conditions, *condCols))
            return true;
        Row projected;
        projected.reserve(indexes.size());
        for (int i : indexes)
            projected.append(row.at(i));
        hits.append({ id, std::move(projected), orderCol >= 0 ? row.at(orderCol) : QVariant() });
        return true;
    });
    if (!s)
        return s;
    if (orderCol >= 0) {
        const bool desc = query.descending;
        std::stable_sort(hits.begin(), hits.end(), [desc](const Hit &a, const Hit &b) {
            const int c = compareValues(a.key, b.key);
            return desc ? c > 0 : c < 0;
        });
    }
    QList<RowId> ids;
    QList<Row> rows;
    ids.reserve(hits.size());
    rows.reserve(hits.size());
    for (Hit &h : hits) {
        ids.append(h.id);
        rows.append(std::move(h.row));
    }
    return std::make_unique<Recordset>(*this, info->name, names, indexes, ids, rows);
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

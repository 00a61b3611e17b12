#include "catalog/creation.h"

#include <QFileInfo>

#include "catalog/schema.h"
#include "platform/jet/database.h"
#include "platform/jet/recordset.h"

namespace tolvane::catalog {

namespace {

Result<std::unique_ptr<jet::Database>> openNew(const QString &basePath)
{
    return jet::Database::open(basePath + QStringLiteral(".mdb"), jet::Database::OpenMode::ReadWrite);
}

// Appends rows to a table of a freshly created catalogue, all or none.
Status appendRows(const QString &basePath, const QString &table, const QList<jet::Row> &rows)
{
    auto db = openNew(basePath);
    if (!db)
        return db.status();
    if ((*db)->isReadOnly())
        return Status::readOnly((*db)->readOnlyReason());
    Status st = (*db)->beginTransaction();
    if (!st)
        return st;
    for (const jet::Row &row : rows) {
        auto id = (*db)->insertRow(table, row);
        if (!id) {
            (*db)->rollback();
            return id.status();
        }
    }
    return (*db)->commit();
}

} // namespace

Status CreateCatalogFile(const QString &basePath)
{
    const QString path = basePath + QStringLiteral(".mdb");
    if (QFileInfo::exists(path))
        return Status::invalidArgument(QStringLiteral("file exists: ") + path);
    return jet::Database::create(path, catalogTables());
}

Status PutIDno(const QString &basePath)
{
    return appendRows(basePath, kIdNoTable, { jet::Row { 0, 0, 0, 0, 0, 0, 0 } });
}

Status PutDBID(const QString &basePath)
{
    return appendRows(basePath, kDbidTable, { jet::Row { kOrdinaryCatalogMark } });
}

Status PutItemN(const QString &basePath)
{
    return appendRows(basePath, kClassNTable,
        { jet::Row { QString::fromUtf8("朝霧　凪"), QStringLiteral("&HFFFFC0"), 1 },
            jet::Row { QString::fromUtf8("水無瀬　灯"), QStringLiteral("&HC0FFFF"), 2 },
            jet::Row { QString::fromUtf8("霜月　柊"), QStringLiteral("&HFFC0C0"), 3 } });
}

} // namespace tolvane::catalog

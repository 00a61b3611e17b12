// Catalogue: what a Jet 4 file says about itself before any row is read: its header (version,
// encoding, password) and the user tables that its system catalogue MSysObjects lists, with
// their parsed definitions. A value; thread-compatible.
#pragma once

#include <QList>
#include <QStringList>

#include "platform/jet/internal/tablerows.h"

namespace tolvane::jet::internal {

class Catalogue {
public:
    struct Table {
        QString name;
        TableDef def;
        QList<ColumnInfo> columns;
    };

    // Checks the header and reads the user tables of MSysObjects (type 1 rows under the Tables
    // container without the system flags), through rows over store. Errors: NotSupported (Jet
    // 3, ACCDB, encoded or password-protected files), Corruption.
    static Result<Catalogue> load(const PageStore &store, const TableRows &rows);

    // Parses every table's definition again from store (after changes were rolled back).
    Status reload(const PageStore &store);

    // In catalogue order; names as stored.
    QStringList tableNames() const;
    // Exact (case-sensitive) name test.
    bool contains(const QString &name) const;
    // The table of that name: the exact name first, then regardless of case; null when absent.
    const Table *find(const QString &name) const;

private:
    QList<Table> m_tables;
};

} // namespace tolvane::jet::internal

// Salvage: a reader of a damaged table that returns every row still readable. Unlike
// TableRows::scan, which stops at the first damage, it looks wherever the file may still hold
// the table's rows, skips what cannot be read and counts it. Used by repair only.
// Pure function over a PageStore; thread-compatible.
#pragma once

#include <functional>

#include <QSet>
#include <QStringList>

#include "platform/jet/internal/usagemaps.h"
#include "platform/jet/types.h"

namespace tolvane::jet::internal {

struct SalvageTally {
    qint64 rows = 0; // rows visited
    qint64 unreadable = 0; // live slots whose row could not be read
    QStringList problems; // what was found damaged, for the user (Japanese)
};

// Visits every readable live row of t, in page and slot order. Pages looked at: those t's
// owned-pages map lists (a page whose type byte or owner was damaged is still read when the
// other says it is t's, and its owner names no table of otherTables) and every data page whose
// header names t. A page whose bytes repeat an earlier page of the table (overwritten by a
// copy) is read once. Overflow pointers are followed where they lead to a readable row.
// fileSize: the bytes the damaged file really holds (store may be padded to whole pages); a row
// reaching past them is unreadable.
SalvageTally salvageRows(const PageStore &store, qint64 fileSize, const UsageMaps &maps, const TableDef &t,
    const QSet<quint32> &otherTables, const std::function<void(const Row &)> &visit);

// The user tables that the system catalogue still names, read with salvageRows: for a file
// whose catalogue or one of whose table definitions is too damaged for Catalogue::load. A table
// whose definition cannot be parsed is left out and named in problems.
struct SalvagedTable {
    QString name;
    TableDef def;
    QList<ColumnInfo> columns;
};
struct SalvagedCatalogue {
    QList<SalvagedTable> tables;
    QStringList problems;
};
SalvagedCatalogue salvageCatalogue(const PageStore &store, qint64 fileSize, const UsageMaps &maps);

} // namespace tolvane::jet::internal

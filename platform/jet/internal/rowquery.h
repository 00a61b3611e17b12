// RowQuery: runs a Query over one table's stored rows. Each condition is tested on the stored
// bytes of its own column (text compared in a reused buffer, numbers and dates as stored numbers)
// before anything else of the row is decoded; only the selected columns of matching rows are
// decoded, and sorting compares plain keys. Results are those of decoding every row and
// comparing with Condition::matches and compareValues. Thread-compatible.
#pragma once

#include "platform/jet/internal/catalogue.h"
#include "platform/jet/query.h"
#include "platform/jet/rowstore.h"

namespace tolvane::jet::internal {

// The rows a query selects, in result order, with the selected columns' values in the query's
// column order; dates are kept as their stored numbers (RowStore).
struct SelectedRows {
    QStringList names; // the selected columns' names as stored
    QList<int> columns; // their indexes in the table's column order
    QList<RowId> ids;
    RowStore rows;
};

// Errors: InvalidArgument (a column the table lacks), Corruption (malformed rows).
Result<SelectedRows> selectRows(
    const TableRows &rows, const PageStore &store, const Catalogue::Table &table, const Query &query);

} // namespace tolvane::jet::internal

// Generation of a brand-new Jet 4 (Access 2000) database file holding empty user tables.
#pragma once

#include "platform/jet/types.h"
#include "platform/status.h"

namespace tolvane::jet::internal {

// Writes a new file at path: header, global usage map, the Jet system tables (MSysObjects,
// MSysACEs, MSysQueries, MSysRelationships) with their catalogue rows, access-control rows and
// indexes, then the given user tables in order, each empty. Columns may be Long, DateTime or
// Text(1..255). Table and column names must be 1..64 characters of letters, digits, space and
// underscore (the characters the name index can encode); others are InvalidArgument.
// Never overwrites: InvalidArgument when path exists. The file is written to a temporary file
// beside it and moved into place when complete, so it appears whole or not at all.
Status createDatabaseFile(const QString &path, const QList<TableSpec> &tables);

} // namespace tolvane::jet::internal

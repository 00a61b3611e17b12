// Generation of a brand-new Jet 4 (Access 2000) database file holding empty user tables.
#pragma once

#include "platform/jet/internal/fileaccess.h"
#include "platform/jet/types.h"
#include "platform/status.h"

namespace tolvane::jet::internal {

// Writes a new file at path: header, global usage map, the Jet system tables (MSysObjects,
// MSysACEs, MSysQueries, MSysRelationships) with their catalogue rows, access-control rows and
// indexes, then the given user tables in order, each empty. Columns may be Long, DateTime or
// Text(1..255) (text columns allow unicode compression); 1 to 255 columns per table.
//
// Names are checked before anything is written, and a bad one is InvalidArgument:
//  - table names: 1 to 64 printable ASCII characters except . ! ` [ ] ' and - (the
//    characters the name index can hold), not beginning or ending with a space, not "MSys...",
//    unique regardless of case;
//  - column names: 1 to 64 characters without control characters, . ! ` [ ] or characters
//    outside the Basic Multilingual Plane, not beginning or ending with a space, unique within
//    their table regardless of case.
// The system indexes of a new file are single pages, which bounds a new file to about 128
// tables; more is InvalidArgument.
//
// Never overwrites: InvalidArgument when path exists (also when it appears while the file is
// being written). NotFound when the folder does not exist, IOError when it cannot be written.
// The file is written through files to a hidden temporary file beside it, flushed to disk and
// moved into place when complete, so it appears whole or not at all.
Status createDatabaseFile(FileAccess &files, const QString &path, const QList<TableSpec> &tables);

} // namespace tolvane::jet::internal

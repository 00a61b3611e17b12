// Building a new catalogue file: the file with its nine empty tables, then its first rows.
// Each step opens the file on its own and closes it again; the main window's connection is
// not used. basePath is the chosen file's full path without ".mdb".
#pragma once

#include <QString>

#include "platform/status.h"

namespace tolvane::catalog {

// Creates basePath + ".mdb" with the nine empty tables. An existing file is never
// overwritten (InvalidArgument).
Status CreateCatalogFile(const QString &basePath);
// Writes the one IDno row of zeros.
Status PutIDno(const QString &basePath);
// Writes the DBID row with 11.
Status PutDBID(const QString &basePath);
// Writes the three sample classification items.
Status PutItemN(const QString &basePath);

} // namespace tolvane::catalog

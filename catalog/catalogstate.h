// The catalogue in use: its connection and what the last open read. Owned by the main window
// and handed by reference to the code that needs it. GUI thread only.
#pragma once

#include <memory>

#include "platform/jet/database.h"

namespace tolvane::catalog {

struct CatalogState {
    // The connection to the catalogue in use; null when none is open.
    std::unique_ptr<jet::Database> CatalogConnection;
    // After an open: the file's full path with ".mdb"; during a create: without its last four characters.
    QString CatalogPath;
    // The chosen file's name without folder and without ".mdb".
    QString CatalogName;
    // DBID value read at the last successful open: 11 ordinary, -11 archive; 0 before any open.
    int CatalogMark = 0;

    jet::Database *db() const { return CatalogConnection.get(); }
    bool isOpen() const { return CatalogConnection != nullptr; }
    bool isArchive() const { return CatalogMark == -11; }
};

} // namespace tolvane::catalog

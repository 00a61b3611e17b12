// The check a file gets when it is read: what can be verified cheaply, from page headers and
// slot tables without decoding a row. Every page a table's usage map lists lies inside the
// file, is a data page and names that table; the rows on those pages number what the table's
// definition says; none of them is free in the global usage map; the file is whole pages.
// Pure functions; thread-compatible.
#pragma once

#include <QList>

#include "platform/jet/internal/catalogue.h"
#include "platform/jet/internal/usagemaps.h"
#include "platform/jet/types.h"

namespace tolvane::jet::internal {

// Every inconsistency found in the tables of catalogue (and MSysObjects) over store and its
// maps; empty for a sound file. strayBytes: bytes of a partial last page the store left out.
QList<DamageFinding> checkIntegrity(
    const PageStore &store, const UsageMaps &maps, const Catalogue &catalogue, qint64 strayBytes);

} // namespace tolvane::jet::internal

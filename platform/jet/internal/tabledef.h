// TableDef: a table definition (tdef) parsed from its page chain, leniently: columns come back
// sorted by column number whatever their stored order, and unused fields are ignored.
// Pure data; thread-compatible.
#pragma once

#include <QList>
#include <QString>

#include "platform/jet/internal/pagestore.h"
#include "platform/jet/types.h"

namespace tolvane::jet::internal {

// A usage map: the row that holds it (docs/jet4-engine.md, "Usage maps" under "Writing").
struct MapRef {
    quint32 page = 0;
    int row = 0;
    // As a table definition stores it: the row in the low byte, the page above it.
    static MapRef fromEncoded(quint32 v) { return { v >> 8, int(v & 0xFF) }; }
    quint32 encoded() const { return quint32(row & 0xFF) | (page << 8); }
};

struct ColumnDef {
    QString name;
    quint8 type = 0;
    int number = 0;
    int varIndex = 0;
    int fixedOffset = 0;
    int length = 0; // bytes
    quint8 flags = 0; // 0x01: fixed length
    quint8 extFlags = 0; // 0x01: compressed unicode allowed
    bool isFixed() const { return flags & 0x01; }
    bool compressible() const { return extFlags & 0x01; }
    ColumnType columnType() const { return ColumnType(type); }
};

struct TableDef {
    quint32 tdefPage = 0;
    quint8 tableType = 0;
    int maxCols = 0;
    int numVarCols = 0;
    int numCols = 0;
    int numIndexes = 0;
    int numRealIndexes = 0;
    MapRef ownedMap;
    MapRef freeMap;
    QList<ColumnDef> columns; // by column number
    int fixedAreaSize = 0; // bytes of the fixed area a full row carries
    int varSlots = 0; // entries of the variable-offset table a full row carries
    bool hasLongValues = false;
};

// Size in the fixed area of a fixed column of this type (0 for Boolean, -1 when unknown).
int fixedSizeOf(quint8 type);

// Fills in what t's columns imply: fixedAreaSize, varSlots and hasLongValues.
void computeLayout(TableDef &t);

// Parses the tdef chain starting at page. Corruption when the chain or its fields do not fit.
Result<TableDef> parseTableDef(const PageStore &store, quint32 page);

// Live row count recorded in the tdef's first page.
qint64 tdefRowCount(const PageStore &store, quint32 tdefPage);

} // namespace tolvane::jet::internal

// Engine: one open Jet 4 file. Reads the header, the catalogue and table definitions, walks
// data pages and usage maps, and writes rows of user tables (insert, update in place or by
// moving the row behind an overflow pointer, delete), allocating pages and keeping the usage
// maps and row counts consistent. All changes go through the PageStore, so a transaction's
// pages reach the disk together or not at all. Not thread-safe.
#pragma once

#include <functional>
#include <memory>

#include <QStringList>

#include "platform/jet/internal/pagestore.h"
#include "platform/jet/internal/tabledef.h"
#include "platform/jet/types.h"

namespace tolvane::jet {

class Engine {
public:
    // Errors as Database::open. readOnly forces read-only use.
    static Result<std::unique_ptr<Engine>> open(const QString &path, bool readOnly);
    ~Engine();

    QString path() const;
    bool isReadOnly() const { return m_readOnly; }
    QString readOnlyReason() const { return m_readOnlyReason; }

    // Outside a transaction, re-reads the file when another connection has written it since
    // this one read or committed it.
    Status refreshIfChanged();

    QStringList tableNames() const;
    bool hasTable(const QString &name) const;
    Result<TableInfo> tableInfo(const QString &name) const;

    Status beginTransaction();
    Status commit();
    void rollback();
    bool inTransaction() const { return m_inTransaction; }

    Result<RowId> insertRow(const QString &table, const Row &values);
    Status updateRow(const QString &table, RowId id, const Row &values);
    Status deleteRow(const QString &table, RowId id);
    Result<Row> readRow(const QString &table, RowId id) const;
    Status scan(const QString &table, const std::function<bool(RowId, const Row &)> &visit) const;

    // Slot statistics over every data page naming the table (diagnostics): live row headers,
    // deleted slots (0xC000), overflow pointers (0x4000 alone) and their targets (0x8000 alone).
    struct PhysicalStats {
        int dataPages = 0;
        int rowHeaders = 0;
        int deletedSlots = 0;
        int overflowPointers = 0;
        int overflowTargets = 0;
    };
    Result<PhysicalStats> physicalStats(const QString &table) const;
    quint32 tdefPage(const QString &table) const;

    // Pages set in the usage map at ref (for the global map: pages marked free). For tests
    // and diagnostics.
    Result<QList<quint32>> mapPages(internal::MapRef ref) const;
    internal::PageStore &storeForTesting() { return *m_store; }

private:
    struct Table {
        QString name;
        internal::TableDef def;
        QList<ColumnInfo> columns;
        quint32 insertPage = 0; // data page that took the last insert (0 = look it up)
    };

    Engine() = default;
    Status checkHeader() const;
    Status loadCatalogue();
    Status reloadTables();
    const Table *findTable(const QString &name) const;
    Result<Table *> writableTable(const QString &name);
    // The writable table and values coerced to its columns (in *norm).
    Result<Table *> tableForRow(const QString &table, const Row &values, Row *norm);

    // Row walking.
    using RawVisit = std::function<bool(RowId, const uchar *, int)>;
    Status forEachRow(const internal::TableDef &t, const RawVisit &visit) const;
    // Follows an overflow pointer chain from the header slot to the row holding the data.
    Status locateRow(const internal::TableDef &t, RowId id, RowId *data, int *start, int *end) const;

    // Usage maps.
    Status locateMapRow(internal::MapRef ref, int *start, int *end) const;
    Result<bool> mapHas(internal::MapRef ref, quint32 page) const;
    Status setMapBit(internal::MapRef ref, quint32 page, bool bit, bool global, int depth = 0);
    Status promoteMap(internal::MapRef ref, QList<quint32> pages);
    Result<quint32> allocatePage();

    // Data pages.
    bool fits(const Table &t, quint32 page, int length) const;
    Result<quint32> pageForRow(Table &t, int length, quint32 prefer);
    RowId writeRow(quint32 page, const QByteArray &bytes, quint16 flags);
    void addRowCount(const Table &t, int delta);

    template <class T, class F> T writeOperation(F op);

    std::unique_ptr<internal::PageStore> m_store;
    QList<Table> m_tables;
    bool m_readOnly = false;
    QString m_readOnlyReason;
    bool m_inTransaction = false;
};

} // namespace tolvane::jet

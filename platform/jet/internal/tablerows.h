// TableRows: the rows of tables on their data pages. Reads follow overflow pointers; writes
// (insert, update in place or by moving the row behind an overflow pointer, delete) keep the
// table's usage maps and row count right. Layout rules: docs/jet4-engine.md, "Writing".
// Works on a PageStore and UsageMaps that must outlive it; not thread-safe.
#pragma once

#include <functional>
#include <tuple>
#include <utility>

#include <QHash>

#include "platform/jet/internal/datapage.h"
#include "platform/jet/internal/usagemaps.h"
#include "platform/jet/types.h"

namespace tolvane::jet::internal {

// Slot statistics over every data page naming a table (diagnostics): live row headers,
// deleted slots (0xC000), overflow pointers (0x4000 alone) and their targets (0x8000 alone).
struct PhysicalStats {
    int dataPages = 0;
    int rowHeaders = 0;
    int deletedSlots = 0;
    int overflowPointers = 0;
    int overflowTargets = 0;
};

class TableRows {
public:
    TableRows(PageStore &store, UsageMaps &maps)
        : m_store(store)
        , m_maps(maps)
    {
    }

    // Decodes and visits the live rows of t in storage order, each under the slot a scan
    // finds it at; visit returns false to stop. Corruption on malformed pages, pointers or
    // rows.
    using Visit = std::function<bool(RowId, const Row &)>;
    Status scan(const TableDef &t, const Visit &visit) const;
    // The same without decoding: visit gets each live row's stored bytes (valid during the
    // call) and returns whether to go on, or a failure, which scanStored reports as Corruption
    // naming the row.
    using StoredVisit = std::function<Result<bool>(RowId, const uchar *bytes, int length)>;
    Status scanStored(const TableDef &t, const StoredVisit &visit) const;
    // The same over a part of the table: ownedPages lists its pages in scan order, and
    // scanStored(t, from, to, visit) visits those with indexes [from, to) of that list. Parts
    // read nothing but the page image, so several may be scanned at once.
    Result<QList<quint32>> ownedPages(const TableDef &t) const;
    template <class StoredVisitor>
    Status scanStored(const TableDef &t, const quint32 *from, const quint32 *to, StoredVisitor &&visit) const;
    // NotFound when no live row of t has its slot at id; Corruption as scan().
    Result<Row> read(const TableDef &t, RowId id) const;

    // Writes take values already checked against t's columns (normalizeRow). InvalidArgument
    // when the encoded row is longer than a data page holds; NotFound when id names no live
    // row; Corruption and NotSupported from the usage maps. A failed write may leave partial
    // changes in the store: the caller undoes them (PageStore savepoints).
    Result<RowId> insert(const TableDef &t, const Row &values);
    Status update(const TableDef &t, RowId id, const Row &values);
    Status remove(const TableDef &t, RowId id);

    Result<PhysicalStats> stats(const TableDef &t) const;

    // Forgets the pages remembered for the next inserts (after the store was rolled back).
    void forgetInsertPages() { m_insertPage.clear(); }

private:
    // Where a row's data lies: the slot at the end of its overflow chain and its extent.
    struct Located {
        RowId data;
        RowExtent extent;
    };
    Result<Located> locate(const TableDef &t, RowId id) const;
    // For scanStored: the bytes of a row moved away or refused, and its failures.
    Result<std::pair<const uchar *, int>> followed(const TableDef &t, RowId id) const;
    Status rowTableOverflows(quint32 page) const;
    Status rowRefused(RowId id, const Status &why) const;
    bool ownsPage(const TableDef &t, quint32 page) const;
    bool fits(const TableDef &t, quint32 page, int length) const;
    Result<quint32> pageForRow(const TableDef &t, int length, quint32 prefer);
    Result<quint32> firstFreePage(const TableDef &t, int length);
    Result<quint32> newDataPage(const TableDef &t);
    RowId place(quint32 page, const QByteArray &bytes, quint16 flags);
    void pointTo(RowId header, RowId target);
    void addRowCount(const TableDef &t, int delta);

    PageStore &m_store;
    UsageMaps &m_maps;
    QHash<quint32, quint32> m_insertPage; // by tdef page: the data page that took the last insert
};

template <class StoredVisitor>
Status TableRows::scanStored(const TableDef &t, const quint32 *from, const quint32 *to, StoredVisitor &&visit) const
{
    for (const quint32 *page = from; page != to; ++page) {
        const quint32 p = *page;
        if (!ownsPage(t, p))
            continue;
        const uchar *pg = m_store.page(p);
        const int rows = u16(pg + kDataRowCount);
        if (kDataRowTable + 2 * rows > kPageSize)
            return rowTableOverflows(p);
        for (int r = 0; r < rows; ++r) {
            if (slotAt(pg, r) & kRowDeleted)
                continue;
            const RowId id { p, quint8(r) };
            // A row in place is read where it lies; one moved away (or out of bounds) is
            // followed (or refused) as a read by its id is.
            const std::optional<RowExtent> e = rowExtent(pg, r);
            const uchar *bytes = e ? pg + e->start : nullptr;
            int length = e ? e->length() : 0;
            if (!e || (e->flags & kRowOverflow)) {
                Result<std::pair<const uchar *, int>> at = followed(t, id);
                if (!at)
                    return at.status();
                std::tie(bytes, length) = *at;
            }
            Result<bool> more = visit(id, bytes, length);
            if (!more)
                return rowRefused(id, more.status());
            if (!*more)
                return Status::ok();
        }
    }
    return Status::ok();
}

} // namespace tolvane::jet::internal

#include "platform/jet/internal/tablerows.h"

#include "platform/jet/internal/rowcodec.h"

namespace tolvane::jet::internal {

namespace {

constexpr int kMaxOverflowHops = 16;
constexpr int kTdefRowCount = 16;

Status rowGone(RowId id)
{
    return Status::notFound(QStringLiteral("no row at page %1 slot %2").arg(id.page).arg(id.row));
}

// An overflow pointer: the target's row number, then its page (3 bytes).
RowId pointerTarget(const uchar *row)
{
    return RowId { u24(row + 1), row[0] };
}

void flagSlot(uchar *page, int row, quint16 flags)
{
    const int at = kDataRowTable + 2 * row;
    put16(page + at, quint16(u16(page + at) | flags));
}

// A row longer than a data page can hold is refused before anything is written.
Status checkRowLength(const QByteArray &bytes)
{
    if (bytes.size() > kMaxRowSize)
        return Status::invalidArgument(QStringLiteral("the row is too long (%1 bytes)").arg(bytes.size()));
    return Status::ok();
}

} // namespace

bool TableRows::ownsPage(const TableDef &t, quint32 page) const
{
    if (page == 0 || page >= m_store.pageCount())
        return false;
    const uchar *pg = m_store.page(page);
    return pg[0] == kPageData && u32(pg + kDataTdefPage) == t.tdefPage;
}

// ---------------------------------------------------------------------------------------------
// Reading

Result<TableRows::Located> TableRows::locate(const TableDef &t, RowId id) const
{
    RowId cur = id;
    for (int hop = 0; hop <= kMaxOverflowHops; ++hop) {
        // A bad first slot means there is no such row; a bad pointer means damage.
        if (!ownsPage(t, cur.page))
            return hop == 0 ? rowGone(id)
                            : Status::corruption(
                                QStringLiteral("overflow pointer to page %1, not a page of the table").arg(cur.page));
        const uchar *pg = m_store.page(cur.page);
        if (cur.row >= u16(pg + kDataRowCount))
            return hop == 0
                ? rowGone(id)
                : Status::corruption(
                    QStringLiteral("overflow pointer to missing row %1 of page %2").arg(cur.row).arg(cur.page));
        const std::optional<RowExtent> e = rowExtent(pg, cur.row);
        if (!e)
            return Status::corruption(
                QStringLiteral("page %1: row %2 lies outside the page").arg(cur.page).arg(cur.row));
        if (hop == 0 && (e->flags & kRowDeleted))
            return rowGone(id);
        if (!(e->flags & kRowOverflow))
            return Located { cur, *e };
        if (e->length() < 4)
            return Status::corruption(QStringLiteral("page %1: overflow pointer too short").arg(cur.page));
        cur = pointerTarget(pg + e->start);
    }
    return Status::corruption(
        QStringLiteral("overflow pointers of page %1 slot %2 form a loop").arg(id.page).arg(id.row));
}

Status TableRows::scanStored(const TableDef &t, const StoredVisit &visit) const
{
    Result<QList<quint32>> pages = ownedPages(t);
    if (!pages)
        return pages.status();
    return scanStored(t, pages->constData(), pages->constData() + pages->size(), visit);
}

Result<QList<quint32>> TableRows::ownedPages(const TableDef &t) const
{
    return m_maps.pages(t.ownedMap);
}

Status TableRows::rowTableOverflows(quint32 page) const
{
    return Status::corruption(QStringLiteral("page %1: row table overflows the page").arg(page));
}

Status TableRows::rowRefused(RowId id, const Status &why) const
{
    return Status::corruption(QStringLiteral("page %1 slot %2: %3").arg(id.page).arg(id.row).arg(why.message()));
}

Result<std::pair<const uchar *, int>> TableRows::followed(const TableDef &t, RowId id) const
{
    Result<Located> at = locate(t, id);
    if (!at)
        return at.status();
    return std::pair<const uchar *, int>(m_store.page(at->data.page) + at->extent.start, at->extent.length());
}

Status TableRows::scan(const TableDef &t, const Visit &visit) const
{
    return scanStored(t, [&](RowId id, const uchar *bytes, int length) -> Result<bool> {
        Result<Row> row = decodeRow(t, bytes, length, m_store);
        if (!row)
            return row.status();
        return visit(id, *row);
    });
}

Result<Row> TableRows::read(const TableDef &t, RowId id) const
{
    Result<Located> at = locate(t, id);
    if (!at)
        return at.status();
    return decodeRow(t, m_store.page(at->data.page) + at->extent.start, at->extent.length(), m_store);
}

Result<PhysicalStats> TableRows::stats(const TableDef &t) const
{
    PhysicalStats st;
    for (quint32 p = 0; p < m_store.pageCount(); ++p) {
        if (!ownsPage(t, p))
            continue;
        const uchar *pg = m_store.page(p);
        ++st.dataPages;
        const int rows = std::min<int>(u16(pg + kDataRowCount), (kPageSize - kDataRowTable) / 2);
        for (int r = 0; r < rows; ++r) {
            const quint16 f = slotAt(pg, r) & quint16(~kRowOffsetMask);
            if (f == (kRowDeleted | kRowOverflow))
                ++st.deletedSlots;
            else if (f == kRowDeleted)
                ++st.overflowTargets;
            else if (f == kRowOverflow)
                ++st.overflowPointers, ++st.rowHeaders;
            else
                ++st.rowHeaders;
        }
    }
    return st;
}

// ---------------------------------------------------------------------------------------------
// Placing rows

bool TableRows::fits(const TableDef &t, quint32 page, int length) const
{
    if (!ownsPage(t, page))
        return false;
    const uchar *pg = m_store.page(page);
    return roomForRow(pg, length) || roomAfterPacking(pg, length);
}

Result<quint32> TableRows::firstFreePage(const TableDef &t, int length)
{
    // The free-space map lists the pages that may have room; the lowest that has room for
    // this row takes it, so that space given back by deletes is used before the file grows.
    // A page without room leaves the map, as a full page leaves it with other writers; a
    // delete on it puts it back.
    Result<QList<quint32>> free = m_maps.pages(t.freeMap);
    if (!free)
        return free.status();
    for (quint32 p : *free) {
        if (!ownsPage(t, p))
            continue;
        if (fits(t, p, length))
            return p;
        if (Status s = m_maps.setBit(t.freeMap, p, false); !s)
            return s;
    }
    return 0u;
}

Result<quint32> TableRows::newDataPage(const TableDef &t)
{
    Result<quint32> np = m_maps.allocatePage();
    if (!np)
        return np.status();
    formatDataPage(m_store.mutablePage(*np), t.tdefPage);
    if (Status s = m_maps.setBit(t.ownedMap, *np, true); !s)
        return s;
    if (Status s = m_maps.setBit(t.freeMap, *np, true); !s)
        return s;
    return np;
}

Result<quint32> TableRows::pageForRow(const TableDef &t, int length, quint32 prefer)
{
    if (prefer && fits(t, prefer, length))
        return prefer;
    quint32 &insertPage = m_insertPage[t.tdefPage];
    if (insertPage && fits(t, insertPage, length))
        return insertPage;
    Result<quint32> free = firstFreePage(t, length);
    if (!free)
        return free.status();
    insertPage = *free;
    if (insertPage)
        return insertPage;
    Result<quint32> np = newDataPage(t);
    if (!np)
        return np.status();
    insertPage = *np;
    return np;
}

RowId TableRows::place(quint32 page, const QByteArray &bytes, quint16 flags)
{
    uchar *pg = m_store.mutablePage(page);
    if (roomForRow(pg, int(bytes.size())))
        return RowId { page, quint8(appendRow(pg, bytes, flags)) };
    return RowId { page, quint8(packAndPlaceRow(pg, bytes, flags)) };
}

void TableRows::addRowCount(const TableDef &t, int delta)
{
    uchar *pg = m_store.mutablePage(t.tdefPage);
    put32(pg + kTdefRowCount, quint32(qint64(u32(pg + kTdefRowCount)) + delta));
}

// Turns the header slot into a pointer to target, keeping its extent.
void TableRows::pointTo(RowId header, RowId target)
{
    uchar *hp = m_store.mutablePage(header.page);
    const RowExtent e = *rowExtent(hp, header.row);
    std::memset(hp + e.start, 0, size_t(e.length()));
    hp[e.start] = target.row;
    put24(hp + e.start + 1, target.page);
    const int at = kDataRowTable + 2 * header.row;
    put16(hp + at, quint16((u16(hp + at) & kRowOffsetMask) | kRowOverflow));
}

// ---------------------------------------------------------------------------------------------
// Writing

Result<RowId> TableRows::insert(const TableDef &t, const Row &values)
{
    const QByteArray bytes = encodeRow(t, values);
    if (Status st = checkRowLength(bytes); !st)
        return st;
    Result<quint32> page = pageForRow(t, int(bytes.size()), 0);
    if (!page)
        return page.status();
    const RowId id = place(*page, bytes, 0);
    addRowCount(t, +1);
    return id;
}

Status TableRows::update(const TableDef &t, RowId id, const Row &values)
{
    Result<Located> at = locate(t, id);
    if (!at)
        return at.status();
    const int extent = at->extent.length();
    const QByteArray bytes = encodeRow(t, values);
    if (Status st = checkRowLength(bytes); !st)
        return st;
    if (bytes.size() <= extent) {
        // Same extent: the row keeps its place, padded to its old length.
        const QByteArray padded = encodeRow(t, values, extent);
        std::memcpy(m_store.mutablePage(at->data.page) + at->extent.start, padded.constData(), size_t(padded.size()));
        return Status::ok();
    }
    // Grown: the data moves to a new row that scans skip, and the header slot points at it.
    const std::optional<RowExtent> header = rowExtent(m_store.page(id.page), id.row);
    if (!header || header->length() < 4)
        return Status::corruption(QStringLiteral("page %1: row %2 cannot hold a pointer").arg(id.page).arg(id.row));
    Result<quint32> page = pageForRow(t, int(bytes.size()), at->data.page);
    if (!page)
        return page.status();
    const RowId target = place(*page, bytes, kRowDeleted);
    pointTo(id, target);
    if (!(at->data == id)) {
        // The previous target is abandoned: flag it so that no reader shows it as a row.
        flagSlot(m_store.mutablePage(at->data.page), at->data.row, kRowDeleted | kRowOverflow);
        if (Status s = m_maps.setBit(t.freeMap, at->data.page, true); !s)
            return s;
        m_insertPage.remove(t.tdefPage);
    }
    return Status::ok();
}

Status TableRows::remove(const TableDef &t, RowId id)
{
    Result<Located> at = locate(t, id);
    if (!at)
        return at.status();
    // The header slot and every row of its overflow chain are flagged deleted, and their
    // pages are listed as having free space again: the next inserts reclaim it.
    RowId cur = id;
    QList<quint32> touched;
    for (int hop = 0; hop <= kMaxOverflowHops; ++hop) {
        uchar *pg = m_store.mutablePage(cur.page);
        const quint16 slot = slotAt(pg, cur.row);
        flagSlot(pg, cur.row, kRowDeleted | kRowOverflow);
        if (!touched.contains(cur.page))
            touched.append(cur.page);
        if (cur == at->data || !(slot & kRowOverflow))
            break;
        cur = pointerTarget(pg + (slot & kRowOffsetMask));
    }
    for (quint32 p : touched)
        if (Status s = m_maps.setBit(t.freeMap, p, true); !s)
            return s;
    m_insertPage.remove(t.tdefPage);
    addRowCount(t, -1);
    return Status::ok();
}

} // namespace tolvane::jet::internal

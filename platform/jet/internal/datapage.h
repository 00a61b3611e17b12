// Data pages: the slot table that locates rows on a page, and the placing of new rows (engine
// writes and new files alike). Header-only; pure functions on page buffers.
#pragma once

#include <algorithm>
#include <optional>
#include <vector>

#include "platform/jet/internal/bytes.h"

namespace tolvane::jet::internal {

// Where a row lies on its page: bytes [start, end), and its slot flags (kRowDeleted,
// kRowOverflow).
struct RowExtent {
    int start = 0;
    int end = 0;
    quint16 flags = 0;
    int length() const { return end - start; }
};

// The slot of row `row` on a data page: its offset and flags.
inline quint16 slotAt(const uchar *page, int row)
{
    return u16(page + kDataRowTable + 2 * row);
}

// Extent of row slot `row` on a data page. Row i ends where row i-1 starts; row 0 ends at the
// page end. Nothing when the slot or its offsets do not fit the page.
inline std::optional<RowExtent> rowExtent(const uchar *page, int row)
{
    const int rows = u16(page + kDataRowCount);
    if (row < 0 || row >= rows || kDataRowTable + 2 * rows > kPageSize)
        return std::nullopt;
    const quint16 slot = u16(page + kDataRowTable + 2 * row);
    const int s = slot & kRowOffsetMask;
    int e = row == 0 ? kPageSize : (u16(page + kDataRowTable + 2 * (row - 1)) & kRowOffsetMask);
    if (e < s) {
        // An earlier slot parked at the page end (a zero-length deleted row): the row ends at
        // the nearest earlier row start above it.
        e = kPageSize;
        for (int j = 0; j < row; ++j) {
            const int o = u16(page + kDataRowTable + 2 * j) & kRowOffsetMask;
            if (o >= s && o < e)
                e = o;
        }
    }
    if (e > kPageSize || s > e || s < kDataRowTable + 2 * rows)
        return std::nullopt;
    return RowExtent { s, e, quint16(slot & quint16(~kRowOffsetMask)) };
}

// Makes page an empty data page of the table whose definition starts at tdefPage (0 for pages
// that hold usage maps).
inline void formatDataPage(uchar *page, quint32 tdefPage)
{
    std::memset(page, 0, kPageSize);
    page[0] = kPageData;
    page[1] = 0x01;
    put16(page + kDataFreeSpace, quint16(kPageSize - kDataRowTable));
    put32(page + kDataTdefPage, tdefPage);
}

// True when a row of length bytes fits below the page's last row: a free slot, length + 2
// bytes of recorded free space, and the last slot's row the lowest on the page (pages of other
// writers may place rows otherwise; such a page takes no more rows from us).
inline bool roomForRow(const uchar *page, int length)
{
    const int rows = u16(page + kDataRowCount);
    if (rows >= kMaxRowsPerPage || u16(page + kDataFreeSpace) < length + 2)
        return false;
    int low = kPageSize;
    for (int r = 0; r < rows; ++r)
        low = std::min(low, int(u16(page + kDataRowTable + 2 * r) & kRowOffsetMask));
    const int last = rows ? int(u16(page + kDataRowTable + 2 * (rows - 1)) & kRowOffsetMask) : kPageSize;
    return last == low && low - length >= kDataRowTable + 2 * (rows + 1);
}

// Places row just below the page's last row, in a new slot carrying flags, and returns the
// slot number. Requires: roomForRow(page, row.size()).
inline int appendRow(uchar *page, QByteArrayView row, quint16 flags = 0)
{
    const int rows = u16(page + kDataRowCount);
    const int end = rows ? int(u16(page + kDataRowTable + 2 * (rows - 1)) & kRowOffsetMask) : kPageSize;
    const int start = end - int(row.size());
    std::memcpy(page + start, row.data(), size_t(row.size()));
    put16(page + kDataRowTable + 2 * rows, quint16(start | flags));
    put16(page + kDataRowCount, quint16(rows + 1));
    put16(page + kDataFreeSpace, quint16(u16(page + kDataFreeSpace) - row.size() - 2));
    return rows;
}

// Reclaiming the space of deleted rows. A deleted row (slot flags 0xC000) keeps its slot, so
// that every other row keeps its number, but its bytes can be given back: the page is packed
// again with every other row (live rows, overflow pointers and their 0x8000 targets) against
// the page end in slot order, deleted rows as zero-length extents, trailing deleted slots
// dropped. A new row takes the first deleted slot, or a new slot at the end.

// What packing the page would leave: the slot count, the slot a new row would take, and the
// bytes free for its data. Nothing when the page's extents do not describe a well-formed page
// (overlapping rows, offsets outside it): such a page is not rewritten.
struct PackPlan {
    int slotCount = 0; // slot count after packing, the new row's slot included
    int newSlot = 0;
    int room = 0;
};

inline bool isDeletedSlot(quint16 slot)
{
    return (slot & (kRowDeleted | kRowOverflow)) == (kRowDeleted | kRowOverflow);
}

inline std::optional<PackPlan> planPacking(const uchar *page)
{
    const int rows = u16(page + kDataRowCount);
    if (kDataRowTable + 2 * rows > kPageSize)
        return std::nullopt;
    std::vector<std::pair<int, int>> kept; // extents of the rows that stay
    int lastKept = -1;
    int firstDeleted = -1;
    int bytes = 0;
    for (int r = 0; r < rows; ++r) {
        if (isDeletedSlot(u16(page + kDataRowTable + 2 * r))) {
            if (firstDeleted < 0)
                firstDeleted = r;
            continue;
        }
        const std::optional<RowExtent> e = rowExtent(page, r);
        if (!e)
            return std::nullopt;
        kept.emplace_back(e->start, e->end);
        bytes += e->length();
        lastKept = r;
    }
    std::sort(kept.begin(), kept.end());
    for (size_t i = 1; i < kept.size(); ++i)
        if (kept[i].first < kept[i - 1].second && kept[i - 1].second > kept[i - 1].first)
            return std::nullopt;
    PackPlan plan;
    if (firstDeleted >= 0 && firstDeleted < lastKept) {
        plan.newSlot = firstDeleted;
        plan.slotCount = lastKept + 1;
    } else {
        plan.newSlot = lastKept + 1;
        plan.slotCount = lastKept + 2;
    }
    if (plan.slotCount > kMaxRowsPerPage)
        return std::nullopt;
    plan.room = kPageSize - kDataRowTable - 2 * plan.slotCount - bytes;
    return plan;
}

// True when a row of length bytes fits once the page is packed.
inline bool roomAfterPacking(const uchar *page, int length)
{
    const std::optional<PackPlan> plan = planPacking(page);
    return plan && plan->room >= length;
}

// Packs page and places row in the slot planPacking() names, carrying flags; returns that
// slot. Requires: roomAfterPacking(page, row.size()).
inline int packAndPlaceRow(uchar *page, QByteArrayView row, quint16 flags)
{
    const PackPlan plan = *planPacking(page);
    const int rows = u16(page + kDataRowCount);
    std::vector<std::pair<quint16, QByteArray>> entries(size_t(plan.slotCount)); // flags, bytes
    for (int r = 0; r < std::min(rows, plan.slotCount); ++r) {
        const quint16 slot = u16(page + kDataRowTable + 2 * r);
        if (isDeletedSlot(slot)) {
            entries[size_t(r)].first = quint16(slot & quint16(~kRowOffsetMask));
            continue;
        }
        const RowExtent e = *rowExtent(page, r);
        entries[size_t(r)] = { e.flags, QByteArray(reinterpret_cast<const char *>(page) + e.start, e.length()) };
    }
    entries[size_t(plan.newSlot)] = { flags, row.toByteArray() };

    const quint32 tdef = u32(page + kDataTdefPage);
    const QByteArray header(reinterpret_cast<const char *>(page), kDataRowTable);
    formatDataPage(page, tdef);
    std::memcpy(page, header.constData(), size_t(kDataRowTable)); // keeps unknown header bytes
    int pos = kPageSize;
    for (int r = 0; r < plan.slotCount; ++r) {
        const QByteArray &b = entries[size_t(r)].second;
        pos -= int(b.size());
        std::memcpy(page + pos, b.constData(), size_t(b.size()));
        put16(page + kDataRowTable + 2 * r, quint16(pos | entries[size_t(r)].first));
    }
    put16(page + kDataRowCount, quint16(plan.slotCount));
    put16(page + kDataFreeSpace, quint16(pos - kDataRowTable - 2 * plan.slotCount));
    return plan.newSlot;
}

} // namespace tolvane::jet::internal

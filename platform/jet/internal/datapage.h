// Data pages: the slot table that locates rows on a page, and the placing of new rows (engine
// writes and new files alike). Header-only; pure functions on page buffers.
#pragma once

#include <algorithm>
#include <optional>

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

} // namespace tolvane::jet::internal

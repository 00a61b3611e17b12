#include "platform/jet/internal/usagemaps.h"

#include <algorithm>

namespace tolvane::jet::internal {

namespace {

// Map rows. Inline: type 0, the first page it covers (4 bytes), then a bitmap of the pages
// from there. Reference: type 1, then the numbers of bitmap pages (4 bytes each), the i-th
// covering pages from i * kMapPageBits.
constexpr quint8 kInlineMap = 0;
constexpr quint8 kReferenceMap = 1;
constexpr int kInlineBitmap = 5;
constexpr int kMapPageHeader = 4;
constexpr int kMaxSettleDepth = 4;

bool bitAt(const uchar *bits, quint32 k)
{
    return (bits[k / 8] >> (k % 8)) & 1;
}

void putBit(uchar *bits, quint32 k, bool v)
{
    if (v)
        bits[k / 8] = uchar(bits[k / 8] | (1 << (k % 8)));
    else
        bits[k / 8] = uchar(bits[k / 8] & ~(1 << (k % 8)));
}

void collectBits(const uchar *bits, int bytes, quint64 first, QList<quint32> &pages)
{
    for (int i = 0; i < bytes; ++i) {
        if (!bits[i])
            continue;
        for (int b = 0; b < 8; ++b)
            if (bits[i] & (1 << b))
                pages.append(quint32(first + quint64(i) * 8 + quint64(b)));
    }
}

int referenceSlots(RowExtent row)
{
    return (row.length() - 1) / 4;
}

Status unknownForm(quint8 type, MapRef ref)
{
    return Status::corruption(QStringLiteral("usage map of unknown type %1 at page %2").arg(type).arg(ref.page));
}

Status beyondMap(quint32 page)
{
    return Status::notSupported(QStringLiteral("page %1 is beyond what the usage map can hold").arg(page));
}

// Outside what a map covers, a table map reads "not set" and the global map "free".
bool outsideValue(bool global)
{
    return global;
}

// Moves an inline global map's window so that it covers page. Pages that leave the window
// count as free there, as other writers of this format treat them.
void slideGlobalWindow(uchar *row, int length, quint32 page)
{
    const quint32 start = u32(row + 1);
    const quint32 nbits = quint32(length - kInlineBitmap) * 8;
    const quint32 newStart = page < start ? page & ~7u : ((page + 1 - nbits) + 7) & ~7u;
    const QByteArray old(reinterpret_cast<const char *>(row + kInlineBitmap), length - kInlineBitmap);
    const uchar *oldBits = reinterpret_cast<const uchar *>(old.constData());
    for (quint32 k = 0; k < nbits; ++k) {
        const quint32 q = newStart + k;
        const bool inOld = q >= start && q - start < nbits;
        putBit(row + kInlineBitmap, k, inOld ? bitAt(oldBits, q - start) : true);
    }
    put32(row + 1, newStart);
}

} // namespace

Result<RowExtent> UsageMaps::locate(MapRef ref) const
{
    if (ref.page == 0 || ref.page >= m_store.pageCount())
        return Status::corruption(QStringLiteral("usage map at missing page %1").arg(ref.page));
    const uchar *pg = m_store.page(ref.page);
    const std::optional<RowExtent> row = pg[0] == kPageData ? rowExtent(pg, ref.row) : std::nullopt;
    if (!row || row->length() < kInlineBitmap)
        return Status::corruption(
            QStringLiteral("usage map row %1 of page %2 is unreadable").arg(ref.row).arg(ref.page));
    return *row;
}

quint32 UsageMaps::bitmapPage(const uchar *row, quint32 index) const
{
    const quint32 mp = u32(row + 1 + 4 * index);
    return mp != 0 && mp < m_store.pageCount() && m_store.page(mp)[0] == kPageMap ? mp : 0;
}

Result<QList<quint32>> UsageMaps::pages(MapRef ref) const
{
    Result<RowExtent> row = locate(ref);
    if (!row)
        return row.status();
    const uchar *r = m_store.page(ref.page) + row->start;
    QList<quint32> pages;
    if (r[0] == kInlineMap) {
        collectBits(r + kInlineBitmap, row->length() - kInlineBitmap, u32(r + 1), pages);
    } else if (r[0] == kReferenceMap) {
        for (int i = 0; i < referenceSlots(*row); ++i) {
            if (const quint32 mp = bitmapPage(r, quint32(i)))
                collectBits(
                    m_store.page(mp) + kMapPageHeader, kPageSize - kMapPageHeader, quint64(i) * kMapPageBits, pages);
        }
    } else {
        return unknownForm(r[0], ref);
    }
    return pages;
}

Status UsageMaps::setBit(MapRef ref, quint32 page, bool bit)
{
    return set(ref, page, bit, MapKind::Table, 0);
}

Result<quint32> UsageMaps::allocatePage()
{
    // Pages are always appended; the global map marks a page in use with a 0 bit.
    const quint32 p = m_store.appendPage();
    if (Status s = set(kGlobal, p, false, MapKind::Global, 0); !s)
        return s;
    return p;
}

Status UsageMaps::set(MapRef ref, quint32 page, bool bit, MapKind kind, int depth)
{
    if (depth > kMaxSettleDepth)
        return Status::corruption(QStringLiteral("usage map update does not settle"));
    Result<RowExtent> row = locate(ref);
    if (!row)
        return row.status();
    const quint8 type = m_store.page(ref.page)[row->start];
    if (type == kInlineMap)
        return setInline(ref, *row, page, bit, kind);
    if (type == kReferenceMap)
        return setReferenced(ref, *row, page, bit, kind, depth);
    return unknownForm(type, ref);
}

Status UsageMaps::setInline(MapRef ref, RowExtent row, quint32 page, bool bit, MapKind kind)
{
    const uchar *r = m_store.page(ref.page) + row.start;
    const quint32 start = u32(r + 1);
    const quint32 nbits = quint32(row.length() - kInlineBitmap) * 8;
    const bool global = kind == MapKind::Global;
    const bool covered = page >= start && page - start < nbits;
    if (!covered && bit == outsideValue(global))
        return Status::ok();
    if (!covered && !global)
        return refitOrPromote(ref, row, page);
    uchar *w = m_store.mutablePage(ref.page) + row.start;
    if (!covered)
        slideGlobalWindow(w, row.length(), page);
    putBit(w + kInlineBitmap, page - u32(w + 1), bit);
    return Status::ok();
}

Status UsageMaps::refitOrPromote(MapRef ref, RowExtent row, quint32 page)
{
    // A table map's window is placed anew over all its pages; when they span more than one
    // window, the map takes the reference form.
    Result<QList<quint32>> set = pages(ref);
    if (!set)
        return set.status();
    QList<quint32> pages = set.take();
    pages.append(page);
    std::sort(pages.begin(), pages.end());
    const quint32 nbits = quint32(row.length() - kInlineBitmap) * 8;
    const quint32 newStart = pages.first() & ~7u;
    if (pages.last() - newStart >= nbits)
        return promote(ref, row, pages);
    uchar *r = m_store.mutablePage(ref.page) + row.start;
    std::memset(r + kInlineBitmap, 0, size_t(row.length() - kInlineBitmap));
    put32(r + 1, newStart);
    for (quint32 q : pages)
        putBit(r + kInlineBitmap, q - newStart, true);
    return Status::ok();
}

Status UsageMaps::promote(MapRef ref, RowExtent row, const QList<quint32> &pages)
{
    const int capacity = referenceSlots(row);
    QList<quint32> bitmapPages(capacity, 0);
    for (quint32 q : pages) {
        const quint32 idx = q / kMapPageBits;
        if (int(idx) >= capacity)
            return beyondMap(q);
        if (bitmapPages[idx] == 0) {
            Result<quint32> np = allocatePage();
            if (!np)
                return np.status();
            formatBitmapPage(*np);
            bitmapPages[idx] = *np;
        }
        putBit(m_store.mutablePage(bitmapPages[idx]) + kMapPageHeader, q % kMapPageBits, true);
    }
    uchar *r = m_store.mutablePage(ref.page) + row.start;
    std::memset(r, 0, size_t(row.length()));
    r[0] = kReferenceMap;
    for (int i = 0; i < capacity; ++i)
        put32(r + 1 + 4 * i, bitmapPages.at(i));
    return Status::ok();
}

Status UsageMaps::setReferenced(MapRef ref, RowExtent row, quint32 page, bool bit, MapKind kind, int depth)
{
    const bool global = kind == MapKind::Global;
    const quint32 idx = page / kMapPageBits;
    if (int(idx) >= referenceSlots(row))
        return bit == outsideValue(global) ? Status::ok() : beyondMap(page);
    quint32 mp = bitmapPage(m_store.page(ref.page) + row.start, idx);
    if (mp == 0) {
        if (bit == outsideValue(global))
            return Status::ok();
        Result<quint32> added = addBitmapPage(ref, row, idx, kind, depth);
        if (!added)
            return added.status();
        mp = *added;
    }
    putBit(m_store.mutablePage(mp) + kMapPageHeader, page % kMapPageBits, bit);
    return Status::ok();
}

Result<quint32> UsageMaps::addBitmapPage(MapRef ref, RowExtent row, quint32 index, MapKind kind, int depth)
{
    quint32 mp = 0;
    if (kind == MapKind::Global) {
        // The global map cannot allocate through itself: the page is appended, pages of its
        // range that exist are marked in use, and the new page's own bit is cleared wherever
        // it falls.
        mp = m_store.appendPage();
        formatBitmapPage(mp);
        uchar *bits = m_store.mutablePage(mp) + kMapPageHeader;
        for (quint32 k = 0; k < quint32(kMapPageBits); ++k)
            putBit(bits, k, quint64(index) * kMapPageBits + k >= m_store.pageCount());
    } else {
        Result<quint32> np = allocatePage();
        if (!np)
            return np.status();
        mp = *np;
        formatBitmapPage(mp);
    }
    put32(m_store.mutablePage(ref.page) + row.start + 1 + 4 * index, mp);
    if (kind == MapKind::Global && mp / kMapPageBits != index) {
        if (Status s = set(ref, mp, false, kind, depth + 1); !s)
            return s;
    }
    return mp;
}

void UsageMaps::formatBitmapPage(quint32 page)
{
    uchar *p = m_store.mutablePage(page);
    p[0] = kPageMap;
    p[1] = 0x01;
}

} // namespace tolvane::jet::internal

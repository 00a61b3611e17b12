// UsageMaps: the usage maps of a Jet 4 file (which pages a table owns, which of them have free
// space, and in the global map which pages of the file are free) and the allocation of pages.
// Map forms and rules: docs/jet4-engine.md ("Rows", "Usage maps"). Works on a PageStore that
// must outlive it; not thread-safe.
#pragma once

#include <QList>

#include "platform/jet/internal/datapage.h"
#include "platform/jet/internal/pagestore.h"
#include "platform/jet/internal/tabledef.h"

namespace tolvane::jet::internal {

class UsageMaps {
public:
    // The global map. A set bit there means the page is free.
    static constexpr MapRef kGlobal { 1, 0 };

    explicit UsageMaps(PageStore &store)
        : m_store(store)
    {
    }

    // Pages whose bit is set in the map at ref, ascending. Corruption when the map's row is
    // unreadable or of an unknown form.
    Result<QList<quint32>> pages(MapRef ref) const;

    // Sets or clears the bit of page in the table map at ref. An inline map whose window does
    // not cover the page moves its window, or becomes a reference map when its pages no longer
    // fit one window. Errors: Corruption as pages(); NotSupported when the page lies beyond
    // what the map can describe.
    Status setBit(MapRef ref, quint32 page, bool bit);

    // Appends a page to the file and marks it in use in the global map; returns its number.
    // Errors as setBit().
    Result<quint32> allocatePage();

private:
    enum class MapKind { Table, Global };

    Result<RowExtent> locate(MapRef ref) const;
    // The valid bitmap page at index of a reference map's row, or 0.
    quint32 bitmapPage(const uchar *row, quint32 index) const;
    Status set(MapRef ref, quint32 page, bool bit, MapKind kind, int depth);
    Status setInline(MapRef ref, RowExtent row, quint32 page, bool bit, MapKind kind);
    Status setReferenced(MapRef ref, RowExtent row, quint32 page, bool bit, MapKind kind, int depth);
    Status refitOrPromote(MapRef ref, RowExtent row, quint32 page);
    Status promote(MapRef ref, RowExtent row, const QList<quint32> &pages);
    Result<quint32> addBitmapPage(MapRef ref, RowExtent row, quint32 index, MapKind kind, int depth);
    void formatBitmapPage(quint32 page);

    PageStore &m_store;
};

} // namespace tolvane::jet::internal

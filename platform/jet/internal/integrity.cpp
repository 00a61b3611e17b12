#include "platform/jet/internal/integrity.h"

#include <QSet>

namespace tolvane::jet::internal {

namespace {

constexpr quint32 kSystemCatalogueTdef = 2;

void checkTable(const PageStore &store, const UsageMaps &maps, const QSet<quint32> &freePages, const QString &name,
    const TableDef &def, QList<DamageFinding> &found)
{
    using Kind = DamageFinding::Kind;
    Result<QList<quint32>> pages = maps.pages(def.ownedMap);
    if (!pages) {
        found.append({ Kind::UnreadableMap, name });
        return;
    }
    DamageFinding beyond { Kind::PageBeyondEnd, name, 0, store.pageCount(), 0 };
    qint64 rows = 0;
    for (quint32 p : *pages) {
        if (p >= store.pageCount()) {
            if (beyond.found++ == 0)
                beyond.page = p;
            continue;
        }
        const uchar *page = store.page(p);
        if (page[0] != kPageData) {
            found.append({ Kind::WrongPageType, name, p, 0, page[0] });
            continue;
        }
        if (u32(page + kDataTdefPage) != def.tdefPage) {
            found.append({ Kind::WrongOwner, name, p, 0, u32(page + kDataTdefPage) });
            continue;
        }
        if (freePages.contains(p))
            found.append({ Kind::UsedPageMarkedFree, name, p });
        const int slotCount = u16(page + kDataRowCount);
        for (int r = 0; r < slotCount && kDataRowTable + 2 * (r + 1) <= kPageSize; ++r)
            if (!(u16(page + kDataRowTable + 2 * r) & kRowDeleted))
                ++rows;
    }
    if (beyond.found > 0)
        found.append(beyond);
    const qint64 recorded = tdefRowCount(store, def.tdefPage);
    if (recorded != rows)
        found.append({ Kind::RowCountMismatch, name, 0, recorded, rows });
}

} // namespace

QList<DamageFinding> checkIntegrity(
    const PageStore &store, const UsageMaps &maps, const Catalogue &catalogue, qint64 strayBytes)
{
    QList<DamageFinding> found;
    if (strayBytes > 0)
        found.append(
            { DamageFinding::Kind::FileEndsInsidePage, {}, 0, 0, qint64(store.pageCount()) * kPageSize + strayBytes });
    QSet<quint32> freePages;
    if (Result<QList<quint32>> free = maps.pages(UsageMaps::kGlobal))
        freePages = QSet<quint32>(free->cbegin(), free->cend());
    if (Result<TableDef> system = parseTableDef(store, kSystemCatalogueTdef))
        checkTable(store, maps, freePages, QStringLiteral("MSysObjects"), *system, found);
    for (const QString &name : catalogue.tableNames())
        checkTable(store, maps, freePages, name, catalogue.find(name)->def, found);
    return found;
}

} // namespace tolvane::jet::internal

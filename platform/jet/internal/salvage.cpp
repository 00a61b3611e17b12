#include "platform/jet/internal/salvage.h"

#include <QCryptographicHash>

#include "platform/jet/internal/rowcodec.h"

namespace tolvane::jet::internal {

namespace {

constexpr int kMaxHops = 16;

// The extent of the row that slot r of page p leads to, following overflow pointers through
// the table's pages; nothing when a page, slot or pointer on the way cannot be read, or the row
// reaches past the bytes the file really holds.
std::optional<std::pair<quint32, RowExtent>> follow(
    const PageStore &store, const QSet<quint32> &pages, qint64 fileSize, quint32 p, int r)
{
    for (int hop = 0; hop <= kMaxHops; ++hop) {
        if (!pages.contains(p))
            return std::nullopt;
        const std::optional<RowExtent> e = rowExtent(store.page(p), r);
        if (!e || qint64(p) * kPageSize + e->end > fileSize)
            return std::nullopt;
        if (!(e->flags & kRowOverflow))
            return std::pair { p, *e };
        if (e->length() < 4)
            return std::nullopt;
        const uchar *row = store.page(p) + e->start;
        r = row[0];
        p = u24(row + 1);
    }
    return std::nullopt;
}

} // namespace

SalvageTally salvageRows(const PageStore &store, qint64 fileSize, const UsageMaps &maps, const TableDef &t,
    const QSet<quint32> &otherTables, const std::function<void(const Row &)> &visit)
{
    SalvageTally tally;
    QSet<quint32> candidates;
    if (Result<QList<quint32>> owned = maps.pages(t.ownedMap); owned) {
        for (quint32 p : *owned) {
            if (p >= store.pageCount()) {
                tally.problems << QStringLiteral("ページ %1 がファイルの外にあります").arg(p);
                continue;
            }
            const uchar *pg = store.page(p);
            const quint32 owner = u32(pg + kDataTdefPage);
            const bool typeOk = pg[0] == kPageData;
            const bool ownerOk = owner == t.tdefPage;
            if (typeOk && ownerOk)
                candidates.insert(p);
            else if ((typeOk && !otherTables.contains(owner)) || (!typeOk && ownerOk)) {
                tally.problems << QStringLiteral("ページ %1 の見出しが壊れています").arg(p);
                candidates.insert(p);
            } else {
                tally.problems << QStringLiteral("ページ %1 はこのテーブルのページではありません").arg(p);
            }
        }
    } else {
        tally.problems << QStringLiteral("使用ページの一覧が読めません");
    }
    for (quint32 p = 3; p < store.pageCount(); ++p) {
        const uchar *pg = store.page(p);
        if (pg[0] == kPageData && u32(pg + kDataTdefPage) == t.tdefPage && !candidates.contains(p)) {
            tally.problems << QStringLiteral("ページ %1 が使用ページの一覧にありません").arg(p);
            candidates.insert(p);
        }
    }
    QList<quint32> pages(candidates.cbegin(), candidates.cend());
    std::sort(pages.begin(), pages.end());

    QSet<QByteArray> seen;
    for (quint32 p : pages) {
        const uchar *pg = store.page(p);
        const QByteArray digest = QCryptographicHash::hash(
            QByteArrayView(reinterpret_cast<const char *>(pg) + kDataRowCount, kPageSize - kDataRowCount),
            QCryptographicHash::Sha1);
        if (seen.contains(digest)) {
            tally.problems << QStringLiteral("ページ %1 は別のページの写しです").arg(p);
            continue;
        }
        seen.insert(digest);
        int rows = u16(pg + kDataRowCount);
        if (kDataRowTable + 2 * rows > kPageSize) {
            tally.problems << QStringLiteral("ページ %1 の行の表が壊れています").arg(p);
            continue;
        }
        for (int r = 0; r < rows; ++r) {
            const quint16 slot = u16(pg + kDataRowTable + 2 * r);
            if (slot & kRowDeleted)
                continue;
            const auto at = follow(store, candidates, fileSize, p, r);
            // A row without columns is what zeroed bytes look like; no writer stores one.
            const uchar *bytes = at ? store.page(at->first) + at->second.start : nullptr;
            Result<Row> row = at && at->second.length() >= 2 && u16(bytes) != 0
                ? decodeRow(t, bytes, at->second.length(), store)
                : Result<Row>(Status::corruption({}));
            if (!row) {
                ++tally.unreadable;
                continue;
            }
            ++tally.rows;
            visit(*row);
        }
    }
    return tally;
}

SalvagedCatalogue salvageCatalogue(const PageStore &store, qint64 fileSize, const UsageMaps &maps)
{
    constexpr quint32 kSystemTdefPage = 2;
    constexpr quint32 kTablesContainer = 0x0F000001;
    constexpr quint32 kSystemFlags = 0x80000002;
    SalvagedCatalogue out;
    Result<TableDef> sys = parseTableDef(store, kSystemTdefPage);
    if (!sys) {
        out.problems << QStringLiteral("システムカタログの定義が読めません");
        return out;
    }
    // Only the columns that name tables: the long-value columns may be damaged without harm.
    const QStringList wanted { QStringLiteral("Id"), QStringLiteral("ParentId"), QStringLiteral("Name"),
        QStringLiteral("Type"), QStringLiteral("Flags") };
    sys->columns.removeIf([&](const ColumnDef &c) { return !wanted.contains(c.name); });
    QList<int> at;
    for (const QString &w : wanted) {
        int i = 0;
        while (i < sys->columns.size() && sys->columns.at(i).name != w)
            ++i;
        at << (i < sys->columns.size() ? i : -1);
    }
    if (at.contains(-1)) {
        out.problems << QStringLiteral("システムカタログの列が欠けています");
        return out;
    }
    const SalvageTally tally = salvageRows(store, fileSize, maps, *sys, {}, [&](const Row &r) {
        const quint32 flags = quint32(r.at(at[4]).toLongLong());
        if (r.at(at[3]).toInt() != 1 || (flags & kSystemFlags) || quint32(r.at(at[1]).toLongLong()) != kTablesContainer)
            return;
        SalvagedTable t;
        t.name = r.at(at[2]).toString();
        Result<TableDef> def = parseTableDef(store, quint32(r.at(at[0]).toLongLong()) & 0x00FFFFFF);
        if (!def) {
            out.problems << QStringLiteral("テーブル「%1」の定義が読めません").arg(t.name);
            return;
        }
        t.def = def.take();
        for (const ColumnDef &c : t.def.columns) {
            ColumnInfo ci;
            ci.name = c.name;
            ci.type = c.columnType();
            ci.number = c.number;
            ci.maxLength = c.columnType() == ColumnType::Text ? c.length / 2 : c.length;
            ci.compressible = c.compressible();
            t.columns << ci;
        }
        out.tables << t;
    });
    for (const QString &p : tally.problems)
        out.problems << QStringLiteral("システムカタログ：") + p;
    if (tally.unreadable)
        out.problems << QStringLiteral("システムカタログの %1 行が読めません").arg(tally.unreadable);
    return out;
}

} // namespace tolvane::jet::internal

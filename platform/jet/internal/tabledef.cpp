#include "platform/jet/internal/tabledef.h"

#include <algorithm>

#include <QSet>

#include "platform/jet/internal/bytes.h"

namespace tolvane::jet::internal {

int fixedSizeOf(quint8 type)
{
    switch (ColumnType(type)) {
    case ColumnType::Boolean:
        return 0;
    case ColumnType::Byte:
        return 1;
    case ColumnType::Integer:
        return 2;
    case ColumnType::Long:
        return 4;
    case ColumnType::Money:
        return 8;
    case ColumnType::Float:
        return 4;
    case ColumnType::Double:
        return 8;
    case ColumnType::DateTime:
        return 8;
    case ColumnType::Guid:
        return 16;
    case ColumnType::Numeric:
        return 17;
    default:
        return -1;
    }
}

qint64 tdefRowCount(const PageStore &store, quint32 tdefPage)
{
    if (tdefPage >= store.pageCount())
        return 0;
    return u32(store.page(tdefPage) + 16);
}

void computeLayout(TableDef &t)
{
    t.fixedAreaSize = 0;
    t.varSlots = 0;
    t.hasLongValues = false;
    for (const ColumnDef &c : t.columns) {
        if (c.type == quint8(ColumnType::Memo) || c.type == quint8(ColumnType::Ole))
            t.hasLongValues = true;
        if (c.isFixed()) {
            const int size = fixedSizeOf(c.type) >= 0 ? fixedSizeOf(c.type) : c.length;
            if (c.type != quint8(ColumnType::Boolean))
                t.fixedAreaSize = std::max(t.fixedAreaSize, c.fixedOffset + size);
        } else {
            t.varSlots = std::max(t.varSlots, c.varIndex + 1);
        }
    }
}

Result<TableDef> parseTableDef(const PageStore &store, quint32 page)
{
    auto bad = [page](const QString &what) {
        return Status::corruption(QStringLiteral("table definition at page %1: %2").arg(page).arg(what));
    };
    if (page == 0 || page >= store.pageCount() || store.page(page)[0] != kPageTdef)
        return bad(QStringLiteral("not a table definition page"));

    // The definition is one byte stream: the first page whole, then each following page after
    // its own 8-byte header.
    QByteArray stream(reinterpret_cast<const char *>(store.page(page)), kPageSize);
    QSet<quint32> seen { page };
    quint32 next = u32(store.page(page) + 4);
    while (next != 0) {
        if (next >= store.pageCount() || store.page(next)[0] != kPageTdef || seen.contains(next) || seen.size() > 64)
            return bad(QStringLiteral("broken continuation page %1").arg(next));
        seen.insert(next);
        stream.append(reinterpret_cast<const char *>(store.page(next)) + 8, kPageSize - 8);
        next = u32(store.page(next) + 4);
    }
    const uchar *b = reinterpret_cast<const uchar *>(stream.constData());
    auto need = [&](qint64 off, qint64 n) { return off >= 0 && n >= 0 && off + n <= stream.size(); };

    TableDef t;
    t.tdefPage = page;
    t.tableType = b[40];
    t.maxCols = u16(b + 41);
    t.numVarCols = u16(b + 43);
    t.numCols = u16(b + 45);
    t.numIndexes = int(u32(b + 47));
    t.numRealIndexes = int(u32(b + 51));
    t.ownedMap = MapRef::fromEncoded(u32(b + 55));
    t.freeMap = MapRef::fromEncoded(u32(b + 59));
    if (t.numCols > 4096 || t.numRealIndexes < 0 || t.numRealIndexes > 1000 || t.numIndexes < 0 || t.numIndexes > 1000)
        return bad(QStringLiteral("implausible counts"));

    qint64 off = 63 + qint64(t.numRealIndexes) * 12;
    if (!need(off, qint64(t.numCols) * 25))
        return bad(QStringLiteral("column blocks run past the end"));
    for (int i = 0; i < t.numCols; ++i, off += 25) {
        const uchar *c = b + off;
        ColumnDef col;
        col.type = c[0];
        col.number = u16(c + 5);
        col.varIndex = u16(c + 7);
        col.flags = c[15];
        col.extFlags = c[16];
        col.fixedOffset = u16(c + 21);
        col.length = u16(c + 23);
        t.columns.append(col);
    }
    for (int i = 0; i < t.numCols; ++i) {
        if (!need(off, 2))
            return bad(QStringLiteral("column names run past the end"));
        const int n = u16(b + off);
        off += 2;
        if (!need(off, n) || n % 2)
            return bad(QStringLiteral("column name runs past the end"));
        t.columns[i].name = QString::fromUtf16(reinterpret_cast<const char16_t *>(stream.constData() + off), n / 2);
        off += n;
    }
    std::stable_sort(
        t.columns.begin(), t.columns.end(), [](const ColumnDef &a, const ColumnDef &x) { return a.number < x.number; });

    computeLayout(t);
    return t;
}

} // namespace tolvane::jet::internal

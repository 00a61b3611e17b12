#include "platform/jet/internal/engine.h"

#include <algorithm>

#include <QDir>
#include <QFileInfo>
#include <QSet>

#include "platform/jet/internal/bytes.h"
#include "platform/jet/internal/rowcodec.h"

namespace tolvane::jet {

using namespace internal;

namespace {

constexpr quint32 kTablesContainer = 0x0F000001;
constexpr quint32 kSystemFlags = 0x80000002;
constexpr MapRef kGlobalMap { 1, 0 };
constexpr int kMaxOverflowHops = 16;

Status rowGone(RowId id)
{
    return Status::notFound(QStringLiteral("no row at page %1 slot %2").arg(id.page).arg(id.row));
}

// A row longer than a data page can hold is refused before anything is written.
Status checkRowLength(const QByteArray &bytes)
{
    if (bytes.size() > kMaxRowSize)
        return Status::invalidArgument(QStringLiteral("the row is too long (%1 bytes)").arg(bytes.size()));
    return Status::ok();
}

} // namespace

Engine::~Engine() = default;

QString Engine::path() const
{
    return m_store->path();
}

Result<std::unique_ptr<Engine>> Engine::open(const QString &path, bool readOnly)
{
    std::unique_ptr<Engine> e(new Engine);
    const QFileInfo fi(path);
    if (!fi.exists())
        return Status::notFound(QStringLiteral("no such file: %1").arg(QDir::toNativeSeparators(path)));
    const QString ldb = fi.absolutePath() + QLatin1Char('/') + fi.completeBaseName() + QStringLiteral(".ldb");
    if (readOnly) {
        e->m_readOnly = true;
        e->m_readOnlyReason = QStringLiteral("opened read-only on request");
    } else if (QFileInfo::exists(ldb)) {
        e->m_readOnly = true;
        e->m_readOnlyReason = QStringLiteral("another program has the file open (lock file %1 exists)")
                                  .arg(QDir::toNativeSeparators(ldb));
    } else if (!fi.isWritable()) {
        e->m_readOnly = true;
        e->m_readOnlyReason = QStringLiteral("the file cannot be written");
    } else if (!QFileInfo(fi.absolutePath()).isWritable()) {
        e->m_readOnly = true;
        e->m_readOnlyReason = QStringLiteral("the folder of the file cannot be written");
    }
    Result<std::unique_ptr<PageStore>> store = PageStore::open(path, !e->m_readOnly);
    if (!store)
        return store.status();
    e->m_store = store.take();
    if (Status s = e->checkHeader(); !s)
        return s;
    if (Status s = e->loadCatalogue(); !s)
        return s;
    return e;
}

Status Engine::checkHeader() const
{
    const uchar *h = m_store->page(0);
    static const char kJet[] = "Standard Jet DB";
    static const char kAce[] = "Standard ACE DB";
    const bool jet = std::memcmp(h + 4, kJet, 15) == 0;
    const bool ace = std::memcmp(h + 4, kAce, 15) == 0;
    if (h[0] != 0 || h[1] != 1 || (!jet && !ace))
        return Status::corruption(QStringLiteral("not a Jet database"));
    const quint8 version = h[0x14];
    if (ace || version >= 2)
        return Status::notSupported(QStringLiteral("Access 2007 and later files (ACCDB) are not supported"));
    if (version == 0)
        return Status::notSupported(QStringLiteral("Jet 3 (Access 97) files are not supported"));
    if (m_store->pageCount() < 3)
        return Status::corruption(QStringLiteral("the file is too short"));

    QByteArray plain(reinterpret_cast<const char *>(h) + 0x18, 128);
    const QByteArray mask = headerMask();
    for (int i = 0; i < 128; ++i)
        plain[i] = char(plain[i] ^ mask[i]);
    const uchar *p = reinterpret_cast<const uchar *>(plain.constData()) - 0x18; // page offsets
    if (u32(p + 0x3E) != 0)
        return Status::notSupported(QStringLiteral("encoded databases are not supported"));
    const qint32 date = qint32(f64(p + 0x72));
    uchar dateMask[4];
    put32(dateMask, quint32(date));
    bool password = false;
    bool raw = false;
    for (int i = 0; i < 40; ++i) {
        raw = raw || p[0x42 + i] != 0;
        password = password || (p[0x42 + i] ^ dateMask[i % 4]) != 0;
    }
    if (raw && password)
        return Status::notSupported(QStringLiteral("password-protected databases are not supported"));
    if (m_store->page(1)[0] != kPageData || m_store->page(2)[0] != kPageTdef)
        return Status::corruption(QStringLiteral("system pages are missing"));
    return Status::ok();
}

Status Engine::loadCatalogue()
{
    Result<TableDef> sys = parseTableDef(*m_store, 2);
    if (!sys)
        return sys.status();
    // Only the columns that name tables are decoded: the catalogue's long-value columns
    // (properties, module code) do not matter here and may be damaged without harm.
    QList<ColumnDef> wanted;
    for (const ColumnDef &c : sys->columns) {
        if (c.name == u"Id" || c.name == u"ParentId" || c.name == u"Name" || c.name == u"Type" || c.name == u"Flags")
            wanted.append(c);
    }
    sys->columns = wanted;
    int idCol = -1, parentCol = -1, nameCol = -1, typeCol = -1, flagsCol = -1;
    for (int i = 0; i < sys->columns.size(); ++i) {
        const QString &n = sys->columns.at(i).name;
        if (n == u"Id")
            idCol = i;
        else if (n == u"ParentId")
            parentCol = i;
        else if (n == u"Name")
            nameCol = i;
        else if (n == u"Type")
            typeCol = i;
        else if (n == u"Flags")
            flagsCol = i;
    }
    if (idCol < 0 || nameCol < 0 || typeCol < 0)
        return Status::corruption(QStringLiteral("the system catalogue lacks its columns"));

    struct Entry {
        QString name;
        quint32 page;
    };
    QList<Entry> entries;
    Status rowError;
    Status s = forEachRow(*sys, [&](RowId, const uchar *data, int len) {
        Result<Row> row = decodeRow(*sys, data, len, m_store.get());
        if (!row) {
            rowError = row.status();
            return false;
        }
        const Row &r = *row;
        if (r.at(typeCol).toInt() != 1)
            return true;
        const quint32 flags = flagsCol >= 0 ? quint32(r.at(flagsCol).toInt()) : 0;
        const quint32 parent = parentCol >= 0 ? quint32(r.at(parentCol).toInt()) : kTablesContainer;
        if ((flags & kSystemFlags) != 0 || parent != kTablesContainer)
            return true;
        entries.append({ r.at(nameCol).toString(), quint32(r.at(idCol).toInt()) & 0x00FFFFFF });
        return true;
    });
    if (!s)
        return s;
    if (!rowError)
        return rowError;
    for (const Entry &e : entries) {
        Result<TableDef> def = parseTableDef(*m_store, e.page);
        if (!def)
            return Status::corruption(QStringLiteral("table %1: %2").arg(e.name, def.status().message()));
        Table t;
        t.name = e.name;
        t.def = def.take();
        for (const ColumnDef &c : t.def.columns) {
            ColumnInfo ci;
            ci.name = c.name;
            ci.type = c.columnType();
            ci.number = c.number;
            ci.maxLength = c.type == quint8(ColumnType::Text) ? c.length / 2 : c.length;
            ci.compressible = c.compressible();
            t.columns.append(ci);
        }
        m_tables.append(t);
    }
    return Status::ok();
}

Status Engine::refreshIfChanged()
{
    if (m_inTransaction || m_store->dirty() || !m_store->changedOnDisk())
        return Status::ok();
    Result<std::unique_ptr<PageStore>> store = PageStore::open(m_store->path(), !m_readOnly);
    if (!store)
        return store.status();
    std::unique_ptr<PageStore> old = std::move(m_store);
    QList<Table> oldTables = std::move(m_tables);
    m_store = store.take();
    m_tables.clear();
    Status s = checkHeader();
    if (s)
        s = loadCatalogue();
    if (!s) {
        m_store = std::move(old);
        m_tables = std::move(oldTables);
    }
    return s;
}

Status Engine::reloadTables()
{
    for (Table &t : m_tables) {
        Result<TableDef> def = parseTableDef(*m_store, t.def.tdefPage);
        if (!def)
            return def.status();
        t.def = def.take();
        t.insertPage = 0;
    }
    return Status::ok();
}

QStringList Engine::tableNames() const
{
    QStringList names;
    for (const Table &t : m_tables)
        names.append(t.name);
    return names;
}

bool Engine::hasTable(const QString &name) const
{
    return std::any_of(m_tables.cbegin(), m_tables.cend(), [&](const Table &t) { return t.name == name; });
}

const Engine::Table *Engine::findTable(const QString &name) const
{
    for (const Table &t : m_tables)
        if (t.name == name)
            return &t;
    for (const Table &t : m_tables)
        if (t.name.compare(name, Qt::CaseInsensitive) == 0)
            return &t;
    return nullptr;
}

Result<TableInfo> Engine::tableInfo(const QString &name) const
{
    const Table *t = findTable(name);
    if (!t)
        return Status::notFound(QStringLiteral("no table %1").arg(name));
    TableInfo info;
    info.name = t->name;
    info.columns = t->columns;
    info.rowCount = tdefRowCount(*m_store, t->def.tdefPage);
    return info;
}

Result<Engine::Table *> Engine::writableTable(const QString &name)
{
    if (m_readOnly)
        return Status::readOnly(QStringLiteral("the database is read-only: %1").arg(m_readOnlyReason));
    Table *t = const_cast<Table *>(findTable(name));
    if (!t)
        return Status::notFound(QStringLiteral("no table %1").arg(name));
    if (t->def.numRealIndexes > 0)
        return Status::notSupported(QStringLiteral("table %1 has indexes; writing it is not supported").arg(t->name));
    if (t->def.hasLongValues)
        return Status::notSupported(
            QStringLiteral("table %1 has memo or OLE columns; writing it is not supported").arg(t->name));
    return t;
}

Result<Engine::PhysicalStats> Engine::physicalStats(const QString &table) const
{
    const Table *t = findTable(table);
    if (!t)
        return Status::notFound(QStringLiteral("no table %1").arg(table));
    PhysicalStats st;
    for (quint32 p = 0; p < m_store->pageCount(); ++p) {
        const uchar *pg = m_store->page(p);
        if (pg[0] != kPageData || u32(pg + kDataTdefPage) != t->def.tdefPage)
            continue;
        ++st.dataPages;
        const int rows = std::min<int>(u16(pg + kDataRowCount), (kPageSize - kDataRowTable) / 2);
        for (int r = 0; r < rows; ++r) {
            const quint16 f = u16(pg + kDataRowTable + 2 * r) & quint16(~kRowOffsetMask);
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

quint32 Engine::tdefPage(const QString &table) const
{
    const Table *t = findTable(table);
    return t ? t->def.tdefPage : 0;
}

// ---------------------------------------------------------------------------------------------
// Transactions

Status Engine::beginTransaction()
{
    if (m_readOnly)
        return Status::readOnly(QStringLiteral("the database is read-only: %1").arg(m_readOnlyReason));
    if (m_inTransaction)
        return Status::invalidArgument(QStringLiteral("a transaction is already open"));
    m_inTransaction = true;
    return Status::ok();
}

Status Engine::commit()
{
    if (!m_inTransaction)
        return Status::invalidArgument(QStringLiteral("no transaction is open"));
    m_inTransaction = false;
    Status s = m_store->commit();
    if (!s)
        reloadTables();
    return s;
}

void Engine::rollback()
{
    m_inTransaction = false;
    m_store->rollback();
    reloadTables();
}

template <class T, class F> T Engine::writeOperation(F op)
{
    // Each operation is atomic: on failure its own changes are undone, and outside a
    // transaction a successful one is committed at once.
    m_store->beginSavepoint();
    T result = op();
    if (!result.isOk()) {
        m_store->rollbackToSavepoint();
        if (!m_inTransaction)
            m_store->rollback();
        reloadTables();
        return result;
    }
    m_store->releaseSavepoint();
    if (!m_inTransaction) {
        if (Status s = m_store->commit(); !s) {
            reloadTables();
            return s;
        }
    }
    return result;
}

// ---------------------------------------------------------------------------------------------
// Usage maps

Status Engine::locateMapRow(MapRef ref, int *start, int *end) const
{
    if (ref.page == 0 || ref.page >= m_store->pageCount())
        return Status::corruption(QStringLiteral("usage map at missing page %1").arg(ref.page));
    const uchar *pg = m_store->page(ref.page);
    if (pg[0] != kPageData || !rowExtent(pg, ref.row, start, end) || *end - *start < 5)
        return Status::corruption(
            QStringLiteral("usage map row %1 of page %2 is unreadable").arg(ref.row).arg(ref.page));
    return Status::ok();
}

Result<QList<quint32>> Engine::mapPages(MapRef ref) const
{
    int s = 0, e = 0;
    if (Status st = locateMapRow(ref, &s, &e); !st)
        return st;
    const uchar *row = m_store->page(ref.page) + s;
    const int len = e - s;
    QList<quint32> pages;
    auto collect = [&pages](const uchar *bits, int bytes, quint64 first) {
        for (int i = 0; i < bytes; ++i) {
            if (!bits[i])
                continue;
            for (int b = 0; b < 8; ++b)
                if (bits[i] & (1 << b))
                    pages.append(quint32(first + quint64(i) * 8 + quint64(b)));
        }
    };
    if (row[0] == 0) {
        collect(row + 5, len - 5, u32(row + 1));
    } else if (row[0] == 1) {
        for (int i = 0; i < (len - 1) / 4; ++i) {
            const quint32 mp = u32(row + 1 + 4 * i);
            if (mp == 0 || mp >= m_store->pageCount() || m_store->page(mp)[0] != kPageMap)
                continue;
            collect(m_store->page(mp) + 4, kPageSize - 4, quint64(i) * kMapPageBits);
        }
    } else {
        return Status::corruption(QStringLiteral("usage map of unknown type %1 at page %2").arg(row[0]).arg(ref.page));
    }
    return pages;
}

Result<bool> Engine::mapHas(MapRef ref, quint32 page) const
{
    int s = 0, e = 0;
    if (Status st = locateMapRow(ref, &s, &e); !st)
        return st;
    const uchar *row = m_store->page(ref.page) + s;
    if (row[0] == 0) {
        const quint32 start = u32(row + 1);
        const quint64 bits = quint64(e - s - 5) * 8;
        if (page < start || page - start >= bits)
            return false;
        const quint32 k = page - start;
        return bool(row[5 + k / 8] & (1 << (k % 8)));
    }
    const quint32 idx = page / kMapPageBits;
    if (int(idx) >= (e - s - 1) / 4)
        return false;
    const quint32 mp = u32(row + 1 + 4 * idx);
    if (mp == 0 || mp >= m_store->pageCount() || m_store->page(mp)[0] != kPageMap)
        return false;
    const quint32 k = page % kMapPageBits;
    return bool(m_store->page(mp)[4 + k / 8] & (1 << (k % 8)));
}

Result<quint32> Engine::allocatePage()
{
    // Pages are always appended; the global map marks a page in use with a 0 bit.
    const quint32 p = m_store->appendPage();
    if (Status s = setMapBit(kGlobalMap, p, false, true); !s)
        return s;
    return p;
}

Status Engine::setMapBit(MapRef ref, quint32 page, bool bit, bool global, int depth)
{
    if (depth > 4)
        return Status::corruption(QStringLiteral("usage map update does not settle"));
    int s = 0, e = 0;
    if (Status st = locateMapRow(ref, &s, &e); !st)
        return st;
    // Outside its window a table map means "not set" and the global map means "free".
    const bool outside = global;
    uchar *row = m_store->mutablePage(ref.page) + s;
    const int len = e - s;
    auto put = [](uchar *bits, quint32 k, bool v) {
        if (v)
            bits[k / 8] = uchar(bits[k / 8] | (1 << (k % 8)));
        else
            bits[k / 8] = uchar(bits[k / 8] & ~(1 << (k % 8)));
    };

    if (row[0] == 0) {
        const quint32 start = u32(row + 1);
        const quint32 nbits = quint32(len - 5) * 8;
        if (page >= start && page - start < nbits) {
            put(row + 5, page - start, bit);
            return Status::ok();
        }
        if (bit == outside)
            return Status::ok();
        if (global) {
            // Slide the window so that it covers the page; pages that leave it count as free,
            // as other writers of this format do for the global map.
            const quint32 newStart = page < start ? page & ~7u : ((page + 1 - nbits) + 7) & ~7u;
            QByteArray old(reinterpret_cast<const char *>(row + 5), len - 5);
            for (quint32 k = 0; k < nbits; ++k) {
                const quint32 q = newStart + k;
                bool v = true;
                if (q >= start && q - start < nbits)
                    v = (uchar(old[(q - start) / 8]) >> ((q - start) % 8)) & 1;
                put(row + 5, k, v);
            }
            put32(row + 1, newStart);
            put(row + 5, page - newStart, bit);
            return Status::ok();
        }
        Result<QList<quint32>> set = mapPages(ref);
        if (!set)
            return set.status();
        QList<quint32> pages = set.take();
        pages.append(page);
        std::sort(pages.begin(), pages.end());
        const quint32 newStart = pages.first() & ~7u;
        if (pages.last() - newStart < nbits) {
            row = m_store->mutablePage(ref.page) + s;
            std::memset(row + 5, 0, size_t(len - 5));
            put32(row + 1, newStart);
            for (quint32 q : pages)
                put(row + 5, q - newStart, true);
            return Status::ok();
        }
        return promoteMap(ref, pages);
    }
    if (row[0] != 1)
        return Status::corruption(QStringLiteral("usage map of unknown type %1 at page %2").arg(row[0]).arg(ref.page));

    const quint32 idx = page / kMapPageBits;
    if (int(idx) >= (len - 1) / 4) {
        if (bit == outside)
            return Status::ok();
        return Status::notSupported(QStringLiteral("page %1 is beyond what the usage map can hold").arg(page));
    }
    quint32 mp = u32(row + 1 + 4 * idx);
    if (mp == 0 || mp >= m_store->pageCount() || m_store->page(mp)[0] != kPageMap) {
        if (bit == outside)
            return Status::ok();
        if (global) {
            // A new bitmap page for the global map: existing pages in its range are in use.
            mp = m_store->appendPage();
            uchar *np = m_store->mutablePage(mp);
            np[0] = kPageMap;
            np[1] = 0x01;
            for (quint32 k = 0; k < quint32(kMapPageBits); ++k)
                put(np + 4, k, quint64(idx) * kMapPageBits + k >= m_store->pageCount());
            row = m_store->mutablePage(ref.page) + s;
            put32(row + 1 + 4 * idx, mp);
            if (mp / kMapPageBits != idx)
                if (Status st = setMapBit(ref, mp, false, true, depth + 1); !st)
                    return st;
        } else {
            Result<quint32> np = allocatePage();
            if (!np)
                return np.status();
            mp = *np;
            uchar *p = m_store->mutablePage(mp);
            p[0] = kPageMap;
            p[1] = 0x01;
            row = m_store->mutablePage(ref.page) + s;
            put32(row + 1 + 4 * idx, mp);
        }
    }
    put(m_store->mutablePage(mp) + 4, page % kMapPageBits, bit);
    return Status::ok();
}

Status Engine::promoteMap(MapRef ref, QList<quint32> pages)
{
    // The inline window cannot hold every page: the row becomes a list of bitmap pages.
    int s = 0, e = 0;
    if (Status st = locateMapRow(ref, &s, &e); !st)
        return st;
    const int capacity = (e - s - 1) / 4;
    QList<quint32> bitmapPages(capacity, 0);
    for (quint32 q : pages) {
        const quint32 idx = q / kMapPageBits;
        if (int(idx) >= capacity)
            return Status::notSupported(QStringLiteral("page %1 is beyond what the usage map can hold").arg(q));
        if (bitmapPages[idx] == 0) {
            Result<quint32> np = allocatePage();
            if (!np)
                return np.status();
            uchar *p = m_store->mutablePage(*np);
            p[0] = kPageMap;
            p[1] = 0x01;
            bitmapPages[idx] = *np;
        }
        uchar *bits = m_store->mutablePage(bitmapPages[idx]) + 4;
        const quint32 k = q % kMapPageBits;
        bits[k / 8] = uchar(bits[k / 8] | (1 << (k % 8)));
    }
    uchar *row = m_store->mutablePage(ref.page) + s;
    std::memset(row, 0, size_t(e - s));
    row[0] = 1;
    for (int i = 0; i < capacity; ++i)
        put32(row + 1 + 4 * i, bitmapPages.at(i));
    return Status::ok();
}

// ---------------------------------------------------------------------------------------------
// Rows

Status Engine::forEachRow(const TableDef &t, const RawVisit &visit) const
{
    Result<QList<quint32>> pages = mapPages(t.ownedMap);
    if (!pages)
        return pages.status();
    for (quint32 p : *pages) {
        if (p >= m_store->pageCount())
            break;
        const uchar *pg = m_store->page(p);
        if (pg[0] != kPageData || u32(pg + kDataTdefPage) != t.tdefPage)
            continue;
        const int rows = u16(pg + kDataRowCount);
        if (kDataRowTable + 2 * rows > kPageSize)
            return Status::corruption(QStringLiteral("page %1: row table overflows the page").arg(p));
        for (int r = 0; r < rows; ++r) {
            const quint16 slot = u16(pg + kDataRowTable + 2 * r);
            if (slot & kRowDeleted)
                continue;
            RowId data;
            int s = 0, e = 0;
            if (Status st = locateRow(t, RowId { p, quint8(r) }, &data, &s, &e); !st)
                return st;
            if (!visit(RowId { p, quint8(r) }, m_store->page(data.page) + s, e - s))
                return Status::ok();
        }
    }
    return Status::ok();
}

Status Engine::locateRow(const TableDef &t, RowId id, RowId *data, int *start, int *end) const
{
    RowId cur = id;
    for (int hop = 0; hop <= kMaxOverflowHops; ++hop) {
        if (cur.page == 0 || cur.page >= m_store->pageCount())
            return hop == 0 ? rowGone(id)
                            : Status::corruption(QStringLiteral("overflow pointer to missing page %1").arg(cur.page));
        const uchar *pg = m_store->page(cur.page);
        if (pg[0] != kPageData || u32(pg + kDataTdefPage) != t.tdefPage) {
            if (hop == 0)
                return rowGone(id);
            return Status::corruption(QStringLiteral("overflow pointer to page %1 of another table").arg(cur.page));
        }
        quint16 flags = 0;
        int s = 0, e = 0;
        if (cur.row >= u16(pg + kDataRowCount)) {
            if (hop == 0)
                return rowGone(id);
            return Status::corruption(
                QStringLiteral("overflow pointer to missing row %1 of page %2").arg(cur.row).arg(cur.page));
        }
        if (!rowExtent(pg, cur.row, &s, &e, &flags))
            return Status::corruption(
                QStringLiteral("page %1: row %2 lies outside the page").arg(cur.page).arg(cur.row));
        if (hop == 0 && (flags & kRowDeleted))
            return rowGone(id);
        if (!(flags & kRowOverflow)) {
            *data = cur;
            *start = s;
            *end = e;
            return Status::ok();
        }
        if (e - s < 4)
            return Status::corruption(QStringLiteral("page %1: overflow pointer too short").arg(cur.page));
        cur = RowId { u24(pg + s + 1), pg[s] };
    }
    return Status::corruption(
        QStringLiteral("overflow pointers of page %1 slot %2 form a loop").arg(id.page).arg(id.row));
}

Status Engine::scan(const QString &table, const std::function<bool(RowId, const Row &)> &visit) const
{
    const Table *t = findTable(table);
    if (!t)
        return Status::notFound(QStringLiteral("no table %1").arg(table));
    Status rowError;
    Status s = forEachRow(t->def, [&](RowId id, const uchar *data, int len) {
        Result<Row> row = decodeRow(t->def, data, len, m_store.get());
        if (!row) {
            rowError = Status::corruption(QStringLiteral("table %1, page %2 slot %3: %4")
                                              .arg(t->name)
                                              .arg(id.page)
                                              .arg(id.row)
                                              .arg(row.status().message()));
            return false;
        }
        return visit(id, *row);
    });
    return s ? rowError : s;
}

Result<Row> Engine::readRow(const QString &table, RowId id) const
{
    const Table *t = findTable(table);
    if (!t)
        return Status::notFound(QStringLiteral("no table %1").arg(table));
    RowId data;
    int s = 0, e = 0;
    if (Status st = locateRow(t->def, id, &data, &s, &e); !st)
        return st;
    return decodeRow(t->def, m_store->page(data.page) + s, e - s, m_store.get());
}

bool Engine::fits(const Table &t, quint32 page, int length) const
{
    if (page == 0 || page >= m_store->pageCount())
        return false;
    const uchar *pg = m_store->page(page);
    if (pg[0] != kPageData || u32(pg + kDataTdefPage) != t.def.tdefPage)
        return false;
    const int rows = u16(pg + kDataRowCount);
    if (rows >= kMaxRowsPerPage)
        return false;
    if (u16(pg + kDataFreeSpace) < length + 2)
        return false;
    // The new row goes just below the last slot's row, which must be the lowest one.
    int low = kPageSize;
    for (int r = 0; r < rows; ++r)
        low = std::min(low, int(u16(pg + kDataRowTable + 2 * r) & kRowOffsetMask));
    const int last = rows ? int(u16(pg + kDataRowTable + 2 * (rows - 1)) & kRowOffsetMask) : kPageSize;
    return last == low && low - length >= kDataRowTable + 2 * (rows + 1);
}

Result<quint32> Engine::pageForRow(Table &t, int length, quint32 prefer)
{
    if (prefer && fits(t, prefer, length))
        return prefer;
    if (t.insertPage && fits(t, t.insertPage, length))
        return t.insertPage;
    if (t.insertPage == 0) {
        // The last page that the table owns and lists as having free space.
        Result<QList<quint32>> free = mapPages(t.def.freeMap);
        if (!free)
            return free.status();
        for (auto it = free->crbegin(); it != free->crend(); ++it) {
            const quint32 p = *it;
            if (p >= m_store->pageCount())
                continue;
            const uchar *pg = m_store->page(p);
            if (pg[0] == kPageData && u32(pg + kDataTdefPage) == t.def.tdefPage) {
                t.insertPage = p;
                break;
            }
        }
        if (t.insertPage && fits(t, t.insertPage, length))
            return t.insertPage;
    }
    if (t.insertPage) {
        // Full for this row: it leaves the free-space map, as it would with other writers.
        if (Status s = setMapBit(t.def.freeMap, t.insertPage, false, false); !s)
            return s;
        t.insertPage = 0;
    }
    Result<quint32> np = allocatePage();
    if (!np)
        return np.status();
    uchar *pg = m_store->mutablePage(*np);
    pg[0] = kPageData;
    pg[1] = 0x01;
    put16(pg + kDataFreeSpace, quint16(kPageSize - kDataRowTable));
    put32(pg + kDataTdefPage, t.def.tdefPage);
    if (Status s = setMapBit(t.def.ownedMap, *np, true, false); !s)
        return s;
    if (Status s = setMapBit(t.def.freeMap, *np, true, false); !s)
        return s;
    t.insertPage = *np;
    return *np;
}

RowId Engine::writeRow(quint32 page, const QByteArray &bytes, quint16 flags)
{
    uchar *pg = m_store->mutablePage(page);
    const int rows = u16(pg + kDataRowCount);
    const int end = rows ? int(u16(pg + kDataRowTable + 2 * (rows - 1)) & kRowOffsetMask) : kPageSize;
    const int start = end - int(bytes.size());
    std::memcpy(pg + start, bytes.constData(), size_t(bytes.size()));
    put16(pg + kDataRowTable + 2 * rows, quint16(start | flags));
    put16(pg + kDataRowCount, quint16(rows + 1));
    put16(pg + kDataFreeSpace, quint16(u16(pg + kDataFreeSpace) - bytes.size() - 2));
    return RowId { page, quint8(rows) };
}

void Engine::addRowCount(const Table &t, int delta)
{
    uchar *pg = m_store->mutablePage(t.def.tdefPage);
    put32(pg + 16, quint32(qint64(u32(pg + 16)) + delta));
}

Result<Engine::Table *> Engine::tableForRow(const QString &table, const Row &values, Row *norm)
{
    Result<Table *> tr = writableTable(table);
    if (!tr)
        return tr.status();
    Result<Row> normalized = normalizeRow((*tr)->def, (*tr)->columns, values);
    if (!normalized)
        return normalized.status();
    *norm = std::move(*normalized);
    return tr;
}

Result<RowId> Engine::insertRow(const QString &table, const Row &values)
{
    Row norm;
    Result<Table *> tr = tableForRow(table, values, &norm);
    if (!tr)
        return tr.status();
    Table *t = *tr;
    const QByteArray bytes = encodeRow(t->def, norm);
    if (Status st = checkRowLength(bytes); !st)
        return st;
    return writeOperation<Result<RowId>>([&]() -> Result<RowId> {
        Result<quint32> page = pageForRow(*t, int(bytes.size()), 0);
        if (!page)
            return page.status();
        const RowId id = writeRow(*page, bytes, 0);
        addRowCount(*t, +1);
        return id;
    });
}

Status Engine::updateRow(const QString &table, RowId id, const Row &values)
{
    Row norm;
    Result<Table *> tr = tableForRow(table, values, &norm);
    if (!tr)
        return tr.status();
    Table *t = *tr;
    RowId data;
    int s = 0, e = 0;
    if (Status st = locateRow(t->def, id, &data, &s, &e); !st)
        return st;
    QByteArray bytes = encodeRow(t->def, norm);
    if (Status st = checkRowLength(bytes); !st)
        return st;
    return writeOperation<Status>([&]() -> Status {
        if (bytes.size() <= e - s) {
            // Same extent: the row keeps its place, padded to its old length.
            bytes = encodeRow(t->def, norm, e - s);
            std::memcpy(m_store->mutablePage(data.page) + s, bytes.constData(), size_t(bytes.size()));
            return Status::ok();
        }
        // Grown: the data moves to a new row that scans skip, and the header slot points at it.
        {
            int hs = 0, he = 0;
            if (!rowExtent(m_store->page(id.page), id.row, &hs, &he) || he - hs < 4)
                return Status::corruption(
                    QStringLiteral("page %1: row %2 cannot hold a pointer").arg(id.page).arg(id.row));
        }
        Result<quint32> page = pageForRow(*t, int(bytes.size()), data.page);
        if (!page)
            return page.status();
        const RowId target = writeRow(*page, bytes, kRowDeleted);
        uchar *hp = m_store->mutablePage(id.page);
        int hs = 0, he = 0;
        rowExtent(hp, id.row, &hs, &he);
        std::memset(hp + hs, 0, size_t(he - hs));
        hp[hs] = target.row;
        put24(hp + hs + 1, target.page);
        const int slotAt = kDataRowTable + 2 * id.row;
        put16(hp + slotAt, quint16((u16(hp + slotAt) & kRowOffsetMask) | kRowOverflow));
        if (!(data == id)) {
            // The previous target is abandoned: flag it so that no reader shows it as a row.
            uchar *op = m_store->mutablePage(data.page);
            const int at = kDataRowTable + 2 * data.row;
            put16(op + at, quint16(u16(op + at) | kRowDeleted | kRowOverflow));
        }
        return Status::ok();
    });
}

Status Engine::deleteRow(const QString &table, RowId id)
{
    Result<Table *> tr = writableTable(table);
    if (!tr)
        return tr.status();
    Table *t = *tr;
    RowId data;
    int s = 0, e = 0;
    if (Status st = locateRow(t->def, id, &data, &s, &e); !st)
        return st;
    return writeOperation<Status>([&]() -> Status {
        // The header slot and every row of its overflow chain are flagged deleted.
        RowId cur = id;
        for (int hop = 0; hop <= kMaxOverflowHops; ++hop) {
            uchar *pg = m_store->mutablePage(cur.page);
            const int at = kDataRowTable + 2 * cur.row;
            const quint16 slot = u16(pg + at);
            put16(pg + at, quint16(slot | kRowDeleted | kRowOverflow));
            if (cur == data || !(slot & kRowOverflow))
                break;
            const int rs = slot & kRowOffsetMask;
            cur = RowId { u24(pg + rs + 1), pg[rs] };
        }
        addRowCount(*t, -1);
        return Status::ok();
    });
}

} // namespace tolvane::jet

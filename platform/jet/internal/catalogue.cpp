#include "platform/jet/internal/catalogue.h"

#include <algorithm>

namespace tolvane::jet::internal {

namespace {

constexpr quint32 kSystemTdefPage = 2; // MSysObjects
constexpr quint32 kTablesContainer = 0x0F000001;
constexpr quint32 kSystemFlags = 0x80000002;
constexpr int kTableObject = 1;

Status checkHeader(const PageStore &store)
{
    const uchar *h = store.page(0);
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
    if (store.pageCount() < 3)
        return Status::corruption(QStringLiteral("the file is too short"));

    QByteArray plain(reinterpret_cast<const char *>(h) + 0x18, 128);
    const QByteArray mask = headerMask();
    for (int i = 0; i < 128; ++i)
        plain[i] = char(plain[i] ^ mask[i]);
    const uchar *p = bytesAt(plain, 0) - 0x18; // page offsets
    if (u32(p + 0x3E) != 0)
        return Status::notSupported(QStringLiteral("encoded databases are not supported"));
    // An empty password is the creation date's bytes; anything else is a password.
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
    if (store.page(1)[0] != kPageData || store.page(2)[0] != kPageTdef)
        return Status::corruption(QStringLiteral("system pages are missing"));
    return Status::ok();
}

QList<ColumnInfo> columnInfos(const TableDef &def)
{
    QList<ColumnInfo> out;
    for (const ColumnDef &c : def.columns) {
        ColumnInfo ci;
        ci.name = c.name;
        ci.type = c.columnType();
        ci.number = c.number;
        ci.maxLength = c.columnType() == ColumnType::Text ? c.length / 2 : c.length;
        ci.compressible = c.compressible();
        out.append(ci);
    }
    return out;
}

} // namespace

Result<Catalogue> Catalogue::load(const PageStore &store, const TableRows &rows)
{
    if (Status s = checkHeader(store); !s)
        return s;
    Result<TableDef> sys = parseTableDef(store, kSystemTdefPage);
    if (!sys)
        return sys.status();
    // Only the columns that name tables are decoded: the catalogue's long-value columns
    // (properties, module code) do not matter here and may be damaged without harm.
    const QStringList wanted { QStringLiteral("Id"), QStringLiteral("ParentId"), QStringLiteral("Name"),
        QStringLiteral("Type"), QStringLiteral("Flags") };
    sys->columns.removeIf([&](const ColumnDef &c) { return !wanted.contains(c.name); });
    auto column = [&](const QString &name) {
        for (int i = 0; i < sys->columns.size(); ++i)
            if (sys->columns.at(i).name == name)
                return i;
        return -1;
    };
    const int idCol = column(wanted[0]), parentCol = column(wanted[1]), nameCol = column(wanted[2]),
              typeCol = column(wanted[3]), flagsCol = column(wanted[4]);
    if (idCol < 0 || nameCol < 0 || typeCol < 0)
        return Status::corruption(QStringLiteral("the system catalogue lacks its columns"));

    Catalogue catalogue;
    Status tableError;
    Status s = rows.scan(*sys, [&](RowId, const Row &r) {
        if (r.at(typeCol).toInt() != kTableObject)
            return true;
        const quint32 flags = flagsCol >= 0 ? quint32(r.at(flagsCol).toInt()) : 0;
        const quint32 parent = parentCol >= 0 ? quint32(r.at(parentCol).toInt()) : kTablesContainer;
        if ((flags & kSystemFlags) != 0 || parent != kTablesContainer)
            return true;
        // The id's low 24 bits are the table definition's page.
        Table t;
        t.name = r.at(nameCol).toString();
        Result<TableDef> def = parseTableDef(store, quint32(r.at(idCol).toInt()) & 0x00FFFFFF);
        if (!def) {
            tableError = Status::corruption(QStringLiteral("table %1: %2").arg(t.name, def.status().message()));
            return false;
        }
        t.def = def.take();
        t.columns = columnInfos(t.def);
        catalogue.m_tables.append(t);
        return true;
    });
    if (!s)
        return s;
    if (!tableError)
        return tableError;
    return catalogue;
}

Status Catalogue::reload(const PageStore &store)
{
    for (Table &t : m_tables) {
        Result<TableDef> def = parseTableDef(store, t.def.tdefPage);
        if (!def)
            return def.status();
        t.def = def.take();
    }
    return Status::ok();
}

QStringList Catalogue::tableNames() const
{
    QStringList names;
    for (const Table &t : m_tables)
        names.append(t.name);
    return names;
}

bool Catalogue::contains(const QString &name) const
{
    return std::any_of(m_tables.cbegin(), m_tables.cend(), [&](const Table &t) { return t.name == name; });
}

const Catalogue::Table *Catalogue::find(const QString &name) const
{
    for (const Table &t : m_tables)
        if (t.name == name)
            return &t;
    for (const Table &t : m_tables)
        if (t.name.compare(name, Qt::CaseInsensitive) == 0)
            return &t;
    return nullptr;
}

} // namespace tolvane::jet::internal

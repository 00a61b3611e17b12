// A new Jet 4 file is laid out the way Jet lays out a fresh database, then filled with the
// caller's empty tables:
//
//   page 0        header (partly masked with a fixed RC4 keystream)
//   page 1        global usage map (row 0) and an empty map (row 1)
//   pages 2-5     tdefs of MSysObjects, MSysACEs, MSysQueries, MSysRelationships
//   page 6        usage-map rows of the system tables, then of the first user tables
//   pages 7-13    index roots: one leaf page per system index
//   then          MSysObjects data, MSysACEs data, further usage-map pages, user tdefs
//
// Every system index fits in its single leaf page, so each leaf is written whole from the
// sorted keys of its rows. The whole file is built in memory (it is a few dozen pages) and
// written once.
#include "platform/jet/internal/creator.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QMap>
#include <QRandomGenerator>
#include <QSet>

#include "platform/jet/internal/bytes.h"
#include "platform/jet/internal/datapage.h"
#include "platform/jet/internal/rowcodec.h"
#include "platform/jet/internal/tabledef.h"

namespace tolvane::jet::internal {

namespace {

constexpr int kMapRowBytes = 69; // inline usage map: type, start page, 64 bitmap bytes
constexpr int kMapBitmapBytes = 64;
constexpr int kLeafEntriesStart = 480;
constexpr int kLeafMaskStart = 27;
constexpr int kTdefContinuation = kPageSize - 8; // stream bytes carried by a continuation page
constexpr int kMaxNameLength = 64;
constexpr int kMaxColumns = 255;
constexpr quint32 kTdefMagic = 1625;
constexpr quint32 kIndexMagic = 1923;

// Catalogue identifiers of Jet's own objects.
constexpr qint32 kRootId = 0x0F000000;
constexpr qint32 kTablesId = 0x0F000001;
constexpr qint32 kDatabasesId = 0x0F000002;
constexpr qint32 kRelationshipsId = 0x0F000003;
constexpr qint32 kMSysDbId = 0x10000000;
constexpr qint32 kSystemFlags = qint32(0x80000000u);

// Column types of the tables a new file holds.
constexpr ColumnType kBool = ColumnType::Boolean;
constexpr ColumnType kByte = ColumnType::Byte;
constexpr ColumnType kInt = ColumnType::Integer;
constexpr ColumnType kLong = ColumnType::Long;
constexpr ColumnType kDate = ColumnType::DateTime;
constexpr ColumnType kBinary = ColumnType::Binary;
constexpr ColumnType kText = ColumnType::Text;
constexpr ColumnType kOle = ColumnType::Ole;
constexpr ColumnType kMemo = ColumnType::Memo;

// Column flags as Jet writes them: 0x01 fixed length, 0x02 may be null, 0x10 always set, and
// 0x20 on the security-id columns.
constexpr quint8 kFlagsFixed = 0x13;
constexpr quint8 kFlagsVariable = 0x12;
constexpr quint8 kFlagsSid = 0x32; // the security-id columns of MSysObjects and MSysACEs
constexpr quint8 kExtCompressible = 0x01;
constexpr quint16 kSortGeneralLegacy = 0x0409;

// Index flags.
constexpr quint8 kIndexUnique = 0x01;
constexpr quint8 kIndexIgnoreNulls = 0x02;
constexpr quint8 kIndexRequired = 0x08;
constexpr quint8 kIndexAlwaysSet = 0x80;

// ---------------------------------------------------------------------------------------------
// Names and the General (legacy) sort codes of the characters a table name may hold.

// Sort code of a character in a text index key, or empty when the character needs the
// key's extra sections (apostrophe, hyphen, anything outside printable ASCII).
QByteArray nameSortCode(QChar c)
{
    static const char *const kLetters[26]
        = { "\x4A", "\x4C", "\x4D", "\x4F", "\x51", "\x53", "\x55", "\x57", "\x59", "\x5B", "\x5C", "\x5E", "\x60",
              "\x62", "\x64", "\x66", "\x68", "\x69", "\x6B", "\x6D", "\x6F", "\x71", "\x73", "\x75", "\x76", "\x78" };
    const ushort u = c.unicode();
    if (u >= 'A' && u <= 'Z')
        return QByteArray(kLetters[u - 'A'], 1);
    if (u >= 'a' && u <= 'z')
        return QByteArray(kLetters[u - 'a'], 1);
    if (u >= '0' && u <= '9')
        return QByteArray(1, char(0x36 + 2 * (u - '0')));
    switch (u) {
    case ' ':
        return QByteArray("\x07", 1);
    case '!':
        return QByteArray("\x09", 1);
    case '"':
        return QByteArray("\x0A", 1);
    case '#':
        return QByteArray("\x0C", 1);
    case '$':
        return QByteArray("\x0E", 1);
    case '%':
        return QByteArray("\x10", 1);
    case '&':
        return QByteArray("\x12", 1);
    case '(':
        return QByteArray("\x14", 1);
    case ')':
        return QByteArray("\x16", 1);
    case '*':
        return QByteArray("\x18", 1);
    case ',':
        return QByteArray("\x1A", 1);
    case '.':
        return QByteArray("\x1C", 1);
    case '/':
        return QByteArray("\x1E", 1);
    case ':':
        return QByteArray("\x20", 1);
    case ';':
        return QByteArray("\x22", 1);
    case '?':
        return QByteArray("\x24", 1);
    case '@':
        return QByteArray("\x26", 1);
    case '[':
        return QByteArray("\x27", 1);
    case '\\':
        return QByteArray("\x29", 1);
    case ']':
        return QByteArray("\x2A", 1);
    case '+':
        return QByteArray("\x2C", 1);
    case '<':
        return QByteArray("\x2E", 1);
    case '=':
        return QByteArray("\x30", 1);
    case '>':
        return QByteArray("\x32", 1);
    case '^':
        return QByteArray("\x2B\x02", 2);
    case '_':
        return QByteArray("\x2B\x03", 2);
    case '`':
        return QByteArray("\x2B\x07", 2);
    case '{':
        return QByteArray("\x2B\x09", 2);
    case '|':
        return QByteArray("\x2B\x0B", 2);
    case '}':
        return QByteArray("\x2B\x0D", 2);
    case '~':
        return QByteArray("\x2B\x0F", 2);
    default:
        return {};
    }
}

// Characters Jet refuses in any object name.
bool forbiddenInName(QChar c)
{
    return c.unicode() < 0x20 || c == u'.' || c == u'!' || c == u'`' || c == u'[' || c == u']';
}

Status checkName(const QString &name, const QString &what)
{
    if (name.isEmpty() || name.size() > kMaxNameLength)
        return Status::invalidArgument(
            QStringLiteral("%1 name \"%2\" must have 1 to %3 characters").arg(what, name).arg(kMaxNameLength));
    if (name.front() == u' ' || name.back() == u' ')
        return Status::invalidArgument(
            QStringLiteral("%1 name \"%2\" must not begin or end with a space").arg(what, name));
    for (QChar c : name) {
        if (forbiddenInName(c) || c.isSurrogate())
            return Status::invalidArgument(
                QStringLiteral("%1 name \"%2\" holds a character a database name cannot hold").arg(what, name));
    }
    return Status::ok();
}

Status checkTableName(const QString &name)
{
    if (Status s = checkName(name, QStringLiteral("table")); !s)
        return s;
    for (QChar c : name) {
        if (nameSortCode(c).isEmpty())
            return Status::invalidArgument(
                QStringLiteral("table name \"%1\": the character '%2' cannot be written in the name index")
                    .arg(name, QString(c)));
    }
    if (name.startsWith(QStringLiteral("MSys"), Qt::CaseInsensitive))
        return Status::invalidArgument(QStringLiteral("table name \"%1\" is reserved for system tables").arg(name));
    return Status::ok();
}

// ---------------------------------------------------------------------------------------------
// Index keys.

QByteArray longKey(qint32 v)
{
    const quint32 flipped = quint32(v) ^ 0x80000000u;
    QByteArray k;
    k.append(char(0x7F)); // ascending, not null
    k.append(char(flipped >> 24));
    k.append(char((flipped >> 16) & 0xFF));
    k.append(char((flipped >> 8) & 0xFF));
    k.append(char(flipped & 0xFF));
    return k;
}

QByteArray textKey(const QString &text)
{
    QString s = text;
    while (s.endsWith(u' '))
        s.chop(1);
    QByteArray k;
    k.append(char(0x7F));
    for (QChar c : s)
        k.append(nameSortCode(c)); // names were checked to hold only codable characters
    k.append(char(0x01)); // end of the text codes
    k.append(char(0x00)); // no extra codes
    return k;
}

struct RowLocation {
    int page = 0;
    int row = 0;
};

struct IndexEntry {
    QByteArray key;
    RowLocation at;
};

struct Leaf {
    QByteArray page;
    int distinctKeys = 0;
};

// One index leaf holding every entry: header, entry-end bitmask, entries in key order.
// Nothing when the entries overflow it.
std::optional<Leaf> buildLeaf(int tdefPage, QList<IndexEntry> entries)
{
    std::sort(entries.begin(), entries.end(), [](const IndexEntry &a, const IndexEntry &b) {
        if (a.key != b.key) {
            const auto unsignedLess = [](char x, char y) { return uchar(x) < uchar(y); };
            return std::lexicographical_compare(a.key.begin(), a.key.end(), b.key.begin(), b.key.end(), unsignedLess);
        }
        if (a.at.page != b.at.page)
            return a.at.page < b.at.page;
        return a.at.row < b.at.row;
    });
    QByteArray page(kPageSize, '\0');
    page[0] = char(0x04);
    page[1] = char(0x01);
    put32(bytesAt(page, 4), quint32(tdefPage));
    int pos = 0;
    int distinct = 0;
    const QByteArray *previous = nullptr;
    for (const IndexEntry &e : entries) {
        QByteArray entry = e.key;
        entry.append(char((e.at.page >> 16) & 0xFF)); // data page, big-endian
        entry.append(char((e.at.page >> 8) & 0xFF));
        entry.append(char(e.at.page & 0xFF));
        entry.append(char(e.at.row));
        if (kLeafEntriesStart + pos + entry.size() > kPageSize)
            return std::nullopt;
        std::memcpy(page.data() + kLeafEntriesStart + pos, entry.constData(), size_t(entry.size()));
        pos += int(entry.size());
        page[kLeafMaskStart + pos / 8] = char(uchar(page[kLeafMaskStart + pos / 8]) | (1u << (pos % 8)));
        if (!previous || *previous != e.key)
            ++distinct;
        previous = &e.key;
    }
    put16(bytesAt(page, 2), quint16(kPageSize - kLeafEntriesStart - pos));
    return Leaf { page, distinct };
}

// ---------------------------------------------------------------------------------------------
// Table definitions.

struct ColumnDecl {
    QString name;
    ColumnType type;
    int textLength = 0; // characters, for Text; bytes for Binary
    quint8 flags = 0; // 0: the usual flags for the type
    quint8 extFlags = 0;
};

struct RealIndex {
    QList<int> columns;
    quint8 flags = 0;
    MapRef map;
    int rootPage = 0;
    int distinctKeys = 0;
};

struct LogicalIndex {
    QString name;
    int number = 0;
    int realIndex = 0;
    bool primaryKey = false;
};

struct LongValueMaps {
    int column = 0;
    MapRef owned;
    MapRef freeSpace;
};

// A table of the new file: its definition (columns, row layout, usage maps) and what the
// definition stream needs beyond what TableDef parses.
struct Table {
    QString name;
    bool system = false;
    TableDef def;
    QList<RealIndex> indexes;
    QList<LogicalIndex> logical;
    QList<LongValueMaps> longValueMaps;
    quint32 rowCount = 0;
    QList<int> tdefPages;
    QList<int> dataPages;
};

Table makeTable(const QString &name, bool system, const QList<ColumnDecl> &decls)
{
    Table t;
    t.name = name;
    t.system = system;
    int fixedOffset = 0;
    int varIndex = 0;
    for (const ColumnDecl &d : decls) {
        ColumnDef c;
        c.name = d.name;
        c.type = quint8(d.type);
        c.number = int(t.def.columns.size());
        const int size = fixedSizeOf(c.type);
        if (size >= 0) {
            c.flags = d.flags ? d.flags : kFlagsFixed;
            if (d.type == kBool) {
                c.length = 1; // the value lives in the null mask
            } else {
                c.length = size;
                c.fixedOffset = fixedOffset;
                fixedOffset += size;
            }
        } else {
            c.flags = d.flags ? d.flags : kFlagsVariable;
            c.varIndex = varIndex++;
            if (d.type == kText)
                c.length = 2 * d.textLength;
            else if (d.type == kBinary)
                c.length = d.textLength;
        }
        c.extFlags = d.extFlags;
        t.def.columns.append(c);
    }
    t.def.maxCols = t.def.numCols = int(t.def.columns.size());
    t.def.numVarCols = varIndex;
    computeLayout(t.def);
    return t;
}

int columnNumber(const Table &t, const QString &name)
{
    for (const ColumnDef &c : t.def.columns) {
        if (c.name == name)
            return c.number;
    }
    Q_ASSERT_X(false, "columnNumber", "unknown system column");
    return 0;
}

// The table definition as one byte stream; split into pages by tdefPageImages.
QByteArray tdefStream(const Table &t)
{
    ByteWriter b;
    b.u8(0x02);
    b.u8(0x01);
    b.u16(0); // free space: set per page
    b.u32(0); // next tdef page: set per page
    b.u32(0); // total length: set below
    b.u32(kTdefMagic);
    b.u32(t.rowCount);
    b.u32(0); // last autonumber
    b.u8(1);
    b.zeros(15);
    b.u8(t.system ? 0x53 : 0x4E);
    b.u16(quint32(t.def.maxCols));
    b.u16(quint32(t.def.numVarCols));
    b.u16(quint32(t.def.numCols));
    b.u32(quint32(t.logical.size()));
    b.u32(quint32(t.indexes.size()));
    b.u32(t.def.ownedMap.encoded());
    b.u32(t.def.freeMap.encoded());
    for (const RealIndex &ix : t.indexes) {
        b.u32(0);
        b.u32(quint32(ix.distinctKeys));
        b.u32(0);
    }
    for (const ColumnDef &c : t.def.columns) {
        b.u8(c.type);
        b.u32(kTdefMagic);
        b.u16(quint32(c.number));
        b.u16(quint32(c.varIndex));
        b.u16(quint32(c.number));
        if (c.columnType() == kText || t.system) {
            b.u16(kSortGeneralLegacy);
            b.u16(0);
        } else {
            b.u32(0);
        }
        b.u8(c.flags);
        b.u8(c.extFlags);
        b.u32(0);
        b.u16(c.isFixed() ? quint32(c.fixedOffset) : 0);
        b.u16(quint32(c.length));
    }
    for (const ColumnDef &c : t.def.columns) {
        const QByteArray n = utf16le(c.name);
        b.u16(quint32(n.size()));
        b.bytes(n);
    }
    for (const RealIndex &ix : t.indexes) {
        b.u32(kIndexMagic);
        for (int slot = 0; slot < 10; ++slot) {
            if (slot < ix.columns.size()) {
                b.u16(quint32(ix.columns.at(slot)));
                b.u8(1); // ascending
            } else {
                b.u16(0xFFFF);
                b.u8(0);
            }
        }
        b.u32(ix.map.encoded());
        b.u32(quint32(ix.rootPage));
        b.u32(0);
        b.u8(ix.flags);
        b.zeros(5);
    }
    for (const LogicalIndex &li : t.logical) {
        b.u32(kTdefMagic);
        b.u32(quint32(li.number));
        b.u32(quint32(li.realIndex));
        b.u8(0); // no related table
        b.u32(0xFFFFFFFFu); // related index
        b.u32(0); // related table page
        b.u8(0x04); // cascade update / delete fields as Jet writes them for plain indexes
        b.u8(0x04);
        b.u8(li.primaryKey ? 1 : 0);
        b.u32(0);
    }
    for (const LogicalIndex &li : t.logical) {
        const QByteArray n = utf16le(li.name);
        b.u16(quint32(n.size()));
        b.bytes(n);
    }
    for (const LongValueMaps &m : t.longValueMaps) {
        b.u16(quint32(m.column));
        b.u32(m.owned.encoded());
        b.u32(m.freeSpace.encoded());
    }
    b.u16(0xFFFF);
    QByteArray stream = b.data();
    put32(bytesAt(stream, 8), quint32(stream.size()));
    return stream;
}

int tdefPageCount(const QByteArray &stream)
{
    if (stream.size() <= kPageSize)
        return 1;
    return 1 + int((stream.size() - kPageSize + kTdefContinuation - 1) / kTdefContinuation);
}

// Pages of a tdef chain: the first carries the stream's own header; each further page has an
// 8-byte header (type, free space, next page) and continues the stream.
QList<QByteArray> tdefPageImages(const QByteArray &stream, const QList<int> &pages)
{
    QList<QByteArray> images;
    const int n = int(pages.size());
    for (int i = 0; i < n; ++i) {
        QByteArray page(kPageSize, '\0');
        if (i == 0) {
            const int len = int(std::min<qsizetype>(stream.size(), kPageSize));
            std::memcpy(page.data(), stream.constData(), size_t(len));
        } else {
            page[0] = char(0x02);
            page[1] = char(0x01);
            const qsizetype from = kPageSize + qsizetype(i - 1) * kTdefContinuation;
            const int len = int(std::min<qsizetype>(stream.size() - from, kTdefContinuation));
            std::memcpy(page.data() + 8, stream.constData() + from, size_t(len));
        }
        put32(bytesAt(page, 4), i + 1 < n ? quint32(pages.at(i + 1)) : 0);
        if (i + 1 == n) {
            const int lastBytes = int(stream.size()) - (n - 1) * kTdefContinuation;
            put16(bytesAt(page, 2), quint16(std::max(kPageSize - lastBytes - 8, 0)));
        }
        images.append(page);
    }
    return images;
}

// ---------------------------------------------------------------------------------------------
// Rows and data pages.

QByteArray dataPage(quint32 owner)
{
    QByteArray page(kPageSize, Qt::Uninitialized);
    formatDataPage(bytesAt(page, 0), owner);
    return page;
}

// Rows packed in order into data pages of owner, each page filled before the next: the page
// images, and where each row went (index of its page among them, and slot).
struct PackedRows {
    QList<QByteArray> pages;
    QList<QPair<int, int>> at;
};

PackedRows packRows(const QList<QByteArray> &rows, quint32 owner)
{
    PackedRows packed;
    for (const QByteArray &row : rows) {
        if (packed.pages.isEmpty() || !roomForRow(bytesAt(packed.pages.last(), 0), int(row.size())))
            packed.pages.append(dataPage(owner));
        const int slot = appendRow(bytesAt(packed.pages.last(), 0), row);
        packed.at.append({ int(packed.pages.size()) - 1, slot });
    }
    return packed;
}

QByteArray inlineMap(const QList<int> &pages)
{
    ByteWriter b;
    b.u8(0); // inline map
    b.u32(0); // first page it covers
    QByteArray bitmap(kMapBitmapBytes, '\0');
    for (int p : pages)
        bitmap[p / 8] = char(uchar(bitmap[p / 8]) | (1u << (p % 8)));
    b.bytes(bitmap);
    return b.data();
}

// ---------------------------------------------------------------------------------------------
// The system tables.

Table msysObjects()
{
    Table t = makeTable(QStringLiteral("MSysObjects"), true,
        { { QStringLiteral("Id"), kLong }, { QStringLiteral("ParentId"), kLong },
            { QStringLiteral("Name"), kText, 255 }, { QStringLiteral("Type"), kInt },
            { QStringLiteral("DateCreate"), kDate }, { QStringLiteral("DateUpdate"), kDate },
            { QStringLiteral("Owner"), kBinary, 510, kFlagsSid }, { QStringLiteral("Flags"), kLong },
            { QStringLiteral("Database"), kMemo }, { QStringLiteral("Connect"), kMemo },
            { QStringLiteral("ForeignName"), kText, 255 }, { QStringLiteral("RmtInfoShort"), kBinary, 510 },
            { QStringLiteral("RmtInfoLong"), kOle }, { QStringLiteral("Lv"), kOle }, { QStringLiteral("LvProp"), kOle },
            { QStringLiteral("LvModule"), kOle }, { QStringLiteral("LvExtra"), kOle } });
    RealIndex parentIdName;
    parentIdName.columns = { columnNumber(t, QStringLiteral("ParentId")), columnNumber(t, QStringLiteral("Name")) };
    parentIdName.flags = kIndexAlwaysSet | kIndexUnique;
    RealIndex id;
    id.columns = { columnNumber(t, QStringLiteral("Id")) };
    id.flags = kIndexAlwaysSet | kIndexUnique;
    t.indexes = { parentIdName, id };
    t.logical = { { QStringLiteral("Id"), 1, 1, true }, { QStringLiteral("ParentIdName"), 0, 0, false } };
    return t;
}

Table msysAces()
{
    Table t = makeTable(QStringLiteral("MSysACEs"), true,
        { { QStringLiteral("ObjectId"), kLong }, { QStringLiteral("SID"), kBinary, 510, kFlagsSid },
            { QStringLiteral("ACM"), kLong }, { QStringLiteral("FInheritable"), kBool } });
    RealIndex objectId;
    objectId.columns = { 0 };
    objectId.flags = kIndexAlwaysSet | kIndexRequired;
    t.indexes = { objectId };
    t.logical = { { QStringLiteral("ObjectId"), 0, 0, false } };
    return t;
}

Table msysQueries()
{
    Table t = makeTable(QStringLiteral("MSysQueries"), true,
        { { QStringLiteral("ObjectId"), kLong }, { QStringLiteral("Attribute"), kByte },
            { QStringLiteral("Order"), kBinary, 510 }, { QStringLiteral("Name1"), kText, 255 },
            { QStringLiteral("Name2"), kText, 255 }, { QStringLiteral("Expression"), kMemo },
            { QStringLiteral("Flag"), kInt }, { QStringLiteral("LvExtra"), kLong } });
    RealIndex key;
    key.columns = { 0, 1, 2 };
    key.flags = kIndexAlwaysSet | kIndexUnique;
    t.indexes = { key };
    t.logical = { { QStringLiteral("ObjectIdAttribute"), 0, 0, true } };
    return t;
}

Table msysRelationships()
{
    Table t = makeTable(QStringLiteral("MSysRelationships"), true,
        { { QStringLiteral("szRelationship"), kText, 255 }, { QStringLiteral("grbit"), kLong },
            { QStringLiteral("ccolumn"), kLong }, { QStringLiteral("icolumn"), kLong },
            { QStringLiteral("szObject"), kText, 255 }, { QStringLiteral("szColumn"), kText, 255 },
            { QStringLiteral("szReferencedObject"), kText, 255 },
            { QStringLiteral("szReferencedColumn"), kText, 255 } });
    for (int column : { 0, 4, 6 }) {
        RealIndex ix;
        ix.columns = { column };
        ix.flags = kIndexAlwaysSet | kIndexIgnoreNulls;
        t.indexes.append(ix);
    }
    // Logical indexes are listed by name, as Jet keeps them.
    t.logical = { { QStringLiteral("szObject"), 1, 1, false }, { QStringLiteral("szReferencedObject"), 2, 2, false },
        { QStringLiteral("szRelationship"), 0, 0, false } };
    return t;
}

Table userTable(const TableSpec &table)
{
    QList<ColumnDecl> decls;
    for (const ColumnSpec &c : table.columns) {
        switch (c.type) {
        case ColumnType::Long:
            decls.append({ c.name, kLong });
            break;
        case ColumnType::DateTime:
            decls.append({ c.name, kDate });
            break;
        default:
            decls.append({ c.name, kText, c.textLength, 0, kExtCompressible });
            break;
        }
    }
    return makeTable(table.name, false, decls);
}

Status checkSpecs(const QList<TableSpec> &tables)
{
    QSet<QString> tableNames;
    for (const TableSpec &t : tables) {
        if (Status s = checkTableName(t.name); !s)
            return s;
        if (tableNames.contains(t.name.toLower()))
            return Status::invalidArgument(QStringLiteral("table \"%1\" is given twice").arg(t.name));
        tableNames.insert(t.name.toLower());
        if (t.columns.isEmpty() || t.columns.size() > kMaxColumns)
            return Status::invalidArgument(
                QStringLiteral("table \"%1\" must have 1 to %2 columns").arg(t.name).arg(kMaxColumns));
        QSet<QString> columnNames;
        for (const ColumnSpec &c : t.columns) {
            if (Status s = checkName(c.name, QStringLiteral("column")); !s)
                return s;
            if (columnNames.contains(c.name.toLower()))
                return Status::invalidArgument(
                    QStringLiteral("table \"%1\": column \"%2\" is given twice").arg(t.name, c.name));
            columnNames.insert(c.name.toLower());
            switch (c.type) {
            case ColumnType::Long:
            case ColumnType::DateTime:
                break;
            case ColumnType::Text:
                if (c.textLength < 1 || c.textLength > 255)
                    return Status::invalidArgument(
                        QStringLiteral("table \"%1\": text column \"%2\" must hold 1 to 255 characters")
                            .arg(t.name, c.name));
                break;
            default:
                return Status::invalidArgument(
                    QStringLiteral("table \"%1\": column \"%2\" must be Long, DateTime or Text").arg(t.name, c.name));
            }
        }
    }
    return Status::ok();
}

// Access-control entries: (object, security id, access mask, inheritable).
struct Ace {
    qint32 object;
    QByteArray sid;
    qint32 mask;
    bool inheritable;
};

const QByteArray kSidAdmin("\xA6\x33", 2);
const QByteArray kSidAdmins("\xA7\x33", 2);
const QByteArray kSidUsers("\xA7\x36", 2);
const QByteArray kSidEngine("\xA7\x31", 2);
constexpr qint32 kFullAccess = 1048575;

QList<Ace> systemAces()
{
    return {
        { kTablesId, kSidUsers, 983294, true },
        { kTablesId, kSidAdmin, 1048319, true },
        { kTablesId, kSidAdmins, 1048319, true },
        { kDatabasesId, kSidAdmin, 393216, false },
        { kRelationshipsId, kSidUsers, 983294, true },
        { kRelationshipsId, kSidAdmin, 393217, false },
        { kRelationshipsId, kSidAdmins, kFullAccess, true },
        { kMSysDbId, kSidAdmin, 393230, false },
        { kMSysDbId, kSidAdmins, 14, false },
        { 2, kSidAdmin, 393216, false },
        { 2, kSidAdmins, 20, false },
        { 3, kSidAdmin, 393216, false },
        { 4, kSidAdmin, 393216, false },
        { 4, kSidAdmins, 20, false },
        { 5, kSidAdmin, 917504, false },
        { 5, kSidAdmins, 20, false },
    };
}

QList<Ace> tableAces(qint32 id)
{
    return { { id, kSidUsers, kFullAccess, false }, { id, kSidAdmin, kFullAccess, false },
        { id, kSidAdmins, kFullAccess, false } };
}

struct CatalogRow {
    qint32 id;
    qint32 parent;
    QString name;
    int type;
    QByteArray owner;
    qint32 flags;
};

// ---------------------------------------------------------------------------------------------
// Header page.

QByteArray headerPage(double created)
{
    QByteArray p(kPageSize, '\0');
    p[1] = char(0x01);
    std::memcpy(p.data() + 4, "Standard Jet DB", 16); // with its terminating zero
    p[0x14] = char(0x01); // Jet 4
    // Fields of the masked area, in the clear.
    p[0x19] = char(0x01);
    p[0x1C] = char(0x01);
    p[0x1D] = char(0x01);
    p[0x20] = char(0x02);
    p[0x24] = char(0x03);
    p[0x28] = char(0x04);
    p[0x2C] = char(0x05);
    put16(bytesAt(p, 0x3C), 1252); // code page
    put32(bytesAt(p, 0x3E), 0); // database key: pages not encoded
    const quint32 dateMask = quint32(qint32(std::trunc(created)));
    for (int i = 0; i < 40; i += 4)
        put32(bytesAt(p, 0x42 + i), dateMask); // empty password, masked with the creation date
    put32(bytesAt(p, 0x6A), 0x21AA);
    put32(bytesAt(p, 0x6E), kSortGeneralLegacy); // General, legacy version
    putF64(bytesAt(p, 0x72), created);
    const QByteArray mask = headerMask();
    for (int i = 0; i < 128; ++i)
        p[0x18 + i] = char(p[0x18 + i] ^ mask[i]);
    // Unmasked trailer fields.
    put32(bytesAt(p, 0x98), 0x0654);
    std::memcpy(p.data() + 0x9C, "4.0", 3);
    p[0xE00] = char(0x01);
    p[0xE01] = char(0x01);
    for (int i = 0xE02; i < kPageSize; i += 2)
        p[i + 1] = char(0x01);
    return p;
}

// ---------------------------------------------------------------------------------------------
// File output.

// Writes the file under a hidden temporary name beside path (so that the final move stays on
// one volume), flushes it to disk, then gives it its name, failing rather than replacing a
// file that appeared there meanwhile.
Status writeFileAtomically(FileAccess &files, const QString &path, const QList<QByteArray> &pages)
{
    const QFileInfo target(path);
    const QString dir = target.absolutePath();
    if (!files.exists(dir))
        return Status::notFound(QStringLiteral("folder %1 does not exist").arg(QDir::toNativeSeparators(dir)));
    std::unique_ptr<File> temp;
    QString tempName;
    for (int attempt = 0; attempt < 100 && !temp; ++attempt) {
        const QString suffix = QString::number(QRandomGenerator::global()->generate(), 16);
        tempName = dir + QStringLiteral("/.") + target.fileName() + u'.' + suffix + QStringLiteral(".tmp");
        Result<std::unique_ptr<File>> opened = files.open(tempName, FileAccess::OpenMode::CreateNew);
        if (opened)
            temp = opened.take();
        else if (opened.status().code() != Status::Code::InvalidArgument)
            return opened.status(); // not a name clash: the folder cannot be written
    }
    if (!temp)
        return Status::ioError(QStringLiteral("cannot write in %1").arg(QDir::toNativeSeparators(dir)));
    Status written;
    qint64 at = 0;
    for (const QByteArray &page : pages) {
        if (written = temp->write(at, page); !written)
            break;
        at += page.size();
    }
    if (written)
        written = temp->sync();
    temp.reset();
    if (written)
        written = files.rename(tempName, path);
    if (!written) {
        files.remove(tempName);
        return written;
    }
    // The file is in place; should the folder not be flushed, a power failure may lose it.
    files.syncFolder(dir);
    return Status::ok();
}

// Row sets of the two system tables that a new file fills.
struct SystemRows {
    QList<CatalogRow> catalog;
    QList<Ace> aces;
};

Row catalogValues(const Table &objects, const CatalogRow &r, const QDateTime &created)
{
    Row v(objects.def.columns.size());
    v[columnNumber(objects, QStringLiteral("Id"))] = r.id;
    v[columnNumber(objects, QStringLiteral("ParentId"))] = r.parent;
    v[columnNumber(objects, QStringLiteral("Name"))] = r.name;
    v[columnNumber(objects, QStringLiteral("Type"))] = r.type;
    v[columnNumber(objects, QStringLiteral("DateCreate"))] = created;
    v[columnNumber(objects, QStringLiteral("DateUpdate"))] = created;
    v[columnNumber(objects, QStringLiteral("Owner"))] = r.owner;
    v[columnNumber(objects, QStringLiteral("Flags"))] = r.flags;
    return v;
}

Row aceValues(const Ace &a)
{
    return { a.object, a.sid, a.mask, a.inheritable };
}

// Writes rows into the table's data pages in order, filling each page before the next. The
// pages were counted with packRows on rows of the same sizes.
QList<RowLocation> placeRows(Table &t, const QList<QByteArray> &rows, QList<QByteArray> &pages)
{
    const PackedRows packed = packRows(rows, quint32(t.tdefPages.first()));
    for (qsizetype i = 0; i < packed.pages.size(); ++i)
        pages[t.dataPages.at(i)] = packed.pages.at(i);
    QList<RowLocation> at;
    for (const auto &[page, slot] : packed.at)
        at.append({ t.dataPages.at(page), slot });
    t.rowCount = quint32(rows.size());
    return at;
}

bool writeLeaf(Table &t, int index, const QList<IndexEntry> &entries, QList<QByteArray> &pages)
{
    RealIndex &ix = t.indexes[index];
    const std::optional<Leaf> leaf = buildLeaf(t.tdefPages.first(), entries);
    if (!leaf)
        return false;
    pages[ix.rootPage] = leaf->page;
    ix.distinctKeys = leaf->distinctKeys;
    return true;
}

// The pages of a new file, built in memory.
class NewFile {
public:
    NewFile(const QList<TableSpec> &specs, const QDateTime &created);
    Result<QList<QByteArray>> build();

private:
    static constexpr int kSystemMapPage = 6;

    void assignSystemMapRows();
    void assignUserMapRows();
    void fillCatalogIds();
    Status writeIndexes(const QList<RowLocation> &catalogAt, const QList<RowLocation> &aceAt);
    void writeMapPages();
    void writeTdefs();
    void writeHeaderAndGlobalMap();
    QList<Table *> systemTables() { return { &m_objects, &m_aces, &m_queries, &m_relationships }; }

    QDateTime m_createdAt;
    double m_created; // the same as an OLE date
    Table m_objects = msysObjects();
    Table m_aces = msysAces();
    Table m_queries = msysQueries();
    Table m_relationships = msysRelationships();
    QList<Table> m_user;
    SystemRows m_rows;
    int m_nextPage = 0;
    int m_systemMapRows = 0;
    QList<QByteArray> m_pages;
};

NewFile::NewFile(const QList<TableSpec> &specs, const QDateTime &created)
    : m_createdAt(created)
    , m_created(toOleDate(created))
{
    for (const TableSpec &table : specs)
        m_user.append(userTable(table));

    m_rows.catalog = {
        { kTablesId, kRootId, QStringLiteral("Tables"), 3, kSidEngine, kSystemFlags },
        { kDatabasesId, kRootId, QStringLiteral("Databases"), 3, kSidEngine, kSystemFlags },
        { kRelationshipsId, kRootId, QStringLiteral("Relationships"), 3, kSidEngine, kSystemFlags },
        { kMSysDbId, kDatabasesId, QStringLiteral("MSysDb"), 2, kSidAdmin, kSystemFlags },
        { 2, kTablesId, m_objects.name, 1, kSidEngine, kSystemFlags },
        { 3, kTablesId, m_aces.name, 1, kSidEngine, kSystemFlags },
        { 4, kTablesId, m_queries.name, 1, kSidEngine, kSystemFlags },
        { 5, kTablesId, m_relationships.name, 1, kSidEngine, kSystemFlags },
    };
    m_rows.aces = systemAces();
    // User tables: their ids (tdef pages) are filled in once the pages are laid out.
    for (const Table &t : m_user) {
        m_rows.catalog.append({ 0, kTablesId, t.name, 1, kSidAdmin, 0 });
        m_rows.aces.append(tableAces(0));
    }
}

Result<QList<QByteArray>> NewFile::build()
{
    // Fixed pages: header, global map, system tdefs, their map page, their index roots.
    m_objects.tdefPages = { 2 };
    m_aces.tdefPages = { 3 };
    m_queries.tdefPages = { 4 };
    m_relationships.tdefPages = { 5 };
    int root = kSystemMapPage + 1;
    for (Table *t : systemTables()) {
        for (RealIndex &ix : t->indexes)
            ix.rootPage = root++;
    }
    m_nextPage = root;
    assignSystemMapRows();

    // Data pages of MSysObjects and MSysACEs; row sizes do not depend on the ids still missing.
    QList<QByteArray> catalogRows;
    for (const CatalogRow &r : m_rows.catalog)
        catalogRows.append(encodeRow(m_objects.def, catalogValues(m_objects, r, m_createdAt)));
    for (qsizetype i = packRows(catalogRows, 0).pages.size(); i > 0; --i)
        m_objects.dataPages.append(m_nextPage++);
    QList<QByteArray> aceRows;
    for (const Ace &a : m_rows.aces)
        aceRows.append(encodeRow(m_aces.def, aceValues(a)));
    for (qsizetype i = packRows(aceRows, 0).pages.size(); i > 0; --i)
        m_aces.dataPages.append(m_nextPage++);

    // User tables: map rows, then definition pages.
    assignUserMapRows();
    QList<QByteArray> userStreams;
    for (Table &t : m_user) {
        userStreams.append(tdefStream(t));
        for (int i = tdefPageCount(userStreams.last()); i > 0; --i)
            t.tdefPages.append(m_nextPage++);
    }
    if (m_nextPage > kMapBitmapBytes * 8)
        return Status::invalidArgument(QStringLiteral("too many or too large tables for one new database file"));
    m_pages = QList<QByteArray>(m_nextPage);

    fillCatalogIds();
    catalogRows.clear();
    for (const CatalogRow &r : m_rows.catalog)
        catalogRows.append(encodeRow(m_objects.def, catalogValues(m_objects, r, m_createdAt)));
    aceRows.clear();
    for (const Ace &a : m_rows.aces)
        aceRows.append(encodeRow(m_aces.def, aceValues(a)));
    const QList<RowLocation> catalogAt = placeRows(m_objects, catalogRows, m_pages);
    const QList<RowLocation> aceAt = placeRows(m_aces, aceRows, m_pages);
    if (Status s = writeIndexes(catalogAt, aceAt); !s)
        return s;

    writeMapPages();
    for (qsizetype i = 0; i < m_user.size(); ++i) {
        const QList<QByteArray> images = tdefPageImages(userStreams.at(i), m_user.at(i).tdefPages);
        for (qsizetype k = 0; k < images.size(); ++k)
            m_pages[m_user.at(i).tdefPages.at(k)] = images.at(k);
    }
    writeTdefs();
    writeHeaderAndGlobalMap();
    for (const QByteArray &page : std::as_const(m_pages))
        Q_ASSERT(page.size() == kPageSize);
    return m_pages;
}

// Usage-map rows of the system tables on one page, in Jet's order: each table's owned and
// free-space maps, its long-value column maps, then its index maps.
void NewFile::assignSystemMapRows()
{
    int row = 0;
    auto take = [&] { return MapRef { kSystemMapPage, row++ }; };
    for (Table *t : systemTables()) {
        t->def.ownedMap = take();
        t->def.freeMap = take();
        for (const ColumnDef &c : t->def.columns) {
            if (c.columnType() == kMemo || c.columnType() == kOle) {
                LongValueMaps m;
                m.column = c.number;
                m.owned = take();
                m.freeSpace = take();
                t->longValueMaps.append(m);
            }
        }
        for (RealIndex &ix : t->indexes)
            ix.map = take();
    }
    m_systemMapRows = row;
}

// Usage-map rows of user tables: after the system tables' rows while the page has room, then
// on further map pages; a table's two rows stay on one page.
void NewFile::assignUserMapRows()
{
    quint32 page = kSystemMapPage;
    int rowsOnPage = m_systemMapRows;
    auto pageHolds = [](int rows) { return kDataRowTable + rows * (kMapRowBytes + 2) <= kPageSize; };
    for (Table &t : m_user) {
        if (!pageHolds(rowsOnPage + 2)) {
            page = quint32(m_nextPage++);
            rowsOnPage = 0;
        }
        t.def.ownedMap = MapRef { page, rowsOnPage++ };
        t.def.freeMap = MapRef { page, rowsOnPage++ };
    }
}

void NewFile::fillCatalogIds()
{
    const qsizetype firstUserRow = m_rows.catalog.size() - m_user.size();
    const qsizetype firstUserAce = m_rows.aces.size() - 3 * m_user.size();
    for (qsizetype i = 0; i < m_user.size(); ++i) {
        const qint32 id = m_user.at(i).tdefPages.first();
        m_rows.catalog[firstUserRow + i].id = id;
        for (qsizetype k = 0; k < 3; ++k)
            m_rows.aces[firstUserAce + 3 * i + k].object = id;
    }
}

Status NewFile::writeIndexes(const QList<RowLocation> &catalogAt, const QList<RowLocation> &aceAt)
{
    QList<IndexEntry> byParentAndName;
    QList<IndexEntry> byId;
    for (qsizetype i = 0; i < m_rows.catalog.size(); ++i) {
        const CatalogRow &r = m_rows.catalog.at(i);
        byParentAndName.append({ longKey(r.parent) + textKey(r.name), catalogAt.at(i) });
        byId.append({ longKey(r.id), catalogAt.at(i) });
    }
    QList<IndexEntry> byObject;
    for (qsizetype i = 0; i < m_rows.aces.size(); ++i)
        byObject.append({ longKey(m_rows.aces.at(i).object), aceAt.at(i) });
    if (!writeLeaf(m_objects, 0, byParentAndName, m_pages) || !writeLeaf(m_objects, 1, byId, m_pages)
        || !writeLeaf(m_aces, 0, byObject, m_pages))
        return Status::invalidArgument(QStringLiteral("too many tables for one new database file"));
    for (Table *t : { &m_queries, &m_relationships }) {
        for (int i = 0; i < t->indexes.size(); ++i)
            writeLeaf(*t, i, {}, m_pages);
    }
    return Status::ok();
}

void NewFile::writeMapPages()
{
    QMap<quint32, QMap<int, QByteArray>> rowsByPage;
    for (const Table *t : systemTables()) {
        rowsByPage[t->def.ownedMap.page][t->def.ownedMap.row] = inlineMap(t->dataPages);
        rowsByPage[t->def.freeMap.page][t->def.freeMap.row] = inlineMap(t->dataPages);
        for (const LongValueMaps &m : t->longValueMaps) {
            rowsByPage[m.owned.page][m.owned.row] = inlineMap({});
            rowsByPage[m.freeSpace.page][m.freeSpace.row] = inlineMap({});
        }
        for (const RealIndex &ix : t->indexes)
            rowsByPage[ix.map.page][ix.map.row] = inlineMap({ ix.rootPage });
    }
    for (const Table &t : std::as_const(m_user)) {
        rowsByPage[t.def.ownedMap.page][t.def.ownedMap.row] = inlineMap({});
        rowsByPage[t.def.freeMap.page][t.def.freeMap.row] = inlineMap({});
    }
    for (auto it = rowsByPage.cbegin(); it != rowsByPage.cend(); ++it) {
        QByteArray page = dataPage(0);
        for (const QByteArray &row : it.value())
            appendRow(bytesAt(page, 0), row);
        m_pages[it.key()] = page;
    }
}

// System tdefs last: they carry the row counts and distinct-key counts found above.
void NewFile::writeTdefs()
{
    for (const Table *t : systemTables())
        m_pages[t->tdefPages.first()] = tdefPageImages(tdefStream(*t), t->tdefPages).first();
}

// Header, and the global usage map: every page of the file in use, the rest of its window free.
void NewFile::writeHeaderAndGlobalMap()
{
    m_pages[0] = headerPage(m_created);
    const int pageCount = int(m_pages.size());
    QByteArray map = inlineMap({});
    for (int p = pageCount; p < kMapBitmapBytes * 8; ++p)
        map[5 + p / 8] = char(uchar(map[5 + p / 8]) | (1u << (p % 8)));
    QByteArray global = dataPage(1); // Jet marks its global map page with owner 1
    appendRow(bytesAt(global, 0), map);
    appendRow(bytesAt(global, 0), inlineMap({}));
    m_pages[1] = global;
}

} // namespace

Status createDatabaseFile(FileAccess &files, const QString &path, const QList<TableSpec> &tables)
{
    if (path.isEmpty())
        return Status::invalidArgument(QStringLiteral("no file name given"));
    if (files.exists(path))
        return Status::invalidArgument(QStringLiteral("%1 already exists").arg(QDir::toNativeSeparators(path)));
    if (Status s = checkSpecs(tables); !s)
        return s;

    QDateTime now = QDateTime::currentDateTime();
    now.setTime(QTime(now.time().hour(), now.time().minute(), now.time().second()));
    Result<QList<QByteArray>> pages = NewFile(tables, now).build();
    if (!pages)
        return pages.status();
    return writeFileAtomically(files, path, *pages);
}

} // namespace tolvane::jet::internal

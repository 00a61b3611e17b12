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

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QSet>
#include <QTemporaryFile>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#if defined(Q_OS_UNIX)
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#elif defined(Q_OS_WIN)
#include <io.h>
#endif

namespace tolvane::jet::internal {

namespace {

constexpr int kPageBytes = 4096;
constexpr int kDataHeader = 14;       // data page header before the row offset table
constexpr int kMapRowBytes = 69;      // inline usage map: type, start page, 64 bitmap bytes
constexpr int kMapBitmapBytes = 64;
constexpr int kMaxRowsOnPage = 255;
constexpr int kLeafEntriesStart = 480;
constexpr int kLeafMaskStart = 27;
constexpr int kTdefContinuation = kPageBytes - 8; // stream bytes carried by a continuation page
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

// Column type codes as stored in a tdef.
enum : quint8 {
    kBool = 0x01,
    kByte = 0x02,
    kInt = 0x03,
    kLong = 0x04,
    kDate = 0x08,
    kBinary = 0x09,
    kText = 0x0A,
    kOle = 0x0B,
    kMemo = 0x0C,
};

// Column flags: Jet marks fixed-length columns 0x01 and every column 0x02 (may be null) and 0x10.
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
// Little-endian byte assembly.

class Bytes
{
public:
    void u8(quint32 v) { m_data.append(char(v & 0xFF)); }
    void u16(quint32 v)
    {
        u8(v);
        u8(v >> 8);
    }
    void u24(quint32 v)
    {
        u16(v);
        u8(v >> 16);
    }
    void u32(quint32 v)
    {
        u16(v);
        u16(v >> 16);
    }
    void f64(double d)
    {
        quint64 v;
        std::memcpy(&v, &d, sizeof v);
        u32(quint32(v));
        u32(quint32(v >> 32));
    }
    void zeros(int n) { m_data.append(QByteArray(n, '\0')); }
    void bytes(const QByteArray &b) { m_data.append(b); }
    int size() const { return int(m_data.size()); }
    const QByteArray &data() const { return m_data; }
    QByteArray &data() { return m_data; }

private:
    QByteArray m_data;
};

void setU16(QByteArray &b, int at, quint32 v)
{
    b[at] = char(v & 0xFF);
    b[at + 1] = char((v >> 8) & 0xFF);
}

void setU32(QByteArray &b, int at, quint32 v)
{
    setU16(b, at, v & 0xFFFF);
    setU16(b, at + 2, v >> 16);
}

void setF64(QByteArray &b, int at, double d)
{
    quint64 v;
    std::memcpy(&v, &d, sizeof v);
    setU32(b, at, quint32(v));
    setU32(b, at + 4, quint32(v >> 32));
}

QByteArray utf16le(const QString &s)
{
    QByteArray out;
    out.reserve(s.size() * 2);
    for (QChar c : s) {
        out.append(char(c.unicode() & 0xFF));
        out.append(char(c.unicode() >> 8));
    }
    return out;
}

// ---------------------------------------------------------------------------------------------
// Names and the General (legacy) sort codes of the characters a table name may hold.

// Sort code of a character in a text index key, or empty when the character needs the
// key's extra sections (apostrophe, hyphen, anything outside printable ASCII).
QByteArray nameSortCode(QChar c)
{
    static const char *const kLetters[26] = {"\x4A", "\x4C", "\x4D", "\x4F", "\x51", "\x53", "\x55", "\x57", "\x59",
                                             "\x5B", "\x5C", "\x5E", "\x60", "\x62", "\x64", "\x66", "\x68", "\x69",
                                             "\x6B", "\x6D", "\x6F", "\x71", "\x73", "\x75", "\x76", "\x78"};
    const ushort u = c.unicode();
    if (u >= 'A' && u <= 'Z')
        return QByteArray(kLetters[u - 'A'], 1);
    if (u >= 'a' && u <= 'z')
        return QByteArray(kLetters[u - 'a'], 1);
    if (u >= '0' && u <= '9')
        return QByteArray(1, char(0x36 + 2 * (u - '0')));
    switch (u) {
    case ' ': return QByteArray("\x07", 1);
    case '!': return QByteArray("\x09", 1);
    case '"': return QByteArray("\x0A", 1);
    case '#': return QByteArray("\x0C", 1);
    case '$': return QByteArray("\x0E", 1);
    case '%': return QByteArray("\x10", 1);
    case '&': return QByteArray("\x12", 1);
    case '(': return QByteArray("\x14", 1);
    case ')': return QByteArray("\x16", 1);
    case '*': return QByteArray("\x18", 1);
    case ',': return QByteArray("\x1A", 1);
    case '.': return QByteArray("\x1C", 1);
    case '/': return QByteArray("\x1E", 1);
    case ':': return QByteArray("\x20", 1);
    case ';': return QByteArray("\x22", 1);
    case '?': return QByteArray("\x24", 1);
    case '@': return QByteArray("\x26", 1);
    case '[': return QByteArray("\x27", 1);
    case '\\': return QByteArray("\x29", 1);
    case ']': return QByteArray("\x2A", 1);
    case '+': return QByteArray("\x2C", 1);
    case '<': return QByteArray("\x2E", 1);
    case '=': return QByteArray("\x30", 1);
    case '>': return QByteArray("\x32", 1);
    case '^': return QByteArray("\x2B\x02", 2);
    case '_': return QByteArray("\x2B\x03", 2);
    case '`': return QByteArray("\x2B\x07", 2);
    case '{': return QByteArray("\x2B\x09", 2);
    case '|': return QByteArray("\x2B\x0B", 2);
    case '}': return QByteArray("\x2B\x0D", 2);
    case '~': return QByteArray("\x2B\x0F", 2);
    default: return {};
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
        return Status::invalidArgument(QStringLiteral("%1 name \"%2\" must have 1 to %3 characters")
                                           .arg(what, name)
                                           .arg(kMaxNameLength));
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

struct RowLocation
{
    int page = 0;
    int row = 0;
};

struct IndexEntry
{
    QByteArray key;
    RowLocation at;
};

// One index leaf holding every entry: header, entry-end bitmask, entries in key order.
// Returns the page and the number of distinct keys, or nothing when the entries overflow it.
std::optional<QByteArray> buildLeaf(int tdefPage, QList<IndexEntry> entries, int *distinct)
{
    std::sort(entries.begin(), entries.end(), [](const IndexEntry &a, const IndexEntry &b) {
        if (a.key != b.key)
            return a.key < b.key; // QByteArray orders bytes as unsigned
        if (a.at.page != b.at.page)
            return a.at.page < b.at.page;
        return a.at.row < b.at.row;
    });
    QByteArray page(kPageBytes, '\0');
    page[0] = char(0x04);
    page[1] = char(0x01);
    setU32(page, 4, quint32(tdefPage));
    int pos = 0;
    *distinct = 0;
    const QByteArray *previous = nullptr;
    for (const IndexEntry &e : entries) {
        QByteArray entry = e.key;
        entry.append(char((e.at.page >> 16) & 0xFF)); // data page, big-endian
        entry.append(char((e.at.page >> 8) & 0xFF));
        entry.append(char(e.at.page & 0xFF));
        entry.append(char(e.at.row));
        if (kLeafEntriesStart + pos + entry.size() > kPageBytes)
            return std::nullopt;
        std::memcpy(page.data() + kLeafEntriesStart + pos, entry.constData(), size_t(entry.size()));
        pos += int(entry.size());
        page[kLeafMaskStart + pos / 8] = char(uchar(page[kLeafMaskStart + pos / 8]) | (1u << (pos % 8)));
        if (!previous || *previous != e.key)
            ++*distinct;
        previous = &e.key;
    }
    setU16(page, 2, quint32(kPageBytes - kLeafEntriesStart - pos));
    return page;
}

// ---------------------------------------------------------------------------------------------
// Table definitions.

struct MapRef
{
    int row = 0;
    int page = 0;
    quint32 encoded() const { return quint32(row & 0xFF) | (quint32(page) << 8); }
};

struct Column
{
    QString name;
    quint8 type = kLong;
    int number = 0;
    int varIndex = 0;
    int fixedOffset = 0;
    int length = 0;
    quint8 flags = kFlagsFixed;
    quint8 extFlags = 0;
    bool fixed() const { return (flags & 0x01) != 0; }
};

struct ColumnDecl
{
    QString name;
    quint8 type;
    int textLength = 0; // characters, for Text; bytes for Binary
    quint8 flags = 0;   // 0: the usual flags for the type
    quint8 extFlags = 0;
};

struct RealIndex
{
    QList<int> columns;
    quint8 flags = 0;
    MapRef map;
    int rootPage = 0;
    int distinctKeys = 0;
};

struct LogicalIndex
{
    QString name;
    int number = 0;
    int realIndex = 0;
    bool primaryKey = false;
};

struct LongValueMaps
{
    int column = 0;
    MapRef owned;
    MapRef freeSpace;
};

struct Table
{
    QString name;
    bool system = false;
    QList<Column> columns;
    QList<RealIndex> indexes;
    QList<LogicalIndex> logical;
    QList<LongValueMaps> longValueMaps;
    MapRef owned;
    MapRef freeSpace;
    quint32 rowCount = 0;
    QList<int> tdefPages;
    QList<int> dataPages;

    int fixedAreaSize() const
    {
        int end = 0;
        for (const Column &c : columns) {
            if (c.fixed() && c.type != kBool)
                end = std::max(end, c.fixedOffset + c.length);
        }
        return end;
    }
    int variableCount() const
    {
        return int(std::count_if(columns.begin(), columns.end(), [](const Column &c) { return !c.fixed(); }));
    }
};

int fixedSize(quint8 type)
{
    switch (type) {
    case kBool:
    case kByte: return 1;
    case kInt: return 2;
    case kLong: return 4;
    case kDate: return 8;
    default: return 0;
    }
}

Table makeTable(const QString &name, bool system, const QList<ColumnDecl> &decls)
{
    Table t;
    t.name = name;
    t.system = system;
    int fixedOffset = 0;
    int varIndex = 0;
    for (const ColumnDecl &d : decls) {
        Column c;
        c.name = d.name;
        c.type = d.type;
        c.number = int(t.columns.size());
        const int size = fixedSize(d.type);
        if (size > 0) {
            c.flags = d.flags ? d.flags : kFlagsFixed;
            c.length = size;
            if (d.type != kBool) { // a Boolean lives in the null mask
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
        t.columns.append(c);
    }
    return t;
}

int columnNumber(const Table &t, const QString &name)
{
    for (const Column &c : t.columns) {
        if (c.name == name)
            return c.number;
    }
    Q_ASSERT_X(false, "columnNumber", "unknown system column");
    return 0;
}

// The table definition as one byte stream; split into pages by tdefPageImages.
QByteArray tdefStream(const Table &t)
{
    Bytes b;
    b.u8(0x02);
    b.u8(0x01);
    b.u16(0);           // free space: set per page
    b.u32(0);           // next tdef page: set per page
    b.u32(0);           // total length: set below
    b.u32(kTdefMagic);
    b.u32(t.rowCount);
    b.u32(0);           // last autonumber
    b.u8(1);
    b.zeros(15);
    b.u8(t.system ? 0x53 : 0x4E);
    b.u16(quint32(t.columns.size())); // max_cols
    b.u16(quint32(t.variableCount()));
    b.u16(quint32(t.columns.size()));
    b.u32(quint32(t.logical.size()));
    b.u32(quint32(t.indexes.size()));
    b.u32(t.owned.encoded());
    b.u32(t.freeSpace.encoded());
    for (const RealIndex &ix : t.indexes) {
        b.u32(0);
        b.u32(quint32(ix.distinctKeys));
        b.u32(0);
    }
    for (const Column &c : t.columns) {
        b.u8(c.type);
        b.u32(kTdefMagic);
        b.u16(quint32(c.number));
        b.u16(quint32(c.varIndex));
        b.u16(quint32(c.number));
        if (c.type == kText || t.system) {
            b.u16(kSortGeneralLegacy);
            b.u16(0);
        } else {
            b.u32(0);
        }
        b.u8(c.flags);
        b.u8(c.extFlags);
        b.u32(0);
        b.u16(c.fixed() ? quint32(c.fixedOffset) : 0);
        b.u16(quint32(c.length));
    }
    for (const Column &c : t.columns) {
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
        b.u8(0);           // no related table
        b.u32(0xFFFFFFFFu); // related index
        b.u32(0);          // related table page
        b.u8(0x04);        // cascade update / delete fields as Jet writes them for plain indexes
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
    setU32(stream, 8, quint32(stream.size()));
    return stream;
}

int tdefPageCount(const QByteArray &stream)
{
    if (stream.size() <= kPageBytes)
        return 1;
    return 1 + int((stream.size() - kPageBytes + kTdefContinuation - 1) / kTdefContinuation);
}

// Pages of a tdef chain: the first carries the stream's own header; each further page has an
// 8-byte header (type, free space, next page) and continues the stream.
QList<QByteArray> tdefPageImages(const QByteArray &stream, const QList<int> &pages)
{
    QList<QByteArray> images;
    const int n = int(pages.size());
    for (int i = 0; i < n; ++i) {
        QByteArray page(kPageBytes, '\0');
        if (i == 0) {
            const int len = int(std::min<qsizetype>(stream.size(), kPageBytes));
            std::memcpy(page.data(), stream.constData(), size_t(len));
        } else {
            page[0] = char(0x02);
            page[1] = char(0x01);
            const qsizetype from = kPageBytes + qsizetype(i - 1) * kTdefContinuation;
            const int len = int(std::min<qsizetype>(stream.size() - from, kTdefContinuation));
            std::memcpy(page.data() + 8, stream.constData() + from, size_t(len));
        }
        setU32(page, 4, i + 1 < n ? quint32(pages.at(i + 1)) : 0);
        if (i + 1 == n) {
            const int lastBytes = int(stream.size()) - (n - 1) * kTdefContinuation;
            setU16(page, 2, quint32(std::max(kPageBytes - lastBytes - 8, 0)));
        } else {
            setU16(page, 2, 0);
        }
        images.append(page);
    }
    return images;
}

// ---------------------------------------------------------------------------------------------
// Rows and data pages.

QByteArray encodeText(const QString &s, bool compressible)
{
    bool compress = compressible && s.size() >= 3;
    if (compress) {
        for (QChar c : s) {
            if (c.unicode() == 0 || c.unicode() > 0xFF) {
                compress = false;
                break;
            }
        }
    }
    if (!compress)
        return utf16le(s);
    QByteArray out("\xFF\xFE", 2);
    for (QChar c : s)
        out.append(char(c.unicode()));
    return out;
}

// Encodes a row of a system table; values are indexed by column number, null = invalid.
QByteArray encodeRow(const Table &t, const QList<QVariant> &values)
{
    const int ncols = int(t.columns.size());
    Bytes b;
    b.u16(quint32(ncols));
    QByteArray fixedArea(t.fixedAreaSize(), '\0');
    QByteArray nullMask((ncols + 7) / 8, '\0');
    auto setPresent = [&](int number) { nullMask[number / 8] = char(uchar(nullMask[number / 8]) | (1u << (number % 8))); };
    for (const Column &c : t.columns) {
        const QVariant &v = values.value(c.number);
        if (!v.isValid())
            continue;
        if (c.type == kBool) {
            if (v.toBool())
                setPresent(c.number);
            continue;
        }
        if (!c.fixed())
            continue;
        setPresent(c.number);
        switch (c.type) {
        case kByte: fixedArea[c.fixedOffset] = char(v.toInt() & 0xFF); break;
        case kInt: setU16(fixedArea, c.fixedOffset, quint32(v.toInt()) & 0xFFFF); break;
        case kLong: setU32(fixedArea, c.fixedOffset, quint32(v.toInt())); break;
        case kDate: setF64(fixedArea, c.fixedOffset, v.toDouble()); break;
        default: break;
        }
    }
    b.bytes(fixedArea);
    QList<const Column *> variable;
    for (const Column &c : t.columns) {
        if (!c.fixed())
            variable.append(&c);
    }
    std::sort(variable.begin(), variable.end(), [](const Column *a, const Column *c) { return a->varIndex < c->varIndex; });
    QList<int> offsets;
    for (const Column *c : variable) {
        offsets.append(b.size());
        const QVariant &v = values.value(c->number);
        if (!v.isValid())
            continue;
        setPresent(c->number);
        if (c->type == kText)
            b.bytes(encodeText(v.toString(), c->extFlags & kExtCompressible));
        else
            b.bytes(v.toByteArray());
    }
    if (!variable.isEmpty()) {
        b.u16(quint32(b.size())); // end of the variable data
        for (qsizetype i = offsets.size() - 1; i >= 0; --i)
            b.u16(quint32(offsets.at(i)));
        b.u16(quint32(variable.size()));
    }
    b.bytes(nullMask);
    return b.data();
}

class DataPage
{
public:
    explicit DataPage(quint32 owner) : m_page(kPageBytes, '\0')
    {
        m_page[0] = char(0x01);
        m_page[1] = char(0x01);
        setU32(m_page, 4, owner);
        update();
    }
    bool fits(int rowBytes) const
    {
        return m_rows < kMaxRowsOnPage && kDataHeader + 2 * (m_rows + 1) + m_used + rowBytes <= kPageBytes;
    }
    int add(const QByteArray &row)
    {
        m_used += int(row.size());
        const int start = kPageBytes - m_used;
        std::memcpy(m_page.data() + start, row.constData(), size_t(row.size()));
        setU16(m_page, kDataHeader + 2 * m_rows, quint32(start));
        const int number = m_rows++;
        update();
        return number;
    }
    const QByteArray &image() const { return m_page; }

private:
    void update()
    {
        setU16(m_page, 2, quint32(kPageBytes - kDataHeader - 2 * m_rows - m_used));
        setU16(m_page, 12, quint32(m_rows));
    }
    QByteArray m_page;
    int m_rows = 0;
    int m_used = 0;
};

// Number of data pages that rows of these sizes fill, packed in order.
int pagesForRows(const QList<QByteArray> &rows)
{
    if (rows.isEmpty())
        return 0;
    int pages = 1;
    DataPage probe(0);
    for (const QByteArray &r : rows) {
        if (!probe.fits(int(r.size()))) {
            probe = DataPage(0);
            ++pages;
        }
        probe.add(r);
    }
    return pages;
}

QByteArray inlineMap(const QList<int> &pages)
{
    Bytes b;
    b.u8(0);  // inline map
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
                        {{QStringLiteral("Id"), kLong},
                         {QStringLiteral("ParentId"), kLong},
                         {QStringLiteral("Name"), kText, 255},
                         {QStringLiteral("Type"), kInt},
                         {QStringLiteral("DateCreate"), kDate},
                         {QStringLiteral("DateUpdate"), kDate},
                         {QStringLiteral("Owner"), kBinary, 510, kFlagsSid},
                         {QStringLiteral("Flags"), kLong},
                         {QStringLiteral("Database"), kMemo},
                         {QStringLiteral("Connect"), kMemo},
                         {QStringLiteral("ForeignName"), kText, 255},
                         {QStringLiteral("RmtInfoShort"), kBinary, 510},
                         {QStringLiteral("RmtInfoLong"), kOle},
                         {QStringLiteral("Lv"), kOle},
                         {QStringLiteral("LvProp"), kOle},
                         {QStringLiteral("LvModule"), kOle},
                         {QStringLiteral("LvExtra"), kOle}});
    RealIndex parentIdName;
    parentIdName.columns = {columnNumber(t, QStringLiteral("ParentId")), columnNumber(t, QStringLiteral("Name"))};
    parentIdName.flags = kIndexAlwaysSet | kIndexUnique;
    RealIndex id;
    id.columns = {columnNumber(t, QStringLiteral("Id"))};
    id.flags = kIndexAlwaysSet | kIndexUnique;
    t.indexes = {parentIdName, id};
    t.logical = {{QStringLiteral("Id"), 1, 1, true}, {QStringLiteral("ParentIdName"), 0, 0, false}};
    return t;
}

Table msysAces()
{
    Table t = makeTable(QStringLiteral("MSysACEs"), true,
                        {{QStringLiteral("ObjectId"), kLong},
                         {QStringLiteral("SID"), kBinary, 510, kFlagsSid},
                         {QStringLiteral("ACM"), kLong},
                         {QStringLiteral("FInheritable"), kBool}});
    RealIndex objectId;
    objectId.columns = {0};
    objectId.flags = kIndexAlwaysSet | kIndexRequired;
    t.indexes = {objectId};
    t.logical = {{QStringLiteral("ObjectId"), 0, 0, false}};
    return t;
}

Table msysQueries()
{
    Table t = makeTable(QStringLiteral("MSysQueries"), true,
                        {{QStringLiteral("ObjectId"), kLong},
                         {QStringLiteral("Attribute"), kByte},
                         {QStringLiteral("Order"), kBinary, 510},
                         {QStringLiteral("Name1"), kText, 255},
                         {QStringLiteral("Name2"), kText, 255},
                         {QStringLiteral("Expression"), kMemo},
                         {QStringLiteral("Flag"), kInt},
                         {QStringLiteral("LvExtra"), kLong}});
    RealIndex key;
    key.columns = {0, 1, 2};
    key.flags = kIndexAlwaysSet | kIndexUnique;
    t.indexes = {key};
    t.logical = {{QStringLiteral("ObjectIdAttribute"), 0, 0, true}};
    return t;
}

Table msysRelationships()
{
    Table t = makeTable(QStringLiteral("MSysRelationships"), true,
                        {{QStringLiteral("szRelationship"), kText, 255},
                         {QStringLiteral("grbit"), kLong},
                         {QStringLiteral("ccolumn"), kLong},
                         {QStringLiteral("icolumn"), kLong},
                         {QStringLiteral("szObject"), kText, 255},
                         {QStringLiteral("szColumn"), kText, 255},
                         {QStringLiteral("szReferencedObject"), kText, 255},
                         {QStringLiteral("szReferencedColumn"), kText, 255}});
    for (int column : {0, 4, 6}) {
        RealIndex ix;
        ix.columns = {column};
        ix.flags = kIndexAlwaysSet | kIndexIgnoreNulls;
        t.indexes.append(ix);
    }
    // Logical indexes are listed by name, as Jet keeps them.
    t.logical = {{QStringLiteral("szObject"), 1, 1, false},
                 {QStringLiteral("szReferencedObject"), 2, 2, false},
                 {QStringLiteral("szRelationship"), 0, 0, false}};
    return t;
}

Table userTable(const TableSpec &spec)
{
    QList<ColumnDecl> decls;
    for (const ColumnSpec &c : spec.columns) {
        switch (c.type) {
        case ColumnType::Long: decls.append({c.name, kLong}); break;
        case ColumnType::DateTime: decls.append({c.name, kDate}); break;
        default: decls.append({c.name, kText, c.textLength, 0, kExtCompressible}); break;
        }
    }
    return makeTable(spec.name, false, decls);
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
            case ColumnType::DateTime: break;
            case ColumnType::Text:
                if (c.textLength < 1 || c.textLength > 255)
                    return Status::invalidArgument(
                        QStringLiteral("table \"%1\": text column \"%2\" must hold 1 to 255 characters")
                            .arg(t.name, c.name));
                break;
            default:
                return Status::invalidArgument(
                    QStringLiteral("table \"%1\": column \"%2\" must be Long, DateTime or Text")
                        .arg(t.name, c.name));
            }
        }
    }
    return Status::ok();
}

// Access-control entries: (object, security id, access mask, inheritable).
struct Ace
{
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
        {kTablesId, kSidUsers, 983294, true},
        {kTablesId, kSidAdmin, 1048319, true},
        {kTablesId, kSidAdmins, 1048319, true},
        {kDatabasesId, kSidAdmin, 393216, false},
        {kRelationshipsId, kSidUsers, 983294, true},
        {kRelationshipsId, kSidAdmin, 393217, false},
        {kRelationshipsId, kSidAdmins, kFullAccess, true},
        {kMSysDbId, kSidAdmin, 393230, false},
        {kMSysDbId, kSidAdmins, 14, false},
        {2, kSidAdmin, 393216, false},
        {2, kSidAdmins, 20, false},
        {3, kSidAdmin, 393216, false},
        {4, kSidAdmin, 393216, false},
        {4, kSidAdmins, 20, false},
        {5, kSidAdmin, 917504, false},
        {5, kSidAdmins, 20, false},
    };
}

QList<Ace> tableAces(qint32 id)
{
    return {{id, kSidUsers, kFullAccess, false}, {id, kSidAdmin, kFullAccess, false}, {id, kSidAdmins, kFullAccess, false}};
}

struct CatalogRow
{
    qint32 id;
    qint32 parent;
    QString name;
    int type;
    QByteArray owner;
    qint32 flags;
};

double oleDate(const QDateTime &dt)
{
    static const QDate epoch(1899, 12, 30);
    return double(epoch.daysTo(dt.date())) + double(dt.time().msecsSinceStartOfDay()) / 86400000.0;
}

// ---------------------------------------------------------------------------------------------
// Header page.

QByteArray headerMaskStream()
{
    const uchar key[4] = {0xC7, 0xDA, 0x39, 0x6B};
    uchar s[256];
    for (int i = 0; i < 256; ++i)
        s[i] = uchar(i);
    for (int i = 0, j = 0; i < 256; ++i) {
        j = (j + s[i] + key[i % 4]) & 0xFF;
        std::swap(s[i], s[j]);
    }
    QByteArray out(128, '\0');
    for (int n = 0, i = 0, j = 0; n < 128; ++n) {
        i = (i + 1) & 0xFF;
        j = (j + s[i]) & 0xFF;
        std::swap(s[i], s[j]);
        out[n] = char(s[(s[i] + s[j]) & 0xFF]);
    }
    return out;
}

QByteArray headerPage(double created)
{
    QByteArray p(kPageBytes, '\0');
    p[1] = char(0x01);
    std::memcpy(p.data() + 4, "Standard Jet DB", 16); // with its terminating zero
    p[0x14] = char(0x01);                            // Jet 4
    // Fields of the masked area, in the clear.
    p[0x19] = char(0x01);
    p[0x1C] = char(0x01);
    p[0x1D] = char(0x01);
    p[0x20] = char(0x02);
    p[0x24] = char(0x03);
    p[0x28] = char(0x04);
    p[0x2C] = char(0x05);
    setU16(p, 0x3C, 1252); // code page
    setU32(p, 0x3E, 0);    // database key: pages not encoded
    const quint32 dateMask = quint32(qint32(std::trunc(created)));
    for (int i = 0; i < 40; i += 4)
        setU32(p, 0x42 + i, dateMask); // empty password, masked with the creation date
    setU32(p, 0x6A, 0x21AA);
    setU32(p, 0x6E, kSortGeneralLegacy); // General, legacy version
    setF64(p, 0x72, created);
    const QByteArray mask = headerMaskStream();
    for (int i = 0; i < 128; ++i)
        p[0x18 + i] = char(p[0x18 + i] ^ mask[i]);
    // Unmasked trailer fields.
    setU32(p, 0x98, 0x0654);
    std::memcpy(p.data() + 0x9C, "4.0", 3);
    p[0xE00] = char(0x01);
    p[0xE01] = char(0x01);
    for (int i = 0xE02; i < kPageBytes; i += 2)
        p[i + 1] = char(0x01);
    return p;
}

// ---------------------------------------------------------------------------------------------
// File output.

Status syncFile(QFile &f)
{
    if (!f.flush())
        return Status::ioError(QStringLiteral("cannot write %1: %2").arg(f.fileName(), f.errorString()));
#if defined(Q_OS_UNIX)
    if (::fsync(f.handle()) != 0)
        return Status::ioError(QStringLiteral("cannot flush %1 to disk").arg(f.fileName()));
#elif defined(Q_OS_WIN)
    if (::_commit(f.handle()) != 0)
        return Status::ioError(QStringLiteral("cannot flush %1 to disk").arg(f.fileName()));
#endif
    return Status::ok();
}

void syncDirectory(const QString &dir)
{
#if defined(Q_OS_UNIX)
    const int fd = ::open(QFile::encodeName(dir).constData(), O_RDONLY | O_DIRECTORY);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
#else
    Q_UNUSED(dir);
#endif
}

// Moves a finished temporary file to its final name, failing rather than replacing a file
// that appeared there meanwhile.
Status moveIntoPlace(const QString &temp, const QString &path)
{
#if defined(Q_OS_UNIX)
    const QByteArray from = QFile::encodeName(temp);
    const QByteArray to = QFile::encodeName(path);
    if (::link(from.constData(), to.constData()) == 0) {
        ::unlink(from.constData());
        return Status::ok();
    }
    if (errno == EEXIST)
        return Status::invalidArgument(QStringLiteral("%1 already exists").arg(QDir::toNativeSeparators(path)));
    // Volumes without hard links: rename, which Qt refuses when the target exists.
#endif
    if (QFileInfo::exists(path))
        return Status::invalidArgument(QStringLiteral("%1 already exists").arg(QDir::toNativeSeparators(path)));
    if (!QFile::rename(temp, path))
        return Status::ioError(QStringLiteral("cannot create %1").arg(QDir::toNativeSeparators(path)));
    return Status::ok();
}

Status writeFileAtomically(const QString &path, const QList<QByteArray> &pages)
{
    const QFileInfo target(path);
    const QString dir = target.absolutePath();
    if (!QFileInfo(dir).isDir())
        return Status::notFound(QStringLiteral("folder %1 does not exist").arg(QDir::toNativeSeparators(dir)));
    QString tempName;
    {
        QTemporaryFile temp(dir + QStringLiteral("/.") + target.fileName() + QStringLiteral(".XXXXXX.tmp"));
        temp.setAutoRemove(false);
        if (!temp.open())
            return Status::ioError(QStringLiteral("cannot write in %1: %2").arg(QDir::toNativeSeparators(dir), temp.errorString()));
        tempName = temp.fileName();
        Status s;
        for (const QByteArray &page : pages) {
            if (temp.write(page) != page.size()) {
                s = Status::ioError(QStringLiteral("cannot write %1: %2").arg(QDir::toNativeSeparators(path), temp.errorString()));
                break;
            }
        }
        if (s)
            s = syncFile(temp);
        temp.close();
        if (!s) {
            QFile::remove(tempName);
            return s;
        }
    }
    if (Status s = moveIntoPlace(tempName, path); !s) {
        QFile::remove(tempName);
        return s;
    }
    syncDirectory(dir);
    return Status::ok();
}

} // namespace

Status createDatabaseFile(const QString &path, const QList<TableSpec> &tables)
{
    if (path.isEmpty())
        return Status::invalidArgument(QStringLiteral("no file name given"));
    if (QFileInfo::exists(path) || QFileInfo(path).isSymLink())
        return Status::invalidArgument(QStringLiteral("%1 already exists").arg(QDir::toNativeSeparators(path)));
    if (Status s = checkSpecs(tables); !s)
        return s;

    QDateTime now = QDateTime::currentDateTime();
    now.setTime(QTime(now.time().hour(), now.time().minute(), now.time().second()));
    const double created = oleDate(now);

    Table objects = msysObjects();
    Table aces = msysAces();
    Table queries = msysQueries();
    Table relationships = msysRelationships();
    QList<Table> user;
    for (const TableSpec &spec : tables)
        user.append(userTable(spec));

    // Fixed pages.
    objects.tdefPages = {2};
    aces.tdefPages = {3};
    queries.tdefPages = {4};
    relationships.tdefPages = {5};
    constexpr int kSystemMapPage = 6;
    objects.indexes[0].rootPage = 7;
    objects.indexes[1].rootPage = 8;
    aces.indexes[0].rootPage = 9;
    queries.indexes[0].rootPage = 10;
    relationships.indexes[0].rootPage = 11;
    relationships.indexes[1].rootPage = 12;
    relationships.indexes[2].rootPage = 13;
    int nextPage = 14;

    // Usage-map rows of the system tables on page 6, in Jet's order: each table's owned and
    // free-space maps, its long-value column maps, then its index maps.
    int mapRow = 0;
    auto takeMapRow = [&](int page) {
        MapRef r{mapRow++, page};
        return r;
    };
    for (Table *t : {&objects, &aces, &queries, &relationships}) {
        t->owned = takeMapRow(kSystemMapPage);
        t->freeSpace = takeMapRow(kSystemMapPage);
        for (const Column &c : t->columns) {
            if (c.type == kMemo || c.type == kOle) {
                LongValueMaps m;
                m.column = c.number;
                m.owned = takeMapRow(kSystemMapPage);
                m.freeSpace = takeMapRow(kSystemMapPage);
                t->longValueMaps.append(m);
            }
        }
        for (RealIndex &ix : t->indexes)
            ix.map = takeMapRow(kSystemMapPage);
    }
    const int systemMapRows = mapRow;

    // Catalogue rows: Jet's containers and objects, then the user tables (their Ids are their
    // tdef pages, known once the pages are laid out).
    QList<CatalogRow> catalog = {
        {kTablesId, kRootId, QStringLiteral("Tables"), 3, kSidEngine, kSystemFlags},
        {kDatabasesId, kRootId, QStringLiteral("Databases"), 3, kSidEngine, kSystemFlags},
        {kRelationshipsId, kRootId, QStringLiteral("Relationships"), 3, kSidEngine, kSystemFlags},
        {kMSysDbId, kDatabasesId, QStringLiteral("MSysDb"), 2, kSidAdmin, kSystemFlags},
        {2, kTablesId, objects.name, 1, kSidEngine, kSystemFlags},
        {3, kTablesId, aces.name, 1, kSidEngine, kSystemFlags},
        {4, kTablesId, queries.name, 1, kSidEngine, kSystemFlags},
        {5, kTablesId, relationships.name, 1, kSidEngine, kSystemFlags},
    };
    for (const Table &t : user)
        catalog.append({0, kTablesId, t.name, 1, kSidAdmin, 0});
    auto catalogValues = [&](const CatalogRow &r) {
        QList<QVariant> v(objects.columns.size());
        v[0] = r.id;
        v[1] = r.parent;
        v[2] = r.name;
        v[3] = r.type;
        v[4] = created;
        v[5] = created;
        v[6] = r.owner;
        v[7] = r.flags;
        return v;
    };
    QList<QByteArray> catalogRowBytes;
    for (const CatalogRow &r : catalog)
        catalogRowBytes.append(encodeRow(objects, catalogValues(r)));
    const int catalogPages = pagesForRows(catalogRowBytes);

    QList<Ace> aceList = systemAces();
    for (qsizetype i = 0; i < user.size(); ++i)
        aceList.append(tableAces(0));
    auto aceValues = [&](const Ace &a) {
        return QList<QVariant>{a.object, a.sid, a.mask, a.inheritable};
    };
    QList<QByteArray> aceRowBytes;
    for (const Ace &a : aceList)
        aceRowBytes.append(encodeRow(aces, aceValues(a)));
    const int acePages = pagesForRows(aceRowBytes);

    for (int i = 0; i < catalogPages; ++i)
        objects.dataPages.append(nextPage++);
    for (int i = 0; i < acePages; ++i)
        aces.dataPages.append(nextPage++);

    // Usage-map rows of user tables: page 6 while it has room, then further map pages; a
    // table's two rows stay on one page.
    {
        int page = kSystemMapPage;
        int rowsOnPage = systemMapRows;
        auto pageHolds = [](int rows) { return kDataHeader + rows * (kMapRowBytes + 2) <= kPageBytes; };
        QList<int> extraMapPages;
        for (Table &t : user) {
            if (!pageHolds(rowsOnPage + 2)) {
                page = nextPage++;
                extraMapPages.append(page);
                rowsOnPage = 0;
            }
            t.owned = MapRef{rowsOnPage++, page};
            t.freeSpace = MapRef{rowsOnPage++, page};
        }
    }

    // User tdefs.
    QList<QByteArray> userStreams;
    for (Table &t : user) {
        const QByteArray stream = tdefStream(t);
        const int count = tdefPageCount(stream);
        for (int i = 0; i < count; ++i)
            t.tdefPages.append(nextPage++);
        userStreams.append(stream);
    }
    const int pageCount = nextPage;
    if (pageCount > kMapBitmapBytes * 8)
        return Status::invalidArgument(QStringLiteral("too many or too large tables for one new database file"));

    // Now that the tdef pages are known, fill in the catalogue ids and pack the rows.
    for (qsizetype i = 0; i < user.size(); ++i) {
        const qint32 id = user.at(i).tdefPages.first();
        catalog[8 + i].id = id;
        for (int k = 0; k < 3; ++k)
            aceList[systemAces().size() + i * 3 + k].object = id;
    }
    QList<QByteArray> pages(pageCount, QByteArray());

    QList<RowLocation> catalogAt;
    {
        int pageIndex = 0;
        std::optional<DataPage> page;
        for (const CatalogRow &r : catalog) {
            const QByteArray row = encodeRow(objects, catalogValues(r));
            if (!page || !page->fits(int(row.size()))) {
                if (page)
                    pages[objects.dataPages.at(pageIndex++)] = page->image();
                page.emplace(quint32(objects.tdefPages.first()));
            }
            catalogAt.append({objects.dataPages.at(pageIndex), page->add(row)});
        }
        pages[objects.dataPages.at(pageIndex)] = page->image();
        objects.rowCount = quint32(catalog.size());
    }
    QList<RowLocation> aceAt;
    {
        int pageIndex = 0;
        std::optional<DataPage> page;
        for (const Ace &a : aceList) {
            const QByteArray row = encodeRow(aces, aceValues(a));
            if (!page || !page->fits(int(row.size()))) {
                if (page)
                    pages[aces.dataPages.at(pageIndex++)] = page->image();
                page.emplace(quint32(aces.tdefPages.first()));
            }
            aceAt.append({aces.dataPages.at(pageIndex), page->add(row)});
        }
        pages[aces.dataPages.at(pageIndex)] = page->image();
        aces.rowCount = quint32(aceList.size());
    }

    // Index leaves.
    QList<IndexEntry> byParentAndName;
    QList<IndexEntry> byId;
    for (qsizetype i = 0; i < catalog.size(); ++i) {
        const CatalogRow &r = catalog.at(i);
        byParentAndName.append({longKey(r.parent) + textKey(r.name), catalogAt.at(i)});
        byId.append({longKey(r.id), catalogAt.at(i)});
    }
    QList<IndexEntry> byObject;
    for (qsizetype i = 0; i < aceList.size(); ++i)
        byObject.append({longKey(aceList.at(i).object), aceAt.at(i)});
    auto writeLeaf = [&](Table &t, int index, const QList<IndexEntry> &entries) {
        RealIndex &ix = t.indexes[index];
        std::optional<QByteArray> leaf = buildLeaf(t.tdefPages.first(), entries, &ix.distinctKeys);
        if (!leaf)
            return false;
        pages[ix.rootPage] = *leaf;
        return true;
    };
    if (!writeLeaf(objects, 0, byParentAndName) || !writeLeaf(objects, 1, byId) || !writeLeaf(aces, 0, byObject))
        return Status::invalidArgument(QStringLiteral("too many tables for one new database file"));
    writeLeaf(queries, 0, {});
    for (int i = 0; i < 3; ++i)
        writeLeaf(relationships, i, {});

    // Usage-map pages: every map row, in row order per page.
    {
        QMap<int, QMap<int, QByteArray>> rowsByPage;
        for (const Table *t : {&objects, &aces, &queries, &relationships}) {
            rowsByPage[t->owned.page][t->owned.row] = inlineMap(t->dataPages);
            rowsByPage[t->freeSpace.page][t->freeSpace.row] = inlineMap(t->dataPages);
            for (const LongValueMaps &m : t->longValueMaps) {
                rowsByPage[m.owned.page][m.owned.row] = inlineMap({});
                rowsByPage[m.freeSpace.page][m.freeSpace.row] = inlineMap({});
            }
            for (const RealIndex &ix : t->indexes)
                rowsByPage[ix.map.page][ix.map.row] = inlineMap({ix.rootPage});
        }
        for (const Table &t : user) {
            rowsByPage[t.owned.page][t.owned.row] = inlineMap({});
            rowsByPage[t.freeSpace.page][t.freeSpace.row] = inlineMap({});
        }
        for (auto it = rowsByPage.cbegin(); it != rowsByPage.cend(); ++it) {
            DataPage page(0);
            for (const QByteArray &row : it.value())
                page.add(row);
            pages[it.key()] = page.image();
        }
    }

    // Table definitions.
    for (const Table *t : {&objects, &aces, &queries, &relationships})
        pages[t->tdefPages.first()] = tdefPageImages(tdefStream(*t), t->tdefPages).first();
    for (qsizetype i = 0; i < user.size(); ++i) {
        const QList<QByteArray> images = tdefPageImages(userStreams.at(i), user.at(i).tdefPages);
        for (qsizetype k = 0; k < images.size(); ++k)
            pages[user.at(i).tdefPages.at(k)] = images.at(k);
    }

    // Header and global usage map: every page of the file in use, the rest of the window free.
    pages[0] = headerPage(created);
    {
        DataPage global(1);
        QByteArray map = inlineMap({});
        for (int p = 0; p < kMapBitmapBytes * 8; ++p) {
            if (p >= pageCount)
                map[5 + p / 8] = char(uchar(map[5 + p / 8]) | (1u << (p % 8)));
        }
        global.add(map);
        global.add(inlineMap({}));
        pages[1] = global.image();
    }

    for (qsizetype i = 0; i < pages.size(); ++i)
        Q_ASSERT(pages.at(i).size() == kPageBytes);
    return writeFileAtomically(path, pages);
}

} // namespace tolvane::jet::internal

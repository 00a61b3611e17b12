// Value and schema types of the Jet 4 engine. Plain values; thread-compatible.
#pragma once

#include <QDate>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "platform/status.h"

namespace tolvane::jet {

// Jet column type codes, as stored in a table definition.
enum class ColumnType : quint8 {
    Boolean = 0x01,
    Byte = 0x02,
    Integer = 0x03, // 16-bit
    Long = 0x04, // 32-bit signed
    Money = 0x05,
    Float = 0x06,
    Double = 0x07,
    DateTime = 0x08,
    Binary = 0x09,
    Text = 0x0A,
    Ole = 0x0B,
    Memo = 0x0C,
    Guid = 0x0F,
    Numeric = 0x10,
};

// A column of an existing table, in column-number order.
struct ColumnInfo {
    QString name;
    ColumnType type = ColumnType::Long;
    int number = 0; // column number stored in the tdef
    int maxLength = 0; // Text: characters (UTF-16 code units); others: bytes
    bool compressible = false;
};

struct TableInfo {
    QString name;
    QList<ColumnInfo> columns; // in column-number order: the order of values in a row
    qint64 rowCount = 0; // live rows recorded in the table definition
    int columnIndex(const QString &column) const; // case-insensitive; -1 when absent
};

// A column of a table to be created. Only Long, DateTime and Text are supported for new tables.
struct ColumnSpec {
    QString name;
    ColumnType type = ColumnType::Long;
    int textLength = 0; // Text(n): n characters, 1..255
};

struct TableSpec {
    QString name;
    QList<ColumnSpec> columns;
};

// Location of a row: the slot that a table scan finds it under. It stays valid when an
// update moves the row's data elsewhere (the slot then points at the data).
struct RowId {
    quint32 page = 0;
    quint8 row = 0;
    bool operator==(const RowId &) const = default;
    bool isValid() const { return page != 0; }
};

// One inconsistency the check at open found in a file's structure (a damaged file opens
// read-only). Fields not named by the kind are 0 or empty.
struct DamageFinding {
    enum class Kind {
        FileEndsInsidePage, // found: the file's size in bytes; the partial page is not read
        PageBeyondEnd, // table's pages past the end: page the first, found how many, expected the file's pages
        WrongPageType, // table's page is no data page: found its type byte
        WrongOwner, // table's page belongs to another table: found that table's definition page
        RowCountMismatch, // table: expected the definition's row count, found the rows its pages hold
        UsedPageMarkedFree, // table's page is free in the file's global usage map
        UnreadableMap, // table's usage map cannot be read
    };
    Kind kind = Kind::FileEndsInsidePage;
    QString table;
    quint32 page = 0;
    qint64 expected = 0;
    qint64 found = 0;
    bool operator==(const DamageFinding &) const = default;
    // What was found, in a sentence for the user (Japanese).
    QString text() const;
};

// Values travel as QVariant:
//   null              -> QVariant() (invalid)
//   Long/Integer/Byte -> int
//   DateTime          -> QDateTime, Qt::LocalTime wall-clock time, millisecond precision
//   Text/Memo         -> QString
//   Boolean           -> bool
//   Binary/Ole        -> QByteArray
//   Double/Float      -> double, Money -> double
using Row = QList<QVariant>;

// What a caller read of a row, given back when it writes the row by its id later: pairs of a
// column (its index in the table's column order) and the value read there. A row id names a
// place in the file; once its row is deleted the place may be given to a new row, so a row id
// held since an earlier transaction may name another row. A write that carries what was read
// goes ahead only while the row still holds it (Database::updateRow).
using RowExpectation = QList<QPair<int, QVariant>>;

// Whether two values as read from the file are the same stored value: a null only equals a
// null, text compares exactly (case counts), dates by their wall-clock time, numbers by value.
bool sameStoredValue(const QVariant &a, const QVariant &b);
// The failure of such a write: Conflict, with a message for the user (Japanese).
Status rowChangedElsewhere();

// OLE automation date (days since 1899-12-30; for earlier days the fraction is still the
// positive time of day) <-> wall-clock QDateTime.
double toOleDate(const QDateTime &dt);
QDateTime fromOleDate(double ole);

// An OLE date as the wall-clock day and millisecond of the day it stands for: what fromOleDate
// builds its QDateTime from, found by arithmetic alone (no time-zone lookup). False for a number
// that is not finite or lies too far from the epoch.
struct OleDateParts {
    qint64 day = 0; // days since 1899-12-30
    int msec = 0; // 0 .. 86399999
    QDate date() const;
    QTime time() const;
    // Wall-clock order: days, then the time of day (as compareValues orders dates).
    qint64 key() const { return day * 86400000 + msec; }
};
bool oleDateParts(double ole, OleDateParts &parts);
// The OLE date of a wall-clock day at midnight.
double oleDay(const QDate &date);

} // namespace tolvane::jet

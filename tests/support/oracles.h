// Oracles: independent readers of .mdb files for tests. jet-check verifies the file's
// structure; mdbtools and mdb-reader (node) read its tables and rows, so a test can check
// that what our engine wrote is what other readers see.
#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

namespace tolvane::test {

struct OracleResult {
    bool ok = false;
    QString output; // stdout and stderr of the tool
};

// Runs jet-check FILE --quiet [--no-leaks]; ok when it exits 0.
OracleResult jetCheck(const QString &path, bool noLeaks = true);

// True when the mdbtools programs (mdb-tables, mdb-count, mdb-export, mdb-schema) can be run.
bool mdbToolsAvailable();

// User table names, in catalogue order (mdb-tables -1). Empty on failure.
QStringList mdbTables(const QString &path);

// Rows of a table as mdb-count reports them; -1 on failure.
qint64 mdbCount(const QString &path, const QString &table);

// Rows of a table as mdb-export prints them, each a list of fields in column order, without
// the header. Text comes back exactly (quotes, commas, tabs, line breaks, Japanese); dates as
// "yyyy-mm-dd HH:MM:SS"; Long as decimal text. A null field is a null QString; mdbtools
// prints an empty text like a null, so "" also comes back as a null QString.
// Empty on failure; use mdbExportResult to tell failure from an empty table.
QList<QStringList> mdbExport(const QString &path, const QString &table);
struct ExportResult {
    bool ok = false;
    QString error;
    QList<QStringList> rows;
};
ExportResult mdbExportResult(const QString &path, const QString &table);

// mdb-schema's column list of one table: {name, type text} pairs such as
// {"fName", "Text (120)"}, {"pnID", "Long Integer"}, {"fDate", "DateTime"}. Empty on failure.
QList<QPair<QString, QString>> mdbColumns(const QString &path, const QString &table);

// The file as mdb-reader reads it (tests/jet/node/dump.mjs):
//   {"tableNames": [...], "creationDate": "...",
//    "tables": {name: {"rowCount": n, "columns": [{"name","type","size"}], "rows": [[...]]}}}
// Dates are wall-clock ISO text "yyyy-mm-ddTHH:MM:SS", nulls are null.
// When node or the package is missing the calling test fails with a message saying how to
// install it; when mdb-reader cannot read the file the object holds only "error".
QJsonObject mdbReaderDump(const QString &path);

} // namespace tolvane::test

// Database: a Jet 4 (.mdb, Access 2000) file opened for reading and writing rows of its user
// tables, or created anew. One object per open file; not thread-safe (use from one thread).
// Format facts and the engine's layers: docs/jet4-engine.md.
#pragma once

#include <functional>
#include <memory>

#include "platform/jet/query.h"
#include "platform/jet/types.h"
#include "platform/status.h"

namespace tolvane::jet {

class Recordset;
class Engine; // internal
namespace internal {
class FileAccess;
}

class Database {
public:
    enum class OpenMode { ReadWrite, ReadOnly };

    // Opens an existing file. Errors: NotFound (no file), NotSupported (Jet 3, ACCDB, encoded
    // or password-protected), Corruption (not a Jet file / unreadable structures), IOError.
    // A hot journal left by an interrupted commit is rolled back first (on disk when no other
    // connection is writing; otherwise in this connection's image, and on disk by the next
    // writer). In ReadWrite mode a file whose "<name>.ldb" lock file exists, or that cannot be
    // written, is opened read-only: isReadOnly() is then true and readOnlyReason() says why,
    // in words for the user (Japanese). Busy, with a message for the user (Japanese), while
    // compaction or repair has the file to itself.
    static Result<std::unique_ptr<Database>> open(const QString &path, OpenMode mode = OpenMode::ReadWrite);
    // The same with every file operation going through files (internal/fileaccess.h), which
    // must outlive the Database. open(path, mode) uses the disk.
    static Result<std::unique_ptr<Database>> open(
        internal::FileAccess &files, const QString &path, OpenMode mode = OpenMode::ReadWrite);

    // Creates a brand-new file at path holding the given (empty) user tables, in that order.
    // Never overwrites: InvalidArgument when path already exists. The file appears complete or
    // not at all.
    static Status create(const QString &path, const QList<TableSpec> &tables);
    static Status create(internal::FileAccess &files, const QString &path, const QList<TableSpec> &tables);

    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    QString path() const;
    bool isReadOnly() const;
    QString readOnlyReason() const;
    // The file failed the check made whenever it is read (page headers, usage maps and row
    // counts; the findings in damage()): the connection is read-only, readOnlyReason() says
    // what was found, and reads may return fewer rows than the file says it holds.
    bool isDamaged() const;
    QList<DamageFinding> damage() const;

    // User tables, in catalogue order; names as stored.
    QStringList tableNames() const;
    // Exact (case-sensitive) name test, as the table list is compared.
    bool hasTable(const QString &name) const;
    // Case-insensitive lookup. NotFound when absent.
    Result<TableInfo> tableInfo(const QString &table) const;

    // Several connections, in one process or several, may have the file open; one writes at a
    // time. A write transaction holds the file's writer lock from beginTransaction() until its
    // commit() is durable (or rollback()); beginTransaction() first picks up everything other
    // connections committed. Readers never see a commit half-written.
    // Waiting for the lock: after the busy timeout (5 s unless set) the busy handler is asked;
    // true waits as long again, false (or no handler) fails with Busy. The same holds for a read
    // that meets a commit in progress.
    void setBusyTimeout(int ms);
    void setBusyHandler(std::function<bool()> handler);

    // Transactions. Without one, every write commits on its own. Nested begin is refused.
    // commit() makes all writes since begin durable at once; a crash or kill before commit()
    // returns leaves the file as it was before begin (a journal is rolled back by the next
    // writer). A commit that fails (IOError, Busy) leaves the file as it was and drops the
    // transaction's changes. beginTransaction() fails with Busy (see above), or ReadOnly.
    // Between transactions, each read first picks up what another connection to the same file
    // has committed.
    // Destroying the Database with a transaction open drops that transaction.
    Status beginTransaction();
    Status commit();
    void rollback();
    bool inTransaction() const;

    // Row access by position in the table's column order (TableInfo::columns).
    // Values are checked: a text longer than its column, a wrong type, or a Long out of range
    // is InvalidArgument and nothing is written. Tables with indexes or memo/OLE columns, and
    // read-only files, refuse writes (NotSupported / ReadOnly).
    // A row id is sure to name the row it was read with only within the transaction that read
    // it: once a row is deleted, a later insert may take its place. A caller that writes by a
    // row id read earlier passes what it read as expected; the write then goes ahead only if
    // the row still holds those values when the transaction has picked up every other
    // connection's commit, and fails with Conflict (a message for the user, Japanese)
    // otherwise, writing nothing. Recordset's update() and deleteCurrent() do so.
    Result<RowId> insertRow(const QString &table, const Row &values);
    Status updateRow(const QString &table, RowId id, const Row &values, const RowExpectation &expected = {});
    Status deleteRow(const QString &table, RowId id, const RowExpectation &expected = {});
    Result<Row> readRow(const QString &table, RowId id) const;
    // Visits live rows in storage order; return false from visit to stop early.
    Status scan(const QString &table, const std::function<bool(RowId, const Row &)> &visit) const;

    // Static snapshot recordsets (see recordset.h).
    Result<std::unique_ptr<Recordset>> openTable(const QString &table);
    Result<std::unique_ptr<Recordset>> select(const Query &query);

    // Distinct non-null values of column with their counts, ascending
    // ("GROUP BY column HAVING Count(column) >= 1 ORDER BY column").
    Result<QList<QPair<QVariant, int>>> groupCount(
        const QString &table, const QString &column, const QList<Condition> &conditions = {});

private:
    Database(std::unique_ptr<internal::FileAccess> ownFiles, std::unique_ptr<Engine> engine);
    std::unique_ptr<internal::FileAccess> m_ownFiles; // the disk, when the caller gave none
    std::unique_ptr<Engine> m_engine;
    friend class Recordset;
};

} // namespace tolvane::jet

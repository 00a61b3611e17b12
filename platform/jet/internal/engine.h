// Engine: one open Jet 4 file. A coordinator: it decides whether the file may be written, finds
// tables by name in the Catalogue, checks values, runs each write of TableRows as one atomic
// step of the current transaction, and commits through the PageStore, so that a transaction's
// pages reach the disk together or not at all. A write transaction holds the writer lock of
// ConnectionLocks from its start, where it picks up every other connection's commit, until its
// commit is durable; a write outside a transaction is a transaction of its own. Not
// thread-safe.
#pragma once

#include <functional>
#include <memory>

#include <QStringList>

#include "platform/jet/internal/catalogue.h"
#include "platform/jet/internal/connectionlocks.h"
#include "platform/jet/internal/fileaccess.h"
#include "platform/jet/internal/rowquery.h"
#include "platform/jet/types.h"
#include "platform/status.h"

namespace tolvane::jet {

class Engine {
public:
    // Opens the file at path through files, which must outlive the engine. Errors as
    // Database::open. readOnly forces read-only use.
    static Result<std::unique_ptr<Engine>> open(internal::FileAccess &files, const QString &path, bool readOnly);
    ~Engine();

    QString path() const;
    bool isReadOnly() const { return m_readOnly; }
    QString readOnlyReason() const { return m_readOnlyReason; }
    // What the check of the file found when it was last read (internal/integrity.h). A file
    // found damaged once stays read-only for this connection.
    bool isDamaged() const { return m_damaged; }
    const QList<DamageFinding> &damage() const;

    // Waiting for other connections (ConnectionLocks::setBusyTimeout, setBusyHandler).
    void setBusyTimeout(int ms) { m_locks->setBusyTimeout(ms); }
    void setBusyHandler(std::function<bool()> handler) { m_locks->setBusyHandler(std::move(handler)); }
    // Outside a transaction, re-reads the file when another connection has written it since
    // this one read or committed it. Errors as open(); the engine then keeps its old image.
    Status refreshIfChanged();

    QStringList tableNames() const;
    bool hasTable(const QString &name) const;
    Result<TableInfo> tableInfo(const QString &name) const;

    // Waits for the writer lock (Busy when it is not had in time), then reads what other
    // connections committed since, rolling back a journal a killed writer left. ReadOnly also
    // when a "<name>.ldb" has appeared since the open.
    Status beginTransaction();
    Status commit();
    void rollback();
    bool inTransaction() const { return m_inTransaction; }

    // Contracts as Database's.
    Result<RowId> insertRow(const QString &table, const Row &values);
    Status updateRow(const QString &table, RowId id, const Row &values, const RowExpectation &expected);
    Status deleteRow(const QString &table, RowId id, const RowExpectation &expected);
    Result<Row> readRow(const QString &table, RowId id) const;
    Status scan(const QString &table, const std::function<bool(RowId, const Row &)> &visit) const;
    // The rows query selects (internal/rowquery.h); the table is found as tableInfo finds it.
    Result<internal::SelectedRows> select(const Query &query) const;

private:
    struct Image;
    struct Target;

    explicit Engine(internal::FileAccess &files);
    // Reads the file anew (see PageStore::open for the journal).
    Result<std::unique_ptr<Image>> load(const QString &path) const;
    // Takes image as the current one; a damaged one makes the connection read-only.
    void adopt(std::unique_ptr<Image> image);
    // Runs body as a transaction of its own unless one is open.
    template <class T, class F> T autoTransaction(F body);
    // The table of that name when it may be written: ReadOnly, NotFound, NotSupported.
    Result<const internal::Catalogue::Table *> writableTable(const QString &table) const;
    // The writable table and values checked against its columns (InvalidArgument).
    Result<Target> writeTarget(const QString &table, const Row &values) const;
    // Conflict unless the row id names holds what the caller read (Database::updateRow).
    Status meetsExpectation(const internal::Catalogue::Table &table, RowId id, const RowExpectation &expected) const;
    // After changes were rolled back: definitions and remembered pages as the store now has them.
    void reloadTables();
    template <class T, class F> T writeOperation(F op);

    internal::FileAccess &m_files;
    std::unique_ptr<internal::ConnectionLocks> m_locks;
    std::unique_ptr<Image> m_image;
    QString m_lockFilePath; // "<name>.ldb" beside the file
    bool m_readOnly = false;
    bool m_damaged = false;
    QString m_readOnlyReason;
    bool m_inTransaction = false;
};

} // namespace tolvane::jet

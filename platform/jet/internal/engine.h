// Engine: one open Jet 4 file. A coordinator: it decides whether the file may be written, finds
// tables by name in the Catalogue, checks values, runs each write of TableRows as one atomic
// step of the current transaction, and commits through the PageStore, so that a transaction's
// pages reach the disk together or not at all. Not thread-safe.
#pragma once

#include <functional>
#include <memory>

#include <QStringList>

#include "platform/jet/internal/catalogue.h"
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

    // Outside a transaction, re-reads the file when another connection has written it since
    // this one read or committed it. Errors as open(); the engine then keeps its old image.
    Status refreshIfChanged();

    QStringList tableNames() const;
    bool hasTable(const QString &name) const;
    Result<TableInfo> tableInfo(const QString &name) const;

    Status beginTransaction();
    Status commit();
    void rollback();
    bool inTransaction() const { return m_inTransaction; }

    // Contracts as Database's.
    Result<RowId> insertRow(const QString &table, const Row &values);
    Status updateRow(const QString &table, RowId id, const Row &values);
    Status deleteRow(const QString &table, RowId id);
    Result<Row> readRow(const QString &table, RowId id) const;
    Status scan(const QString &table, const std::function<bool(RowId, const Row &)> &visit) const;
    // The rows query selects (internal/rowquery.h); the table is found as tableInfo finds it.
    Result<internal::SelectedRows> select(const Query &query) const;

private:
    struct Image;
    struct Target;

    explicit Engine(internal::FileAccess &files);
    static Result<std::unique_ptr<Image>> load(internal::FileAccess &files, const QString &path, bool writable);
    // The table of that name when it may be written: ReadOnly, NotFound, NotSupported.
    Result<const internal::Catalogue::Table *> writableTable(const QString &table) const;
    // The writable table and values checked against its columns (InvalidArgument).
    Result<Target> writeTarget(const QString &table, const Row &values) const;
    // After changes were rolled back: definitions and remembered pages as the store now has them.
    void reloadTables();
    template <class T, class F> T writeOperation(F op);

    internal::FileAccess &m_files;
    std::unique_ptr<Image> m_image;
    bool m_readOnly = false;
    QString m_readOnlyReason;
    bool m_inTransaction = false;
    std::unique_ptr<internal::File> m_presence; // holds the shared presence lock (presence.h)
};

} // namespace tolvane::jet

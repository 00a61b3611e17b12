// All-or-nothing writes: a transaction that joins the caller's when one is open. GUI thread only.
#pragma once

#include "platform/jet/database.h"
#include "platform/status.h"

namespace tolvane::jet {
class Recordset;
}

namespace tolvane::catalog {

// Begins a transaction on db unless one is already open (then the caller's is joined and
// commit/rollback are left to its owner). Rolls back on destruction unless committed.
class TransactionGuard {
public:
    explicit TransactionGuard(jet::Database &db);
    ~TransactionGuard();
    TransactionGuard(const TransactionGuard &) = delete;
    TransactionGuard &operator=(const TransactionGuard &) = delete;

    // Ok when the transaction is open (or joined).
    const Status &status() const { return m_status; }
    Status commit();
    void rollback();

private:
    jet::Database &m_db;
    Status m_status;
    bool m_own = false;
    bool m_done = false;
};

// After a rollback: makes the current record of rs show what the table holds again, when an
// update had already changed the snapshot.
void restoreSnapshot(jet::Database &db, jet::Recordset &rs);

} // namespace tolvane::catalog

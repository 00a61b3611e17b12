#include "catalog/transaction.h"

#include "platform/jet/recordset.h"

namespace tolvane::catalog {

TransactionGuard::TransactionGuard(jet::Database &db)
    : m_db(db)
{
    if (m_db.inTransaction())
        return;
    m_status = m_db.beginTransaction();
    m_own = m_status.isOk();
}

TransactionGuard::~TransactionGuard()
{
    if (!m_done)
        rollback();
}

Status TransactionGuard::commit()
{
    m_done = true;
    if (!m_own)
        return m_status;
    return m_db.commit();
}

void TransactionGuard::rollback()
{
    if (m_own && !m_done)
        m_db.rollback();
    else if (m_own && m_db.inTransaction())
        m_db.rollback();
    m_done = true;
}

void restoreSnapshot(jet::Database &db, jet::Recordset &rs)
{
    if (rs.bof() || rs.eof())
        return;
    auto info = db.tableInfo(rs.table());
    auto stored = db.readRow(rs.table(), rs.currentId());
    if (!info || !stored)
        return;
    bool changed = false;
    for (int i = 0; i < rs.fieldCount(); ++i) {
        const int col = info->columnIndex(rs.columnNames().at(i));
        if (col < 0 || col >= stored->size())
            continue;
        if (rs.field(i) != stored->at(col)) {
            rs.setField(i, stored->at(col));
            changed = true;
        }
    }
    if (changed && !rs.update())
        rs.cancelUpdate();
}

} // namespace tolvane::catalog

#include "catalog/counters.h"

#include <limits>

#include "catalog/schema.h"
#include "platform/apptitle.h"
#include "platform/jet/recordset.h"

namespace tolvane::catalog {

namespace {

// Adds one to column of the IDno row and returns the new value.
Result<int> draw(jet::Database &db, Prompter &prompter, const char *column, const char *brokenMessage)
{
    auto rs = db.openTable(kIdNoTable);
    if (!rs)
        return rs.status();
    jet::Recordset &r = **rs;
    if (r.bof()) {
        prompter.inform(appTitle(), QString::fromLatin1(brokenMessage), Prompter::Icon::Critical);
        return Status::corruption(QString::fromLatin1(brokenMessage));
    }
    const QString name = QString::fromLatin1(column);
    bool ok = false;
    const qint64 next = qint64(r.field(name).toInt(&ok)) + 1;
    if (!ok && r.field(name).isValid())
        return Status::corruption(QStringLiteral("IDno.%1 is not a number").arg(name));
    if (next <= 0 || next > std::numeric_limits<int>::max())
        return Status::corruption(QStringLiteral("IDno.%1 is exhausted").arg(name));
    if (!r.setField(name, int(next)) || !r.update())
        return Status::ioError(QStringLiteral("IDno.%1 could not be written").arg(name));
    const int stored = r.field(name).toInt(&ok);
    if (!ok)
        return Status::corruption(QStringLiteral("IDno.%1 reads back wrong").arg(name));
    return stored;
}

} // namespace

Result<int> NextPnID(jet::Database &db, Prompter &prompter)
{
    return draw(db, prompter, "pnID", "Critical Error DB broken ->IDno");
}

Result<int> NextHsID(jet::Database &db, Prompter &prompter)
{
    return draw(db, prompter, "hsID", "Critical Error DB broken ->IDno.DocNo");
}

Result<int> NextBdID(jet::Database &db, Prompter &prompter)
{
    return draw(db, prompter, "bdID", "Critical Error DB broken ->IDno.bdID");
}

Result<int> NextBndNo(jet::Database &db, Prompter &prompter)
{
    return draw(db, prompter, "BndNo", "Critical Error DB broken ->IDno.bdNo");
}

Result<int> NextDocNo(jet::Database &db, Prompter &prompter)
{
    return draw(db, prompter, "DocNo", "Critical Error DB broken ->IDno.DocNo");
}

} // namespace tolvane::catalog

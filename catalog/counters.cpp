#include "catalog/counters.h"

#include <limits>

#include "catalog/schema.h"
#include "platform/apptitle.h"
#include "platform/jet/recordset.h"

namespace tolvane::catalog {

namespace {

// Adds one to column of the IDno row and returns the new value.
int draw(jet::Database *db, Prompter &prompter, const char *column, const char *brokenMessage)
{
    if (!db)
        return 0;
    auto rs = db->openTable(kIdNoTable);
    if (!rs)
        return 0;
    jet::Recordset &r = **rs;
    if (r.bof()) {
        prompter.inform(appTitle(), QString::fromLatin1(brokenMessage), Prompter::Icon::Critical);
        return -1;
    }
    const QString name = QString::fromLatin1(column);
    bool ok = false;
    const qint64 next = qint64(r.field(name).toInt(&ok)) + 1;
    if (!ok && r.field(name).isValid())
        return 0;
    if (next <= 0 || next > std::numeric_limits<int>::max())
        return 0; // exhausted: never hand out a value that wrapped
    if (!r.setField(name, int(next)) || !r.update())
        return 0;
    const int stored = r.field(name).toInt(&ok);
    return ok ? stored : 0;
}

} // namespace

int NextPnID(jet::Database *db, Prompter &prompter)
{
    return draw(db, prompter, "pnID", "Critical Error DB broken ->IDno");
}

int NextHsID(jet::Database *db, Prompter &prompter)
{
    return draw(db, prompter, "hsID", "Critical Error DB broken ->IDno.DocNo");
}

int NextBdID(jet::Database *db, Prompter &prompter)
{
    return draw(db, prompter, "bdID", "Critical Error DB broken ->IDno.bdID");
}

int NextBndNo(jet::Database *db, Prompter &prompter)
{
    return draw(db, prompter, "BndNo", "Critical Error DB broken ->IDno.bdNo");
}

int NextDocNo(jet::Database *db, Prompter &prompter)
{
    return draw(db, prompter, "DocNo", "Critical Error DB broken ->IDno.DocNo");
}

} // namespace tolvane::catalog

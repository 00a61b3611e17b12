#include "viewer/fontsizestore.h"

#include "catalog/schema.h"
#include "platform/jet/recordset.h"

namespace tolvane::viewer {

namespace {

bool offeredSize(int size)
{
    return size == 9 || size == 10 || size == 11 || size == 12 || size == 14 || size == 16;
}

// The one-row table that keeps the text size, opened for reading and writing.
Result<std::unique_ptr<jet::Recordset>> openFontSizeTable(jet::Database *db)
{
    if (!db)
        return Status::invalidArgument(QStringLiteral("no catalogue open"));
    return db->openTable(catalog::kFontSizeTable);
}

} // namespace

Status SaveFontSize(jet::Database *db, int textFontSize)
{
    auto rs = openFontSizeTable(db);
    if (!rs)
        return rs.status();
    jet::Recordset &table = **rs;
    if (!table.bof() || !table.eof()) {
        table.moveFirst();
        if (Status s = table.setField(0, textFontSize); !s)
            return s;
        return table.update();
    }
    if (Status s = table.addNew(); !s)
        return s;
    if (Status s = table.setField(0, kDefaultTextFontSize); !s) {
        table.cancelUpdate();
        return s;
    }
    return table.update();
}

Result<int> ReadFontSize(jet::Database *db)
{
    auto rs = openFontSizeTable(db);
    if (!rs)
        return rs.status();
    jet::Recordset &table = **rs;
    if (table.eof())
        return kDefaultTextFontSize;
    bool ok = false;
    const int size = table.field(0).toInt(&ok);
    return ok && offeredSize(size) ? size : kDefaultTextFontSize;
}

} // namespace tolvane::viewer

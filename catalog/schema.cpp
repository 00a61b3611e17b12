#include "catalog/schema.h"

namespace tolvane::catalog {

namespace {
jet::ColumnSpec longCol(const char *name)
{
    return { QString::fromLatin1(name), jet::ColumnType::Long, 0 };
}
jet::ColumnSpec dateCol(const char *name)
{
    return { QString::fromLatin1(name), jet::ColumnType::DateTime, 0 };
}
jet::ColumnSpec textCol(const char *name, int n)
{
    return { QString::fromLatin1(name), jet::ColumnType::Text, n };
}
} // namespace

QList<jet::TableSpec> catalogTables()
{
    return {
        { kDbidTable, { longCol("dbid") } },
        { kFileAtrTable,
            { textCol("Class", 60), textCol("fName", kFileNameMaxLength), dateCol("fDate"), textCol("kStr", 200),
                longCol("pnID"), longCol("hsID"), textCol("backC", 20) } },
        { kBinderTable, { longCol("bdID"), textCol("fName", kFileNameMaxLength), longCol("pnID"), longCol("DocNo") } },
        { kBinderNameTable, { longCol("bdID"), textCol("bName", 120), longCol("BdNo") } },
        { kPathNameTable, { longCol("pnID"), textCol("pName", 255) } },
        { kFileRevTable, { dateCol("a01"), textCol("a02", 255), longCol("hsID") } },
        { kClassNTable, { textCol("a01", 60), textCol("a02", 20), longCol("a03") } },
        { kIdNoTable,
            { longCol("pnID"), longCol("fnID"), longCol("hsID"), longCol("bdID"), longCol("DocNo"), longCol("BndNo"),
                longCol("SddNo") } },
        { kFontSizeTable, { longCol("02Font_Size") } },
    };
}

} // namespace tolvane::catalog

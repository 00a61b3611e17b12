#include "search/classnarrowing.h"

#include "catalog/schema.h"
#include "search/searchtexts.h"

namespace tolvane::search {

Result<ClassComboContents> FillClassCombo(jet::Database &db, bool narrowing)
{
    const auto query = jet::Query(catalog::kClassNTable)
                           .select({ QStringLiteral("a01"), QStringLiteral("a02") })
                           .order(QStringLiteral("a02"));
    auto opened = db.select(query);
    if (!opened)
        return opened.status();
    jet::Recordset &items = *opened.value();

    ClassComboContents contents;
    if (!items.bof()) {
        if (narrowing)
            contents.items.append(kNoNarrowingItem);
        for (items.moveFirst(); !items.eof(); items.moveNext())
            contents.items.append(items.field(0).toString());
    }
    contents.text = narrowing ? kNarrowCaption : kChooseClassCaption;
    return contents;
}

NarrowOutcome NarrowByClass(jet::Recordset *result, const QString &className)
{
    // An empty result (nothing found, or an earlier narrowing that left nothing) stays as it
    // is: only a new search fills the list again.
    if (!result || result->recordCount() == 0)
        return NarrowOutcome::Ignored;
    const QString text = className.trimmed();
    if (text == kNoNarrowingItem) {
        result->clearFilter();
        return NarrowOutcome::Cleared;
    }
    result->setFilter({ jet::Condition::equal(QStringLiteral("Class"), text) });
    return result->recordCount() == 0 ? NarrowOutcome::Emptied : NarrowOutcome::Narrowed;
}

} // namespace tolvane::search

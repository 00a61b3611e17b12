// The classification box's contents and the narrowing of an open search result by
// classification. Narrowing never queries again: it filters the recordset in place.
// Not thread-safe.
#pragma once

#include "platform/jet/database.h"
#include "platform/jet/recordset.h"
#include "platform/status.h"

namespace tolvane::search {

struct ClassComboContents {
    QStringList items; // list entries, in order
    QString text; // the box's text after filling
};

// The classification items of ClassN in order of their colour text (a02). When narrowing is
// true (the folder, file-name, period and keyword searches) the list starts with the
// no-narrowing item and the text invites narrowing; otherwise it is the chooser of the
// classification search. With no item at all the list stays empty.
Result<ClassComboContents> FillClassCombo(jet::Database &db, bool narrowing);

enum class NarrowOutcome {
    Ignored, // nothing to narrow: the result is empty (or no search ran)
    Cleared, // the no-narrowing item removed the filter
    Narrowed, // the result now holds only that classification
    Emptied, // no file of that classification: the list becomes empty until a new search
};

// Narrows result to the files whose Class equals className (trimmed), or removes the narrowing
// for the no-narrowing item. result may be null.
NarrowOutcome NarrowByClass(jet::Recordset *result, const QString &className);

} // namespace tolvane::search

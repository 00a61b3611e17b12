// The result-list procedures: preparing `fs` for catalogue rows or a binder's rows, its column
// visibility, and filling it from a result recordset. They work on the ResultListModel only; a
// view showing that model follows (search/ui/resultlistview.h). GUI thread only.
#pragma once

#include <functional>

#include <QStringList>

#include "search/resultlistmodel.h"

namespace tolvane::jet {
class Recordset;
}

namespace tolvane::search {

// The four headings of a binder's rows: "BinderID", "ファイル名", "PathNameID", "DocNo".
const QStringList &BinderHeadings();

// The one-row text shown for a folder that has no catalogue rows.
QString NotRegisteredFolderText(const QString &folderPath);

enum class HeadingForm { List };

// `fs` to the heading row only and two columns; heading cells of columns 0 and 1 cleared,
// column 1 shown.
void ResetCatalogList(ResultListModel &fs);

// List form: 8 columns, CatalogHeadings() in columns 1 to 7 of row 0.
void SetListHeadings(ResultListModel &fs, HeadingForm form = HeadingForm::List);

// Empties the result list and prepares the catalogue headings. bringToFront, when given, is
// called with the panel selector of `fs` (11) to bring the list in front of the viewer.
void PrepShow2FS(ResultListModel &fs, const std::function<void(int)> &bringToFront = {});

// The same for a binder's files: 5 columns, BinderHeadings() in columns 1 to 4.
void PrepShow2FS_Binder(ResultListModel &fs, const std::function<void(int)> &bringToFront = {});

// Shows or hides the internal columns. Variant 1 (catalogue rows): column 1 shown; columns 5, 6
// and 7 hidden when hide is true, shown when false. Variant 2 (a binder's rows): columns 1, 3
// and 4 hidden when hide is true, shown when false. Other variants do nothing.
void SetResultColumns(ResultListModel &fs, int variant, bool hide);

// Appends one row per record of rs from its first record to EOF: column 0 the row number
// (1, 2, ...), columns 1.. the record's fields 0..6 (or fewer if it has fewer), and when the
// record has 7 fields the cell of column 1 takes the back colour read from field 6 (`backC`).
// Leaves rs at EOF (untouched when at BOF). Sets the list's text size to fontSize when it is
// greater than 0. Returns the number of rows written (the ResultCount).
int FillCatalogRows(ResultListModel &fs, jet::Recordset &rs, int fontSize = 0);

// The same for a binder's recordset: columns 1.. the record's fields (BINDER columns), no colours.
int FillBinderRows(ResultListModel &fs, jet::Recordset &rs, int fontSize = 0);

// Writes the not-registered line for folderPath into row 1, column 1 (adding the row).
void ShowNotRegisteredFolder(ResultListModel &fs, const QString &folderPath);

} // namespace tolvane::search

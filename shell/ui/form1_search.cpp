// Form1: search handlers. The shell has already set ModeNo, the search toolbar
// (SearchListLayout), the status texts, LayoutState and the help id when these run.
#include "shell/ui/form1.h"

namespace tolvane::shell {

// Creates the search inputs (Text1(0), Text1(1), Combo1) and connects them.
void Form1::SetupSearch()
{
}

// "Search": loads the classification items offered by the searches.
void Form1::LoadClassItems()
{
}

// Entering the file-name, classification, period or keyword search: clears the list and
// lays out the search inputs for ModeNo.
void Form1::PrepareSearchPanel()
{
}

// The folder search for a folder chosen in the dialog.
void Form1::RunFolderSearch(const QString &folder)
{
    Q_UNUSED(folder);
}

// "DurSeek": runs the search of ModeNo.
void Form1::DurSeek()
{
}

// "WordSeek": finds a phrase in the shown file.
void Form1::WordSeek()
{
}

// "FullTextSearch": full-text search over the folder's files.
void Form1::FullTextSearch()
{
}

// "FullTextSearchDB": full-text search over the result list.
void Form1::FullTextSearchDB()
{
}

// "BackTo" from a record to the list of a search mode: refills the ResultList from
// SearchResultSet and shows the search inputs again.
void Form1::RestoreSearchList()
{
}

// Hides the search inputs (start screen and the modes without them).
void Form1::HideSearchPanel()
{
}

} // namespace tolvane::shell

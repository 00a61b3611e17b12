// The file-list procedures: reading a folder's files into `fr`, taking the current file from a
// row, and moving the current-file highlight. They work on the FileListModel and BrowserState;
// a view showing the model follows. GUI thread only.
#pragma once

#include "browser/browserstate.h"
#include "browser/filelistmodel.h"

namespace tolvane::browser {

// Reads the files of folder (not its sub-folders) with length and modification time. Names are
// ordered as the system's file list orders them (by the upper-cased name). A folder that
// cannot be read gives an empty list; a file whose length or date cannot be read keeps -1 /
// an invalid date.
QList<ListedFile> readFolderFiles(const QString &folder);

// Refills `fr` with the files of folder. Returns the number of file rows.
int ListFolderFiles(FileListModel &fr, const QString &folder);

// Joins a folder and a file name with one separator, in the folder's own separator style.
QString joinPath(const QString &folder, const QString &name);

// The modification day of a file as "yyyy-mm-dd"; empty when the date cannot be read.
QString fileDateText(const QString &path);

// CurrentFileName from column 0 of CurrentResultRow, CurrentFileDate asked again from the disk.
// Does nothing for a row outside the file rows.
void TakeCurrentFile(const FileListModel &fr, BrowserState &state);

// Moves the highlight: PreviousResultRow (if not 0) back to white/black, CurrentResultRow green
// with white text.
void PutGreen_frList(FileListModel &fr, const BrowserState &state);
// CurrentResultRow (if not 0) back to white with black text.
void PutWhite_frList(FileListModel &fr, const BrowserState &state);

} // namespace tolvane::browser

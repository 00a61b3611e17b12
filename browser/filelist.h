// The file-list procedures: reading a folder's files into `fr` and moving the current-file
// highlight. They work on the FileListModel; a view showing the model follows. GUI thread only.
#pragma once

#include "browser/filelistmodel.h"

namespace tolvane::browser {

// Reads the files of folder (not its sub-folders) with length and modification time. Names are
// ordered as the system's file list orders them (by the upper-cased name). A folder that
// cannot be read gives an empty list; a file whose length or date cannot be read keeps -1 /
// an invalid date.
QList<ListedFile> readFolderFiles(const QString &folder);

// Refills `fr` with the files of folder. Returns the number of file rows.
int ListFolderFiles(FileListModel &fr, const QString &folder);

// Moves the highlight: previousRow (if not 0) back to white/black, currentRow green with white
// text.
void PutGreen_frList(FileListModel &fr, int previousRow, int currentRow);
// currentRow (if not 0) back to white with black text.
void PutWhite_frList(FileListModel &fr, int currentRow);

} // namespace tolvane::browser

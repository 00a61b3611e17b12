// The main window's browsing state: the current folder and file and the grid positions of the
// last click. Owned by the main window and handed by reference to the procedures that read or
// move it. Plain value; GUI thread only.
#pragma once

#include <QString>

namespace tolvane::browser {

struct BrowserState {
    // Full path of the folder whose files `fr` shows (exactly as the folder dialog returned it),
    // or the folder of the record opened from the result list.
    QString CurrentFolder;
    // Name (without folder) of the current file.
    QString CurrentFileName;
    // Modification day of the current file, "yyyy-mm-dd".
    QString CurrentFileDate;
    // The folder chosen last with the folder dialog while the program runs.
    QString LastChosenFolder;

    // Grid row of `fr` or `fs` under the mouse at the last press: 0 is the heading row,
    // -1 outside any row. Prev/Next stepping moves it too.
    int CurrentResultRow = 0;
    int CurrentResultCol = 0;
    // The row that carried the current-file highlight before; 0 means none.
    int PreviousResultRow = 0;
    // The `fg` row selected last (-1 before any).
    int FolderPanelRow = -1;

    // Full path of the current file: folder and name joined by one separator.
    QString currentFilePath() const;
};

} // namespace tolvane::browser

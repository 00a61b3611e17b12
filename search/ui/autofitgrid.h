// Sizing of the list and slip grids to their contents. GUI thread only.
#pragma once

class QTableView;

namespace tolvane::search::ui {

// Sizes columns 1 to the last to their contents, then the row heights (column 0 is left as is).
// Long lists take their row height from the font instead of measuring every row.
void AutoFitGrid(QTableView *grid);

} // namespace tolvane::search::ui

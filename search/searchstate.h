// What the searches remember between runs besides the result itself: the panel texts to write
// back on return from the one-by-one display. Plain value; GUI thread only.
#pragma once

#include <QString>

namespace tolvane::search {

// The five catalogue searches.
enum class SearchKind { Folder, FileName, Class, Period, Keyword };

struct SearchState {
    // The trimmed word, file-name pattern or start date of the last keyword, file-name or
    // period search.
    QString SavedSearchWord;
    // The trimmed end date of the last period search.
    QString SavedEndDate;
};

} // namespace tolvane::search

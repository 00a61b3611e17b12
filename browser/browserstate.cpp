#include "browser/browserstate.h"

#include "browser/filelist.h"

namespace tolvane::browser {

QString BrowserState::currentFilePath() const
{
    return joinPath(CurrentFolder, CurrentFileName);
}

} // namespace tolvane::browser

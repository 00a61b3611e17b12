// Loading a file into the picture view: a single picture or drawing (DispPic) or a multi-page
// picture (DispPicTIF) and its pages (ShowPage), with the background colour of each and the
// load-failure message. The file is only read. GUI thread only.
#pragma once

#include <QString>

#include "platform/prompter.h"

namespace tolvane::viewer {

class PictureView;

// DispPic: shows folder/fileName fitted in imk, on grey (&HE0E0E0) or, for an SXF drawing
// (sfc, p21), on black with the wait cursor while it loads. A large JPEG is shown reduced at
// once while its full resolution loads on a worker thread. On failure: the message
// fileName + " を読込みに失敗しました。" (exclamation) and false; the view is emptied.
bool DispPic(PictureView *imk, const QString &folder, const QString &fileName, Prompter &prompter);

// DispPicTIF: loads a multi-page picture on grey and shows its first page. Returns the page
// count (PageCount; 1 for a single page), 0 after a failure (reported as for DispPic).
int DispPicTIF(PictureView *imk, const QString &folder, const QString &fileName, Prompter &prompter);

// Shows page (0-based) of a multi-page file already counted by DispPicTIF; only that page is
// decoded. False on failure.
bool ShowPage(PictureView *imk, const QString &folder, const QString &fileName, int page);

} // namespace tolvane::viewer

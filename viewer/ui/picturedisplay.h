// Loading a file into the picture view: a single picture (DispPic) or a multi-page picture
// (DispPicTIF), with the load-failure message. GUI thread only.
#pragma once

#include <QString>

#include "platform/prompter.h"

namespace tolvane::viewer {

class PictureView;

// DispPic: shows folder/fileName fitted in imk. On failure: the message fileName +
// " を読込みに失敗しました。" (exclamation) and false; the view is emptied.
bool DispPic(PictureView *imk, const QString &folder, const QString &fileName, Prompter &prompter);

// DispPicTIF: loads a multi-page picture and shows its first page. Returns the page count
// (PageCount; 1 for a single page), 0 after a failure (reported as for DispPic).
int DispPicTIF(PictureView *imk, const QString &folder, const QString &fileName, Prompter &prompter);

// Shows page (0-based) of a multi-page file already counted by DispPicTIF. False on failure.
bool ShowPage(PictureView *imk, const QString &folder, const QString &fileName, int page);

} // namespace tolvane::viewer

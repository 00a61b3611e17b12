#include "viewer/ui/picturedisplay.h"

#include <QDir>

#include "platform/apptitle.h"
#include "platform/paths.h"
#include "viewer/picturefile.h"
#include "viewer/ui/pictureview.h"

namespace tolvane::viewer {

namespace {

void reportLoadFailure(const QString &fileName, Prompter &prompter)
{
    prompter.inform(appTitle(), fileName + QStringLiteral(" を読込みに失敗しました。"), Prompter::Icon::Warning);
}

} // namespace

bool DispPic(PictureView *imk, const QString &folder, const QString &fileName, Prompter &prompter)
{
    Result<QImage> image = loadPicture(joinPath(folder, fileName));
    if (!image) {
        imk->clear();
        reportLoadFailure(fileName, prompter);
        return false;
    }
    imk->setImage(*image);
    return true;
}

int DispPicTIF(PictureView *imk, const QString &folder, const QString &fileName, Prompter &prompter)
{
    const QString path = joinPath(folder, fileName);
    Result<int> count = pictureCount(path);
    Result<QImage> first = count ? loadPicture(path, 0) : Result<QImage>(count.status());
    if (!first) {
        imk->clear();
        reportLoadFailure(fileName, prompter);
        return 0;
    }
    imk->setImage(*first);
    return *count;
}

bool ShowPage(PictureView *imk, const QString &folder, const QString &fileName, int page)
{
    Result<QImage> image = loadPicture(joinPath(folder, fileName), page);
    if (!image)
        return false;
    imk->setImage(*image);
    return true;
}

} // namespace tolvane::viewer

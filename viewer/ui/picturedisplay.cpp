#include "viewer/ui/picturedisplay.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include "platform/apptitle.h"
#include "platform/paths.h"
#include "viewer/picturefile.h"
#include "viewer/pictureops.h"
#include "viewer/ui/pictureview.h"

namespace tolvane::viewer {

namespace {

void reportLoadFailure(const QString &fileName, Prompter &prompter)
{
    prompter.inform(appTitle(), fileName + QStringLiteral(" を読込みに失敗しました。"), Prompter::Icon::Warning);
}

// The size a fitted picture can take: the view's, or the screen's before the view is laid out.
QSize fitBound(const PictureView *imk)
{
    QSize area = imk->viewport()->size();
    if (area.width() < 64 || area.height() < 64) {
        const QScreen *screen = imk->screen() ? imk->screen() : QGuiApplication::primaryScreen();
        area = screen ? screen->size() : QSize(1920, 1080);
    }
    return area * imk->devicePixelRatioF();
}

bool loadInto(PictureView *imk, const QString &path)
{
    Result<FittedPicture> fitted = loadPictureFitted(path, 0, fitBound(imk));
    if (!fitted)
        return false;
    if (fitted->reduced)
        imk->setReducedImage(fitted->image, fitted->fullSize, [path] {
            Result<QImage> full = loadPicture(path);
            return full ? full.take() : QImage();
        });
    else
        imk->setImage(fitted->image);
    return true;
}

} // namespace

bool DispPic(PictureView *imk, const QString &folder, const QString &fileName, Prompter &prompter)
{
    const QString path = joinPath(folder, fileName);
    bool shown = false;
    if (!isDrawingFile(fileName)) {
        imk->setBackgroundColor(kPictureBackground);
        shown = loadInto(imk, path);
    } else {
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
        imk->setBackgroundColor(kDrawingBackground);
        shown = loadInto(imk, path);
        QGuiApplication::restoreOverrideCursor();
    }
    if (!shown) {
        imk->clear();
        reportLoadFailure(fileName, prompter);
        return false;
    }
    return true;
}

int DispPicTIF(PictureView *imk, const QString &folder, const QString &fileName, Prompter &prompter)
{
    const QString path = joinPath(folder, fileName);
    imk->setBackgroundColor(kPictureBackground);
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

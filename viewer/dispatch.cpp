#include "viewer/dispatch.h"

#include <initializer_list>

namespace tolvane::viewer {

namespace {

// Each listed extension matches in its upper-case and lower-case spelling only.
bool listed(const QString &ext, std::initializer_list<const char *> names)
{
    for (const char *name : names) {
        const QString lower = QString::fromLatin1(name);
        if (ext == lower || ext == lower.toUpper())
            return true;
    }
    return false;
}

Presentation threeLetterPresentation(const QString &e)
{
    if (listed(e, { "jpg", "bmp", "wmf", "dxf", "gif", "png", "fpx", "pcx", "emf", "svg" }))
        return Presentation::Picture;
    if (listed(e, { "tif" }))
        return Presentation::MultiPagePicture;
    if (listed(e, { "sfc", "p21" }))
        return Presentation::DrawingNotice;
    if (listed(e, { "rtf", "txt" }))
        return Presentation::OwnText;
    if (listed(e,
            { "xls", "doc", "ppt", "pdf", "jaw", "jtw", "jbw", "juw", "jfw", "jvw", "jtd", "jtt", "oas", "oa2", "oa3",
                "bun", "sxw", "sxc", "sxi", "sxd", "odt", "ods", "odp", "odg", "wj2", "wj3", "wk3", "wk4", "123", "wri",
                "mht", "eml" }))
        return Presentation::ExtractedText;
    return Presentation::Unknown;
}

Presentation fourLetterPresentation(const QString &e)
{
    if (listed(e, { "docx", "xlsx", "pptx", "html" }))
        return Presentation::ExtractedText;
    if (listed(e, { "jpeg" }))
        return Presentation::Picture;
    if (listed(e, { "tiff" }))
        return Presentation::MultiPagePicture;
    return Presentation::Unknown;
}

} // namespace

Extension extensionOf(const QString &fileName)
{
    const QString last4 = fileName.right(4);
    if (last4.size() == 4 && last4.front() == QLatin1Char('.'))
        return { last4.right(3), true };
    return { last4, false };
}

Presentation presentationFor(const QString &fileName)
{
    const Extension ext = extensionOf(fileName);
    return ext.threeLetter ? threeLetterPresentation(ext.text) : fourLetterPresentation(ext.text);
}

int toolbarKindFor(Presentation presentation)
{
    switch (presentation) {
    case Presentation::Picture:
        return 2;
    case Presentation::MultiPagePicture:
        return 3;
    case Presentation::DrawingNotice:
        return 4;
    case Presentation::OwnText:
    case Presentation::ExtractedText:
        return 1;
    case Presentation::Unknown:
        return 0;
    }
    return 0;
}

QStringList viewerButtonKeys(int kind)
{
    switch (kind) {
    case 1:
        return { QStringLiteral("apri"), QStringLiteral("WordSeek") };
    case 2:
        return { QStringLiteral("left90"), QStringLiteral("right90"), QStringLiteral("enlarge"), QStringLiteral("size"),
            QStringLiteral("excel") };
    case 3:
        return { QStringLiteral("left90"), QStringLiteral("right90"), QStringLiteral("enlarge"), QStringLiteral("size"),
            QStringLiteral("Gprev"), QStringLiteral("Gnext") };
    case 4:
        return { QStringLiteral("enlarge"), QStringLiteral("size"), QStringLiteral("sxf"),
            QStringLiteral("BackColor") };
    default:
        return {};
    }
}

bool hidesSearchText(const QString &fileName)
{
    switch (presentationFor(fileName)) {
    case Presentation::Picture:
    case Presentation::MultiPagePicture:
    case Presentation::DrawingNotice:
        return true;
    case Presentation::OwnText:
    case Presentation::ExtractedText:
        return false;
    case Presentation::Unknown:
        return !extensionOf(fileName).threeLetter;
    }
    return false;
}

AppRoute appRouteFor(const QString &fileName)
{
    const Extension ext = extensionOf(fileName);
    const QString &e = ext.text;
    if (ext.threeLetter) {
        if (listed(e, { "doc" }))
            return AppRoute::Word;
        if (listed(e, { "jtd" }))
            return AppRoute::Jxw;
        if (listed(e, { "txt" }))
            return AppRoute::TextEditor;
        if (listed(e, { "rtf" }))
            return AppRoute::RichText;
        if (listed(e, { "xls" }))
            return AppRoute::Spreadsheet;
        if (listed(e, { "pdf" }))
            return AppRoute::ShellOpen;
        return AppRoute::Refused;
    }
    if (listed(e, { "docx" }))
        return AppRoute::Word;
    if (listed(e, { "xlsx" }))
        return AppRoute::Spreadsheet;
    return AppRoute::Nothing;
}

QString appRefusalMessage(const QString &fileName)
{
    return extensionOf(fileName).text + QStringLiteral("　ー＞アプリケーションソフトを起動できません。");
}

PanelPlan panelPlanFor(int selector)
{
    switch (selector) {
    case 0:
        return { {}, { kFileList, kTextView }, true };
    case 1:
    case 10:
        return { kFileList, { kPictureView }, true };
    case 2:
        return { kPictureView, { kTextView }, true };
    case 4:
        return { kTextView, { kPictureView }, true };
    case 11:
        return { kResultList, { kPictureView, kFileList }, true };
    default:
        return {};
    }
}

QString multiPageStatusText(int currentPage, int pageCount)
{
    if (pageCount != 1)
        return QStringLiteral("マルチページ：　%1/%2").arg(currentPage + 1).arg(pageCount);
    return QStringLiteral("「次へ」「戻る」ボタンでファイルを次々と表示します。　ヘルプ：F1キー　　");
}

} // namespace tolvane::viewer

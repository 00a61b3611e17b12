#include "viewer/notices.h"

namespace tolvane::viewer {

QString noticeText(int notice, const QString &fileName)
{
    const QString crlf = QStringLiteral("\r\n");
    const QString head = crlf + crlf + crlf + QLatin1Char(' ') + fileName + crlf + crlf;
    switch (notice) {
    case kNoticeDrawing:
        return head + QStringLiteral("p21、sfc　形式図面を表示するには「図面表示」ボタンをクリックしてください。　")
            + crlf + QStringLiteral("ファイルサイズが大きい場合、表示には時間がかかります。");
    case kNoticeUnsupported:
        return head + QStringLiteral("表示できないファイル形式です。");
    default:
        return {};
    }
}

} // namespace tolvane::viewer

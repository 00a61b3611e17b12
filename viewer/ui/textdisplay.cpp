#include "viewer/ui/textdisplay.h"

#include <QFile>
#include <QFileInfo>
#include <QProgressDialog>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>

#include "platform/apptitle.h"
#include "platform/textextract.h"
#include "viewer/notices.h"

namespace tolvane::viewer {

void RTXText(QTextEdit *mData, int notice, const QString &fileName)
{
    // The notice's CRLF pairs are line breaks; the view counts each as one paragraph.
    QString text = noticeText(notice, fileName);
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    mData->setPlainText(text);
    applyTextFontSize(mData, kNoticeFontSize);
}

Status loadTextFile(QTextEdit *mData, const QString &path)
{
    mData->clear();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Status::ioError(file.errorString());
    const QByteArray bytes = file.readAll();
    if (looksLikeRtf(bytes)) {
        readRtf(bytes, mData->document());
        return Status::ok();
    }
    mData->setPlainText(decodeText(bytes).text);
    return Status::ok();
}

Status ShowExtractedText(QTextEdit *mData, TextExtractor &extractor, const QString &path)
{
    mData->clear();
    // A long document takes a while: after a moment a progress dialog shows the pages read
    // and lets the user stop (the box then stays empty).
    QProgressDialog progress(mData->window());
    progress.setWindowTitle(appTitle());
    progress.setLabelText(QFileInfo(path).fileName());
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(500);
    progress.setAutoReset(false);
    Result<QString> text = extractor.extract(path, [&progress](int done, int total) {
        progress.setMaximum(total);
        progress.setValue(done);
        return !progress.wasCanceled();
    });
    if (!text)
        return text.status();
    mData->setPlainText(*text);
    return Status::ok();
}

void applyTextFontSize(QTextEdit *mData, int points)
{
    if (points <= 0)
        return;
    QFont font = mData->document()->defaultFont();
    font.setPointSize(points);
    mData->document()->setDefaultFont(font);
    QTextCursor cursor(mData->document());
    cursor.select(QTextCursor::Document);
    QTextCharFormat size;
    size.setFontPointSize(points);
    cursor.mergeCharFormat(size);
    QTextCharFormat typing = mData->currentCharFormat();
    typing.setFontPointSize(points);
    mData->setCurrentCharFormat(typing);
}

} // namespace tolvane::viewer

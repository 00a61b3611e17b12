// The built-in text extractor: PDF through QtPdf, text files through the decoders.
#include "platform/textextract.h"

#include <QFile>
#include <QFileInfo>
#include <QPdfDocument>
#include <QPdfSelection>

namespace tolvane {

namespace {

Result<QString> pdfText(const QString &path, const TextExtractor::Progress &progress)
{
    QPdfDocument pdf;
    const QPdfDocument::Error error = pdf.load(path);
    switch (error) {
    case QPdfDocument::Error::None:
        break;
    case QPdfDocument::Error::FileNotFound:
        return Status::notFound(path);
    case QPdfDocument::Error::DataNotYetAvailable:
    case QPdfDocument::Error::InvalidFileFormat:
    case QPdfDocument::Error::IncorrectPassword:
    case QPdfDocument::Error::UnsupportedSecurityScheme:
    case QPdfDocument::Error::Unknown:
        return Status::corruption(path);
    }
    QString text;
    const int pages = pdf.pageCount();
    for (int page = 0; page < pages; ++page) {
        if (progress && !progress(page, pages))
            return Status::cancelled();
        const QString pageText = pdf.getAllText(page).text();
        if (!text.isEmpty() && !pageText.isEmpty())
            text += QLatin1Char('\n');
        text += pageText;
    }
    return text;
}

} // namespace

Result<QString> BuiltinTextExtractor::extract(const QString &path, const Progress &progress)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("pdf"))
        return pdfText(path, progress);
    if (suffix == QLatin1String("txt") || suffix == QLatin1String("rtf")) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return Status::ioError(file.errorString());
        const QByteArray bytes = file.readAll();
        if (looksLikeRtf(bytes))
            return rtfToPlainText(bytes);
        return decodeText(bytes).text;
    }
    return QString();
}

} // namespace tolvane

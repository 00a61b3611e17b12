// PDF text through poppler's C++ interface, page by page in reading order.
#include <memory>
#include <poppler/cpp/poppler-document.h>
#include <poppler/cpp/poppler-page.h>

#include <QFile>

#include "platform/extract/documenttext.h"

namespace tolvane::extract {

Result<QString> pdfText(const QString &path, const TextExtractor::Progress &progress)
{
    const QByteArray file = QFile::encodeName(path);
    std::unique_ptr<poppler::document> doc(poppler::document::load_from_file(file.toStdString()));
    if (!doc)
        return Status::corruption(path);
    if (doc->is_locked())
        return Status::notSupported(path);
    QString text;
    const int pages = doc->pages();
    for (int i = 0; i < pages; ++i) {
        if (progress && !progress(i, pages))
            return Status::cancelled();
        std::unique_ptr<poppler::page> page(doc->create_page(i));
        if (!page)
            continue;
        const poppler::byte_array utf8 = page->text().to_utf8();
        const QString pageText = QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
        if (!text.isEmpty() && !pageText.isEmpty())
            text += QLatin1Char('\n');
        text += pageText;
    }
    return text;
}

} // namespace tolvane::extract

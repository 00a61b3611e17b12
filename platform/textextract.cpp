// Plain and rich text files through the decoders.
#include "platform/textextract.h"

#include <QFile>

namespace tolvane {

Result<QString> readPlainOrRichText(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Status::ioError(file.errorString());
    const QByteArray bytes = file.readAll();
    if (looksLikeRtf(bytes))
        return rtfToPlainText(bytes);
    return decodeText(bytes).text;
}

} // namespace tolvane

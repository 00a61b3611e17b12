#include "platform/bgrcolor.h"

namespace tolvane {

QColor colorFromBgrText(const QString &text)
{
    const QString t = text.trimmed();
    if (t.isEmpty())
        return {};
    bool ok = false;
    qulonglong value = 0;
    if (t.startsWith(QLatin1String("&H"), Qt::CaseInsensitive)) {
        QString digits = t.mid(2);
        if (digits.endsWith(QLatin1Char('&'))) // a Long literal suffix
            digits.chop(1);
        if (digits.isEmpty() || digits.size() > 8)
            return {};
        value = digits.toULongLong(&ok, 16);
    } else {
        value = t.toULongLong(&ok, 10);
    }
    if (!ok)
        return {};
    const int red = int(value & 0xFF);
    const int green = int((value >> 8) & 0xFF);
    const int blue = int((value >> 16) & 0xFF);
    return QColor(red, green, blue);
}

} // namespace tolvane

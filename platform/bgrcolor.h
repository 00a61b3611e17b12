// Colours as the catalogue stores them: 24-bit blue-green-red values, written as text
// "&H" + six hexadecimal digits ("&HFFFFC0" is blue FF, green FF, red C0). Pure functions.
#pragma once

#include <QColor>
#include <QString>

namespace tolvane {

// Reads a stored colour text: "&H" followed by up to eight hexadecimal digits (BGR order), or a
// plain decimal BGR value. An invalid QColor for empty or unreadable text.
QColor colorFromBgrText(const QString &text);

// The stored form of a colour: "&H" + six upper-case hexadecimal digits, BGR order.
QString bgrText(const QColor &color);

} // namespace tolvane

// Colours as the catalogue stores them: 24-bit blue-green-red values, written as text
// "&H" + six hexadecimal digits ("&HFFFFC0" is blue FF, green FF, red C0). Pure functions.
#pragma once

#include <QColor>
#include <QString>

namespace tolvane {

// Reads a stored colour text: "&H" followed by up to eight hexadecimal digits (BGR order), or a
// plain decimal BGR value. An invalid QColor for empty or unreadable text.
QColor colorFromBgrText(const QString &text);

// The stored form of a colour: "&H" + six upper-case hexadecimal digits, BGR order. Inline, so
// that only code that shows colours needs Qt Gui's QColor accessors (tolvane-cli loads Qt Core
// alone).
inline QString bgrText(const QColor &color)
{
    const uint value = (uint(color.blue()) << 16) | (uint(color.green()) << 8) | uint(color.red());
    return QStringLiteral("&H") + QStringLiteral("%1").arg(value, 6, 16, QLatin1Char('0')).toUpper();
}

} // namespace tolvane

// The classification list as stored in ClassN (a01 name, a02 colour text, a03 position): reading
// it in list order, and replacing it whole in one transaction. Also the colour texts the editor
// writes and the palette its colour dialog offers. GUI thread only (one Database).
#pragma once

#include <QColor>
#include <QList>
#include <QString>

#include "platform/jet/database.h"
#include "platform/status.h"

namespace tolvane::classes {

// One class as the editor's grid holds it: the texts of ClassN's three columns (null as empty
// text; position is the stored a03 as text, empty for a row not stored yet).
struct ClassRow {
    QString name;
    QString colour;
    QString position;
    bool operator==(const ClassRow &) const = default;
};

// ClassN in list order ("SELECT ClassN.a01, ClassN.a02, ClassN.a03 From ClassN ORDER BY
// ClassN.a03;"). Errors of the database.
Result<QList<ClassRow>> ReadClassList(jet::Database &db);

// Replaces every ClassN row by rows, in order, with a03 = 1, 2, ... n (the rows' own position
// texts are ignored). All of it happens in one transaction: on any failure the table keeps the
// list it had. Joins the caller's transaction when one is open.
// Errors: InvalidArgument when a value does not fit its column (a name longer than 60
// characters, a colour text longer than 20), naming the row (1-based); ReadOnly; IOError.
Status StoreClassList(jet::Database &db, const QList<ClassRow> &rows);

// The colour text the editor stores: the decimal value of the colour in blue-green-red order
// (light yellow, red FF green FF blue C0, is "12648447"). Readers take it as colorFromBgrText
// does, like the "&H" form. Inline, so that only the editor needs Qt Gui's QColor accessors.
inline QString bgrDecimalText(const QColor &color)
{
    const quint32 value = (quint32(color.blue()) << 16) | (quint32(color.green()) << 8) | quint32(color.red());
    return QString::number(value);
}

// The custom colours the colour dialog offers: eight hues that stay apart under the common
// colour-vision deficiencies (the Color Universal Design set of Okabe and Ito: black, orange,
// sky blue, bluish green, yellow, blue, vermilion, reddish purple), each followed by its light
// tint, which keeps black text readable when it fills a row's background. 16 colours: hue,
// tint, hue, tint, ...
QList<QColor> colourBlindSafePalette();

} // namespace tolvane::classes

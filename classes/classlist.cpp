#include "classes/classlist.h"

#include "catalog/schema.h"
#include "catalog/transaction.h"
#include "platform/jet/recordset.h"

namespace tolvane::classes {

namespace {
const QString kName = QStringLiteral("a01");
const QString kColour = QStringLiteral("a02");
const QString kPosition = QStringLiteral("a03");

QString textOf(const QVariant &v)
{
    return v.isValid() && !v.isNull() ? v.toString() : QString();
}
} // namespace

Result<QList<ClassRow>> ReadClassList(jet::Database &db)
{
    auto rs = db.select(jet::Query(catalog::kClassNTable).select({ kName, kColour, kPosition }).order(kPosition));
    if (!rs)
        return rs.status();
    QList<ClassRow> rows;
    for (jet::Recordset &r = **rs; !r.eof(); r.moveNext())
        rows.append({ textOf(r.field(0)), textOf(r.field(1)), textOf(r.field(2)) });
    return rows;
}

Status StoreClassList(jet::Database &db, const QList<ClassRow> &rows)
{
    auto info = db.tableInfo(catalog::kClassNTable);
    if (!info)
        return info.status();
    const int nameCol = info->columnIndex(kName);
    const int colourCol = info->columnIndex(kColour);
    const int positionCol = info->columnIndex(kPosition);
    if (nameCol < 0 || colourCol < 0 || positionCol < 0)
        return Status::corruption(QStringLiteral("ClassN lacks a01, a02 or a03"));

    catalog::TransactionGuard transaction(db);
    if (!transaction.status())
        return transaction.status();

    QList<jet::RowId> old;
    Status st = db.scan(catalog::kClassNTable, [&](jet::RowId id, const jet::Row &) {
        old.append(id);
        return true;
    });
    if (!st)
        return st;
    for (jet::RowId id : old)
        if (!(st = db.deleteRow(catalog::kClassNTable, id)))
            return st;

    for (qsizetype i = 0; i < rows.size(); ++i) {
        jet::Row row(info->columns.size());
        row[nameCol] = rows[i].name;
        row[colourCol] = rows[i].colour;
        row[positionCol] = int(i + 1);
        auto added = db.insertRow(catalog::kClassNTable, row);
        if (!added) {
            const Status &why = added.status();
            return { why.code(), QStringLiteral("row %1: %2").arg(i + 1).arg(why.message()) };
        }
    }
    return transaction.commit();
}

QList<QColor> colourBlindSafePalette()
{
    // The hues are Okabe and Ito's. Each tint is the hue mixed with white; how much of the hue
    // stays differs per hue (40 % of black, 70 % of orange, 25 % of bluish green ...), chosen so
    // that the eight tints also stay apart from one another under simulated protanopia,
    // deuteranopia and tritanopia (a colour difference of at least 13 in CIELAB), and none is
    // darker than CIELAB lightness 60, where black text would be hard to read.
    static const QList<QColor> palette = {
        QColor(0x00, 0x00, 0x00), QColor(0x99, 0x99, 0x99), // black, grey
        QColor(0xE6, 0x9F, 0x00), QColor(0xEE, 0xBC, 0x4C), // orange
        QColor(0x56, 0xB4, 0xE9), QColor(0x91, 0xCE, 0xF1), // sky blue
        QColor(0x00, 0x9E, 0x73), QColor(0xBF, 0xE7, 0xDC), // bluish green
        QColor(0xF0, 0xE4, 0x42), QColor(0xFA, 0xF7, 0xC6), // yellow
        QColor(0x00, 0x72, 0xB2), QColor(0x59, 0xA3, 0xCD), // blue
        QColor(0xD5, 0x5E, 0x00), QColor(0xE4, 0x96, 0x59), // vermilion
        QColor(0xCC, 0x79, 0xA7), QColor(0xDE, 0xA8, 0xC6), // reddish purple
    };
    return palette;
}

} // namespace tolvane::classes

#include "registration/slip.h"

#include "catalog/records.h"
#include "catalog/schema.h"
#include "catalog/transaction.h"
#include "platform/jet/recordset.h"

namespace tolvane::registration {

SlipRecord readSlipRecord(const jet::Recordset &rs)
{
    SlipRecord r;
    if (rs.bof() || rs.eof())
        return r;
    r.Class = rs.field(QStringLiteral("Class")).toString();
    r.fName = rs.field(QStringLiteral("fName")).toString();
    r.fDate = catalog::fieldText(rs.field(QStringLiteral("fDate")));
    r.kStr = rs.field(QStringLiteral("kStr")).toString();
    r.pnID = rs.field(QStringLiteral("pnID")).toInt();
    r.hsID = rs.field(QStringLiteral("hsID")).toInt();
    r.backC = rs.field(QStringLiteral("backC")).toString();
    return r;
}

QString slipTitle(int openedRow, int resultCount)
{
    return QStringLiteral("管理票　%1/%2").arg(openedRow).arg(resultCount);
}

bool isSlipRowEditable(int row)
{
    return row == SlipRow::Class || row == SlipRow::Keywords;
}

QString classificationListText(const QList<catalog::ClassItem> &choices)
{
    QString text = QStringLiteral("|");
    for (const catalog::ClassItem &c : choices)
        text += c.name + QLatin1Char('|');
    return text;
}

QString colourNumberText(const QString &colourText)
{
    const QString t = colourText.trimmed();
    bool ok = false;
    qlonglong value = 0;
    if (t.startsWith(QLatin1String("&H"), Qt::CaseInsensitive)) {
        QString digits = t.mid(2);
        if (digits.endsWith(QLatin1Char('&')))
            digits.chop(1);
        if (digits.isEmpty() || digits.size() > 8)
            return {};
        value = qlonglong(digits.toULongLong(&ok, 16));
        // Eight hexadecimal digits are a signed Long, as the colour literal reads.
        if (ok && digits.size() == 8 && value > 0x7FFFFFFFLL)
            value -= 0x100000000LL;
    } else {
        value = t.toLongLong(&ok, 10);
    }
    return ok ? QString::number(value) : QString();
}

Status SaveSlipFields(jet::Database &db, jet::Recordset &rs, const SlipEdit &edit)
{
    if (rs.bof() || rs.eof())
        return Status::invalidArgument(QStringLiteral("no current record"));
    const SlipRecord before = readSlipRecord(rs);
    catalog::TransactionGuard tx(db);
    if (!tx.status())
        return tx.status();
    Status s = rs.setField(QStringLiteral("Class"), edit.Class);
    if (s)
        s = rs.setField(QStringLiteral("kStr"), edit.kStr);
    if (s)
        s = rs.setField(QStringLiteral("backC"), edit.backC);
    if (s)
        s = rs.update();
    if (s)
        s = tx.commit();
    if (!s) {
        rs.cancelUpdate();
        tx.rollback();
        // The snapshot may already hold the new values; put the stored ones back into it.
        if (rs.field(QStringLiteral("Class")).toString() != before.Class
            || rs.field(QStringLiteral("kStr")).toString() != before.kStr
            || rs.field(QStringLiteral("backC")).toString() != before.backC)
            catalog::restoreSnapshot(db, rs);
    }
    return s;
}

} // namespace tolvane::registration

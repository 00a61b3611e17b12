#include "catalog/records.h"

#include "catalog/schema.h"
#include "platform/jet/recordset.h"
#include "platform/paths.h"

namespace tolvane::catalog {

Result<int> GetPathID(jet::Database &db, const QString &path)
{
    // The database compares text without case; the folder identity is the exact text, so the
    // rows it finds are compared again here. (An empty path also names a row without pName.)
    jet::Query query = jet::Query(kPathNameTable).select({ QStringLiteral("pnID"), QStringLiteral("pName") });
    if (!path.isEmpty())
        query.where(jet::Condition::equal(QStringLiteral("pName"), path));
    auto rs = db.select(query);
    if (!rs)
        return rs.status();
    for ((*rs)->moveFirst(); !(*rs)->eof(); (*rs)->moveNext())
        if ((*rs)->field(1).toString() == path)
            return (*rs)->field(0).toInt();
    return Status::notFound(QStringLiteral("folder not registered"));
}

Result<QString> GetPathName(jet::Database &db, int pnID)
{
    auto rs = db.select(jet::Query(kPathNameTable)
                            .select({ QStringLiteral("pnID"), QStringLiteral("pName") })
                            .where(jet::Condition::equal(QStringLiteral("pnID"), pnID)));
    if (!rs)
        return rs.status();
    if ((*rs)->bof())
        return Status::notFound(QStringLiteral("no folder %1").arg(pnID));
    (*rs)->moveFirst();
    return (*rs)->field(1).toString();
}

const QStringList &CatalogHeadings()
{
    static const QStringList headings = {
        QStringLiteral("分類"),
        QStringLiteral("ファイル名"),
        QStringLiteral("更新年月日"),
        QStringLiteral("キーワード"),
        QStringLiteral("ファイル所在"),
        QStringLiteral("History"),
        QStringLiteral("BackCo"),
    };
    return headings;
}

QDateTime dayOf(const QDateTime &modified)
{
    if (!modified.isValid())
        return {};
    return QDateTime(modified.toLocalTime().date(), QTime(0, 0), Qt::LocalTime);
}

QString fieldText(const QVariant &value)
{
    if (!value.isValid() || value.isNull())
        return {};
    switch (value.typeId()) {
    case QMetaType::QDateTime: {
        const QDateTime dt = value.toDateTime();
        if (dt.time() == QTime(0, 0))
            return dt.toString(QStringLiteral("yyyy/MM/dd"));
        return dt.toString(QStringLiteral("yyyy/MM/dd HH:mm:ss"));
    }
    case QMetaType::QDate:
        return value.toDate().toString(QStringLiteral("yyyy/MM/dd"));
    default:
        return value.toString();
    }
}

Result<RecordFile> TakeRecordFile(jet::Database &db, const jet::Recordset &rs)
{
    if (rs.bof() || rs.eof())
        return Status::invalidArgument(QStringLiteral("no current record"));
    RecordFile file;
    file.name = rs.field(QStringLiteral("fName")).toString();
    const QVariant date = rs.field(QStringLiteral("fDate"));
    file.date = date.isValid() && !date.isNull() ? dayText(date.toDateTime()) : QString();
    auto folder = GetPathName(db, rs.field(QStringLiteral("pnID")).toInt());
    if (!folder)
        return folder.status();
    file.folder = folder.take();
    return file;
}

Result<QList<ClassItem>> LoadClassItems(jet::Database &db)
{
    auto rs = db.select(jet::Query(kClassNTable).order(QStringLiteral("a03")));
    if (!rs)
        return rs.status();
    QList<ClassItem> out;
    for (jet::Recordset &r = **rs; !r.eof(); r.moveNext())
        out.append({ r.field(QStringLiteral("a01")).toString(), r.field(QStringLiteral("a02")).toString() });
    return out;
}

} // namespace tolvane::catalog

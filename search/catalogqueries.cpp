#include "search/catalogqueries.h"

#include "catalog/schema.h"
#include "search/perioddate.h"

namespace tolvane::search {

namespace {

const QString kClass = QStringLiteral("Class");
const QString kFName = QStringLiteral("fName");
const QString kFDate = QStringLiteral("fDate");
const QString kKStr = QStringLiteral("kStr");
const QString kPnID = QStringLiteral("pnID");

jet::Query catalogQuery()
{
    return jet::Query(catalog::kFileAtrTable).select(catalogColumns());
}

// Text bound as a value must never be null, or an empty word (a keyword of blanks only)
// would look like a missing value instead of the empty string.
QVariant textValue(const QString &text)
{
    return text.isNull() ? QVariant(QStringLiteral("")) : QVariant(text);
}

// A condition on a text column: a pattern when the text holds "%", equality otherwise.
jet::Condition patternOrExact(const QString &column, const QString &text)
{
    if (isPatternText(text))
        return jet::Condition::like(column, text);
    return jet::Condition::equal(column, textValue(text));
}

Result<bool> openInto(jet::Database &db, RecordsetSlot &set, const jet::Query &query)
{
    // The previous result is closed before the new one is opened, so a failing query never
    // leaves a stale list behind.
    set.reset();
    auto opened = db.select(query);
    if (!opened)
        return opened.status();
    set = opened.take();
    return !set->bof();
}

} // namespace

const QStringList &catalogColumns()
{
    static const QStringList columns { kClass, kFName, kFDate, kKStr, kPnID, QStringLiteral("hsID"),
        QStringLiteral("backC") };
    return columns;
}

const QStringList &binderColumns()
{
    static const QStringList columns { QStringLiteral("bdID"), kFName, kPnID, QStringLiteral("DocNo") };
    return columns;
}

bool isPatternText(const QString &text)
{
    return text.contains(QLatin1Char('%'));
}

Result<bool> QueryByFolder(jet::Database &db, RecordsetSlot &set, int pnID)
{
    return openInto(db, set, catalogQuery().where(jet::Condition::equal(kPnID, pnID)));
}

Result<bool> QueryByFileName(jet::Database &db, RecordsetSlot &set, const QString &fileName)
{
    return openInto(db, set, catalogQuery().where(patternOrExact(kFName, fileName)));
}

Result<bool> QueryByClass(jet::Database &db, RecordsetSlot &set, const QString &className)
{
    return openInto(db, set, catalogQuery().where(jet::Condition::equal(kClass, textValue(className))).order(kFDate));
}

Result<bool> QueryByPeriod(jet::Database &db, RecordsetSlot &set, const QString &start, const QString &end)
{
    const auto from = parsePeriodBound(start, PeriodBound::Start);
    const auto to = parsePeriodBound(end, PeriodBound::End);
    if (!from || !to) {
        set.reset();
        return Status::invalidArgument(QStringLiteral("not a date: %1").arg(from ? end : start));
    }
    return QueryByPeriodBounds(db, set, *from, *to);
}

Result<bool> QueryByPeriodBounds(jet::Database &db, RecordsetSlot &set, const QDateTime &from, const QDateTime &to)
{
    return openInto(db, set, catalogQuery().where(jet::Condition::between(kFDate, from, to)).order(kFDate));
}

Result<bool> QueryByKeyword(jet::Database &db, RecordsetSlot &set, const QString &word)
{
    return openInto(db, set, catalogQuery().where(patternOrExact(kKStr, word)));
}

Result<bool> QueryBinderContents(jet::Database &db, RecordsetSlot &set, int bdID)
{
    const auto query = jet::Query(catalog::kBinderTable)
                           .select(binderColumns())
                           .where(jet::Condition::equal(QStringLiteral("bdID"), bdID))
                           .order(QStringLiteral("DocNo"));
    return openInto(db, set, query);
}

Result<QList<QDateTime>> periodDates(jet::Database &db)
{
    auto groups = db.groupCount(catalog::kFileAtrTable, QStringLiteral("fDate"));
    if (!groups)
        return groups.status();
    QList<QDateTime> dates;
    dates.reserve(groups->size());
    for (const auto &group : groups.value()) {
        const QDateTime date = group.first.toDateTime();
        if (date.isValid())
            dates.append(date);
    }
    return dates;
}

} // namespace tolvane::search

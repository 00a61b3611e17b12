#include "platform/jet/types.h"

#include <cmath>

#include <QDateTime>

namespace tolvane::jet {

namespace {
const QDate kOleEpoch(1899, 12, 30);
constexpr qint64 kMsPerDay = 86400000;
} // namespace

QString DamageFinding::text() const
{
    switch (kind) {
    case Kind::FileEndsInsidePage:
        return QStringLiteral("ファイルがページの途中で終わっています（%1 バイト）。").arg(found);
    case Kind::PageBeyondEnd:
        return QStringLiteral("表 %1 の %2 ページ（ページ %3 から）がファイルの終わり（%4 ページ）より後にあります。")
            .arg(table)
            .arg(found)
            .arg(page)
            .arg(expected);
    case Kind::WrongPageType:
        return QStringLiteral("表 %1 のページ %2 がデータページではありません（種類 %3）。")
            .arg(table)
            .arg(page)
            .arg(found);
    case Kind::WrongOwner:
        return QStringLiteral("表 %1 のページ %2 が別の表（定義ページ %3）のものになっています。")
            .arg(table)
            .arg(page)
            .arg(found);
    case Kind::RowCountMismatch:
        return QStringLiteral("表 %1 は %2 行のはずですが、読める行は %3 行です。").arg(table).arg(expected).arg(found);
    case Kind::UsedPageMarkedFree:
        return QStringLiteral("表 %1 のページ %2 が空きページとして記録されています。").arg(table).arg(page);
    case Kind::UnreadableMap:
        return QStringLiteral("表 %1 のページの一覧（使用マップ）が読めません。").arg(table);
    }
    return {};
}

int TableInfo::columnIndex(const QString &column) const
{
    for (int i = 0; i < columns.size(); ++i)
        if (columns.at(i).name.compare(column, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

double toOleDate(const QDateTime &dt)
{
    const QDateTime local = dt.timeSpec() == Qt::LocalTime ? dt : dt.toLocalTime();
    const qint64 days = kOleEpoch.daysTo(local.date());
    const double frac = double(local.time().msecsSinceStartOfDay()) / double(kMsPerDay);
    // Before the epoch the whole-day part is negative and the time of day is still added away
    // from zero: 1850-06-15 18:00 is -18095.75.
    return days >= 0 ? double(days) + frac : double(days) - frac;
}

bool oleDateParts(double ole, OleDateParts &parts)
{
    if (!std::isfinite(ole) || std::abs(ole) > 3.0e6)
        return false;
    const double whole = std::trunc(ole);
    qint64 ms = std::llround(std::abs(ole - whole) * double(kMsPerDay));
    qint64 days = qint64(whole);
    if (ms >= kMsPerDay) {
        ms -= kMsPerDay;
        days += 1;
    }
    parts.day = days;
    parts.msec = int(ms);
    return true;
}

QDate OleDateParts::date() const
{
    return kOleEpoch.addDays(day);
}

QTime OleDateParts::time() const
{
    return QTime::fromMSecsSinceStartOfDay(msec);
}

double oleDay(const QDate &date)
{
    return double(kOleEpoch.daysTo(date));
}

QDateTime fromOleDate(double ole)
{
    OleDateParts parts;
    if (!oleDateParts(ole, parts))
        return {};
    return QDateTime(parts.date(), parts.time(), Qt::LocalTime);
}

bool sameStoredValue(const QVariant &a, const QVariant &b)
{
    if (!a.isValid() || !b.isValid())
        return a.isValid() == b.isValid();
    const auto isDate
        = [](const QVariant &v) { return v.typeId() == QMetaType::QDateTime || v.typeId() == QMetaType::QDate; };
    if (isDate(a) || isDate(b))
        return isDate(a) && isDate(b) && a.toDateTime() == b.toDateTime();
    const auto isText = [](const QVariant &v) { return v.typeId() == QMetaType::QString; };
    if (isText(a) || isText(b))
        return isText(a) && isText(b) && a.toString() == b.toString();
    return a == b;
}

Status rowChangedElsewhere()
{
    return Status::conflict(
        QStringLiteral("このレコードは、読み込んだ後にほかの利用者またはプログラムが変更または削除しました。"));
}

} // namespace tolvane::jet

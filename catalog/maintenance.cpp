#include "catalog/maintenance.h"

#include <QDir>
#include <QLocale>

namespace tolvane::catalog {

namespace {
QString bytes(qint64 n)
{
    return QLocale::c().toString(n) + QStringLiteral(" バイト");
}
} // namespace

QString compactionSummary(const jet::CompactionReport &report)
{
    return QStringLiteral("データベースの最適化が終わりました。\n%1 → %2")
        .arg(bytes(report.sizeBefore), bytes(report.sizeAfter));
}

QString repairSummary(const QString &original, const jet::RepairReport &report, int maxDamage)
{
    QStringList lines;
    lines << QStringLiteral("読み取れる行を %1 に書き出しました。").arg(QDir::toNativeSeparators(report.repairedPath));
    lines << QStringLiteral("元のファイル %1 はそのまま残してあります。").arg(QDir::toNativeSeparators(original));
    for (const jet::TableTally &t : report.tables)
        lines << QStringLiteral("%1：%2 行を救出、%3 行を失いました。").arg(t.table).arg(t.written).arg(t.lost);
    if (!report.notCarried.isEmpty()) {
        lines << QStringLiteral("引き継げなかったもの：");
        for (const QString &s : report.notCarried)
            lines << QStringLiteral("・") + s;
    }
    if (!report.damage.isEmpty()) {
        lines << QStringLiteral("見つかった損傷：");
        for (int i = 0; i < report.damage.size() && i < maxDamage; ++i)
            lines << QStringLiteral("・") + report.damage.at(i);
        if (report.damage.size() > maxDamage)
            lines << QStringLiteral("・ほか %1 件").arg(report.damage.size() - maxDamage);
    }
    return lines.join(u'\n');
}

QString maintenanceFailure(bool repair, const Status &status)
{
    const QString what = repair ? QStringLiteral("修復") : QStringLiteral("データベースの最適化");
    if (status.code() == Status::Code::Cancelled)
        return QStringLiteral("%1を中止しました。ファイルは元のままです。").arg(what);
    return QStringLiteral("%1ができませんでした。\n%2").arg(what, status.message());
}

} // namespace tolvane::catalog

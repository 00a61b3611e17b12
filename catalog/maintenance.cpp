#include "catalog/maintenance.h"

#include <algorithm>

#include <QDir>
#include <QFileInfo>
#include <QLocale>

#include "platform/apptitle.h"

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
    QString detail = status.message();
    // The engine's own refusals are written for the user; what comes from below (the file
    // system, the format checks) gets a sentence saying what it means.
    const bool forUser = std::any_of(detail.cbegin(), detail.cend(), [](QChar c) { return c.unicode() > 0x7F; });
    if (!forUser) {
        QString meaning;
        switch (status.code()) {
        case Status::Code::IOError:
            meaning = QStringLiteral("ファイルの読み書きに失敗しました。");
            break;
        case Status::Code::Corruption:
            meaning = repair ? QStringLiteral("ファイルの壊れ方がひどく、読み取れませんでした。")
                             : QStringLiteral("ファイルが壊れています。「データベースの修復」を試してください。");
            break;
        case Status::Code::NotSupported:
            meaning = QStringLiteral("この形式のファイルは扱えません。");
            break;
        default:
            meaning = QStringLiteral("処理を続けられませんでした。");
            break;
        }
        detail = meaning + QStringLiteral("（") + detail + QStringLiteral("）");
    }
    return QStringLiteral("%1ができませんでした。\n%2").arg(what, detail);
}

bool CompactCatalogCommand(Prompter &prompter, const QString &path, const std::function<void()> &closeCatalog,
    const jet::MaintenanceProgress &progress)
{
    QString file = path;
    if (file.isEmpty())
        file = prompter.openFile(QStringLiteral("最適化するデータベース"), QStringLiteral("Database (*.mdb)"));
    if (file.isEmpty())
        return false;
    const QString question = QStringLiteral("%1 を最適化します。\n"
                                            "削除された行の領域を詰めた新しいファイルに置き換えます。よろしいですか？")
                                 .arg(QDir::toNativeSeparators(file));
    if (prompter.message({ appTitle(), question, Prompter::Icon::Question, Prompter::Buttons::YesNo })
        != Prompter::Answer::Yes)
        return false;
    if (closeCatalog)
        closeCatalog();
    Result<jet::CompactionReport> r = jet::compactDatabase(file, progress);
    if (!r) {
        prompter.inform(appTitle(), maintenanceFailure(false, r.status()),
            r.status().code() == Status::Code::Cancelled ? Prompter::Icon::Information : Prompter::Icon::Warning);
        return false;
    }
    prompter.inform(appTitle(), compactionSummary(*r), Prompter::Icon::Information);
    return true;
}

bool RepairCatalogCommand(Prompter &prompter, const QString &startDir, const QString &inUse,
    const std::function<void()> &closeCatalog, const jet::MaintenanceProgress &progress)
{
    const QString file
        = prompter.openFile(QStringLiteral("修復するデータベース"), QStringLiteral("Database (*.mdb)"), startDir);
    if (file.isEmpty())
        return false;
    // Repair, like compaction, has the file to itself: the window's own connection goes first.
    const QString chosen = QFileInfo(file).canonicalFilePath();
    if (closeCatalog && !inUse.isEmpty() && !chosen.isEmpty() && chosen == QFileInfo(inUse).canonicalFilePath())
        closeCatalog();
    Result<jet::RepairReport> r = jet::repairDatabase(file, jet::repairedPathFor(file), progress);
    if (!r) {
        prompter.inform(appTitle(), maintenanceFailure(true, r.status()),
            r.status().code() == Status::Code::Cancelled ? Prompter::Icon::Information : Prompter::Icon::Warning);
        return false;
    }
    prompter.inform(appTitle(), repairSummary(file, *r),
        r->lostRows() > 0 || !r->notCarried.isEmpty() ? Prompter::Icon::Warning : Prompter::Icon::Information);
    return true;
}

} // namespace tolvane::catalog

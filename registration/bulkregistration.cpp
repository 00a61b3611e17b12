#include "registration/bulkregistration.h"

#include "catalog/counters.h"
#include "catalog/transaction.h"
#include "platform/apptitle.h"
#include "platform/unreadablenames.h"

namespace tolvane::registration {

namespace {
// Runs body inside one catalogue transaction: committed when body succeeds, rolled back when it
// fails, so that a failed or stopped command leaves the catalogue as it was.
template <class Body> Status inTransaction(jet::Database &db, Body body)
{
    catalog::TransactionGuard tx(db);
    if (!tx.status())
        return tx.status();
    Status st = body();
    if (st)
        st = tx.commit();
    if (!st)
        tx.rollback();
    return st;
}

// Splits one progress range over the two passes of a synchronisation.
Progress part(const Progress &progress, int offset, int share, int total)
{
    if (!progress)
        return {};
    return [progress, offset, share, total](int done, int of) {
        const int scaled = of > 0 ? offset + int(qint64(done) * share / of) : offset;
        return progress(scaled, total);
    };
}
// What the user can do something about, on a line of its own after the failure message: a
// disk without room, with how much is missing.
QString failureDetail(const Status &st)
{
    return st.code() == Status::Code::DiskFull ? QStringLiteral("\r\n") + st.message() : QString();
}

void reportSkipped(Prompter &prompter, const QList<SkippedFile> &skipped)
{
    if (!skipped.isEmpty())
        prompter.inform(appTitle(), skippedFilesMessage(skipped), Prompter::Icon::Warning);
}
} // namespace

QString emptyListMessage()
{
    return QStringLiteral("ファイルが存在しません。　左パネルからフォルダを選択してください。");
}

QString confirmRegistrationMessage()
{
    const QString crlf = QStringLiteral("\r\n");
    return QStringLiteral("表示中の全ファイル情報をデータベースに登録します。") + crlf
        + QStringLiteral("登録済みファイルは二重登録しません。　追加ファイルはデータベースに追加登録し、"
                         "削除ファイルは登録から抹消します。")
        + crlf + QStringLiteral("データベースのファイル更新年月日は最新日付に訂正します。") + crlf
        + QStringLiteral("実行しますか？");
}

QString synchronisedMessage(int deleted, int added, int dateFixed)
{
    return QStringLiteral("全ファイル登録済みです。 削除ファイル数：") + QString::number(deleted)
        + QStringLiteral("　追加ファイル数：") + QString::number(added) + QStringLiteral("　日付訂正数：")
        + QString::number(dateFixed);
}

QString registeredMessage(int added)
{
    return QString::number(added) + QStringLiteral("件のファイル情報を登録しました。");
}

QString synchronisationFailedMessage()
{
    return QStringLiteral("ファイル情報追加登録に失敗しました。　RecordFILE_ATR");
}

QString registrationFailedMessage()
{
    return QStringLiteral("DB登録に失敗しました。　RecordFILE_ATR");
}

QString skippedFilesMessage(const QList<SkippedFile> &skipped)
{
    constexpr qsizetype kNamed = 20;
    const QString crlf = QStringLiteral("\r\n");
    QString text = QStringLiteral("次の%1件のファイルは登録できませんでした。").arg(skipped.size());
    for (qsizetype i = 0; i < qMin(kNamed, skipped.size()); ++i)
        text += crlf + QStringLiteral("　") + skipped[i].name + QStringLiteral("（") + skipped[i].reason
            + QStringLiteral("）");
    if (skipped.size() > kNamed)
        text += crlf + QStringLiteral("ほか%1件").arg(skipped.size() - kNamed);
    return text;
}

namespace {

// RegisterShownFolder on names whose days dayList gives (asked once, inside the transaction).
RegistrationOutcome registerNames(jet::Database &db, Prompter &prompter, const QString &CurrentFolder,
    const FileNames &names, const std::function<QList<QDate>()> &dayList, const Progress &progress)
{
    RegistrationOutcome out;
    for (const QString &name : unreadableFileNames(CurrentFolder))
        out.skipped.append({ name, QStringLiteral("ファイル名の文字コードを読み取れません") });
    if (names.isEmpty()) {
        prompter.inform(appTitle(), out.skipped.isEmpty() ? emptyListMessage() : skippedFilesMessage(out.skipped),
            Prompter::Icon::Warning);
        out.kind = RegistrationOutcome::Kind::Refused;
        return out;
    }
    const Prompter::Answer answer = prompter.message(
        { appTitle(), confirmRegistrationMessage(), Prompter::Icon::Question, Prompter::Buttons::YesNo });
    if (answer != Prompter::Answer::Yes) {
        out.kind = RegistrationOutcome::Kind::Declined;
        return out;
    }
    const int listed = int(names.size());
    // One transaction from the folder's lookup on: a folder another writer registers at the same
    // moment is either found registered here or registered after this commit, never twice.
    bool synchronising = false;
    bool stopQuietly = false;
    const Status st = inTransaction(db, [&]() -> Status {
        const Result<int> registered = catalog::GetPathID(db, CurrentFolder);
        if (!registered && registered.status().code() != Status::Code::NotFound)
            return registered.status();
        int DateFixCount = 0;
        if (registered) {
            // Synchronisation: deletion first, then addition with the date corrections.
            synchronising = true;
            out.pnID = registered.value();
            const int total = listed + listed / 4 + 1;
            auto rows = ReadFolderFileRows(db, out.pnID);
            if (!rows)
                return rows.status();
            const Result<int> deleted = DeleteMissingFiles(db, names, *rows, part(progress, 0, listed / 4 + 1, total));
            if (!deleted)
                return deleted.status();
            out.deleted = deleted.value();
            const Result<int> added = AddNewFiles(db, out.pnID, names, dayList(), *rows, DateFixCount, out.skipped,
                part(progress, listed / 4 + 1, listed, total));
            if (!added)
                return added.status();
            out.added = added.value();
            out.dateFixed = DateFixCount;
            return Status::ok();
        }
        // First registration of the folder.
        const Result<int> pnID = catalog::NextPnID(db, prompter);
        if (!pnID) {
            stopQuietly = true; // a broken counter row has been reported by the draw
            return pnID.status();
        }
        out.pnID = pnID.value();
        if (const Status st = AddPathName(db, CurrentFolder, out.pnID); !st) {
            stopQuietly = true;
            return st;
        }
        QList<FolderFileRow> rows; // a new folder has none
        const Result<int> added = AddNewFiles(
            db, out.pnID, names, dayList(), rows, DateFixCount, out.skipped, part(progress, 0, listed, listed));
        if (!added)
            return added.status();
        out.added = added.value();
        return Status::ok();
    });
    if (!st) {
        out.error = st;
        out.deleted = out.added = out.dateFixed = 0;
        if (st.code() == Status::Code::Cancelled) {
            out.kind = RegistrationOutcome::Kind::Cancelled;
            return out;
        }
        out.kind = RegistrationOutcome::Kind::Failed;
        if (!stopQuietly)
            prompter.inform(appTitle(),
                (synchronising ? synchronisationFailedMessage() : registrationFailedMessage()) + failureDetail(st),
                Prompter::Icon::Critical);
        return out;
    }
    if (synchronising) {
        out.kind = RegistrationOutcome::Kind::Synchronised;
        prompter.inform(
            appTitle(), synchronisedMessage(out.deleted, out.added, out.dateFixed), Prompter::Icon::Information);
    } else {
        out.kind = RegistrationOutcome::Kind::Registered;
        prompter.inform(appTitle(), registeredMessage(out.added), Prompter::Icon::Information);
    }
    reportSkipped(prompter, out.skipped);
    return out;
}

} // namespace

RegistrationOutcome RegisterShownFolder(jet::Database &db, Prompter &prompter, const QString &CurrentFolder,
    const QStringList &names, const Progress &progress)
{
    return RegisterShownFolder(db, prompter, CurrentFolder, names, {}, progress);
}

RegistrationOutcome RegisterShownFolder(jet::Database &db, Prompter &prompter, const QString &CurrentFolder,
    const QStringList &names, const QList<QDateTime> &modified, const Progress &progress)
{
    const FileNames listed = FileNames::fromList(names);
    // The files' days: from the list when it carries them, else one status call a file.
    return registerNames(
        db, prompter, CurrentFolder, listed,
        [&] {
            return modified.size() == names.size() ? modificationDays(modified)
                                                   : modificationDays(CurrentFolder, listed);
        },
        progress);
}

RegistrationOutcome RegisterShownFolder(jet::Database &db, Prompter &prompter, const QString &CurrentFolder,
    const FileNames &names, const QList<QDate> &days, const Progress &progress)
{
    return registerNames(
        db, prompter, CurrentFolder, names,
        [&] { return days.size() == names.size() ? days : modificationDays(CurrentFolder, names); }, progress);
}

} // namespace tolvane::registration

#include "registration/bulkregistration.h"

#include "catalog/counters.h"
#include "platform/apptitle.h"

namespace tolvane::registration {

namespace {
constexpr int kRecordMode = 2;

// Runs body inside one catalogue transaction: committed when body succeeds, rolled back when it
// fails, so that a failed or stopped command leaves the catalogue as it was.
template <class Body> Status inTransaction(jet::Database *db, Body body)
{
    const bool own = !db->inTransaction();
    if (own) {
        const Status begun = db->beginTransaction();
        if (!begun)
            return begun;
    }
    Status st = body();
    if (!own)
        return st;
    if (!st) {
        db->rollback();
        return st;
    }
    st = db->commit();
    if (!st)
        db->rollback();
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

RegistrationOutcome RegisterShownFolder(jet::Database *db, Prompter &prompter, const QString &CurrentFolder,
    const QStringList &names, int &ModeNo, const Progress &progress)
{
    RegistrationOutcome out;
    ModeNo = kRecordMode;
    if (names.isEmpty()) {
        prompter.inform(appTitle(), emptyListMessage(), Prompter::Icon::Warning);
        out.kind = RegistrationOutcome::Kind::Refused;
        return out;
    }
    const Prompter::Answer answer = prompter.message(
        { appTitle(), confirmRegistrationMessage(), Prompter::Icon::Question, Prompter::Buttons::YesNo });
    if (answer != Prompter::Answer::Yes) {
        out.kind = RegistrationOutcome::Kind::Declined;
        return out;
    }
    if (!db) {
        out.kind = RegistrationOutcome::Kind::Failed;
        out.error = Status::invalidArgument(QStringLiteral("no catalogue"));
        return out;
    }

    const int listed = int(names.size());
    out.pnID = GetPathID(db, CurrentFolder);
    if (out.pnID > 0) {
        // Synchronisation: deletion first, then addition with the date corrections.
        const int total = listed + listed / 4 + 1;
        const Status st = inTransaction(db, [&]() -> Status {
            Status error;
            out.deleted = DeleteMissingFiles(db, out.pnID, names, &error, part(progress, 0, listed / 4 + 1, total));
            if (!error)
                return error;
            int DateFixCount = 0;
            out.added = AddNewFiles(db, CurrentFolder, out.pnID, names, DateFixCount, &error,
                part(progress, listed / 4 + 1, listed, total));
            out.dateFixed = DateFixCount;
            return error;
        });
        if (!st) {
            out.error = st;
            if (st.code() == Status::Code::Cancelled) {
                out.kind = RegistrationOutcome::Kind::Cancelled;
                return out;
            }
            out.kind = RegistrationOutcome::Kind::Failed;
            prompter.inform(appTitle(), synchronisationFailedMessage(), Prompter::Icon::Critical);
            return out;
        }
        out.kind = RegistrationOutcome::Kind::Synchronised;
        prompter.inform(
            appTitle(), synchronisedMessage(out.deleted, out.added, out.dateFixed), Prompter::Icon::Information);
        return out;
    }

    // First registration of the folder.
    bool stopQuietly = false;
    const Status st = inTransaction(db, [&]() -> Status {
        const int pnID = catalog::NextPnID(db, prompter);
        if (pnID <= 0) {
            stopQuietly = true; // the counter reported its own error
            return Status::corruption(QStringLiteral("no folder identifier could be drawn"));
        }
        out.pnID = pnID;
        Status error;
        if (!AddPathName(db, CurrentFolder, pnID, &error)) {
            stopQuietly = true;
            return error;
        }
        int DateFixCount = 0;
        out.added
            = AddNewFiles(db, CurrentFolder, pnID, names, DateFixCount, &error, part(progress, 0, listed, listed));
        return error;
    });
    if (!st) {
        out.error = st;
        out.added = 0;
        if (st.code() == Status::Code::Cancelled) {
            out.kind = RegistrationOutcome::Kind::Cancelled;
            return out;
        }
        out.kind = RegistrationOutcome::Kind::Failed;
        if (!stopQuietly)
            prompter.inform(appTitle(), registrationFailedMessage(), Prompter::Icon::Critical);
        return out;
    }
    out.kind = RegistrationOutcome::Kind::Registered;
    prompter.inform(appTitle(), registeredMessage(out.added), Prompter::Icon::Information);
    return out;
}

} // namespace tolvane::registration

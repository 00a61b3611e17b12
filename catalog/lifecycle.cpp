#include "catalog/lifecycle.h"

#include <QDir>
#include <QFileInfo>

#include "catalog/creation.h"
#include "catalog/schema.h"
#include "platform/apptitle.h"
#include "platform/jet/database.h"
#include "platform/unreadablenames.h"

namespace tolvane::catalog {

namespace {

const char *const kNotCatalogMessage = "Tolvane 用データベースを選択してください。";

void critical(Prompter &prompter, const QString &text)
{
    prompter.inform(appTitle(), text, Prompter::Icon::Critical);
}

} // namespace

QString SelectCatalogFile(Prompter &prompter, int purpose, CatalogState &state)
{
    const QString filter = QStringLiteral("Database (*.mdb)");
    QString chosen;
    if (purpose == kSelectForCreate)
        chosen = prompter.saveFile(QString::fromUtf8("データベース新規作成"), filter);
    else if (purpose == kSelectForOpen)
        chosen = prompter.openFile(QString::fromUtf8("データベースオープン"), filter);
    if (chosen.isEmpty())
        return canceledChoice();
    // A name whose bytes could not be read would create or open another file than the one named.
    if (!isFaithfulPath(chosen)) {
        critical(prompter,
            QString::fromUtf8("ファイル名に読み取れない文字が含まれています。　別の名前のファイルを指定してください。")
                + QStringLiteral("\r\n") + QDir::toNativeSeparators(chosen));
        return canceledChoice();
    }
    // Later steps cut the last four characters off: the name must end in ".mdb".
    if (!chosen.endsWith(QStringLiteral(".mdb"), Qt::CaseInsensitive))
        chosen += QStringLiteral(".mdb");
    const QString bare = QFileInfo(chosen).fileName();
    state.CatalogName = bare.left(bare.size() - 4);
    return chosen;
}

bool ConnectCatalog(CatalogState &state, Status *failure)
{
    state.CatalogConnection.reset();
    auto db = jet::Database::open(state.CatalogPath, jet::Database::OpenMode::ReadWrite);
    if (failure)
        *failure = db.status();
    if (!db)
        return false;
    state.CatalogConnection = db.take();
    return true;
}

bool HasDbidTable(const CatalogState &state)
{
    return state.db() && state.db()->hasTable(kDbidTable);
}

int ReadDbid(const CatalogState &state)
{
    return state.db() ? ReadDbid(*state.db()) : 0;
}

int ReadDbid(jet::Database &db)
{
    if (!db.hasTable(kDbidTable))
        return 0;
    auto rs = db.openTable(kDbidTable);
    if (!rs || (*rs)->bof())
        return 0;
    bool ok = false;
    const int value = (*rs)->field(0).toInt(&ok);
    return ok ? value : 0;
}

bool IsCatalog(jet::Database &db)
{
    const int mark = ReadDbid(db);
    return mark == kOrdinaryCatalogMark || mark == kArchiveCatalogMark;
}

QString notCatalogMessage()
{
    return QString::fromUtf8(kNotCatalogMessage);
}

void CreateCatalog(Prompter &prompter, CatalogState &state)
{
    state.CatalogPath = SelectCatalogFile(prompter, kSelectForCreate, state);
    if (state.CatalogPath == canceledChoice())
        return;
    state.CatalogPath.chop(4);
    const QString failed = QString::fromUtf8("データベース作成に失敗しました。");
    if (!CreateCatalogFile(state.CatalogPath)) {
        critical(prompter, failed);
        return;
    }
    if (!PutIDno(state.CatalogPath)) {
        critical(prompter, failed + QStringLiteral(" putIDno"));
        return;
    }
    if (!PutDBID(state.CatalogPath)) {
        critical(prompter, failed + QStringLiteral(" DBID"));
        return;
    }
    if (!PutItemN(state.CatalogPath)) {
        critical(prompter, failed + QStringLiteral(" ItemN"));
        return;
    }
    prompter.inform(appTitle(),
        state.CatalogPath + QString::fromUtf8(".mdb が使えるようになりました。") + QStringLiteral("\r\n")
            + QString::fromUtf8("DBオープンボタンで使用開始します。"),
        Prompter::Icon::Information);
}

OpenOutcome OpenCatalogFile(Prompter &prompter, CatalogState &state, std::unique_ptr<jet::Recordset> &searchResultSet,
    std::unique_ptr<jet::Recordset> &binderSet)
{
    CloseCatalog(state, searchResultSet, binderSet);

    state.CatalogPath = SelectCatalogFile(prompter, kSelectForOpen, state);
    if (state.CatalogPath == canceledChoice())
        return OpenOutcome::Cancelled;
    if (Status failure; !ConnectCatalog(state, &failure)) {
        critical(prompter, cannotOpenMessage(state.CatalogPath, failure));
        return OpenOutcome::ConnectFailed;
    }
    if (!HasDbidTable(state)) {
        critical(prompter, QString::fromUtf8(kNotCatalogMessage));
        return OpenOutcome::NotCatalog;
    }
    state.CatalogMark = ReadDbid(state);
    if (state.CatalogMark == kOrdinaryCatalogMark) {
        // A file that is in use elsewhere or cannot be written opens read-only; say so rather
        // than let every later change fail unseen. A damaged one also says what was found.
        if (state.db()->isDamaged())
            critical(prompter, DamagedCatalogMessage(*state.db()));
        else if (state.db()->isReadOnly())
            prompter.inform(appTitle(),
                QString::fromUtf8("データベースは読み取り専用で開かれました。変更は保存できません。")
                    + QStringLiteral("\r\n") + state.db()->readOnlyReason(),
                Prompter::Icon::Warning);
        return OpenOutcome::Ordinary;
    }
    if (state.CatalogMark == kArchiveCatalogMark) {
        // An archive edition is never written: keep it open read-only.
        auto ro = jet::Database::open(state.CatalogPath, jet::Database::OpenMode::ReadOnly);
        if (ro)
            state.CatalogConnection = ro.take();
        return OpenOutcome::Archive;
    }
    critical(prompter, QString::fromUtf8(kNotCatalogMessage));
    return OpenOutcome::NotCatalog;
}

QString DamagedCatalogMessage(const jet::Database &db)
{
    QString text
        = QString::fromUtf8("データベースが損傷しているため、読み取り専用で開きました。変更は保存できません。");
    for (const jet::DamageFinding &f : db.damage())
        text += QStringLiteral("\r\n") + f.text();
    return text;
}

QString CatalogBusyMessage()
{
    return QString::fromUtf8("データベースは他の利用者またはプログラムが更新中のため、書き込めませんでした。");
}

QString CatalogBusyQuestion()
{
    return CatalogBusyMessage() + QStringLiteral("\r\n") + QString::fromUtf8("もう一度試しますか？");
}

void AskWhenBusy(jet::Database &db, Prompter &prompter)
{
    db.setBusyHandler([&prompter] {
        return prompter.message(
                   { appTitle(), CatalogBusyQuestion(), Prompter::Icon::Question, Prompter::Buttons::YesNo })
            == Prompter::Answer::Yes;
    });
}

QString cannotOpenMessage(const QString &path, const Status &failure)
{
    const QFileInfo file(path);
    const QString name = QStringLiteral("「%1」").arg(QDir::toNativeSeparators(path));
    // Compaction or repair has the file to itself: the engine's sentence says so.
    if (failure.code() == Status::Code::Busy)
        return name + QStringLiteral("\r\n") + failure.message();
    if (!file.exists())
        return name + QString::fromUtf8("が見つかりません。");
    if (file.isFile() && file.size() == 0)
        return name + QString::fromUtf8("は空のファイルです。　データベースとして開けません。");
    return name + QString::fromUtf8("はデータベースファイルではないため、開けません。");
}

void CloseCatalog(
    CatalogState &state, std::unique_ptr<jet::Recordset> &searchResultSet, std::unique_ptr<jet::Recordset> &binderSet)
{
    // Recordsets must not outlive their database.
    searchResultSet.reset();
    binderSet.reset();
    state.CatalogConnection.reset();
}

} // namespace tolvane::catalog

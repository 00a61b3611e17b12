#include "shell/modes.h"

namespace tolvane::shell {

namespace {
QString u(const char *s)
{
    return QString::fromUtf8(s);
}
StatusTexts both(const char *p1, const char *p2)
{
    return { u(p1), u(p2), std::nullopt, false };
}
StatusTexts hint(const char *p2)
{
    return { std::nullopt, u(p2), std::nullopt, false };
}

const char *const kStartHint = "これから行う作業を、ボタン又はメニューから選択してください。　　ヘルプ：F1キー";
const char *const kSteppingHint = "「次へ」「戻る」ボタンでファイルを次々と表示します。　ヘルプ：F1キー";
} // namespace

std::optional<StatusTexts> statusTexts(int code, const QString &currentFolder)
{
    switch (code) {
    case 0:
        return both("スタートモード", kStartHint);
    case 1:
        return both("ファイル表示モード",
            "フォルダ選択ボタン・クリックー＞「フォルダの参照ダイアログ表示」ー＞フォルダを選択ー＞ファイル各個表示　ヘ"
            "ルプ：F1キー");
    case 11:
        return both("DB使用モード", kStartHint);
    case 12:
        return StatusTexts { u("ファイル表示モード"), currentFolder, u(kSteppingHint), true };
    case 2:
        return both("登録モード", "左パネルからフォルダ選択ー＞右パネルにファイルが表示されます。　ヘルプ：F1キー");
    case 21:
        return both("登録モード", "「DB 登録」ボタンで表示中のファイル情報が一括登録されます。　ヘルプ：F1キー");
    case 4:
        return both("各種検索モード", "検索モードをボタンまたはメニューから選択してください。　ヘルプ：F1キー");
    case 5:
        return both("フォルダ検索モード",
            "「フォルダの参照ダイアログ」からフォルダを選択ー＞検索結果が右パネルに一覧表示　ヘルプ：F1キー");
    case 51:
        return hint("任意行クリックで、選択行ファイルから各個表示を開始します。　ヘルプ：F1キー");
    case 52:
        return hint(kSteppingHint);
    case 53:
        return hint("任意行選択。　上又は下向き「移動」ボタンクリックで、上下に移動　ヘルプ：F1キー");
    case 54:
        return hint("削除行クリック選択。　「取り外し」ボタンで削除。　ヘルプ：F1キー");
    case 6:
        return both("ファイル検索モード",
            "テキストボックスにファイル名（ワイルドカード「%」使用可）を記入「検索」ボタンクリック　ヘルプ：F1キー");
    case 7:
        return both("分類検索モード", "コンボボックスから分類を選択「検索」ボタンクリック　ヘルプ：F1キー");
    case 8:
        return both(
            "期間検索モード", "左側日付「から」、右側日付「まで」を記入、「検索」ボタンクリック　ヘルプ：F1キー");
    case 9:
        return both("キーワード検索モード",
            "テキストボックスにキーワード（ワイルドカード「%」使用可）を記入、「検索」ボタンクリック　ヘルプ：F1キー");
    case 100:
        return both("ファイル並べ替えモード",
            "左パネルからバインダを選択ー＞右パネルにファイルが表示されます。　ヘルプ：F1キー");
    case 101:
        return both("バインダ作成モード", "ヘルプ：F1キー");
    case 102:
        return both("バインダ削除モード", "(1)削除バインダを選択　(2)削除ボタンクリック　　ヘルプ：F1キー");
    case 103:
        return both("バインダ名変更モード", "バインダを選択するとー＞編集画面が表示されます。　　ヘルプ：F1キー");
    case 104:
        return both("バインダ並べ替えモード", "ヘルプ：F1キー");
    case 105:
        return both("ファイル取り外しモード",
            "左パネルからバインダを選択ー＞右パネルにファイルが表示されます。　ヘルプ：F1キー");
    case 106:
        return both("バインダ閲覧モード", "ヘルプ：F1キー");
    default:
        return std::nullopt;
    }
}

std::optional<int> binderStatusCode(int binderOperation)
{
    switch (binderOperation) {
    case BinderOp::Create:
        return 101;
    case BinderOp::Delete:
        return 102;
    case BinderOp::ReorderBinders:
        return 104;
    case BinderOp::ReorderFiles:
        return 100;
    case BinderOp::Rename:
        return 103;
    case BinderOp::Browse:
        return 106;
    case BinderOp::Detach:
        return 105;
    default:
        return std::nullopt;
    }
}

std::optional<int> binderHelpContext(int binderOperation)
{
    switch (binderOperation) {
    case BinderOp::Create:
        return Help::BinderCreate;
    case BinderOp::Delete:
        return Help::BinderDelete;
    case BinderOp::ReorderBinders:
        return Help::BinderSort;
    case BinderOp::ReorderFiles:
        return Help::FileSort;
    case BinderOp::Rename:
        return Help::BinderRename;
    case BinderOp::Browse:
        return Help::BinderBrowse;
    case BinderOp::Detach:
        return Help::FileDetach;
    default:
        return std::nullopt;
    }
}

std::optional<MenuState> menuState(int state)
{
    if (state == 0)
        return MenuState { true, false };
    if (state == 1)
        return MenuState { false, true };
    return std::nullopt;
}

} // namespace tolvane::shell

#include "shell/modes.h"

#include <algorithm>

#include "platform/utf8.h"

namespace tolvane::shell {

namespace {
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

QString emptyFolderStatus(const QString &folder)
{
    return QString::fromUtf8(
        "フォルダ「%1」にはファイルがありません。　別のフォルダを選択してください。　ヘルプ：F1キー")
        .arg(folder);
}

StatusTexts statusTexts(ModeStatus code, const QString &currentFolder)
{
    using S = ModeStatus;
    switch (code) {
    case S::Start:
        return both("スタートモード", kStartHint);
    case S::FileShow:
        return both("ファイル表示モード",
            "フォルダ選択ボタン・クリックー＞「フォルダの参照ダイアログ表示」ー＞フォルダを選択ー＞ファイル各個表示　ヘ"
            "ルプ：F1キー");
    case S::CatalogOpened:
        return both("DB使用モード", kStartHint);
    case S::FileShown:
        return StatusTexts { u("ファイル表示モード"), currentFolder, u(kSteppingHint), true };
    case S::Record:
        return both("登録モード", "左パネルからフォルダ選択ー＞右パネルにファイルが表示されます。　ヘルプ：F1キー");
    case S::RecordListed:
        return both("登録モード", "「DB 登録」ボタンで表示中のファイル情報が一括登録されます。　ヘルプ：F1キー");
    case S::SearchMenu:
        return both("各種検索モード", "検索モードをボタンまたはメニューから選択してください。　ヘルプ：F1キー");
    case S::FolderSearch:
        return both("フォルダ検索モード",
            "「フォルダの参照ダイアログ」からフォルダを選択ー＞検索結果が右パネルに一覧表示　ヘルプ：F1キー");
    case S::ResultListed:
        return hint("任意行クリックで、選択行ファイルから各個表示を開始します。　ヘルプ：F1キー");
    case S::Stepping:
        return hint(kSteppingHint);
    case S::RowsMoving:
        return hint("任意行選択。　上又は下向き「移動」ボタンクリックで、上下に移動　ヘルプ：F1キー");
    case S::RowsDetaching:
        return hint("削除行クリック選択。　「取り外し」ボタンで削除。　ヘルプ：F1キー");
    case S::FileSearch:
        return both("ファイル検索モード",
            "テキストボックスにファイル名（ワイルドカード「%」使用可）を記入「検索」ボタンクリック　ヘルプ：F1キー");
    case S::ClassSearch:
        return both("分類検索モード", "コンボボックスから分類を選択「検索」ボタンクリック　ヘルプ：F1キー");
    case S::PeriodSearch:
        return both(
            "期間検索モード", "左側日付「から」、右側日付「まで」を記入、「検索」ボタンクリック　ヘルプ：F1キー");
    case S::KeywordSearch:
        return both("キーワード検索モード",
            "テキストボックスにキーワード（ワイルドカード「%」使用可）を記入、「検索」ボタンクリック　ヘルプ：F1キー");
    case S::FileReorder:
        return both("ファイル並べ替えモード",
            "左パネルからバインダを選択ー＞右パネルにファイルが表示されます。　ヘルプ：F1キー");
    case S::BinderCreate:
        return both("バインダ作成モード", "ヘルプ：F1キー");
    case S::BinderDelete:
        return both("バインダ削除モード", "(1)削除バインダを選択　(2)削除ボタンクリック　　ヘルプ：F1キー");
    case S::BinderRename:
        return both("バインダ名変更モード", "バインダを選択するとー＞編集画面が表示されます。　　ヘルプ：F1キー");
    case S::BinderReorder:
        return both("バインダ並べ替えモード", "ヘルプ：F1キー");
    case S::FileDetach:
        return both("ファイル取り外しモード",
            "左パネルからバインダを選択ー＞右パネルにファイルが表示されます。　ヘルプ：F1キー");
    case S::BinderBrowse:
        return both("バインダ閲覧モード", "ヘルプ：F1キー");
    }
    return {};
}

std::optional<ModeStatus> binderStatusCode(BinderOp op)
{
    switch (op) {
    case BinderOp::Create:
        return ModeStatus::BinderCreate;
    case BinderOp::Delete:
        return ModeStatus::BinderDelete;
    case BinderOp::ReorderBinders:
        return ModeStatus::BinderReorder;
    case BinderOp::ReorderFiles:
        return ModeStatus::FileReorder;
    case BinderOp::Rename:
        return ModeStatus::BinderRename;
    case BinderOp::Browse:
        return ModeStatus::BinderBrowse;
    case BinderOp::Detach:
        return ModeStatus::FileDetach;
    case BinderOp::None:
        break;
    }
    return std::nullopt;
}

std::optional<int> binderHelpContext(BinderOp op)
{
    switch (op) {
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
    case BinderOp::None:
        break;
    }
    return std::nullopt;
}

MenuState menuState(MenuSet set)
{
    return set == MenuSet::Catalog ? MenuState { false, true } : MenuState { true, false };
}

bool isSearchMode(Mode mode)
{
    return mode == Mode::FolderSearch || mode == Mode::FileSearch || mode == Mode::ClassSearch
        || mode == Mode::PeriodSearch || mode == Mode::KeywordSearch;
}

namespace {

struct ModeMove {
    Mode from;
    Mode to;
};

// Without a catalogue the window moves between the start screen and the file display. With one,
// the menus reach registration, every search and the binder panels from any mode, and the
// toolbar's back buttons return to the start screen.
constexpr Mode kCatalogModes[] = { Mode::Record, Mode::FolderSearch, Mode::BinderFiles, Mode::PeriodSearch,
    Mode::ClassSearch, Mode::KeywordSearch, Mode::FileSearch };

bool isCatalogMode(Mode m)
{
    return std::find(std::begin(kCatalogModes), std::end(kCatalogModes), m) != std::end(kCatalogModes);
}

constexpr ModeMove kMoves[] = {
    { Mode::Start, Mode::FileShow }, // "StartShowFile", "View"
    { Mode::FileShow, Mode::Start }, // "BackToINI"
    { Mode::Start, Mode::Start }, // binder maintenance, "BackToSearch"
    { Mode::FileShow, Mode::FileShow }, // "View", "StartShowFile" again
    { Mode::Record, Mode::FileShow }, // "View" reached from the registration toolbar
};

} // namespace

bool modeTransitionAllowed(Mode from, Mode to)
{
    for (const ModeMove &m : kMoves)
        if (m.from == from && m.to == to)
            return true;
    // Catalogue modes: entered from any mode by the menus, left for the start screen (back buttons,
    // binder maintenance) or for one another.
    if (isCatalogMode(to))
        return true;
    return isCatalogMode(from) && to == Mode::Start;
}

} // namespace tolvane::shell

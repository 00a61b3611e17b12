#include "shell/toolbarlayouts.h"

#include "platform/utf8.h"
#include "shell/modes.h"

namespace tolvane::shell {

namespace {
ToolButtonSpec gap(const char *key, int widthTwips)
{
    ToolButtonSpec b;
    b.key = u(key);
    b.style = ToolButtonSpec::Style::Placeholder;
    b.widthTwips = widthTwips;
    return b;
}

ToolButtonSpec button(const char *key, const char *caption, const char *image, const char *tip = "")
{
    ToolButtonSpec b;
    b.key = u(key);
    b.caption = u(caption);
    b.image = u(image);
    b.toolTip = u(tip);
    return b;
}

const char *const kToStart = "スタートモードに戻る";
} // namespace

ToolbarLayout StartLayout()
{
    return { gap("ph1", 800), button("StartShowFile", "DB不使用", "each", "DBを使用せず、単にファイル内容を表示"),
        button("DBopen", "DBオープン", "DBOpen", "データベースをオープン") };
}

ToolbarLayout FileShowLayout()
{
    return { gap("ph1", 800), button("BackToStart", "戻る", "arrow", kToStart),
        button("View", "フォルダ選択", "addFolder", "検索モードになります。") };
}

ToolbarLayout DBUseLayout(bool archive)
{
    ToolbarLayout l { gap("ph1", 800), button("BackToStart", "　　戻る　　", "arrow", kToStart),
        button("DBrec", "DB登録", "DBOpen", "ファイル情報をDBに登録"),
        button("Search", "DB検索各種", "binoc", "DBによる各種検索") };
    l[2].enabled = !archive;
    return l;
}

ToolbarLayout RecordLayout(bool archive)
{
    ToolbarLayout l { gap("ph1", 800), button("BackToINI", "　　　戻る　　　", "arrow", kToStart),
        button("DBrec", "登録", "DBOpen", "データベースに登録") };
    l[2].enabled = !archive;
    return l;
}

ToolbarLayout SearchMenuLayout()
{
    return { gap("ph1", 800), button("Back2DB", "戻る", "arrow", kToStart),
        button("DBsearch", "フォルダ検索", "addFolder", "フォルダ単位で検索"),
        button("DBFiles", "ファイル名検索", "each", "ファイル名で検索"),
        button("DBClass", "分類検索", "tree", "分類で検索"),
        button("DBDate", "期間検索", "pic", "日付または期間で検索"),
        button("DBKeyword", "ｷｰﾜｰﾄﾞ検索", "Key", "キーワードで検索"),
        button("BDRsearch", "バインダ閲覧", "Binder", "選択バインダ内ファイルを閲覧") };
}

ToolbarLayout SearchListLayout(Mode modeNo)
{
    ToolbarLayout l { gap("ph1", 800), button("BackToSearch", "　　戻る　　", "arrow", "各種閲覧モードに戻る") };
    if (modeNo == Mode::PeriodSearch) {
        l << gap("ph2", 4800) << button("DurSeek", "　検索　", "binoc", "左のコンボボックス条件で検索");
    } else if (modeNo == Mode::ClassSearch || modeNo == Mode::KeywordSearch || modeNo == Mode::FileSearch) {
        l << gap("ph2", 3400) << button("DurSeek", "　検索　", "binoc", "左の条件で検索開始");
    }
    l << button("FullTextSearchDB", "全文検索", "spel", "検索済み全ファイルから文字列を検索");
    return l;
}

// Reordering moves rows and stores their order; deleting and detaching delete; creating,
// renaming and browsing need none of the four.
void ShowBinderButtons(ToolbarLayout &layout, BinderOp binderOperation)
{
    const bool reorder = binderOperation == BinderOp::ReorderBinders || binderOperation == BinderOp::ReorderFiles;
    const bool remove = binderOperation == BinderOp::Delete || binderOperation == BinderOp::Detach;
    for (ToolButtonSpec &b : layout) {
        if (b.key == QStringLiteral("del"))
            b.visible = remove;
        else if (b.key == QStringLiteral("up") || b.key == QStringLiteral("down") || b.key == QStringLiteral("reg"))
            b.visible = reorder;
    }
}

ToolbarLayout BinderListLayout(BinderOp binderOperation)
{
    ToolbarLayout l { gap("ph1", 800), button("BackToINI", "　　戻る　　", "arrow", kToStart),
        button("up", "移動", "up"), button("down", "移動", "down"),
        button("del", binderOperation == BinderOp::Detach ? "取り外し" : "削除", "del"),
        button("reg", "登録", "record") };
    ShowBinderButtons(l, binderOperation);
    return l;
}

ToolbarLayout ViewerLayout(ViewerKind kind, Mode modeNo, LayoutState layoutState, bool archive)
{
    ToolbarLayout l { gap("ph1", 200), button("BackTo", "　　戻る　　", "arrow", "元の閲覧モードに戻ります") };
    if (modeNo == Mode::Record) {
        l << button("RecAll", "一括登録", "record", "左欄のファイル情報全部を一括DB登録");
        l.last().enabled = !archive;
    }
    const bool folderList = modeNo == Mode::FileShow;
    l << button("Prev", "　戻る　", folderList ? "up" : "arw6lt", "前のファイルを表示")
      << button("Next", "　次へ　", folderList ? "down" : "arw6rt", "次のファイルを表示");
    l << gap("ph2", 200);
    if (modeNo != Mode::FileShow && modeNo != Mode::Record) {
        l << button("AddLine", "１行追加", "pic2", "改訂履歴欄に１行追加")
          << button("DelLine", "１行削除", "pic", "改訂履歴欄の指定行を削除");
    }
    const ToolButtonSpec left90 = button("left90", "左９０", "left", "左へ９０度回転");
    const ToolButtonSpec right90 = button("right90", "右９０", "right", "右へ９０度回転");
    const ToolButtonSpec enlarge = button("enlarge", "部分拡大", "magni", "カーソル設置部周辺を拡大");
    const ToolButtonSpec size = button("size", "原寸", "plus");
    switch (kind) {
    case ViewerKind::Application:
        l << button("apri", "アプリ", "apri") << button("WordSeek", "語句検索", "binoc", "ファイル内の文字列を検索");
        break;
    case ViewerKind::Picture:
        l << left90 << right90 << enlarge << size << button("excel", "Excelへ", "excel", "Excelへ画像を吐き出します。");
        break;
    case ViewerKind::MultiPage:
        l << left90 << right90 << enlarge << size << button("Gprev", "G4戻る", "ptl", "マルチページ用")
          << button("Gnext", "G4次へ", "ptr", "マルチページ用");
        break;
    case ViewerKind::Drawing:
        l << enlarge << size << button("sxf", "図面表示", "apri")
          << button("BackColor", "背景色", "moon", "図面背景色を白・黒に変更");
        break;
    default:
        break;
    }
    l << button("FullTextSearch", "全文検索", "spel", "フォルダ内全ファイルから文字列を検索");
    l.last().visible = layoutState != LayoutState::RecordShown;
    l << button("Rec2Binder", "バインダ綴込", "Binder", "選択バインダにファイル情報を登録");
    l.last().enabled = !archive && layoutState != LayoutState::FolderFileShown && modeNo != Mode::BinderFiles;
    return l;
}

QStringList toolbarImageKeys()
{
    return { u("each"), u("DBOpen"), u("arrow"), u("addFolder"), u("binoc"), u("tree"), u("pic"), u("pic2"), u("Key"),
        u("Binder"), u("spel"), u("up"), u("down"), u("del"), u("record"), u("arw6lt"), u("arw6rt"), u("magni"),
        u("plus"), u("minus"), u("left"), u("right"), u("ptl"), u("ptr"), u("apri"), u("moon"), u("excel") };
}

} // namespace tolvane::shell

#include "search/searchtexts.h"

namespace tolvane::search {

QString narrowEmptyMessage(const QString &className)
{
    return QStringLiteral(u"分類「") + className
        + QStringLiteral(u"」で絞込みしましたが、該当ファイル情報はありません。\n"
                         u"一覧表は一掃されますから、再度同一条件で検索してください。\n"
                         u"フォルダ検索の場合は、二重検索しないよう無能化されていますから、"
                         u"一旦別フォルダをクリックした後、戻って再度クリックしてください。");
}

} // namespace tolvane::search

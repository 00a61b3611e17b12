#include "catalog/failuretext.h"

namespace tolvane::catalog {

QString failureReason(const Status &status)
{
    switch (status.code()) {
    case Status::Code::Ok:
        return {};
    case Status::Code::ReadOnly:
        return QStringLiteral("データベースが読み取り専用で開かれています。");
    case Status::Code::IOError:
        return QStringLiteral("データベースファイルに書き込めませんでした"
                              "（書込み禁止、他のプログラムが使用中、またはディスクの空き不足）。");
    case Status::Code::InvalidArgument:
        return QStringLiteral("記入された値は保存できません（長すぎるか、形式が違います）。");
    case Status::Code::Corruption:
        return QStringLiteral("データベースファイルが壊れています。");
    case Status::Code::NotFound:
        return QStringLiteral("対象のレコードが見つかりません。");
    case Status::Code::NotSupported:
        return QStringLiteral("このデータベースでは実行できない操作です。");
    case Status::Code::Busy:
        return QStringLiteral("データベースは他の利用者またはプログラムが更新中です。");
    case Status::Code::DiskFull:
        return status.message();
    case Status::Code::Cancelled:
        return QStringLiteral("中止されました。");
    case Status::Code::Conflict:
        return QStringLiteral("このレコードは、表示した後にほかの利用者またはプログラムが変更または削除しました。"
                              "検索し直してから、もう一度記入してください。");
    }
    return {};
}

} // namespace tolvane::catalog

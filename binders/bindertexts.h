// The texts the binder commands show, shared by the window and tolvane-cli. Pure data.
#pragma once

#include <QString>

namespace tolvane::binders {

inline const QString kRootText = QStringLiteral("バインダ");
inline const QString kEmptyNameMessage = QStringLiteral("「バインダ」　名称を記入してください。");
inline const QString kDuplicateNameMessage
    = QStringLiteral("同名のバインダが既にあります。　別の名前に変更してください。");
inline const QString kChooseToDeleteMessage = QStringLiteral("削除するバインダを選択してください。");
inline const QString kOrderSavedMessage = QStringLiteral("並べ替えを登録しました。");
inline const QString kNoFilesToOrderMessage = QStringLiteral("バインダにはファイルがありません。");
inline const QString kChooseBinderMessage = QStringLiteral("バインダーを選択してください。");
inline const QString kNoBindersMessage = QStringLiteral(
    "バインダがありません。　バインダ作成は、メニュー＞バインダ＞バインダ作成をクリックしてください。");
inline const QString kChooserText = QStringLiteral("バインダ選択");
// A write that failed and was undone (the database's own reason follows on the next line).
inline const QString kWriteFailedMessage = QStringLiteral("バインダを更新できませんでした。　変更はありません。");

// Form4's captions, prompts and confirm buttons.
inline const QString kCreateCaption = QStringLiteral("バインダ　作成");
inline const QString kCreatePrompt = QStringLiteral("「バインダ」 の名前を記入してください。");
inline const QString kCreateButton = QStringLiteral("作成");
inline const QString kRenameCaption = QStringLiteral("バインダ名　変更");
inline const QString kRenamePrompt = QStringLiteral("変更後のバインダ名を記入してください。");
inline const QString kRenameButton = QStringLiteral("変更");

// "バインダ：「name」　を削除します。　削除後は復活できません。　実行しますか？"
inline QString deleteQuestion(const QString &name)
{
    return QStringLiteral("バインダ：「") + name
        + QStringLiteral("」　を削除します。　削除後は復活できません。　実行しますか？");
}

// fName + "　を「" + binder + "」バインダから取り外します。　実行しますか？"
inline QString detachQuestion(const QString &fileName, const QString &binderName)
{
    return fileName + QStringLiteral("　を「") + binderName
        + QStringLiteral("」バインダから取り外します。　実行しますか？");
}

// "表示中のファイルを、バインダ「name」　に登録しました。"
inline QString filedMessage(const QString &binderName)
{
    return QStringLiteral("表示中のファイルを、バインダ「") + binderName + QStringLiteral("」　に登録しました。");
}

// The binder's name, a line break, and "上記バインダーにはファイルは登録されていません。"
inline QString emptyBinderMessage(const QString &binderName)
{
    return binderName + QStringLiteral("\r\n") + QStringLiteral("上記バインダーにはファイルは登録されていません。");
}

} // namespace tolvane::binders

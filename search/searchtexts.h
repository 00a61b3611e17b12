// Fixed texts of the catalogue searches: messages, captions and panel texts, exactly as the
// user sees them. Plain constants; thread-safe.
#pragma once

#include <QString>

namespace tolvane::search {

// Keyword or file-name search started with an empty box.
inline const QString kEmptyWordMessage
    = QStringLiteral(u"検索語句を記入して下さい。\u3000ワイルドカードは「%」を使用してください。");
// A search that found no file.
inline const QString kZeroResultMessage = QStringLiteral(u"検索結果はゼロです。");

// Items and texts of the classification box Combo1.
inline const QString kNoNarrowingItem = QStringLiteral(u"絞込みなし");
inline const QString kNarrowCaption = QStringLiteral(u"分類で絞込み");
inline const QString kChooseClassCaption = QStringLiteral(u"分類から選択");

// Period panel texts, to be overwritten by the user.
inline const QString kStartDateText = QStringLiteral(u"開始日付");
inline const QString kEndDateText = QStringLiteral(u"最終日付");
inline const QString kFromText = QStringLiteral(u"から");
inline const QString kUntilText = QStringLiteral(u"まで");

// Tool tip of the word box in the file-name and keyword searches.
inline const QString kWordToolTip = QStringLiteral(
    u"ファイル名、キーワード検索時：ワイルドカードは「%」を使用、全文検索時：ワイルドカードは使用不可");

// A period bound that is not a date: names the box (start or end) and what was typed in it.
inline QString notADateMessage(const QString &typed, bool start)
{
    const QString box = start ? QStringLiteral(u"開始日付") : QStringLiteral(u"最終日付");
    const bool placeholder = typed.isEmpty() || typed == kStartDateText || typed == kEndDateText || typed == kFromText
        || typed == kUntilText;
    const QString example = QStringLiteral(u"2024/04/01 のように日付を入力してください。");
    if (placeholder)
        return box + QStringLiteral(u"を入力してください。\u3000") + example;
    return box + QStringLiteral(u"「%1」は日付として読めません。\u3000").arg(typed) + example;
}

// The three-line notice after a narrowing that left no file.
QString narrowEmptyMessage(const QString &className);

} // namespace tolvane::search

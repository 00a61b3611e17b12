#include "viewer/ui/phrasemarks.h"

#include <QFontDatabase>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTextEdit>

#include "platform/extract/searchtext.h"

namespace tolvane::viewer {

int SearchStrInJapanese(const QTextEdit *mData, const QString &word, int start)
{
    const QString needle = extract::normalizeForSearch(word);
    if (needle.isEmpty() || start < 1)
        return -1;
    const extract::MappedText hay = extract::normalizeMapped(mData->toPlainText());
    // The first normalised character that comes from at or after the start.
    qsizetype from = 0;
    while (from < hay.text.size() && hay.begin.at(from) < start - 1)
        ++from;
    const qsizetype at = hay.text.indexOf(needle, from);
    return at < 0 ? -1 : int(hay.begin.at(at)) + 1;
}

QString markFontFamily()
{
    const QStringList families = QFontDatabase::families();
    for (const char *face : { "Noto Sans CJK JP", "Noto Sans JP", "IPAexGothic", "IPAGothic", "VL Gothic",
             "TakaoPGothic", "MS PGothic", "Yu Gothic UI", "Meiryo" }) {
        if (families.contains(QString::fromLatin1(face)))
            return QString::fromLatin1(face);
    }
    return QString();
}

void MarkTextRange(QTextEdit *mData, int start, int length)
{
    QTextCursor cursor(mData->document());
    cursor.setPosition(start);
    cursor.setPosition(start + length, QTextCursor::KeepAnchor);
    // Every attribute but the size is set, so that earlier formatting does not show through.
    QTextCharFormat mark;
    mark.setFontWeight(QFont::Bold);
    mark.setFontItalic(false);
    mark.setFontUnderline(false);
    mark.setFontStrikeOut(false);
    mark.setForeground(QColor(0, 0, 0));
    mark.setBackground(QColor(255, 255, 0));
    const QString family = markFontFamily();
    if (!family.isEmpty())
        mark.setFontFamilies({ family });
    cursor.mergeCharFormat(mark);
    mData->setTextCursor(cursor);
}

int markAllOccurrences(QTextEdit *mData, const QString &word)
{
    const QList<extract::TextRange> ranges = extract::findOccurrences(mData->toPlainText(), word);
    for (const extract::TextRange &r : ranges)
        MarkTextRange(mData, int(r.start), int(r.length));
    return int(ranges.size());
}

QString phraseNotFoundMessage(const QString &word)
{
    return QStringLiteral(u"「") + word + QStringLiteral(u"」は見つかりませんでした。");
}

} // namespace tolvane::viewer

#include "registration/history.h"

#include <QDateTime>
#include <QRegularExpression>

#include "catalog/counters.h"
#include "catalog/schema.h"
#include "catalog/transaction.h"
#include "platform/jet/recordset.h"

namespace tolvane::registration {

namespace {

const QString kA01 = QStringLiteral("a01");
const QString kA02 = QStringLiteral("a02");
const QString kHsID = QStringLiteral("hsID");

// Full-width digits and signs, as a Japanese input method types them, become ASCII.
QString halfWidth(const QString &text)
{
    QString s = text;
    for (QChar &c : s) {
        const char16_t u = c.unicode();
        if (u >= 0xFF01 && u <= 0xFF5E)
            c = QChar(char16_t(u - 0xFF01 + 0x21));
        else if (u == 0x3000)
            c = QLatin1Char(' ');
    }
    return s;
}

// Reads a date typed or picked into the history grid: year first, with "-", "/", "." or
// 年/月/日 (or nothing) between the parts, optionally followed by a time. Null for an empty
// text; nullopt when it is not a date.
std::optional<QVariant> parseHistoryDate(const QString &text)
{
    const QString t = halfWidth(text).trimmed();
    if (t.isEmpty())
        return QVariant();
    static const QRegularExpression re(
        QStringLiteral(u"^(\\d{4})\\s*[-/.年]?\\s*(\\d{1,2})\\s*[-/.月]?\\s*(\\d{1,2})\\s*日?"
                       u"(?:[ T]+(\\d{1,2}):(\\d{2})(?::(\\d{2}))?)?$"));
    const QRegularExpressionMatch m = re.match(t);
    if (!m.hasMatch())
        return std::nullopt;
    const QDate date(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt());
    if (!date.isValid())
        return std::nullopt;
    QTime time(0, 0);
    if (m.hasCaptured(4)) {
        time = QTime(m.captured(4).toInt(), m.captured(5).toInt(), m.hasCaptured(6) ? m.captured(6).toInt() : 0);
        if (!time.isValid())
            return std::nullopt;
    }
    return QVariant(QDateTime(date, time));
}

jet::Query historyQuery(int hsID)
{
    return jet::Query(catalog::kFileRevTable)
        .select({ kA01, kA02, kHsID })
        .where(jet::Condition::equal(kHsID, hsID))
        .order(kA01);
}

} // namespace

QString deleteLineQuestion(int line, const QString &date)
{
    return QStringLiteral("%1行目（改訂日付：%2）を削除します。　削除後は復活できません。　実行しますか？")
        .arg(line)
        .arg(date);
}

bool isHistoryDateText(const QString &text)
{
    return parseHistoryDate(text).has_value();
}

QString badHistoryDateMessage(const QString &text)
{
    return QStringLiteral(
        "改訂日付「%1」は日付ではありません。　カレンダーから選ぶか、2009-12-31 の形で記入してください。")
        .arg(text.trimmed());
}

QString calendarDateText(const QDate &date)
{
    return date.toString(QStringLiteral("yyyy-MM-dd"));
}

QString historyDateText(const QVariant &a01)
{
    if (!a01.isValid() || a01.isNull())
        return {};
    if (a01.metaType().id() == QMetaType::QDateTime || a01.metaType().id() == QMetaType::QDate) {
        const QDateTime dt = a01.toDateTime();
        if (dt.time() == QTime(0, 0))
            return dt.date().toString(QStringLiteral("yyyy-MM-dd"));
        return dt.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    }
    return a01.toString();
}

Result<QList<HistoryLine>> LoadHistory(jet::Database &db, int hsID)
{
    QList<HistoryLine> lines;
    if (hsID == 0)
        return lines;
    auto rs = db.select(historyQuery(hsID));
    if (!rs)
        return rs.status();
    for (jet::Recordset &r = **rs; !r.eof(); r.moveNext())
        lines.append({ historyDateText(r.field(0)), r.field(1).toString() });
    return lines;
}

Result<int> SaveHistory(
    jet::Database &db, jet::Recordset &fileRecord, const QList<HistoryLine> &lines, Prompter &prompter)
{
    if (fileRecord.bof() || fileRecord.eof())
        return Status::invalidArgument(QStringLiteral("no current record"));

    // Everything that can be refused is checked before anything is written.
    QList<QVariant> dates;
    dates.reserve(lines.size());
    for (const HistoryLine &line : lines) {
        const std::optional<QVariant> date = parseHistoryDate(line.date);
        if (!date)
            return Status::invalidArgument(QStringLiteral("not a date: %1").arg(line.date));
        dates.append(*date);
    }

    const int oldHsID = fileRecord.field(kHsID).toInt();
    catalog::TransactionGuard tx(db);
    if (!tx.status())
        return tx.status();

    int hsID = oldHsID;
    if (hsID == 0) {
        const Result<int> drawn = catalog::NextHsID(db, prompter);
        if (!drawn)
            return drawn.status();
        hsID = drawn.value();
    } else {
        // Remove the old lines (the file's hsID stays).
        auto old = db.select(historyQuery(hsID));
        if (!old)
            return old.status();
        for (jet::Recordset &r = **old; !r.eof(); r.moveNext()) {
            if (Status s = r.deleteCurrent(); !s)
                return s;
        }
    }

    auto rev = db.openTable(catalog::kFileRevTable);
    if (!rev)
        return rev.status();
    jet::Recordset &table = **rev;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        Status s = table.addNew();
        if (s)
            s = table.setField(kA01, dates[i]);
        if (s)
            s = table.setField(kA02, lines[i].note);
        if (s)
            s = table.setField(kHsID, hsID);
        if (s)
            s = table.update();
        if (!s) {
            table.cancelUpdate();
            return s;
        }
    }

    if (oldHsID == 0) {
        Status s = fileRecord.setField(kHsID, hsID);
        if (s)
            s = fileRecord.update();
        if (!s) {
            fileRecord.cancelUpdate();
            return s;
        }
    }
    if (Status s = tx.commit(); !s) {
        tx.rollback();
        catalog::restoreSnapshot(db, fileRecord);
        return s;
    }
    return hsID;
}

} // namespace tolvane::registration

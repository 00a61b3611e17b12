#include "search/perioddate.h"

#include <QRegularExpression>

namespace tolvane::search {

namespace {

// Full-width digits and separators, as a Japanese input method types them, become ASCII.
QString normalised(const QString &text)
{
    QString s;
    s.reserve(text.size());
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        if (u >= 0xFF01 && u <= 0xFF5E)
            s.append(QChar(char16_t(u - 0xFF01 + 0x21)));
        else if (u == 0x3000)
            s.append(QLatin1Char(' '));
        else
            s.append(c);
    }
    s = s.trimmed();
    while (s.startsWith(QLatin1Char('#')))
        s.remove(0, 1);
    while (s.endsWith(QLatin1Char('#')))
        s.chop(1);
    return s.trimmed().toUpper();
}

struct DateMatch {
    QDate date;
    QString rest;
};

std::optional<DateMatch> matchDate(const QString &s)
{
    static const QRegularExpression yearFirst(
        QStringLiteral(u"^(\\d{4})\\s*[/.\\-年]\\s*(\\d{1,2})\\s*[/.\\-月]\\s*(\\d{1,2})\\s*日?"));
    static const QRegularExpression compact(QStringLiteral("^(\\d{4})(\\d{2})(\\d{2})(?!\\d)"));
    static const QRegularExpression monthFirst(QStringLiteral("^(\\d{1,2})[/.\\-](\\d{1,2})[/.\\-](\\d{4})"));

    for (const QRegularExpression *re : { &yearFirst, &compact }) {
        const auto m = re->match(s);
        if (m.hasMatch())
            return DateMatch { QDate(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt()),
                s.mid(m.capturedLength()) };
    }
    const auto m = monthFirst.match(s);
    if (m.hasMatch()) {
        int month = m.captured(1).toInt();
        int day = m.captured(2).toInt();
        // Month first, as a date literal is read; a first number that cannot be a month is the day.
        if (month > 12 && day <= 12)
            std::swap(month, day);
        return DateMatch { QDate(m.captured(3).toInt(), month, day), s.mid(m.capturedLength()) };
    }
    return std::nullopt;
}

struct TimeMatch {
    QTime time;
    bool seconds = false;
};

// rest: what follows the date, already trimmed and upper-cased. Empty = no time of day.
std::optional<TimeMatch> matchTime(const QString &rest)
{
    static const QRegularExpression re(
        QStringLiteral(u"^(?:T)?\\s*(午前|午後|AM|PM)?\\s*(\\d{1,2})\\s*[:時]\\s*(\\d{1,2})"
                       u"(?:\\s*:\\s*(\\d{1,2})(?:\\.\\d+)?|\\s*分(?:\\s*(\\d{1,2})\\s*秒)?)?"
                       u"\\s*(AM|PM|午前|午後)?$"));
    const auto m = re.match(rest);
    if (!m.hasMatch())
        return std::nullopt;
    const QString half = m.captured(1).isEmpty() ? m.captured(6) : m.captured(1);
    if (!m.captured(1).isEmpty() && !m.captured(6).isEmpty())
        return std::nullopt;
    int hour = m.captured(2).toInt();
    const int minute = m.captured(3).toInt();
    const QString secondText = m.captured(4).isEmpty() ? m.captured(5) : m.captured(4);
    const bool hasSeconds = !secondText.isEmpty();
    const int second = hasSeconds ? secondText.toInt() : 0;
    if (!half.isEmpty()) {
        if (hour < 1 || hour > 12)
            return std::nullopt;
        const bool pm = half == QStringLiteral("PM") || half == QStringLiteral(u"午後");
        hour = (hour % 12) + (pm ? 12 : 0);
    }
    const QTime time(hour, minute, second);
    if (!time.isValid())
        return std::nullopt;
    return TimeMatch { time, hasSeconds };
}

} // namespace

std::optional<QDateTime> parsePeriodBound(const QString &text, PeriodBound bound)
{
    const QString s = normalised(text);
    const auto date = matchDate(s);
    if (!date || !date->date.isValid())
        return std::nullopt;
    const QString rest = date->rest.trimmed();
    if (rest.isEmpty()) {
        if (bound == PeriodBound::Start)
            return QDateTime(date->date, QTime(0, 0));
        return QDateTime(date->date, QTime(23, 59, 59, 999));
    }
    const auto time = matchTime(rest);
    if (!time)
        return std::nullopt;
    QTime t = time->time;
    // An end given to the minute (or second) includes the whole of that minute (second).
    if (bound == PeriodBound::End)
        t = time->seconds ? t.addMSecs(999) : QTime(t.hour(), t.minute(), 59, 999);
    return QDateTime(date->date, t);
}

QString formatListedDate(const QDateTime &date)
{
    if (date.time() == QTime(0, 0))
        return date.toString(QStringLiteral("yyyy/MM/dd"));
    return date.toString(QStringLiteral("yyyy/MM/dd HH:mm:ss"));
}

} // namespace tolvane::search

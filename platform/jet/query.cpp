#include "platform/jet/query.h"

#include <QDateTime>

namespace tolvane::jet {

namespace {

bool isNumeric(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Char:
    case QMetaType::UChar:
    case QMetaType::Bool:
        return true;
    default:
        return false;
    }
}

bool isDate(const QVariant &v)
{
    return v.typeId() == QMetaType::QDateTime || v.typeId() == QMetaType::QDate;
}

QDateTime asDateTime(const QVariant &v)
{
    if (v.typeId() == QMetaType::QDate)
        return QDateTime(v.toDate(), QTime(0, 0));
    if (v.typeId() == QMetaType::QString)
        return QDateTime::fromString(v.toString(), Qt::ISODate);
    return v.toDateTime();
}

// Case-folded character for Jet's case-insensitive comparisons.
char16_t fold(QChar c)
{
    return c.toCaseFolded().unicode();
}

} // namespace

int compareValues(const QVariant &a, const QVariant &b)
{
    const bool an = !a.isValid() || a.isNull();
    const bool bn = !b.isValid() || b.isNull();
    if (an || bn)
        return an == bn ? 0 : (an ? -1 : 1);
    if (isDate(a) || isDate(b)) {
        const QDateTime x = asDateTime(a), y = asDateTime(b);
        if (x.isValid() && y.isValid()) {
            // Wall-clock comparison: both sides are local date and time.
            const qint64 dx = x.date().toJulianDay(), dy = y.date().toJulianDay();
            if (dx != dy)
                return dx < dy ? -1 : 1;
            const int tx = x.time().msecsSinceStartOfDay(), ty = y.time().msecsSinceStartOfDay();
            return tx < ty ? -1 : (tx > ty ? 1 : 0);
        }
    }
    if (isNumeric(a) || isNumeric(b)) {
        bool oka = false, okb = false;
        const double x = a.toDouble(&oka), y = b.toDouble(&okb);
        if (oka && okb)
            return x < y ? -1 : (x > y ? 1 : 0);
    }
    const QString x = a.toString(), y = b.toString();
    const int c = x.compare(y, Qt::CaseInsensitive);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

bool likeMatch(QStringView text, QStringView pattern)
{
    // Greedy matching with backtracking to the last %: linear for patterns without %.
    qsizetype t = 0, p = 0, starP = -1, starT = 0;
    const qsizetype tn = text.size(), pn = pattern.size();
    while (t < tn) {
        if (p < pn && pattern.at(p) == u'%') {
            starP = ++p;
            starT = t;
        } else if (p < pn && (pattern.at(p) == u'_' || fold(pattern.at(p)) == fold(text.at(t)))) {
            ++p;
            ++t;
        } else if (starP >= 0) {
            p = starP;
            t = ++starT;
        } else {
            return false;
        }
    }
    while (p < pn && pattern.at(p) == u'%')
        ++p;
    return p == pn;
}

bool Condition::matches(const QVariant &v) const
{
    if (!v.isValid() || v.isNull())
        return false;
    switch (op) {
    case Op::Equal:
        return compareValues(v, value) == 0;
    case Op::Like: {
        QString s;
        if (v.typeId() == QMetaType::QDateTime)
            s = v.toDateTime().toString(QStringLiteral("yyyy/MM/dd HH:mm:ss"));
        else
            s = v.toString();
        return likeMatch(s, value.toString());
    }
    case Op::Between:
        return compareValues(v, value) >= 0 && compareValues(v, value2) <= 0;
    }
    return false;
}

} // namespace tolvane::jet

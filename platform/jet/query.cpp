#include "platform/jet/query.h"

#include <QDateTime>

namespace tolvane::jet {

namespace {

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
    // ASCII inline (only A-Z fold there); the rest through Qt's tables.
    const char16_t u = c.unicode();
    if (u < 0x80)
        return u >= u'A' && u <= u'Z' ? char16_t(u + (u'a' - u'A')) : u;
    return c.toCaseFolded().unicode();
}

} // namespace

bool isNumericValue(const QVariant &v)
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
    if (isNumericValue(a) || isNumericValue(b)) {
        bool oka = false, okb = false;
        const double x = a.toDouble(&oka), y = b.toDouble(&okb);
        if (oka && okb)
            return x < y ? -1 : (x > y ? 1 : 0);
    }
    const QString x = a.toString(), y = b.toString();
    const int c = x.compare(y, Qt::CaseInsensitive);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

namespace {

// The end of the character list that opens at pattern[open] ('['): the index of its ']', or -1
// when there is none (the '[' is then an ordinary character). A ']' right after "[" or "[!"
// belongs to the list.
qsizetype listEnd(QStringView pattern, qsizetype open)
{
    qsizetype i = open + 1;
    if (i < pattern.size() && pattern.at(i) == u'!')
        ++i;
    if (i < pattern.size() && pattern.at(i) == u']')
        ++i;
    return pattern.indexOf(u']', i);
}

// Whether c is in the list pattern[from, to): single characters and ranges "a-z", compared
// without case; a '-' first or last is itself.
bool inList(QStringView pattern, qsizetype from, qsizetype to, QChar c)
{
    const char16_t fc = fold(c);
    for (qsizetype i = from; i < to; ++i) {
        if (i + 2 < to && pattern.at(i + 1) == u'-') {
            const char16_t lo = fold(pattern.at(i)), hi = fold(pattern.at(i + 2));
            if (fc >= lo && fc <= hi)
                return true;
            i += 2;
        } else if (fold(pattern.at(i)) == fc) {
            return true;
        }
    }
    return false;
}

// Whether the one-character element at pattern[p] matches c; next gets the index after it.
bool elementMatches(QStringView pattern, qsizetype p, QChar c, qsizetype &next)
{
    const QChar e = pattern.at(p);
    if (e == u'[') {
        const qsizetype close = listEnd(pattern, p);
        if (close >= 0) {
            next = close + 1;
            const bool negated = p + 1 < close && pattern.at(p + 1) == u'!';
            const qsizetype from = p + 1 + (negated ? 1 : 0);
            return inList(pattern, from, close, c) != negated;
        }
    }
    next = p + 1;
    return e == u'_' || fold(e) == fold(c);
}

} // namespace

bool likeMatch(QStringView text, QStringView pattern)
{
    // Greedy matching with backtracking to the last %: linear for patterns without %.
    qsizetype t = 0, p = 0, starP = -1, starT = 0;
    const qsizetype tn = text.size(), pn = pattern.size();
    while (t < tn) {
        qsizetype next = 0;
        if (p < pn && pattern.at(p) == u'%') {
            starP = ++p;
            starT = t;
        } else if (p < pn && elementMatches(pattern, p, text.at(t), next)) {
            p = next;
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
